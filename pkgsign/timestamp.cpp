#include "pkgsign/der.h"
#include "pkgsign/digest.h"
#include "pkgsign/signed_data.h"
#include "pkgsign/status.h"

namespace
{
constexpr char ID_CT_TST_INFO[] = "1.2.840.113549.1.9.16.1.4";
constexpr char ID_SIGNING_CERTIFICATE_V2[] = "1.2.840.113549.1.9.16.2.47";

// MessageImprint ::= SEQUENCE { hashAlgorithm, hashedMessage OCTET STRING }
PkgsignStatus EncodeImprint(const PkgsignTokenRequest &request, const PkgsignBytes &signature, PkgsignBytes *imprintOut)
{
    PkgsignBytes hash;
    const PkgsignBytes &imprinted = request.imprintOver.empty() ? signature : request.imprintOver;
    const PkgsignStatus status = PkgsignHash(request.imprintDigest, imprinted, &hash);
    if (status.ok) {
        *imprintOut = PkgsignDerSequence({PkgsignDigestAlgorithm(request.imprintDigest), PkgsignDerOctetString(hash)});
    }
    return status;
}

PkgsignStatus EncodeGenTime(const PkgsignTokenRequest &request, PkgsignBytes *timeOut)
{
    if (request.genTimeText.empty()) {
        return PkgsignDerGeneralizedTime(request.genTime, timeOut);
    }
    const PkgsignBytes text(request.genTimeText.begin(), request.genTimeText.end());
    *timeOut = PkgsignDerElement(DER_GENERALIZED_TIME, text);
    return PkgsignOk();
}

// TSTInfo (RFC 3161, 2.4.2): version, policy, messageImprint, serialNumber, genTime; nothing optional
PkgsignStatus EncodeTstInfo(const PkgsignTokenRequest &request, const PkgsignBytes &signature, PkgsignBytes *tstInfoOut)
{
    PkgsignBytes policy;
    PkgsignBytes imprint;
    PkgsignBytes genTime;
    PkgsignStatus status = PkgsignDerObjectIdentifier(request.policy, &policy);
    if (status.ok) {
        status = EncodeImprint(request, signature, &imprint);
    }
    if (status.ok) {
        status = EncodeGenTime(request, &genTime);
    }
    if (status.ok) {
        *tstInfoOut = PkgsignDerSequence(
            {PkgsignDerInteger(1), policy, imprint, PkgsignDerUnsigned(request.serialNumber), genTime});
    }
    return status;
}

// SigningCertificateV2 with one ESSCertIDv2, whose digest is the default SHA-256. RFC 3161, 2.4.2 as updated by
// RFC 5816 demands it: it ties the token to the authority's certificate.
PkgsignStatus EncodeSigningCertificate(const PkgsignBytes &certificate, PkgsignBytes *attributeOut)
{
    PkgsignBytes hash;
    const PkgsignStatus status = PkgsignHash(PkgsignDigest::Sha256, certificate, &hash);
    if (status.ok) {
        const PkgsignBytes identifier = PkgsignDerSequence({PkgsignDerOctetString(hash)});
        *attributeOut =
            PkgsignEncodeAttribute(ID_SIGNING_CERTIFICATE_V2, PkgsignDerSequence({PkgsignDerSequence({identifier})}));
    }
    return status;
}

PkgsignStatus DescribeSigner(const PkgsignTokenRequest &request, PkgsignSigner *signerOut)
{
    PkgsignBytes attribute;
    const PkgsignStatus status = EncodeSigningCertificate(request.tsaCertificate, &attribute);
    if (status.ok) {
        *signerOut = {
            request.tsaCertificate, request.tsaKey, request.signerDigest, request.signedAttributes, {attribute}};
    }
    return status;
}

PkgsignStatus SignTstInfo(const PkgsignTokenRequest &request, const PkgsignBytes &tstInfo, PkgsignBytes *signerInfoOut)
{
    PkgsignSigner signer;
    PkgsignSignature signature;
    PkgsignSignedContent content = {PkgsignDerKnownIdentifier(ID_CT_TST_INFO), {}};
    PkgsignStatus status = DescribeSigner(request, &signer);
    if (status.ok) {
        status = PkgsignHash(request.signerDigest, tstInfo, &content.hash);
    }
    if (status.ok) {
        status = PkgsignSignContent(signer, content, &signature);
    }
    return status.ok ? PkgsignEncodeSignerInfo(signer, signature, {}, signerInfoOut) : status;
}

} // namespace

PkgsignStatus PkgsignMakeToken(const PkgsignTokenRequest &request, const PkgsignBytes &signature,
                               PkgsignBytes *tokenOut)
{
    PkgsignSignedData signedData;
    signedData.version = 3;
    signedData.contentType = PkgsignDerKnownIdentifier(ID_CT_TST_INFO);
    signedData.digest = request.signerDigest;
    signedData.certificates = request.certificates;
    PkgsignStatus status = EncodeTstInfo(request, signature, &signedData.content);
    if (status.ok && request.signerInfoCount > 0) {
        PkgsignBytes signerInfo;
        status = SignTstInfo(request, signedData.content, &signerInfo);
        signedData.signerInfos.assign(static_cast<size_t>(request.signerInfoCount), signerInfo);
    }
    if (status.ok) {
        *tokenOut = PkgsignEncodeSignedData(signedData);
    }
    return status;
}
