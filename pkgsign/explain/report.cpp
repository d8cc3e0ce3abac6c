// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/explain/report.h"

#include "pkgsign/explain/cause_text.h"
#include "pkgsign/explain/check_words.h"
#include "pkgsign/files/files.h"
#include "sigkit/sigkit.h"

namespace pkgsign
{
namespace
{

std::string Named(const SeenCertificate &certificate)
{
    return "'" + certificate.subject + "' (serial " + certificate.serial + ")";
}

std::string Beside(const Check &check, const MaybeTime &from, const MaybeTime &to)
{
    std::string text = TimeText(from) + " to " + TimeText(to);
    if (check.time.has_value()) {
        text += "; the token's time is " + TimeText(check.time);
    }
    return text;
}

ReportSection Steps(const Check &check)
{
    ReportSection section = {"Steps, in the order of the verification", {}};
    for (size_t i = 0; i < STEP_COUNT; ++i) {
        const StepFinding &finding = check.steps[i];
        ReportRow row;
        row.mark = finding.state == StepState::Passed   ? Mark::Good
                   : finding.state == StepState::Failed ? Mark::Bad
                                                        : Mark::Open;
        row.word = finding.state == StepState::Passed   ? "passed"
                   : finding.state == StepState::Failed ? "failed"
                                                        : "not reached";
        row.text = StepTitle(static_cast<Step>(i));
        row.detail = finding.detail;
        if (finding.state == StepState::Failed) {
            row.detail += (row.detail.empty() ? "" : "; ") + StatusDigits(finding.status);
        }
        section.rows.push_back(row);
    }
    return section;
}

std::string CrlText(const Check &check, size_t place)
{
    const SeenCrl &crl = check.crls[place];
    return "CRL of '" + crl.issuer + "', " + TimeText(crl.thisUpdate) + " to " + TimeText(crl.nextUpdate);
}

void AddCrls(const Check &check, const Judgement &judgement, ReportSection *section)
{
    size_t others = 0;
    for (const CrlFinding &finding : judgement.crls) {
        if (finding.isOtherIssuers) {
            ++others;
            continue;
        }
        ReportRow row;
        row.isInner = true;
        row.mark = finding.use == CrlUse::Taken       ? Mark::Good
                   : finding.use == CrlUse::Outranked ? Mark::Open
                                                      : Mark::Bad;
        row.word = finding.use == CrlUse::Taken       ? "taken"
                   : finding.use == CrlUse::Outranked ? "outranked"
                                                      : "not usable";
        row.text = CrlText(check, finding.crl);
        row.detail = finding.why;
        section->rows.push_back(row);
    }
    if (others != 0) {
        section->rows.push_back({Mark::Open, "not usable",
                                 std::to_string(others) + (others == 1 ? " CRL" : " CRLs") + " of another issuer", "",
                                 true});
    }
    for (const EntryFinding &entry : judgement.entries) {
        // Only a date that counts lets an entry not revoke, and then one that cannot be read ends the judgement.
        const bool isCleared = !entry.revokes && entry.date.has_value();
        section->rows.push_back({isCleared ? Mark::Good : Mark::Bad,
                                 isCleared       ? "does not revoke"
                                 : entry.revokes ? "revokes"
                                                 : "not readable",
                                 "entry of " + TimeText(entry.date) + ", " + ReasonText(entry.reason),
                                 entry.dateCounts ? "its date counts" : "its date does not count", true});
    }
}

std::string RulingText(const Judgement &judgement)
{
    switch (judgement.ruling) {
    case Ruling::Anchor:
        return "the trust anchor";
    case Ruling::Good:
        return judgement.depth == 1 ? "in date, and not revoked" : "in date, and not revoked; signs a CRL";
    default:
        return SigkitStatusText(judgement.status);
    }
}

void AddJudgement(const Check &check, const Judgement &judgement, ReportSection *section)
{
    const SeenCertificate &seen = check.certificates[judgement.certificate];
    const bool isGood = judgement.status == SIGKIT_OK;
    section->rows.push_back({isGood ? Mark::Good : Mark::Bad, isGood ? "passed" : "failed", Named(seen),
                             Beside(check, seen.notBefore, seen.notAfter) + "; " + RulingText(judgement), false});
    AddCrls(check, judgement, section);
}

// Certificates of the path that no judgement came to.
void AddUnjudged(const Check &check, const PathFinding &path, ReportSection *section)
{
    for (const size_t place : PathUp(check, path.certificate)) {
        bool isJudged = false;
        for (const Judgement &judgement : path.judgements) {
            isJudged = isJudged || judgement.certificate == place;
        }
        if (!isJudged) {
            const SeenCertificate &seen = check.certificates[place];
            section->rows.push_back({Mark::Open, "not reached", Named(seen),
                                     Beside(check, seen.notBefore, seen.notAfter) + "; not verified", false});
        }
    }
}

void AddPath(const Check &check, const PathFinding &path, const char *title, std::vector<ReportSection> *sections)
{
    if (path.certificate == NONE) {
        return;
    }
    ReportSection section = {title, {}};
    for (const Judgement &judgement : path.judgements) {
        AddJudgement(check, judgement, &section);
    }
    AddUnjudged(check, path, &section);
    sections->push_back(section);
}

void AddCrlFile(const Check &check, std::vector<ReportSection> *sections)
{
    ReportSection section = {"CRLs of the CRL file", {}};
    for (const SeenCrl &crl : check.crls) {
        std::string detail = Beside(check, crl.thisUpdate, crl.nextUpdate) + "; " + std::to_string(crl.entries) +
                             (crl.entries == 1 ? " entry" : " entries") + (crl.isIndirect ? "; indirect" : "");
        detail += crl.signedBy == NONE ? "; not verified" : "; signed by " + Named(check.certificates[crl.signedBy]);
        section.rows.push_back({Mark::None, "", "'" + crl.issuer + "'", detail, false});
    }
    if (!section.rows.empty()) {
        sections->push_back(section);
    }
}

// `issuer` is who was looked for. The library compares names after it has seen what a CA needs, so that most are
// rejected for something else, and would not have been the issuer anyway.
void AddRejected(const Check &check, const std::string &what, const std::string &issuer,
                 const std::vector<RejectedCandidate> &rejected, ReportSection *section)
{
    if (rejected.empty()) {
        return;
    }
    section->rows.push_back({Mark::None, "", what, "", false});
    size_t others = 0;
    for (const RejectedCandidate &candidate : rejected) {
        const SeenCertificate &seen = check.certificates[candidate.certificate];
        if (candidate.isOtherName || seen.subject != issuer) {
            ++others;
            continue;
        }
        section->rows.push_back({Mark::Bad, "rejected", Named(seen), candidate.why, true});
    }
    if (others != 0) {
        section->rows.push_back(
            {Mark::Open, "rejected",
             std::to_string(others) + (others == 1 ? " certificate" : " certificates") + " of another name", "", true});
    }
}

void AddCandidates(const Check &check, std::vector<ReportSection> *sections)
{
    ReportSection section = {"Candidates for an issuer that were rejected", {}};
    for (size_t i = 0; i < check.certificates.size(); ++i) {
        const SeenCertificate &seen = check.certificates[i];
        AddRejected(check, "for " + Named(seen), seen.issuer, check.rejected[i], &section);
    }
    for (const SeenCrl &crl : check.crls) {
        AddRejected(check, "for the CRL of '" + crl.issuer + "'", crl.issuer, crl.rejected, &section);
    }
    if (!section.rows.empty()) {
        sections->push_back(section);
    }
}

void AddContent(const Check &check, std::vector<ReportSection> *sections)
{
    const ContentFinding &content = check.content;
    ReportSection section = {"The content", {}};
    if (content.isCompared) {
        section.rows.push_back({Mark::None, "", "signed digest (" + content.algorithm + ")", content.expected, false});
        section.rows.push_back({Mark::None, "", "digest of the content", content.found, false});
    }
    if (!content.fits.empty()) {
        section.rows.push_back({Mark::Good, "fits", content.fits + " the content is what was signed", "", false});
    } else if (content.differs) {
        section.rows.push_back({Mark::Open, "",
                                content.isBinary ? "the content is no text: no line ends were tried"
                                                 : "no other line ends, byte order mark or last "
                                                   "newline makes it fit",
                                "", false});
    }
    for (const std::string &path : content.candidates) {
        section.rows.push_back({Mark::Good, "fits", "the signature fits " + path, "", false});
    }
    if (!section.rows.empty()) {
        sections->push_back(section);
    }
}

void MakePrintable(std::vector<ReportRow> *rows)
{
    for (ReportRow &row : *rows) {
        row.text = Printable(row.text);
        row.detail = Printable(row.detail);
    }
}

void AddAnswer(const Check &check, Report *report)
{
    if (!check.cause.code.empty()) {
        report->answer.push_back({Mark::None, "cause", check.cause.text, "", false});
        report->answer.push_back({Mark::None, "remedy", check.cause.remedy, "", false});
        report->answer.push_back({Mark::None, "next", check.cause.next, "", false});
    }
    if (check.time.has_value()) {
        report->answer.push_back({Mark::None, "time",
                                  TimeText(check.time) + (check.isTimeProved ? ", of the timestamp token"
                                                                             : ", of a token that is not proved"),
                                  "", false});
    }
    if (!check.endsWhat.empty()) {
        report->answer.push_back({check.endsSoon ? Mark::Bad : Mark::None, "ends first",
                                  check.endsWhat + ", at " + TimeText(check.endsTime) +
                                      (check.endsTime < check.now ? " (past)" : "") +
                                      (check.endsSoon ? ": within the horizon" : "") +
                                      (check.isAuthentic ? "; this package stays good" : ""),
                                  "", false});
    }
}

} // namespace

Report MakeReport(const Check &check)
{
    Report report;
    report.verdict = check.isAuthentic ? Mark::Good : Mark::Bad;
    report.headline = Printable(check.contentPath) + (check.isAuthentic ? ": authentic" : ": refused, ") +
                      (check.isAuthentic ? "" : StatusDigits(check.status)) + " (verify_tool ends with " +
                      std::to_string(DeviceExitStatus(check)) + ")";
    report.meaning = check.content.differs ? "the content is not the one that was signed"
                     : check.isAuthentic   ? ""
                                           : SigkitStatusText(check.status);
    AddAnswer(check, &report);
    report.sections.push_back(Steps(check));
    AddPath(check, check.signerPath, "The signer's path", &report.sections);
    AddPath(check, check.authorityPath, "The timestamp authority's path", &report.sections);
    AddCrlFile(check, &report.sections);
    AddContent(check, &report.sections);
    AddCandidates(check, &report.sections);
    if (!check.notes.empty()) {
        ReportSection notes = {"Notes", {}};
        for (const std::string &note : check.notes) {
            notes.rows.push_back({Mark::None, "", note, "", false});
        }
        report.sections.push_back(notes);
    }
    MakePrintable(&report.answer);
    for (ReportSection &section : report.sections) {
        MakePrintable(&section.rows);
    }
    return report;
}

} // namespace pkgsign
