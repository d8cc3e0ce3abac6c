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
constexpr char ID_CT_TST_INFO[] = "1.2.840.113549.1.9.16.1.4";
constexpr char ID_SIGNING_CERTIFICATE_V2[] = "1.2.840.113549.1.9.16.2.47";

// MessageImprint ::= SEQUENCE { hashAlgorithm, hashedMessage OCTET STRING }
Status EncodeImprint(const TokenRequest &request, const Bytes &signature, Bytes *imprintOut)
{
    Bytes hash;
    const Bytes &imprinted = request.imprintOver.empty() ? signature : request.imprintOver;
    const Status status = Hash(request.imprintDigest, imprinted, &hash);
    if (status.ok) {
        *imprintOut = DerSequence({DigestAlgorithm(request.imprintDigest), DerOctetString(hash)});
    }
    return status;
}

Status EncodeGenTime(const TokenRequest &request, Bytes *timeOut)
{
    if (request.genTimeText.empty()) {
        return DerGeneralizedTime(request.genTime, timeOut);
    }
    const Bytes text(request.genTimeText.begin(), request.genTimeText.end());
    *timeOut = DerElement(DER_GENERALIZED_TIME, text);
    return Ok();
}

// TSTInfo (RFC 3161, 2.4.2): version, policy, messageImprint, serialNumber, genTime; of the optional ones the nonce
Status EncodeTstInfo(const TokenRequest &request, const Bytes &signature, Bytes *tstInfoOut)
{
    Bytes policy;
    Bytes imprint;
    Bytes genTime;
    Status status = DerObjectIdentifier(request.policy, &policy);
    if (status.ok) {
        status = EncodeImprint(request, signature, &imprint);
    }
    if (status.ok) {
        status = EncodeGenTime(request, &genTime);
    }
    if (status.ok) {
        const Bytes nonce = request.nonce.empty() ? Bytes() : DerUnsigned(request.nonce);
        *tstInfoOut = DerSequence({DerInteger(1), policy, imprint, DerUnsigned(request.serialNumber), genTime, nonce});
    }
    return status;
}

// SigningCertificateV2 with one ESSCertIDv2, whose digest is the default SHA-256. RFC 3161, 2.4.2 as updated by
// RFC 5816 demands it: it ties the token to the authority's certificate.
Status EncodeSigningCertificate(const Bytes &certificate, Bytes *attributeOut)
{
    Bytes hash;
    const Status status = Hash(Digest::Sha256, certificate, &hash);
    if (status.ok) {
        const Bytes identifier = DerSequence({DerOctetString(hash)});
        *attributeOut = EncodeAttribute(ID_SIGNING_CERTIFICATE_V2, DerSequence({DerSequence({identifier})}));
    }
    return status;
}

Status DescribeSigner(const TokenRequest &request, Signer *signerOut)
{
    Bytes attribute;
    const Status status = EncodeSigningCertificate(request.tsaCertificate, &attribute);
    if (status.ok) {
        *signerOut = {
            request.tsaCertificate, request.tsaKey, request.signerDigest, request.signedAttributes, {attribute}};
    }
    return status;
}

Status SignTstInfo(const TokenRequest &request, const Bytes &tstInfo, Bytes *signerInfoOut)
{
    Signer signer;
    Signature signature;
    SignedContent content = {DerKnownIdentifier(ID_CT_TST_INFO), {}};
    Status status = DescribeSigner(request, &signer);
    if (status.ok) {
        status = Hash(request.signerDigest, tstInfo, &content.hash);
    }
    if (status.ok) {
        status = SignContent(signer, content, &signature);
    }
    return status.ok ? EncodeSignerInfo(signer, signature, {}, signerInfoOut) : status;
}

} // namespace

Status MakeToken(const TokenRequest &request, const Bytes &signature, Bytes *tokenOut)
{
    SignedData signedData;
    signedData.version = 3;
    signedData.contentType = DerKnownIdentifier(ID_CT_TST_INFO);
    signedData.digest = request.signerDigest;
    signedData.certificates = request.certificates;
    Status status = EncodeTstInfo(request, signature, &signedData.content);
    if (status.ok && request.signerInfoCount > 0) {
        Bytes signerInfo;
        status = SignTstInfo(request, signedData.content, &signerInfo);
        signedData.signerInfos.assign(static_cast<size_t>(request.signerInfoCount), signerInfo);
    }
    if (status.ok) {
        *tokenOut = EncodeSignedData(signedData);
    }
    return status;
}
} // namespace forge
