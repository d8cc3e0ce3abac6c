// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/explain/check_cause_path.h"

#include <algorithm>

#include "pkgsign/explain/cause_rows.h"
#include "pkgsign/explain/check_words.h"
#include "sigkit/sigkit.h"

namespace pkgsign
{
namespace
{

std::string PartyText(const Check &check, bool isAuthority, size_t certificate)
{
    const size_t party = isAuthority ? check.authority : check.signer;
    const SeenCertificate &seen = check.certificates[certificate];
    const char *const role =
        certificate == party ? (isAuthority ? "the timestamp authority's certificate " : "the signer's certificate ")
        : seen.isCa          ? "the CA certificate "
                             : "the certificate ";
    return role + Quoted(seen.subject);
}

void CauseOfValidity(Check *check, const Judgement &judgement, const std::string &who)
{
    const SeenCertificate &seen = check->certificates[judgement.certificate];
    const std::string at = ", and the token's time is " + TimeText(check->time);
    if (judgement.rulingStatus == SIGKIT_ERR_CERT_EXPIRED) {
        SetCause(check, "certificate-expired", who + " ended at " + TimeText(seen.notAfter) + at);
    } else if (judgement.rulingStatus == SIGKIT_ERR_CERT_NOT_YET_VALID) {
        SetCause(check, "certificate-not-yet-valid", who + " begins at " + TimeText(seen.notBefore) + at);
    } else {
        SetCause(check, "certificate-dates", who + " has dates that cannot be read");
    }
}

void CauseOfNoRoot(Check *check, const Judgement &judgement, const std::string &who)
{
    size_t place = judgement.certificate; // as far up as issuers are known
    for (size_t i = 0;
         i < check->certificates.size() && check->issuers[place] != NONE && check->issuers[place] != place; ++i) {
        place = check->issuers[place];
    }
    std::string text =
        who + " does not lead to the root: no issuer '" + check->certificates[place].issuer + "' is at hand";
    for (const RejectedCandidate &candidate : check->rejected[place]) {
        const SeenCertificate &seen = check->certificates[candidate.certificate];
        if (seen.subject == check->certificates[place].issuer) {
            text += "; " + Quoted(seen.subject) + " will not do: " + candidate.why;
        }
    }
    SetCause(check, "certificate-without-root", text);
}

void CauseOfNoCrl(Check *check, const Judgement &judgement, const std::string &who)
{
    const SeenCertificate &seen = check->certificates[judgement.certificate];
    const CrlFinding *expired = nullptr;
    const CrlFinding *unusable = nullptr;
    for (const CrlFinding &finding : judgement.crls) {
        const bool isLater =
            expired == nullptr || check->crls[expired->crl].nextUpdate < check->crls[finding.crl].nextUpdate;
        expired = finding.isExpired && isLater ? &finding : expired;
        unusable = !finding.isOtherIssuers ? &finding : unusable;
    }
    if (expired != nullptr) {
        SetCause(check, "crl-expired",
                 "the CRL of '" + check->crls[expired->crl].issuer + "' ended at " +
                     TimeText(check->crls[expired->crl].nextUpdate) + ", before the token's time, " +
                     TimeText(check->time) + ": it cannot clear " + who);
    } else if (unusable != nullptr) {
        SetCause(check, "crl-unusable",
                 "the CRL of '" + check->crls[unusable->crl].issuer + "' is not usable for " + who + ": " +
                     unusable->why);
    } else {
        const size_t issuer = check->issuers[judgement.certificate];
        const bool isRoot = issuer != NONE && check->certificates[issuer].source == Step::Root;
        SetCause(check, isRoot ? "crl-of-root-missing" : "crl-missing",
                 std::string("the CRL file has no CRL of ") + (isRoot ? "the root '" : "'") + seen.issuer +
                     "', which has issued " + who);
    }
}

void CauseOfEntry(Check *check, const Judgement &judgement, const std::string &who)
{
    const auto entry = std::find_if(judgement.entries.begin(), judgement.entries.end(),
                                    [](const EntryFinding &finding) { return finding.revokes; });
    if (entry == judgement.entries.end()) {
        SetCause(check, "crl-entry", who + " is listed with a date that cannot be read");
        return;
    }
    SetCause(check, "certificate-revoked",
             who + " was revoked at " + TimeText(entry->date) + " (" + ReasonText(entry->reason) +
                 (entry->dateCounts ? "), not after the token's time, " + TimeText(check->time)
                                    : "); its date does not count"));
}

// The judgement that a path failed at: of the certificate itself, or of one whose CRL it needs. Null: there is none.
const Judgement *FailedJudgement(const PathFinding &path)
{
    const Judgement *failed = nullptr;
    for (const Judgement &judgement : path.judgements) {
        failed = judgement.depth == 1 && judgement.status != SIGKIT_OK ? &judgement : failed;
    }
    for (size_t i = 0; failed != nullptr && i < path.judgements.size(); ++i) {
        const Judgement *below = nullptr;
        for (const CrlFinding &finding : failed->crls) {
            for (const Judgement &judgement : path.judgements) {
                const bool isCause = failed->ruling == Ruling::NoCrl && finding.failedIssuer == judgement.certificate &&
                                     finding.issuerStatus == failed->status && judgement.status == failed->status &&
                                     &judgement != failed;
                below = isCause ? &judgement : below;
            }
        }
        if (below == nullptr) {
            break;
        }
        failed = below;
    }
    return failed;
}

} // namespace

void CauseOfPath(Check *check, bool isAuthority)
{
    const PathFinding &path = isAuthority ? check->authorityPath : check->signerPath;
    const Judgement *const judgement = FailedJudgement(path);
    if (judgement == nullptr) {
        SetCause(check, "machine", std::string("the machine failed: ") + SigkitStatusText(path.status));
        return;
    }
    const std::string who = PartyText(*check, isAuthority, judgement->certificate);
    switch (judgement->ruling) {
    case Ruling::Validity:
        CauseOfValidity(check, *judgement, who);
        return;
    case Ruling::SelfSignedTest:
        SetCause(check, "certificate-algorithm",
                 who + " cannot be checked: " + SigkitStatusText(judgement->rulingStatus));
        return;
    case Ruling::NoRoot:
        CauseOfNoRoot(check, *judgement, who);
        return;
    case Ruling::NoCrl:
        if (judgement->rulingStatus == SIGKIT_ERR_NO_CRL) {
            CauseOfNoCrl(check, *judgement, who);
            return;
        }
        SetCause(check, judgement->rulingStatus == SIGKIT_ERR_PATH_TOO_DEEP ? "path-too-deep" : "machine",
                 "no CRL could be chosen for " + who + ": " + SigkitStatusText(judgement->rulingStatus));
        return;
    case Ruling::Entry:
        CauseOfEntry(check, *judgement, who);
        return;
    default:
        SetCause(check, "machine", std::string("the machine failed: ") + SigkitStatusText(path.status));
    }
}

} // namespace pkgsign
