#include "tests/support/parties.h"

#include <stdio.h>
#include <stdlib.h>

namespace
{

constexpr int KEY_BITS = 1024; // small, as thousands of signatures are checked

void Must(const PkgsignStatus &status)
{
    if (!status.ok) {
        (void)fprintf(stderr, "parties: %s\n", status.reason.c_str());
        abort();
    }
}

PkgsignName NameOf(const std::string &commonName)
{
    return {{"C", "XX"}, {"O", "Test"}, {"CN", commonName}};
}

uint8_t NextSerial()
{
    static uint8_t serial = 0x10;
    serial = static_cast<uint8_t>(serial == 0xFF ? 1 : serial + 1); // never 0: that is a serial number of no octets
    return serial;
}

Parties MakeParties()
{
    Parties parties;
    PkgsignCertificateRequest root = CertificateRequest("Root", nullptr);
    parties.root = Certify(root);
    root = CertificateRequest("Other Root", nullptr);
    parties.otherRoot = Certify(root);
    parties.issuingCa = Certify(CertificateRequest("CA", &parties.root));

    PkgsignCertificateRequest leaf = CertificateRequest("Signer", &parties.issuingCa);
    leaf.basicConstraints = PkgsignBasicConstraints::NotCa;
    leaf.keyUsage = PKGSIGN_DIGITAL_SIGNATURE;
    leaf.extendedKeyUsage = {PKGSIGN_PURPOSE_CODE_SIGNING};
    parties.signer = Certify(leaf);

    leaf = CertificateRequest("Timestamp", &parties.issuingCa);
    leaf.basicConstraints = PkgsignBasicConstraints::NotCa;
    leaf.keyUsage = PKGSIGN_DIGITAL_SIGNATURE;
    leaf.extendedKeyUsage = {PKGSIGN_PURPOSE_TIME_STAMPING};
    leaf.extendedKeyUsageCritical = true;
    parties.timestamp = Certify(leaf);
    return parties;
}

} // namespace

const Parties &AllParties()
{
    static const Parties parties = MakeParties();
    return parties;
}

PkgsignCertificateRequest CertificateRequest(const std::string &commonName, const Party *issuer)
{
    PkgsignCertificateRequest request;
    request.serialNumber = {NextSerial()};
    request.subject = NameOf(commonName);
    request.notBefore = PACKAGE_TIME - 300 * PACKAGE_DAY;
    request.notAfter = PACKAGE_TIME + 300 * PACKAGE_DAY;
    request.basicConstraints = PkgsignBasicConstraints::Ca;
    request.keyUsage = PKGSIGN_KEY_CERT_SIGN | PKGSIGN_CRL_SIGN;
    Must(PkgsignGenerateRsaKey(KEY_BITS, &request.subjectKey));
    if (issuer != nullptr) {
        request.issuerKey = issuer->key;
        Must(PkgsignGetSubject(issuer->certificate, &request.issuerDer));
    }
    return request;
}

Party Certify(const PkgsignCertificateRequest &request)
{
    Party party;
    party.key = request.subjectKey;
    Must(PkgsignMakeCertificate(request, &party.certificate));
    return party;
}

PkgsignCrlRequest CrlRequest(const Party &issuer)
{
    PkgsignCrlRequest request;
    request.issuerCertificate = issuer.certificate;
    request.issuerKey = issuer.key;
    request.thisUpdate = PACKAGE_TIME - 10 * PACKAGE_DAY;
    request.nextUpdate = PACKAGE_TIME + 10 * PACKAGE_DAY;
    return request;
}

PkgsignBytes MakeCrl(const PkgsignCrlRequest &request)
{
    PkgsignBytes crl;
    Must(PkgsignMakeCrl(request, &crl));
    return crl;
}

PkgsignBytes GoodCrls()
{
    return Join({MakeCrl(CrlRequest(AllParties().root)), MakeCrl(CrlRequest(AllParties().issuingCa))});
}

PkgsignMessageRequest MessageRequest(const std::string &content)
{
    return MessageTimestampedBy(content, AllParties().timestamp);
}

PkgsignMessageRequest MessageTimestampedBy(const std::string &content, const Party &authority)
{
    const Parties &parties = AllParties();
    PkgsignMessageRequest request;
    request.content = Octets(content);
    request.signerCertificate = parties.signer.certificate;
    request.signerKey = parties.signer.key;
    request.certificates = {parties.signer.certificate, parties.issuingCa.certificate};
    request.timestamp = PkgsignTimestamp::Request;
    request.tokenRequest.genTime = PACKAGE_TIME;
    request.tokenRequest.tsaCertificate = authority.certificate;
    request.tokenRequest.tsaKey = authority.key;
    request.tokenRequest.certificates = {authority.certificate};
    return request;
}

PkgsignBytes MakeMessage(const PkgsignMessageRequest &request)
{
    PkgsignBytes message;
    Must(PkgsignSignDetached(request, &message));
    return message;
}

PkgsignBytes Join(const std::vector<PkgsignBytes> &parts)
{
    PkgsignBytes joined;
    for (const PkgsignBytes &part : parts) {
        joined.insert(joined.end(), part.begin(), part.end());
    }
    return joined;
}

PkgsignBytes Octets(const std::string &text)
{
    return PkgsignBytes(text.begin(), text.end());
}

PkgsignBytes Pem(const std::string &label, const PkgsignBytes &der)
{
    return Octets(PkgsignArmour(label, der));
}
