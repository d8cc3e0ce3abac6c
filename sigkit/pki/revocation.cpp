// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pki/revocation.h"

#include "core/log.h"
#include "core/trace.h"
#include "sigkit/sigkit.h"
#include "x509/crl.h"
#include "x509/oid.h"
#include "x509/time.h"

namespace
{

// RFC 3161, 4, item 1. Narrowed: unspecified, which it names as well, reads like no reason at all, which it does not.
bool IsOrdinaryEnd(uint32_t reasonCode)
{
    return reasonCode == SIGKIT_REASON_AFFILIATION_CHANGED || reasonCode == SIGKIT_REASON_SUPERSEDED ||
           reasonCode == SIGKIT_REASON_CESSATION_OF_OPERATION;
}

// Judges an entry that lists the certificate. RFC 5280, 6.3.3 (j), has it revoked whatever the date. Widened: what a
// timestamp places before the revocation stands (RFC 3161, appendix B, B (6)). (k): skipped, removeFromCRL revokes.
uint32_t JudgeEntry(const SigkitX509RevokeEntry &entry, bool dateMayExcuse, int64_t verifyTime, bool *revoked)
{
    if (!dateMayExcuse && !IsOrdinaryEnd(entry.crlEntryExtensions.reasonCode)) {
        SIGKIT_TRACE(ENTRY_DATE, &entry, nullptr, 0);
        *revoked = true;
        return SIGKIT_OK;
    }
    SIGKIT_TRACE(ENTRY_DATE, &entry, nullptr, 1);
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
    // What a compromised CA or timestamp key signed cannot be dated, so only an ordinary end leaves its past standing:
    // RFC 3161, 4, items 1 and 2, for timestamp keys, and the same for CAs.
    const bool dateMayExcuse = strictRevocation != 1 && cert.tbsCertificate.extensions.basicConstraints.cA == 0;
    const SigkitX509Revoked &entries = crl.tbsCertList.revokedCertificates;
    for (uint32_t i = 0; i < entries.count; ++i) {
        const SigkitX509RevokeEntry &entry = entries.items[i];
        // RFC 5280, 6.3.3 (j). Narrowed: an entry counts by its number alone, also in an indirect CRL, as its
        // certificateIssuer (5.3.3) is not read. Widened: its other critical extensions are passed over (5.3).
        if (SigkitCompareAsnOcts(&entry.userCertificate, &cert.tbsCertificate.serialNumber) != 0) {
            continue;
        }
        bool revoked = false;
        const uint32_t status = JudgeEntry(entry, dateMayExcuse, verifyTime, &revoked);
        SIGKIT_TRACE(ENTRY, &cert, &entry, revoked ? 1 : 0);
        if (status != SIGKIT_OK) {
            return status;
        }
        if (revoked) {
            return SIGKIT_FAIL(SIGKIT_ERR_CERT_REVOKED, "The certificate was revoked.\r\n");
        }
    }
    return SIGKIT_OK;
}
