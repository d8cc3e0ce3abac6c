// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// One CRL: decoding, its issuer's name, its dates, the look-up of each serial number that it lists.
#include "fuzz/target.h"

#include "asn1/decode.h"
#include "asn1/records.h"
#include "fuzz/support/mutate.h"
#include "fuzz/support/views.h"
#include "pki/revocation.h"
#include "sigkit/sigkit_host.h"
#include "x509/crl.h"
#include "x509/name.h"
#include "x509/time.h"

namespace
{

void CheckEntries(const SigkitX509Crl &crl)
{
    const SigkitX509Revoked &revoked = crl.tbsCertList.revokedCertificates;
    for (uint32_t i = 0; i < revoked.count; ++i) {
        uint64_t seconds = 0;
        (void)SigkitConvertDatetimeToTime(&revoked.items[i].revocationDate, &seconds);
        // An empty serial number equals nothing, itself included.
        if (revoked.items[i].userCertificate.len != 0 &&
            !InternalCrlListsSerial(crl, revoked.items[i].userCertificate)) {
            FuzzFail("entry %u is not found", i);
        }
    }
}

// A certificate with a listed serial number and no CA is revoked from the entry's date on, unless that is no date.
void CheckRevocation(const SigkitX509Crl &crl)
{
    const SigkitX509Revoked &revoked = crl.tbsCertList.revokedCertificates;
    SigkitX509Cert cert = {};
    for (uint32_t i = 0; i < revoked.count; ++i) {
        cert.tbsCertificate.serialNumber = revoked.items[i].userCertificate;
        if (cert.tbsCertificate.serialNumber.len == 0) {
            continue;
        }
        const uint32_t atTheEnd = InternalCheckCrlOfCert(cert, crl, INT64_MAX, 0);
        if (atTheEnd != SIGKIT_ERR_CERT_REVOKED && atTheEnd != SIGKIT_ERR_TIME_FORMAT) {
            FuzzFail("a listed certificate is not revoked: %08x", atTheEnd);
        }
        (void)InternalCheckCrlOfCert(cert, crl, 0, 1);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzBegin();
    SigkitX509Crl *crl = nullptr;
    uint32_t consumed = 0;
    const uint32_t status = SigkitX509DecodeCrl(data, static_cast<uint32_t>(size), &crl, &consumed);
    if (status == SIGKIT_OK) {
        if (consumed == 0 || consumed > size) {
            FuzzFail("%u of %zu octets are consumed", consumed, size);
        }
        FuzzCheckViews(crl, g_itemSigkitX509Crl, data, size);
        char *text = nullptr;
        uint32_t length = 0;
        if (SigkitConvertFromX509Name(&crl->tbsCertList.issuer, &text, &length) == SIGKIT_OK) {
            SigkitFree(text);
        }
        CheckEntries(*crl);
        CheckRevocation(*crl);
        SigkitX509FreeCrl(crl);
    } else if (crl != nullptr) {
        FuzzFail("a CRL together with %08x", status);
    }
    FuzzTally(status);
    FuzzEnd();
    return 0;
}

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t maxSize, unsigned int seed)
{
    return FuzzMutateObjects(data, size, maxSize, seed);
}
