// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/support/parties.h"

#include <stdio.h>
#include <stdlib.h>

#include "tests/support/rsa_keys.h"

namespace
{

constexpr int KEY_BITS = 1024; // small, as thousands of signatures are checked

void Must(const forge::Status &status)
{
    if (!status.ok) {
        (void)fprintf(stderr, "parties: %s\n", status.reason.c_str());
        abort();
    }
}

forge::Name NameOf(const std::string &commonName)
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
    forge::CertificateRequest root = CertificateRequest("Root", nullptr);
    parties.root = Certify(root);
    root = CertificateRequest("Other Root", nullptr);
    parties.otherRoot = Certify(root);
    parties.issuingCa = Certify(CertificateRequest("CA", &parties.root));

    forge::CertificateRequest leaf = CertificateRequest("Signer", &parties.issuingCa);
    leaf.basicConstraints = forge::BasicConstraints::NotCa;
    leaf.keyUsage = forge::DIGITAL_SIGNATURE;
    leaf.extendedKeyUsage = {forge::PURPOSE_CODE_SIGNING};
    parties.signer = Certify(leaf);

    leaf = CertificateRequest("Timestamp", &parties.issuingCa);
    leaf.basicConstraints = forge::BasicConstraints::NotCa;
    leaf.keyUsage = forge::DIGITAL_SIGNATURE;
    leaf.extendedKeyUsage = {forge::PURPOSE_TIME_STAMPING};
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

forge::CertificateRequest CertificateRequest(const std::string &commonName, const Party *issuer)
{
    forge::CertificateRequest request;
    request.serialNumber = {NextSerial()};
    request.subject = NameOf(commonName);
    request.notBefore = PACKAGE_TIME - 300 * PACKAGE_DAY;
    request.notAfter = PACKAGE_TIME + 300 * PACKAGE_DAY;
    request.basicConstraints = forge::BasicConstraints::Ca;
    request.keyUsage = forge::KEY_CERT_SIGN | forge::CRL_SIGN;
    request.subjectKey = NextRsaKey(KEY_BITS);
    if (issuer != nullptr) {
        request.issuerKey = issuer->key;
        Must(forge::GetSubject(issuer->certificate, &request.issuerDer));
    }
    return request;
}

Party Certify(const forge::CertificateRequest &request)
{
    Party party;
    party.key = request.subjectKey;
    Must(forge::MakeCertificate(request, &party.certificate));
    return party;
}

forge::CrlRequest CrlRequest(const Party &issuer)
{
    forge::CrlRequest request;
    request.issuerCertificate = issuer.certificate;
    request.issuerKey = issuer.key;
    request.thisUpdate = PACKAGE_TIME - 10 * PACKAGE_DAY;
    request.nextUpdate = PACKAGE_TIME + 10 * PACKAGE_DAY;
    return request;
}

forge::Bytes MakeCrl(const forge::CrlRequest &request)
{
    forge::Bytes crl;
    Must(forge::MakeCrl(request, &crl));
    return crl;
}

forge::Bytes GoodCrls()
{
    return Join({MakeCrl(CrlRequest(AllParties().root)), MakeCrl(CrlRequest(AllParties().issuingCa))});
}

forge::MessageRequest MessageRequest(const std::string &content)
{
    return MessageTimestampedBy(content, AllParties().timestamp);
}

forge::MessageRequest MessageTimestampedBy(const std::string &content, const Party &authority)
{
    const Parties &parties = AllParties();
    forge::MessageRequest request;
    request.content = Octets(content);
    request.signerCertificate = parties.signer.certificate;
    request.signerKey = parties.signer.key;
    request.certificates = {parties.signer.certificate, parties.issuingCa.certificate};
    request.timestamp = forge::Timestamp::Request;
    request.tokenRequest.genTime = PACKAGE_TIME;
    request.tokenRequest.tsaCertificate = authority.certificate;
    request.tokenRequest.tsaKey = authority.key;
    request.tokenRequest.certificates = {authority.certificate};
    return request;
}

forge::Bytes MakeMessage(const forge::MessageRequest &request)
{
    forge::Bytes message;
    Must(forge::SignDetached(request, &message));
    return message;
}

forge::Bytes Join(const std::vector<forge::Bytes> &parts)
{
    forge::Bytes joined;
    for (const forge::Bytes &part : parts) {
        joined.insert(joined.end(), part.begin(), part.end());
    }
    return joined;
}

forge::Bytes Octets(const std::string &text)
{
    return forge::Bytes(text.begin(), text.end());
}

forge::Bytes Pem(const std::string &label, const forge::Bytes &der)
{
    return Octets(forge::Armour(label, der));
}
