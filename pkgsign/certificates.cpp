#include "pkgsign/der.h"
#include "pkgsign/extensions.h"
#include "pkgsign/keys.h"
#include "pkgsign/signature.h"
#include "pkgsign/status.h"

namespace
{
// BasicConstraints ::= SEQUENCE { cA BOOLEAN DEFAULT FALSE, pathLenConstraint INTEGER OPTIONAL }
PkgsignBytes EncodeBasicConstraints(const PkgsignCertificateRequest &request)
{
    const bool ca = request.basicConstraints == PkgsignBasicConstraints::Ca;
    return PkgsignDerSequence({ca ? PkgsignDerBoolean(true) : PkgsignBytes(),
                               request.pathLength >= 0 ? PkgsignDerInteger(request.pathLength) : PkgsignBytes()});
}

PkgsignStatus AppendExtendedKeyUsage(const PkgsignCertificateRequest &request, std::vector<PkgsignBytes> *list)
{
    std::vector<PkgsignBytes> purposes;
    for (const std::string &purpose : request.extendedKeyUsage) {
        PkgsignBytes identifier;
        const PkgsignStatus status = PkgsignDerObjectIdentifier(purpose, &identifier);
        if (!status.ok) {
            return status;
        }
        purposes.push_back(identifier);
    }
    if (!purposes.empty()) {
        list->push_back(
            PkgsignEncodeExtension("2.5.29.37", request.extendedKeyUsageCritical, PkgsignDerSequence(purposes)));
    }
    return PkgsignOk();
}

PkgsignStatus AppendKeyIdentifiers(const PkgsignCertificateRequest &request, const PkgsignKey &issuerKey,
                                   std::vector<PkgsignBytes> *list)
{
    if (request.subjectKeyIdentifier) {
        PkgsignBytes identifier;
        const PkgsignStatus status = PkgsignKeyIdentifier(request.subjectKey, &identifier);
        if (!status.ok) {
            return status;
        }
        list->push_back(PkgsignEncodeExtension("2.5.29.14", false, PkgsignDerOctetString(identifier)));
    }
    if (request.authorityKeyIdentifier) {
        PkgsignBytes extension;
        const PkgsignStatus status = PkgsignEncodeAuthorityKeyIdentifier(issuerKey, &extension);
        if (!status.ok) {
            return status;
        }
        list->push_back(extension);
    }
    return PkgsignOk();
}

// The extensions member with its tag [3], or nothing when there are none.
PkgsignStatus EncodeExtensions(const PkgsignCertificateRequest &request, const PkgsignKey &issuerKey,
                               PkgsignBytes *extensionsOut)
{
    std::vector<PkgsignBytes> list;
    PkgsignStatus status = AppendKeyIdentifiers(request, issuerKey, &list);
    if (request.basicConstraints != PkgsignBasicConstraints::Absent) {
        list.push_back(PkgsignEncodeExtension("2.5.29.19", true, EncodeBasicConstraints(request)));
    }
    if (request.keyUsage != 0) {
        list.push_back(PkgsignEncodeExtension("2.5.29.15", true, PkgsignDerNamedBits(request.keyUsage)));
    }
    if (status.ok) {
        status = AppendExtendedKeyUsage(request, &list);
    }
    if (status.ok) {
        status = PkgsignAppendExtensions(request.extensions, &list);
    }
    if (status.ok && !list.empty()) {
        *extensionsOut = PkgsignDerConstructed(3, PkgsignDerSequence(list));
    }
    return status;
}

PkgsignStatus EncodeNames(const PkgsignCertificateRequest &request, PkgsignBytes *issuerOut, PkgsignBytes *subjectOut)
{
    PkgsignBytes subject = request.subjectDer;
    PkgsignBytes issuer = request.issuerDer;
    PkgsignStatus status = PkgsignOk();
    if (subject.empty()) {
        status = PkgsignEncodeName(request.subject, &subject);
    }
    if (status.ok && issuer.empty() && !request.issuer.empty()) {
        status = PkgsignEncodeName(request.issuer, &issuer);
    }
    if (status.ok) {
        *issuerOut = issuer.empty() ? subject : issuer;
        *subjectOut = subject;
    }
    return status;
}

// Validity ::= SEQUENCE { notBefore Time, notAfter Time }
PkgsignStatus EncodeValidity(const PkgsignCertificateRequest &request, PkgsignBytes *validityOut)
{
    PkgsignBytes notBefore;
    PkgsignBytes notAfter;
    PkgsignStatus status = PkgsignDerTime(request.notBefore, &notBefore);
    if (status.ok) {
        status = PkgsignDerTime(request.notAfter, &notAfter);
    }
    if (status.ok) {
        *validityOut = PkgsignDerSequence({notBefore, notAfter});
    }
    return status;
}

// TBSCertificate (RFC 5280, 4.1)
PkgsignStatus EncodeToBeSigned(const PkgsignCertificateRequest &request, const PkgsignKey &issuerKey,
                               PkgsignBytes *toBeSignedOut)
{
    PkgsignBytes algorithm;
    PkgsignBytes issuer;
    PkgsignBytes subject;
    PkgsignBytes validity;
    PkgsignBytes publicKey;
    PkgsignBytes extensions;
    PkgsignStatus status = PkgsignSignatureAlgorithm(issuerKey, request.digest, &algorithm);
    if (status.ok) {
        status = EncodeNames(request, &issuer, &subject);
    }
    if (status.ok) {
        status = EncodeValidity(request, &validity);
    }
    if (status.ok) {
        status = PkgsignEncodePublicKey(request.subjectKey, &publicKey);
    }
    if (status.ok && request.version != 1) {
        status = EncodeExtensions(request, issuerKey, &extensions);
    }
    if (status.ok) {
        const PkgsignBytes version =
            request.version == 1 ? PkgsignBytes() : PkgsignDerConstructed(0, PkgsignDerInteger(request.version - 1));
        *toBeSignedOut = PkgsignDerSequence({version, PkgsignDerUnsigned(request.serialNumber), algorithm, issuer,
                                             validity, subject, publicKey, extensions});
    }
    return status;
}

} // namespace

PkgsignStatus PkgsignMakeCertificate(const PkgsignCertificateRequest &request, PkgsignBytes *certificateOut)
{
    const PkgsignKey issuerKey = request.issuerKey == nullptr ? request.subjectKey : request.issuerKey;
    PkgsignBytes toBeSigned;
    const PkgsignStatus status = EncodeToBeSigned(request, issuerKey, &toBeSigned);
    return status.ok ? PkgsignSignStructure(issuerKey, request.digest, toBeSigned, certificateOut) : status;
}
