// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/forge/der.h"
#include "tests/forge/digest.h"
#include "tests/forge/signed_data.h"
#include "tests/forge/status.h"

namespace forge
{
namespace
{
constexpr char ID_DATA[] = "1.2.840.113549.1.7.1";
constexpr char ID_SIGNING_TIME[] = "1.2.840.113549.1.9.5";
constexpr char ID_TIMESTAMP_TOKEN[] = "1.2.840.113549.1.9.16.2.14";

Status HashContent(const MessageRequest &request, Bytes *hashOut)
{
    return request.contentFile.empty() ? Hash(request.digest, request.content, hashOut)
                                       : HashFile(request.digest, request.contentFile, hashOut);
}

Status DescribeSigner(const MessageRequest &request, Signer *signerOut)
{
    Signer signer = {request.signerCertificate, request.signerKey, request.digest, request.signedAttributes, {}};
    if (request.signingTime >= 0) {
        Bytes time;
        const Status status = DerTime(request.signingTime, &time);
        if (!status.ok) {
            return status;
        }
        signer.furtherAttributes.push_back(EncodeAttribute(ID_SIGNING_TIME, time));
    }
    *signerOut = signer;
    return Ok();
}

// The unsigned attributes of the signer: its timestamp, or nothing.
Status EncodeTimestamp(const MessageRequest &request, const Bytes &signature, std::vector<Bytes> *attributesOut)
{
    Bytes token = request.rawToken;
    if (request.timestamp == Timestamp::None) {
        return Ok();
    }
    if (request.timestamp == Timestamp::Request) {
        const Status status = MakeToken(request.tokenRequest, signature, &token);
        if (!status.ok) {
            return status;
        }
    }
    attributesOut->push_back(EncodeAttribute(ID_TIMESTAMP_TOKEN, token));
    return Ok();
}

Status MakeSignerInfo(const MessageRequest &request, const Bytes &hash, Bytes *signerInfoOut)
{
    Signer signer;
    Signature signature;
    std::vector<Bytes> unsignedAttributes;
    Status status = DescribeSigner(request, &signer);
    if (status.ok) {
        status = SignContent(signer, {DerKnownIdentifier(ID_DATA), hash}, &signature);
    }
    if (status.ok) {
        status = EncodeTimestamp(request, signature.value, &unsignedAttributes);
    }
    return status.ok ? EncodeSignerInfo(signer, signature, unsignedAttributes, signerInfoOut) : status;
}

} // namespace

Status SignDetached(const MessageRequest &request, Bytes *messageOut)
{
    SignedData signedData;
    signedData.contentType = DerKnownIdentifier(ID_DATA);
    signedData.digest = request.digest;
    signedData.certificates = request.certificates;
    Bytes hash;
    Status status = HashContent(request, &hash);
    if (status.ok && request.signerInfoCount > 0) {
        Bytes signerInfo;
        status = MakeSignerInfo(request, hash, &signerInfo);
        signedData.signerInfos.assign(static_cast<size_t>(request.signerInfoCount), signerInfo);
    }
    if (status.ok) {
        *messageOut = EncodeSignedData(signedData);
    }
    return status;
}
} // namespace forge
