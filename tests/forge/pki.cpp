// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/forge/status.h"

#include <openssl/evp.h>

namespace forge
{
namespace
{
constexpr int ROOT_KEY_BITS = 4096;
constexpr size_t SERIAL_NUMBER_SIZE = 16;     // octets, of the subordinate certificates
constexpr size_t SERIAL_NUMBER_SIZE_MAX = 20; // RFC 5280, 4.1.2.2
constexpr uint32_t CA_KEY_USAGE = KEY_CERT_SIGN | CRL_SIGN;

Name MakeName(const PkiRequest &request, const std::string &commonName)
{
    return {{"C", "XX"}, {"O", request.organization}, {"CN", commonName}}; // XX: no country (ISO 3166, user-assigned)
}

Status KeepOrGenerate(const Key &given, int bits, Key *keyOut)
{
    if (given == nullptr) {
        return GenerateRsaKey(bits, keyOut);
    }
    *keyOut = given;
    return Ok();
}

CertificateRequest DescribeRoot(const PkiRequest &request, const Key &key)
{
    CertificateRequest root;
    root.subject = MakeName(request, request.rootName);
    root.notBefore = PKI_NOT_BEFORE;
    root.notAfter = PKI_ROOT_NOT_AFTER;
    root.basicConstraints = BasicConstraints::Ca;
    root.keyUsage = CA_KEY_USAGE;
    root.subjectKey = key;
    return root;
}

// Makes the root certificate with a serial number as long as it takes to reach the fixed size.
Status FitRoot(CertificateRequest root, Bytes *certificateOut)
{
    Bytes trial;
    Status status = MakeCertificate(root, &trial);
    if (!status.ok) {
        return status;
    }
    const size_t size = root.serialNumber.size() + ROOT_CERTIFICATE_SIZE - trial.size();
    if (trial.size() > ROOT_CERTIFICATE_SIZE || size > SERIAL_NUMBER_SIZE_MAX) {
        return Fail("organization and root name must have 11 to 20 octets together");
    }
    status = MakeSerialNumber(size, &root.serialNumber);
    return status.ok ? MakeCertificate(root, certificateOut) : status;
}

// Makes the certificate that `certificate` describes but for name, times, serial number and issuer.
Status MakeSubordinate(const PkiRequest &request, const std::string &commonName, const Identity &issuer,
                       CertificateRequest certificate, Identity *identityOut)
{
    if (commonName == request.rootName) {
        return Fail("the root cannot be named '" + commonName + "': a certificate under it is"); // names find issuers
    }
    certificate.subject = MakeName(request, commonName);
    certificate.notBefore = request.notBefore;
    certificate.notAfter = request.notAfter;
    certificate.issuerKey = issuer.key;
    Identity made;
    Status status = KeepOrGenerate(certificate.subjectKey, request.keyBits, &made.key);
    certificate.subjectKey = made.key;
    if (status.ok) {
        status = GetSubject(issuer.certificate, &certificate.issuerDer);
    }
    if (status.ok) {
        status = MakeSerialNumber(SERIAL_NUMBER_SIZE, &certificate.serialNumber);
    }
    if (status.ok) {
        status = MakeCertificate(certificate, &made.certificate);
    }
    if (status.ok) {
        *identityOut = made;
    }
    return status;
}

Status MakeIssuingCa(const PkiRequest &request, Pki *pki)
{
    CertificateRequest certificate;
    certificate.basicConstraints = BasicConstraints::Ca;
    certificate.pathLength = 0;
    certificate.keyUsage = CA_KEY_USAGE;
    certificate.subjectKey = request.issuingCaKey;
    return MakeSubordinate(request, "Issuing CA", pki->root, certificate, &pki->issuingCa);
}

Status MakeSigner(const PkiRequest &request, Pki *pki)
{
    CertificateRequest certificate;
    certificate.basicConstraints = BasicConstraints::NotCa;
    certificate.keyUsage = DIGITAL_SIGNATURE;
    certificate.extendedKeyUsage = {PURPOSE_CODE_SIGNING};
    certificate.subjectKey = request.signerKey;
    return MakeSubordinate(request, "Code Signing", pki->issuingCa, certificate, &pki->signer);
}

// RFC 3161, 2.3: time stamping is the only purpose, and the extension is critical.
Status MakeTimestamp(const PkiRequest &request, Pki *pki)
{
    CertificateRequest certificate;
    certificate.basicConstraints = BasicConstraints::NotCa;
    certificate.keyUsage = DIGITAL_SIGNATURE;
    certificate.extendedKeyUsage = {PURPOSE_TIME_STAMPING};
    certificate.extendedKeyUsageCritical = true;
    certificate.subjectKey = request.timestampKey;
    return MakeSubordinate(request, "Time Stamping", pki->issuingCa, certificate, &pki->timestamp);
}

Status MakeEmptyCrl(const PkiRequest &request, const Identity &issuer, Bytes *crlOut)
{
    CrlRequest crl;
    crl.issuerCertificate = issuer.certificate;
    crl.issuerKey = issuer.key;
    crl.thisUpdate = request.crlThisUpdate;
    crl.nextUpdate = request.crlNextUpdate;
    return MakeCrl(crl, crlOut);
}

} // namespace

Status MakeRoot(const PkiRequest &request, Identity *rootOut)
{
    if (request.rootKey != nullptr && EVP_PKEY_bits(request.rootKey.get()) != ROOT_KEY_BITS) {
        return Fail("the root key must have 4096 bits");
    }
    if (request.organization.empty() || request.rootName.empty()) {
        return Fail("organization and root name must not be empty");
    }
    Identity root;
    Status status = KeepOrGenerate(request.rootKey, ROOT_KEY_BITS, &root.key);
    if (status.ok) {
        status = FitRoot(DescribeRoot(request, root.key), &root.certificate);
    }
    if (status.ok) {
        *rootOut = root;
    }
    return status;
}

Status MakePki(const PkiRequest &request, Pki *pkiOut)
{
    Pki pki;
    Status status = MakeRoot(request, &pki.root);
    for (const auto make : {MakeIssuingCa, MakeSigner, MakeTimestamp}) {
        if (status.ok) {
            status = make(request, &pki);
        }
    }
    if (status.ok) {
        status = MakeEmptyCrl(request, pki.root, &pki.rootCrl);
    }
    if (status.ok) {
        status = MakeEmptyCrl(request, pki.issuingCa, &pki.issuingCaCrl);
    }
    if (status.ok) {
        *pkiOut = pki;
    }
    return status;
}
} // namespace forge
