#include "pki/revocation.h"

#include "core/log.h"
#include "sigkit/sigkit.h"
#include "x509/crl.h"
#include "x509/oid.h"
#include "x509/time.h"

namespace
{

bool IsOrdinaryEnd(uint32_t reasonCode)
{
    return reasonCode == SIGKIT_REASON_AFFILIATION_CHANGED || reasonCode == SIGKIT_REASON_SUPERSEDED ||
           reasonCode == SIGKIT_REASON_CESSATION_OF_OPERATION;
}

// Judges an entry that lists the certificate.
uint32_t JudgeEntry(const SigkitX509RevokeEntry &entry, bool dateMayExcuse, int64_t verifyTime, bool *revoked)
{
    if (!dateMayExcuse && !IsOrdinaryEnd(entry.crlEntryExtensions.reasonCode)) {
        *revoked = true;
        return SIGKIT_OK;
    }
    uint64_t revocationDate = 0;
    const uint32_t status = SigkitConvertDatetimeToTime(&entry.revocationDate, &revocationDate);
    if (status == SIGKIT_OK) {
        *revoked = verifyTime >= static_cast<int64_t>(revocationDate);
    }
    return status;
}

} // namespace

bool InternalCrlListsSerial(const SigkitX509Crl &crl, const SigkitAsnOcts &serialNumber)
{
    const SigkitX509Revoked &entries = crl.tbsCertList.revokedCertificates;
    for (uint32_t i = 0; i < entries.count; ++i) {
        if (SigkitCompareAsnOcts(&entries.items[i].userCertificate, &serialNumber) == 0) {
            return true;
        }
    }
    return false;
}

uint32_t InternalCheckCrlOfCert(const SigkitX509Cert &cert, const SigkitX509Crl &crl, int64_t verifyTime,
                                uint32_t strictRevocation)
{
    // What a compromised CA or timestamp key signed cannot be dated, so only an ordinary end leaves its past standing.
    const bool dateMayExcuse = strictRevocation != 1 && cert.tbsCertificate.extensions.basicConstraints.cA == 0;
    const SigkitX509Revoked &entries = crl.tbsCertList.revokedCertificates;
    for (uint32_t i = 0; i < entries.count; ++i) {
        const SigkitX509RevokeEntry &entry = entries.items[i];
        if (SigkitCompareAsnOcts(&entry.userCertificate, &cert.tbsCertificate.serialNumber) != 0) {
            continue;
        }
        bool revoked = false;
        const uint32_t status = JudgeEntry(entry, dateMayExcuse, verifyTime, &revoked);
        if (status != SIGKIT_OK) {
            return status;
        }
        if (revoked) {
            return SIGKIT_FAIL(SIGKIT_ERR_CERT_REVOKED, "The certificate was revoked.\r\n");
        }
    }
    return SIGKIT_OK;
}
