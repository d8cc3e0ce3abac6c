// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/authority/crl_plan.h"

#include <algorithm>

#include "pkgsign/files/files.h"

namespace pkgsign
{
namespace
{

// What the issuer of a CA has said of it: from memory, from revocations to try, or from the issuer's CRL.
bool FindInIssuer(const CrlSources &sources, const KnownCa &issuer, const std::string &serial, Revocation *out)
{
    if (const Revocation *const known = FindRevocation(sources.pki, issuer.id, serial); known != nullptr) {
        *out = *known;
        return true;
    }
    if (issuer.last != nullptr) {
        for (const Revocation &entry : CrlEntries(issuer.last.get(), issuer.id)) {
            if (entry.serial == serial) {
                *out = entry;
                return true;
            }
        }
    }
    return false;
}

std::string NextNumber(const PublishedCrl *last, int64_t thisUpdate)
{
    const std::string byTime = std::to_string(thisUpdate);
    if (last == nullptr || CompareNumbers(last->number, byTime) < 0) {
        return byTime;
    }
    BIGNUM *number = nullptr;
    (void)BN_dec2bn(&number, last->number.c_str());
    const BnPtr owned(number);
    (void)BN_add_word(number, 1);
    char *const text = BN_bn2dec(number);
    const std::string next = text == nullptr ? byTime : text;
    OPENSSL_free(text);
    return next;
}

// By the cadence, from today on. A CRL that follows one dated ahead is good no longer than it must be: who has no newer
// file goes by it until then.
int64_t NextUpdate(const CrlSources &sources, int64_t thisUpdate, bool isCapped)
{
    const int64_t cadence = sources.pki.lifetimes.crl;
    if (sources.order.nextUpdate != 0 && !isCapped) {
        return sources.order.nextUpdate;
    }
    return isCapped ? thisUpdate + cadence : std::max(sources.place.now + cadence, thisUpdate + SECONDS_PER_DAY);
}

} // namespace

bool FindRevocationOf(const CrlSources &sources, const KnownCa &authority, Revocation *out)
{
    const X509_NAME *const name = X509_get_issuer_name(authority.certificate.get());
    const std::string serial = SerialText(authority.certificate.get());
    return std::any_of(sources.authorities.begin(), sources.authorities.end(), [&](const KnownCa &issuer) {
        return X509_NAME_cmp(X509_get_subject_name(issuer.certificate.get()), name) == 0 &&
               FindInIssuer(sources, issuer, serial, out);
    });
}

bool AreSameRevocations(const std::vector<Revocation> &a, const std::vector<Revocation> &b)
{
    return std::is_permutation(a.begin(), a.end(), b.begin(), b.end(),
                               [](const Revocation &one, const Revocation &two) {
                                   return one.serial == two.serial && IsSameRevocation(one, two);
                               });
}

Status PlanCrl(const CrlSources &sources, const KnownCa &authority, const Revocation *ended, CrlFields *fields,
               bool *isNewOut)
{
    int64_t latest = authority.entry->notAfter;
    if (ended != nullptr) {
        latest = std::min(latest, ended->date - 1);
    }
    const bool isCapped = latest < sources.place.now;
    const int64_t last = authority.last == nullptr ? 0 : TimeSeconds(X509_CRL_get0_lastUpdate(authority.last.get()));
    fields->issuer = authority.certificate;
    fields->entries = RevocationsOf(sources.pki, authority.id);
    fields->thisUpdate = isCapped ? latest : std::max(sources.place.now, std::min(last + 1, latest));
    fields->nextUpdate = NextUpdate(sources, fields->thisUpdate, isCapped);
    fields->number = NextNumber(FindCrl(sources.pki, authority.id), fields->thisUpdate);
    *isNewOut =
        !isCapped || last != latest || !AreSameRevocations(CrlEntries(authority.last.get(), ""), fields->entries);
    if (last > latest) {
        return Fail("'" + authority.id + "' ends, or is superseded, before its last CRL, which is dated " +
                    FormatTime(last) + "; devices could not trust that CRL any more");
    }
    if (!isCapped && sources.order.datedAhead == DatedAhead::Refused && authority.last != nullptr &&
        IsDatedAhead(authority.last.get(), sources.place.now)) {
        return Fail("the last CRL of '" + authority.id + "' is dated " + FormatTime(last) + ", and it is " +
                    FormatTime(sources.place.now) +
                    "; is the clock right? If it was wrong when that CRL was signed, give --dated-ahead, see 'A CRL "
                    "dated ahead' in the operations guide");
    }
    if (fields->nextUpdate <= fields->thisUpdate) {
        return Fail("nextUpdate (" + FormatTime(fields->nextUpdate) + ") is not after thisUpdate (" +
                    FormatTime(fields->thisUpdate) + ")");
    }
    if (fields->entries.size() > CRL_ENTRIES_MAX) {
        return Fail("the CRL of '" + authority.id + "' would have " + std::to_string(fields->entries.size()) +
                    " entries, and devices take " + std::to_string(CRL_ENTRIES_MAX) +
                    "; issue a new CA and revoke this one, see 'A full CRL' in the operations guide");
    }
    return {};
}

} // namespace pkgsign
