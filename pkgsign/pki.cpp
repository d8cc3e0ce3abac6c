#include "pkgsign/status.h"

#include <openssl/evp.h>

namespace
{
constexpr int ROOT_KEY_BITS = 4096;
constexpr size_t SERIAL_NUMBER_SIZE = 16;     // octets, of the subordinate certificates
constexpr size_t SERIAL_NUMBER_SIZE_MAX = 20; // RFC 5280, 4.1.2.2
constexpr uint32_t CA_KEY_USAGE = PKGSIGN_KEY_CERT_SIGN | PKGSIGN_CRL_SIGN;

PkgsignName MakeName(const PkgsignPkiRequest &request, const std::string &commonName)
{
    return {{"C", "XX"}, {"O", request.organization}, {"CN", commonName}}; // XX: no country (ISO 3166, user-assigned)
}

PkgsignStatus KeepOrGenerate(const PkgsignKey &given, int bits, PkgsignKey *keyOut)
{
    if (given == nullptr) {
        return PkgsignGenerateRsaKey(bits, keyOut);
    }
    *keyOut = given;
    return PkgsignOk();
}

PkgsignCertificateRequest DescribeRoot(const PkgsignPkiRequest &request, const PkgsignKey &key)
{
    PkgsignCertificateRequest root;
    root.subject = MakeName(request, request.rootName);
    root.notBefore = PKGSIGN_PKI_NOT_BEFORE;
    root.notAfter = PKGSIGN_PKI_ROOT_NOT_AFTER;
    root.basicConstraints = PkgsignBasicConstraints::Ca;
    root.keyUsage = CA_KEY_USAGE;
    root.subjectKey = key;
    return root;
}

// Makes the root certificate with a serial number as long as it takes to reach the fixed size.
PkgsignStatus FitRoot(PkgsignCertificateRequest root, PkgsignBytes *certificateOut)
{
    PkgsignBytes trial;
    PkgsignStatus status = PkgsignMakeCertificate(root, &trial);
    if (!status.ok) {
        return status;
    }
    const size_t size = root.serialNumber.size() + PKGSIGN_ROOT_CERTIFICATE_SIZE - trial.size();
    if (trial.size() > PKGSIGN_ROOT_CERTIFICATE_SIZE || size > SERIAL_NUMBER_SIZE_MAX) {
        return PkgsignFail("organization and root name must have 11 to 20 octets together");
    }
    status = PkgsignMakeSerialNumber(size, &root.serialNumber);
    return status.ok ? PkgsignMakeCertificate(root, certificateOut) : status;
}

// Makes the certificate that `certificate` describes but for name, times, serial number and issuer.
PkgsignStatus MakeSubordinate(const PkgsignPkiRequest &request, const std::string &commonName,
                              const PkgsignIdentity &issuer, PkgsignCertificateRequest certificate,
                              PkgsignIdentity *identityOut)
{
    if (commonName == request.rootName) {
        return PkgsignFail("the root cannot be named '" + commonName +
                           "': a certificate under it is"); // names find issuers
    }
    certificate.subject = MakeName(request, commonName);
    certificate.notBefore = request.notBefore;
    certificate.notAfter = request.notAfter;
    certificate.issuerKey = issuer.key;
    PkgsignIdentity made;
    PkgsignStatus status = KeepOrGenerate(certificate.subjectKey, request.keyBits, &made.key);
    certificate.subjectKey = made.key;
    if (status.ok) {
        status = PkgsignGetSubject(issuer.certificate, &certificate.issuerDer);
    }
    if (status.ok) {
        status = PkgsignMakeSerialNumber(SERIAL_NUMBER_SIZE, &certificate.serialNumber);
    }
    if (status.ok) {
        status = PkgsignMakeCertificate(certificate, &made.certificate);
    }
    if (status.ok) {
        *identityOut = made;
    }
    return status;
}

PkgsignStatus MakeIssuingCa(const PkgsignPkiRequest &request, PkgsignPki *pki)
{
    PkgsignCertificateRequest certificate;
    certificate.basicConstraints = PkgsignBasicConstraints::Ca;
    certificate.pathLength = 0;
    certificate.keyUsage = CA_KEY_USAGE;
    certificate.subjectKey = request.issuingCaKey;
    return MakeSubordinate(request, "Issuing CA", pki->root, certificate, &pki->issuingCa);
}

PkgsignStatus MakeSigner(const PkgsignPkiRequest &request, PkgsignPki *pki)
{
    PkgsignCertificateRequest certificate;
    certificate.basicConstraints = PkgsignBasicConstraints::NotCa;
    certificate.keyUsage = PKGSIGN_DIGITAL_SIGNATURE;
    certificate.extendedKeyUsage = {PKGSIGN_PURPOSE_CODE_SIGNING};
    certificate.subjectKey = request.signerKey;
    return MakeSubordinate(request, "Code Signing", pki->issuingCa, certificate, &pki->signer);
}

// RFC 3161, 2.3: time stamping is the only purpose, and the extension is critical.
PkgsignStatus MakeTimestamp(const PkgsignPkiRequest &request, PkgsignPki *pki)
{
    PkgsignCertificateRequest certificate;
    certificate.basicConstraints = PkgsignBasicConstraints::NotCa;
    certificate.keyUsage = PKGSIGN_DIGITAL_SIGNATURE;
    certificate.extendedKeyUsage = {PKGSIGN_PURPOSE_TIME_STAMPING};
    certificate.extendedKeyUsageCritical = true;
    certificate.subjectKey = request.timestampKey;
    return MakeSubordinate(request, "Time Stamping", pki->issuingCa, certificate, &pki->timestamp);
}

PkgsignStatus MakeEmptyCrl(const PkgsignPkiRequest &request, const PkgsignIdentity &issuer, PkgsignBytes *crlOut)
{
    PkgsignCrlRequest crl;
    crl.issuerCertificate = issuer.certificate;
    crl.issuerKey = issuer.key;
    crl.thisUpdate = request.crlThisUpdate;
    crl.nextUpdate = request.crlNextUpdate;
    return PkgsignMakeCrl(crl, crlOut);
}

} // namespace

PkgsignStatus PkgsignMakeRoot(const PkgsignPkiRequest &request, PkgsignIdentity *rootOut)
{
    if (request.rootKey != nullptr && EVP_PKEY_bits(request.rootKey.get()) != ROOT_KEY_BITS) {
        return PkgsignFail("the root key must have 4096 bits");
    }
    if (request.organization.empty() || request.rootName.empty()) {
        return PkgsignFail("organization and root name must not be empty");
    }
    PkgsignIdentity root;
    PkgsignStatus status = KeepOrGenerate(request.rootKey, ROOT_KEY_BITS, &root.key);
    if (status.ok) {
        status = FitRoot(DescribeRoot(request, root.key), &root.certificate);
    }
    if (status.ok) {
        *rootOut = root;
    }
    return status;
}

PkgsignStatus PkgsignMakePki(const PkgsignPkiRequest &request, PkgsignPki *pkiOut)
{
    PkgsignPki pki;
    PkgsignStatus status = PkgsignMakeRoot(request, &pki.root);
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
