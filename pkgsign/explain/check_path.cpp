// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Records of path validation: each certificate that is judged, and the CRLs that are considered for it.
#include <algorithm>

#include "pkgsign/explain/check_collector.h"
#include "pki/crl_select.h"
#include "sigkit/sigkit.h"

namespace pkgsign
{
namespace
{

std::string ScoreInWords(uint32_t score)
{
    const bool isSame = (score & SIGKIT_CRL_SCORE_SAME_ISSUER) != 0;
    std::string text = (score & SIGKIT_CRL_SCORE_LISTS_CERT) != 0 ? "lists the certificate, " : "";
    text += (score & SIGKIT_CRL_SCORE_CURRENT) != 0 ? "in date, " : "expired, ";
    text += isSame ? "of the certificate's issuer" : "indirect, of another issuer";
    return text + (isSame && (score & SIGKIT_CRL_SCORE_OTHER_ISSUER) != 0 ? ", marked indirect" : "");
}

CrlFinding *Finding(TraceCollector *collector, const void *crl, Judgement *judgement)
{
    const size_t place = SeeCrl(*static_cast<const SigkitX509Crl *>(crl), &collector->seen, collector->check);
    for (CrlFinding &finding : judgement->crls) {
        if (finding.crl == place) {
            return &finding;
        }
    }
    judgement->crls.push_back({});
    judgement->crls.back().crl = place;
    return &judgement->crls.back();
}

void Rule(Judgement *judgement, Ruling ruling, int64_t outcome)
{
    judgement->ruling = ruling;
    judgement->rulingStatus = static_cast<uint32_t>(outcome);
}

void TakeChoice(TraceCollector *collector, const SigkitTraceRecord &record, Judgement *judgement)
{
    if (record.object == nullptr) {
        Rule(judgement, Ruling::NoCrl, record.value);
        return;
    }
    const CrlFinding *const taken = Finding(collector, record.object, judgement);
    for (CrlFinding &finding : judgement->crls) {
        const bool isTaken = &finding == taken;
        if (isTaken || (finding.score != 0 && finding.failedIssuer == NONE)) {
            finding.use = isTaken ? CrlUse::Taken : CrlUse::Outranked;
        }
    }
    Rule(judgement, Ruling::Good, SIGKIT_OK);
}

void TakeEntry(TraceCollector *collector, const SigkitTraceRecord &record, Judgement *judgement)
{
    const SigkitX509RevokeEntry &entry = *static_cast<const SigkitX509RevokeEntry *>(record.object);
    judgement->entries.push_back({entry.crlEntryExtensions.reasonCode, ReadTime(entry.revocationDate),
                                  collector->dateCounts, record.value == 1});
}

bool TakeCrl(TraceCollector *collector, const SigkitTraceRecord &record, Judgement *judgement)
{
    switch (record.point) {
    case SIGKIT_TRACE_CRL_OTHER_ISSUER: {
        CrlFinding *const finding = Finding(collector, record.subject, judgement);
        finding->why = "of another issuer";
        finding->isOtherIssuers = true;
        return true;
    }
    case SIGKIT_TRACE_CRL_NO_ISSUER:
        Finding(collector, record.subject, judgement)->why = "no certificate at hand has signed it";
        return true;
    case SIGKIT_TRACE_CRL_OTHER_ROOT:
        Finding(collector, record.subject, judgement)->why = "its issuer does not lead to the same root";
        return true;
    case SIGKIT_TRACE_CRL_NO_NEXT_UPDATE:
        Finding(collector, record.subject, judgement)->why = "its nextUpdate cannot be read";
        return true;
    case SIGKIT_TRACE_CRL_EXPIRED: {
        CrlFinding *const finding = Finding(collector, record.subject, judgement);
        finding->isExpired = true;
        finding->why = "it ended before the token's time, and does not list the certificate";
        return true;
    }
    case SIGKIT_TRACE_CRL_SCORE: {
        CrlFinding *const finding = Finding(collector, record.subject, judgement);
        finding->score = static_cast<uint32_t>(record.value);
        finding->why = finding->score == 0 ? finding->why : ScoreInWords(finding->score);
        return true;
    }
    case SIGKIT_TRACE_CRL_ISSUER_JUDGED:
        if (record.value != SIGKIT_OK) {
            CrlFinding *const finding = Finding(collector, record.subject, judgement);
            finding->failedIssuer = collector->See(record.object);
            finding->issuerStatus = static_cast<uint32_t>(record.value);
            finding->why += std::string("; its issuer does not validate: ") + SigkitStatusText(finding->issuerStatus);
        }
        return true;
    case SIGKIT_TRACE_CRL_CHOSEN:
        TakeChoice(collector, record, judgement);
        return true;
    case SIGKIT_TRACE_ENTRY_DATE:
        collector->dateCounts = record.value == 1;
        return true;
    case SIGKIT_TRACE_ENTRY:
        TakeEntry(collector, record, judgement);
        return true;
    case SIGKIT_TRACE_REVOCATION:
        Rule(judgement, record.value == SIGKIT_OK ? Ruling::Good : Ruling::Entry, record.value);
        return true;
    default:
        return false;
    }
}

// Ends a judgement. One that says what an earlier one has said is not kept: CRLs whose issuers cover each other lead to
// hundreds.
void TakeEnd(TraceCollector *collector, uint32_t status)
{
    Judgement ended = std::move(collector->open.back());
    collector->open.pop_back();
    ended.status = status;
    std::vector<Judgement> &kept = collector->path->judgements;
    const auto same = std::find_if(kept.begin(), kept.end(), [&](const Judgement &other) {
        return other.certificate == ended.certificate && other.status == status && other.ruling == ended.ruling;
    });
    if (same == kept.end()) {
        kept.push_back(std::move(ended));
    } else if (ended.depth == 1) {
        same->depth = 1; // it is a certificate of the path as well
        same->order = ended.order;
    }
}

void TakeRoot(TraceCollector *collector, const SigkitTraceRecord &record, Judgement *judgement)
{
    if (record.object == nullptr) {
        Rule(judgement, Ruling::NoRoot, SIGKIT_ERR_NO_ROOT);
    } else {
        (void)collector->See(record.object);
    }
}

void TakeJudgement(TraceCollector *collector, const SigkitTraceRecord &record, Judgement *judgement)
{
    switch (record.point) {
    case SIGKIT_TRACE_CERT_END:
        TakeEnd(collector, static_cast<uint32_t>(record.value));
        return;
    case SIGKIT_TRACE_VALIDITY:
        if (record.value != SIGKIT_OK) {
            Rule(judgement, Ruling::Validity, record.value);
        }
        return;
    case SIGKIT_TRACE_ANCHOR:
        if (record.value == 1) {
            Rule(judgement, Ruling::Anchor, SIGKIT_OK);
        }
        return;
    case SIGKIT_TRACE_ANCHOR_ERROR:
        if (judgement->ruling == Ruling::None) {
            Rule(judgement, Ruling::SelfSignedTest, record.value);
        }
        return;
    case SIGKIT_TRACE_ROOT:
        TakeRoot(collector, record, judgement);
        return;
    case SIGKIT_TRACE_COVERED:
        judgement->coversIssuer = record.value == 1;
        return;
    default:
        (void)TakeCrl(collector, record, judgement);
    }
}

} // namespace

bool TakePath(TraceCollector *collector, const SigkitTraceRecord &record)
{
    Check *const check = collector->check;
    if (collector->path == nullptr) {
        return false;
    }
    switch (record.point) {
    case SIGKIT_TRACE_CERT_BEGIN: {
        Judgement judgement;
        judgement.certificate = collector->See(record.subject);
        judgement.depth = record.value;
        judgement.order = ++collector->begun;
        collector->open.push_back(std::move(judgement));
        return true;
    }
    case SIGKIT_TRACE_PATH:
        collector->path->status = static_cast<uint32_t>(record.value);
        std::sort(collector->path->judgements.begin(), collector->path->judgements.end(),
                  [](const Judgement &a, const Judgement &b) { return a.order < b.order; });
        return true;
    case SIGKIT_TRACE_HOST_FAILURE:
        if (record.value != SIGKIT_OK) {
            AddNote(check, std::string("nothing is trusted any more, as the machine has failed: ") +
                               SigkitStatusText(static_cast<uint32_t>(record.value)));
        }
        return true;
    case SIGKIT_TRACE_CERT_TOO_DEEP:
        AddNote(check, "the issuers of indirect CRLs cover each other, more than 10 deep");
        return true;
    case SIGKIT_TRACE_ROOT_TOO_DEEP:
        AddNote(check, "a path has more than 11 certificates");
        return true;
    default:
        if (!collector->open.empty()) {
            TakeJudgement(collector, record, &collector->open.back());
        }
        return true;
    }
}

} // namespace pkgsign
