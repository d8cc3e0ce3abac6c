// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/forge/der.h"
#include "tests/forge/extensions.h"
#include "tests/forge/keys.h"
#include "tests/forge/signature.h"
#include "tests/forge/status.h"

namespace forge
{
namespace
{
// BasicConstraints ::= SEQUENCE { cA BOOLEAN DEFAULT FALSE, pathLenConstraint INTEGER OPTIONAL }
Bytes EncodeBasicConstraints(const CertificateRequest &request)
{
    const bool ca = request.basicConstraints == BasicConstraints::Ca;
    return DerSequence(
        {ca ? DerBoolean(true) : Bytes(), request.pathLength >= 0 ? DerInteger(request.pathLength) : Bytes()});
}

Status AppendExtendedKeyUsage(const CertificateRequest &request, std::vector<Bytes> *list)
{
    std::vector<Bytes> purposes;
    for (const std::string &purpose : request.extendedKeyUsage) {
        Bytes identifier;
        const Status status = DerObjectIdentifier(purpose, &identifier);
        if (!status.ok) {
            return status;
        }
        purposes.push_back(identifier);
    }
    if (!purposes.empty()) {
        list->push_back(EncodeExtension("2.5.29.37", request.extendedKeyUsageCritical, DerSequence(purposes)));
    }
    return Ok();
}

Status AppendKeyIdentifiers(const CertificateRequest &request, const Key &issuerKey, std::vector<Bytes> *list)
{
    if (request.subjectKeyIdentifier) {
        Bytes identifier;
        const Status status = KeyIdentifier(request.subjectKey, &identifier);
        if (!status.ok) {
            return status;
        }
        list->push_back(EncodeExtension("2.5.29.14", false, DerOctetString(identifier)));
    }
    if (request.authorityKeyIdentifier) {
        Bytes extension;
        const Status status = EncodeAuthorityKeyIdentifier(issuerKey, &extension);
        if (!status.ok) {
            return status;
        }
        list->push_back(extension);
    }
    return Ok();
}

// The extensions member with its tag [3], or nothing when there are none.
Status EncodeExtensions(const CertificateRequest &request, const Key &issuerKey, Bytes *extensionsOut)
{
    std::vector<Bytes> list;
    Status status = AppendKeyIdentifiers(request, issuerKey, &list);
    if (request.basicConstraints != BasicConstraints::Absent) {
        list.push_back(EncodeExtension("2.5.29.19", true, EncodeBasicConstraints(request)));
    }
    if (request.keyUsage != 0) {
        list.push_back(EncodeExtension("2.5.29.15", true, DerNamedBits(request.keyUsage)));
    }
    if (status.ok) {
        status = AppendExtendedKeyUsage(request, &list);
    }
    if (status.ok) {
        status = AppendExtensions(request.extensions, &list);
    }
    if (status.ok && !list.empty()) {
        *extensionsOut = DerConstructed(3, DerSequence(list));
    }
    return status;
}

Status EncodeNames(const CertificateRequest &request, Bytes *issuerOut, Bytes *subjectOut)
{
    Bytes subject = request.subjectDer;
    Bytes issuer = request.issuerDer;
    Status status = Ok();
    if (subject.empty()) {
        status = EncodeName(request.subject, &subject);
    }
    if (status.ok && issuer.empty() && !request.issuer.empty()) {
        status = EncodeName(request.issuer, &issuer);
    }
    if (status.ok) {
        *issuerOut = issuer.empty() ? subject : issuer;
        *subjectOut = subject;
    }
    return status;
}

// Validity ::= SEQUENCE { notBefore Time, notAfter Time }
Status EncodeValidity(const CertificateRequest &request, Bytes *validityOut)
{
    Bytes notBefore;
    Bytes notAfter;
    Status status = DerTime(request.notBefore, &notBefore);
    if (status.ok) {
        status = DerTime(request.notAfter, &notAfter);
    }
    if (status.ok) {
        *validityOut = DerSequence({notBefore, notAfter});
    }
    return status;
}

// TBSCertificate (RFC 5280, 4.1)
Status EncodeToBeSigned(const CertificateRequest &request, const Key &issuerKey, Bytes *toBeSignedOut)
{
    Bytes algorithm;
    Bytes issuer;
    Bytes subject;
    Bytes validity;
    Bytes publicKey;
    Bytes extensions;
    Status status = SignatureAlgorithm(issuerKey, request.digest, &algorithm);
    if (status.ok) {
        status = EncodeNames(request, &issuer, &subject);
    }
    if (status.ok) {
        status = EncodeValidity(request, &validity);
    }
    if (status.ok) {
        status = EncodePublicKey(request.subjectKey, &publicKey);
    }
    if (status.ok && request.version != 1) {
        status = EncodeExtensions(request, issuerKey, &extensions);
    }
    if (status.ok) {
        const Bytes version = request.version == 1 ? Bytes() : DerConstructed(0, DerInteger(request.version - 1));
        *toBeSignedOut = DerSequence(
            {version, DerUnsigned(request.serialNumber), algorithm, issuer, validity, subject, publicKey, extensions});
    }
    return status;
}

} // namespace

Status MakeCertificate(const CertificateRequest &request, Bytes *certificateOut)
{
    const Key issuerKey = request.issuerKey == nullptr ? request.subjectKey : request.issuerKey;
    Bytes toBeSigned;
    const Status status = EncodeToBeSigned(request, issuerKey, &toBeSigned);
    return status.ok ? SignStructure(issuerKey, request.digest, toBeSigned, certificateOut) : status;
}
} // namespace forge
