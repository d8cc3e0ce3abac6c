// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/forge/signed_data.h"
#include "tests/forge/der.h"
#include "tests/forge/digest.h"
#include "tests/forge/signature.h"
#include "tests/forge/status.h"

namespace forge
{
namespace
{
constexpr uint8_t TAG_CONTEXT_0 = 0xA0;

Bytes EncodeSignedAttributes(const Signer &signer, const SignedContent &content)
{
    std::vector<Bytes> attributes = signer.furtherAttributes;
    attributes.push_back(EncodeAttribute("1.2.840.113549.1.9.3", content.contentType));
    attributes.push_back(EncodeAttribute("1.2.840.113549.1.9.4", DerOctetString(content.hash)));
    return DerSetOf(attributes);
}

// IssuerAndSerialNumber ::= SEQUENCE { issuer Name, serialNumber INTEGER }
Status EncodeSignerIdentifier(const Bytes &certificate, Bytes *identifierOut)
{
    Bytes issuer;
    Bytes serialNumber;
    Status status = GetIssuer(certificate, &issuer);
    if (status.ok) {
        status = GetSerialNumber(certificate, &serialNumber);
    }
    if (status.ok) {
        *identifierOut = DerSequence({issuer, DerUnsigned(serialNumber)});
    }
    return status;
}

} // namespace

Bytes EncodeAttribute(const char *identifier, const Bytes &value)
{
    return DerSequence({DerKnownIdentifier(identifier), DerSetOf({value})});
}

Status SignContent(const Signer &signer, const SignedContent &content, Signature *signatureOut)
{
    Signature signature;
    Status status;
    if (signer.signedAttributes) {
        // RFC 5652, 5.4: signed as a SET OF, carried with the tag [0] in its place
        signature.signedAttributes = EncodeSignedAttributes(signer, content);
        status = SignOctets(signer.key, signer.digest, signature.signedAttributes, &signature.value);
        signature.signedAttributes.front() = TAG_CONTEXT_0;
    } else {
        status = SignHash(signer.key, signer.digest, content.hash, &signature.value);
    }
    if (status.ok) {
        *signatureOut = signature;
    }
    return status;
}

Status EncodeSignerInfo(const Signer &signer, const Signature &signature, const std::vector<Bytes> &unsignedAttributes,
                        Bytes *signerInfoOut)
{
    Bytes identifier;
    Bytes algorithm;
    Status status = EncodeSignerIdentifier(signer.certificate, &identifier);
    if (status.ok) {
        status = SignerAlgorithm(signer.key, signer.digest, &algorithm);
    }
    if (!status.ok) {
        return status;
    }
    Bytes attributes;
    if (!unsignedAttributes.empty()) {
        attributes = DerConstructed(1, DerJoin(unsignedAttributes));
    }
    *signerInfoOut = DerSequence({DerInteger(1), identifier, DigestAlgorithm(signer.digest), signature.signedAttributes,
                                  algorithm, DerOctetString(signature.value), attributes});
    return status;
}

Bytes EncodeSignedData(const SignedData &data)
{
    Bytes content;
    if (!data.content.empty()) {
        content = DerConstructed(0, DerOctetString(data.content));
    }
    Bytes certificates;
    if (!data.certificates.empty()) {
        certificates = DerConstructed(0, DerJoin(data.certificates));
    }
    const Bytes signedData =
        DerSequence({DerInteger(data.version), DerSetOf({DigestAlgorithm(data.digest)}),
                     DerSequence({data.contentType, content}), certificates, DerSetOf(data.signerInfos)});
    return DerSequence({DerKnownIdentifier("1.2.840.113549.1.7.2"), DerConstructed(0, signedData)});
}
} // namespace forge
