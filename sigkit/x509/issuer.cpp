// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "x509/issuer.h"

#include "core/context.h"
#include "core/trace.h"
#include "sigkit/sigkit.h"
#include "x509/name.h"
#include "x509/pubkey.h"

namespace
{

constexpr uint32_t OWN_KEY = 1;
static_assert(SIGKIT_LIST_CAPACITY < 32, "each stored certificate has a bit of its own, beside the record's own key");

// What certificates and CRLs have in common here.
struct Signed {
    const SigkitX509Name &issuer;
    const SigkitAsnOcts &encoded;
    const SigkitAsnOcts &signature;
    const SigkitAsnOcts &algorithm;
    InternalIssuerVerdicts *verdicts;
};

// The bit under which the verdict about a stored certificate is kept, or 0.
uint32_t StoredKey(const SigkitX509Cert &issuer)
{
    return issuer.storeIndex == 0 ? 0 : OWN_KEY << issuer.storeIndex;
}

// Keeps a failure that another check would repeat. The host's may pass, so those are never kept.
void NoteError(uint32_t status, uint32_t key, InternalIssuerVerdicts *verdicts)
{
    if (!InternalIsHostFailure(status)) {
        verdicts->failed |= key;
        verdicts->error = status;
        verdicts->errors += 1;
    }
}

uint32_t IsIssuedBy(const Signed &record, const SigkitX509Cert &issuer, uint32_t key, bool *issued)
{
    *issued = (record.verdicts->issued & key) != 0;
    if ((record.verdicts->known & key) != 0) {
        return SIGKIT_OK;
    }
    if ((record.verdicts->failed & key) != 0 && record.verdicts->errors >= SIGKIT_ISSUER_ERRORS_MAX) {
        return record.verdicts->error;
    }
    // RFC 5280, 4.1.1.2 and 5.1.1.2: skipped, signatureAlgorithm is not compared with the one that is signed. 4.2.1.1
    // and 5.2.1: skipped, an authority key identifier is not read, so each certificate of the name is tried.
    uint32_t verified = 0;
    if (SigkitCompareX509Name(&issuer.tbsCertificate.subject, &record.issuer) == 0) {
        SIGKIT_TRACE(NAME_AGREES, &record.issuer, &issuer, 0);
        const uint32_t status = SigkitX509PubKeyVerify(
            record.encoded.data, record.encoded.len, record.signature.data, record.signature.len,
            &issuer.tbsCertificate.subjectPublicKeyInfo.subjectPublicKey.rsaPublicKey, &record.algorithm, &verified);
        if (status != SIGKIT_OK) {
            NoteError(status, key, record.verdicts);
            return status;
        }
    }
    *issued = verified == 1;
    record.verdicts->known |= key;
    record.verdicts->issued |= *issued ? key : 0;
    return SIGKIT_OK;
}

} // namespace

uint32_t InternalIsCertIssuedBy(SigkitX509Cert *record, const SigkitX509Cert &issuer, bool *issued)
{
    const Signed view = {record->tbsCertificate.issuer, record->encoded, record->signatureValue,
                         record->signatureAlgorithm.algorithm, &record->issuerVerdicts};
    return IsIssuedBy(view, issuer, record == &issuer ? OWN_KEY : StoredKey(issuer), issued);
}

uint32_t InternalIsCrlIssuedBy(SigkitX509Crl *record, const SigkitX509Cert &issuer, bool *issued)
{
    const Signed view = {record->tbsCertList.issuer, record->encoded, record->signatureValue,
                         record->signatureAlgorithm.algorithm, &record->issuerVerdicts};
    return IsIssuedBy(view, issuer, StoredKey(issuer), issued);
}
