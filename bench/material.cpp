#include "bench/material.h"

#include <cstdio>
#include <cstdlib>
#include <string>

namespace
{

constexpr uint8_t ENTRIES = 20;
constexpr int64_t NOW = 1640995200; // 2022-01-01

void Must(const PkgsignStatus &status)
{
    if (!status.ok) {
        std::fprintf(stderr, "material: %s\n", status.reason.c_str());
        std::exit(1);
    }
}

PkgsignCrlRequest CrlOfManyEntries(const PkgsignIdentity &issuer)
{
    PkgsignCrlRequest request;
    request.issuerCertificate = issuer.certificate;
    request.issuerKey = issuer.key;
    request.thisUpdate = PKGSIGN_PKI_NOT_BEFORE;
    request.nextUpdate = PKGSIGN_PKI_NOT_AFTER;
    for (uint8_t i = 0; i < ENTRIES; ++i) {
        PkgsignRevokedCertificate entry;
        entry.serialNumber = {0x40, i};
        entry.revocationDate = NOW;
        entry.reasonCode = 1;
        request.revoked.push_back(entry);
    }
    return request;
}

PkgsignMessageRequest SmallMessage(const PkgsignPki &pki)
{
    const std::string content = "f4d1b0 firmware.bin\n";
    PkgsignMessageRequest request;
    request.content = PkgsignBytes(content.begin(), content.end());
    request.signerCertificate = pki.signer.certificate;
    request.signerKey = pki.signer.key;
    request.certificates = {pki.signer.certificate, pki.issuingCa.certificate};
    request.timestamp = PkgsignTimestamp::Request;
    request.tokenRequest.genTime = NOW;
    request.tokenRequest.tsaCertificate = pki.timestamp.certificate;
    request.tokenRequest.tsaKey = pki.timestamp.key;
    request.tokenRequest.certificates = {pki.timestamp.certificate};
    return request;
}

Material Make()
{
    PkgsignPki pki;
    Must(PkgsignMakePki(PkgsignPkiRequest(), &pki));
    Material material;
    material.certificate = pki.signer.certificate;
    Must(PkgsignMakeCrl(CrlOfManyEntries(pki.issuingCa), &material.crl));
    Must(PkgsignSignDetached(SmallMessage(pki), &material.message));
    return material;
}

} // namespace

const Material &TheMaterial()
{
    static const Material material = Make();
    return material;
}
