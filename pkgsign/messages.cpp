#include "pkgsign/der.h"
#include "pkgsign/digest.h"
#include "pkgsign/signed_data.h"
#include "pkgsign/status.h"

namespace
{
constexpr char ID_DATA[] = "1.2.840.113549.1.7.1";
constexpr char ID_SIGNING_TIME[] = "1.2.840.113549.1.9.5";
constexpr char ID_TIMESTAMP_TOKEN[] = "1.2.840.113549.1.9.16.2.14";

PkgsignStatus HashContent(const PkgsignMessageRequest &request, PkgsignBytes *hashOut)
{
    return request.contentFile.empty() ? PkgsignHash(request.digest, request.content, hashOut)
                                       : PkgsignHashFile(request.digest, request.contentFile, hashOut);
}

PkgsignStatus DescribeSigner(const PkgsignMessageRequest &request, PkgsignSigner *signerOut)
{
    PkgsignSigner signer = {request.signerCertificate, request.signerKey, request.digest, request.signedAttributes, {}};
    if (request.signingTime >= 0) {
        PkgsignBytes time;
        const PkgsignStatus status = PkgsignDerTime(request.signingTime, &time);
        if (!status.ok) {
            return status;
        }
        signer.furtherAttributes.push_back(PkgsignEncodeAttribute(ID_SIGNING_TIME, time));
    }
    *signerOut = signer;
    return PkgsignOk();
}

// The unsigned attributes of the signer: its timestamp, or nothing.
PkgsignStatus EncodeTimestamp(const PkgsignMessageRequest &request, const PkgsignBytes &signature,
                              std::vector<PkgsignBytes> *attributesOut)
{
    PkgsignBytes token = request.rawToken;
    if (request.timestamp == PkgsignTimestamp::None) {
        return PkgsignOk();
    }
    if (request.timestamp == PkgsignTimestamp::Request) {
        const PkgsignStatus status = PkgsignMakeToken(request.tokenRequest, signature, &token);
        if (!status.ok) {
            return status;
        }
    }
    attributesOut->push_back(PkgsignEncodeAttribute(ID_TIMESTAMP_TOKEN, token));
    return PkgsignOk();
}

PkgsignStatus MakeSignerInfo(const PkgsignMessageRequest &request, const PkgsignBytes &hash,
                             PkgsignBytes *signerInfoOut)
{
    PkgsignSigner signer;
    PkgsignSignature signature;
    std::vector<PkgsignBytes> unsignedAttributes;
    PkgsignStatus status = DescribeSigner(request, &signer);
    if (status.ok) {
        status = PkgsignSignContent(signer, {PkgsignDerKnownIdentifier(ID_DATA), hash}, &signature);
    }
    if (status.ok) {
        status = EncodeTimestamp(request, signature.value, &unsignedAttributes);
    }
    return status.ok ? PkgsignEncodeSignerInfo(signer, signature, unsignedAttributes, signerInfoOut) : status;
}

} // namespace

PkgsignStatus PkgsignSignDetached(const PkgsignMessageRequest &request, PkgsignBytes *messageOut)
{
    PkgsignSignedData signedData;
    signedData.contentType = PkgsignDerKnownIdentifier(ID_DATA);
    signedData.digest = request.digest;
    signedData.certificates = request.certificates;
    PkgsignBytes hash;
    PkgsignStatus status = HashContent(request, &hash);
    if (status.ok && request.signerInfoCount > 0) {
        PkgsignBytes signerInfo;
        status = MakeSignerInfo(request, hash, &signerInfo);
        signedData.signerInfos.assign(static_cast<size_t>(request.signerInfoCount), signerInfo);
    }
    if (status.ok) {
        *messageOut = PkgsignEncodeSignedData(signedData);
    }
    return status;
}
