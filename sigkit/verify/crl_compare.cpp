// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "verify/crl_compare.h"

#include "core/context.h"
#include "core/log.h"
#include "sigkit/sigkit_host.h"

namespace
{

// The summary in a slot; null as well when the record's count exceeds its slots.
const SigkitCrlInfo *SummaryAt(const SigkitCrlBundle &bundle, int32_t slot)
{
    return slot < static_cast<int32_t>(SIGKIT_LIST_CAPACITY) ? bundle.crls[slot] : nullptr;
}

bool SameIssuerName(const SigkitCrlInfo &a, const SigkitCrlInfo &b)
{
    return SigkitStrCmp(a.issuerName, b.issuerName) == 0;
}

uint32_t InternalCheckParamCrlCompare(const SigkitVerifyCtx *ctx, const SigkitCrlBundle *first,
                                      const SigkitCrlBundle *second, const uint32_t *result)
{
    const uint32_t status = InternalCheckContext(ctx);
    if (status != SIGKIT_OK) {
        return status;
    }
    if (result == nullptr || first == nullptr || second == nullptr) {
        return SIGKIT_TRAIL(SIGKIT_ERR_PARAM);
    }
    if (first->count == 0 || second->count == 0) {
        return SIGKIT_TRAIL(SIGKIT_ERR_CRL_BUNDLE_EMPTY);
    }
    return SIGKIT_OK;
}

bool AllVerified(const SigkitCrlBundle &bundle)
{
    for (int32_t i = 0; i < bundle.count; ++i) {
        const SigkitCrlInfo *const info = SummaryAt(bundle, i);
        if (info == nullptr || info->verified != 1) {
            return false;
        }
    }
    return true;
}

// What the CRLs of the issuers that both files have come to, by their thisUpdate (RFC 5280, 5.1.2.4). Skipped:
// cRLNumber, which 5.2.3 has for this, is not read.
uint32_t CompareTimes(const SigkitCrlBundle &first, const SigkitCrlBundle &second)
{
    uint32_t state = SIGKIT_CRL_EQUAL;
    for (int32_t i = 0; i < first.count; ++i) {
        const SigkitCrlInfo &a = *first.crls[i];
        int32_t j = 0;
        while (j < second.count && !SameIssuerName(a, *second.crls[j])) {
            ++j;
        }
        if (j == second.count || a.thisUpdate == second.crls[j]->thisUpdate) {
            continue;
        }
        const bool isFirstLater = a.thisUpdate > second.crls[j]->thisUpdate;
        const uint32_t answer = isFirstLater ? SIGKIT_CRL_FIRST_NEWER : SIGKIT_CRL_SECOND_NEWER;
        if (state != SIGKIT_CRL_EQUAL && state != answer) {
            return SIGKIT_CRL_CONFLICT;
        }
        state = answer;
    }
    return state;
}

// Of two files whose common CRLs are equally new, the one with more CRLs counts as the newer.
uint32_t CompareCounts(const SigkitCrlBundle &first, const SigkitCrlBundle &second)
{
    if (first.count == second.count) {
        return SIGKIT_CRL_EQUAL;
    }
    return first.count > second.count ? SIGKIT_CRL_FIRST_NEWER : SIGKIT_CRL_SECOND_NEWER;
}

bool RevokesSerial(const SigkitCrlInfo &rootCrl, const SigkitCrlSerial &serial)
{
    for (int32_t i = 0; i < rootCrl.revokedCount; ++i) {
        const SigkitCrlSerial &revoked = rootCrl.revokedSerials[i];
        if (revoked.len == serial.len && SigkitMemCmp(revoked.serial, serial.serial, serial.len) == 0) {
            return true;
        }
    }
    return false;
}

// Returns whether `newer` has a CRL of the issuer of `summary`, or a root's CRL that revokes that issuer.
bool Covers(const SigkitCrlBundle &newer, const SigkitCrlInfo &summary)
{
    for (int32_t i = 0; i < newer.count; ++i) {
        const SigkitCrlInfo *const info = SummaryAt(newer, i);
        if (info == nullptr) {
            return false;
        }
        if (SameIssuerName(*info, summary)) {
            return true;
        }
    }
    for (int32_t i = 0; i < newer.count; ++i) { // no slot is empty here
        if (newer.crls[i]->revokedCount != 0) {
            return RevokesSerial(*newer.crls[i], summary.issuerSerial);
        }
    }
    return false;
}

} // namespace

uint32_t SigkitCrlCompare(SigkitVerifyCtx *ctx, const SigkitCrlBundle *first, const SigkitCrlBundle *second,
                          uint32_t *result)
{
    const uint32_t status = InternalCheckParamCrlCompare(ctx, first, second, result);
    if (status != SIGKIT_OK) {
        return status;
    }
    *result = SIGKIT_CRL_CONFLICT;
    if (!AllVerified(*first) || !AllVerified(*second)) {
        return SIGKIT_TRAIL(SIGKIT_ERR_CRL_BUNDLE_UNVERIFIED);
    }
    uint32_t answer = CompareTimes(*first, *second);
    if (InternalFindDuplicateCrlIssuer(*first) || InternalFindDuplicateCrlIssuer(*second)) {
        return SIGKIT_TRAIL(SIGKIT_ERR_CRL_ISSUER_TWICE);
    }
    if (answer == SIGKIT_CRL_EQUAL) {
        answer = CompareCounts(*first, *second);
    }
    const bool isFirstNewer = answer == SIGKIT_CRL_FIRST_NEWER;
    if (!(isFirstNewer ? InternalCheckNewCrl(*first, *second) : InternalCheckNewCrl(*second, *first))) {
        return SIGKIT_TRAIL(SIGKIT_ERR_CRL_COVERAGE);
    }
    *result = answer;
    return SIGKIT_OK;
}

bool InternalCheckNewCrl(const SigkitCrlBundle &newer, const SigkitCrlBundle &older)
{
    for (int32_t i = 0; i < older.count; ++i) {
        const SigkitCrlInfo *const info = SummaryAt(older, i);
        if (info == nullptr || !Covers(newer, *info)) {
            return false;
        }
    }
    return true;
}

bool InternalFindDuplicateCrlIssuer(const SigkitCrlBundle &bundle)
{
    for (int32_t i = 0; i < bundle.count; ++i) {
        for (int32_t j = i + 1; j < bundle.count; ++j) {
            if (SameIssuerName(*bundle.crls[i], *bundle.crls[j])) {
                return true;
            }
        }
    }
    return false;
}
