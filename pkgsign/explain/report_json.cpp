// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// A check as JSON, in the closed form of docs/pkgsign-check.schema.json.
#include <nlohmann/json.hpp>

#include "pkgsign/explain/cause_text.h"
#include "pkgsign/explain/check_words.h"
#include "pkgsign/explain/report.h"
#include "pkgsign/files/files.h"
#include "sigkit/sigkit.h"

namespace pkgsign
{
namespace
{

using Json = nlohmann::ordered_json;

constexpr int VERSION = 1; // of the form

Json TimeOrNull(const MaybeTime &time)
{
    return IsWritable(time) ? Json(TimeText(time)) : Json();
}

Json PlaceOrNull(size_t place)
{
    return place == NONE ? Json() : Json(place);
}

Json RejectedJson(const std::vector<RejectedCandidate> &rejected)
{
    Json list = Json::array();
    for (const RejectedCandidate &candidate : rejected) {
        list.push_back({{"certificate", candidate.certificate}, {"why", candidate.why}});
    }
    return list;
}

Json StepsJson(const Check &check)
{
    Json list = Json::array();
    for (size_t i = 0; i < STEP_COUNT; ++i) {
        const StepFinding &finding = check.steps[i];
        const Step step = static_cast<Step>(i);
        const bool hasFailed = finding.state == StepState::Failed;
        list.push_back({{"name", StepName(step)},
                        {"title", StepTitle(step)},
                        {"state", hasFailed                            ? "failed"
                                  : finding.state == StepState::Passed ? "passed"
                                                                       : "not reached"},
                        {"status", hasFailed ? Json(StatusDigits(finding.status)) : Json()},
                        {"detail", finding.detail}});
    }
    return list;
}

Json CertificatesJson(const Check &check)
{
    Json list = Json::array();
    for (size_t i = 0; i < check.certificates.size(); ++i) {
        const SeenCertificate &seen = check.certificates[i];
        list.push_back({{"subject", seen.subject},
                        {"issuer", seen.issuer},
                        {"serial", seen.serial},
                        {"notBefore", TimeOrNull(seen.notBefore)},
                        {"notAfter", TimeOrNull(seen.notAfter)},
                        {"cameWith", StepName(seen.source)},
                        {"taken", seen.isAdmitted},
                        {"issuedBy", PlaceOrNull(check.issuers[i])},
                        {"rejected", RejectedJson(check.rejected[i])}});
    }
    return list;
}

Json CrlsJson(const Check &check)
{
    Json list = Json::array();
    for (const SeenCrl &crl : check.crls) {
        list.push_back({{"issuer", crl.issuer},
                        {"thisUpdate", TimeOrNull(crl.thisUpdate)},
                        {"nextUpdate", TimeOrNull(crl.nextUpdate)},
                        {"entries", crl.entries},
                        {"indirect", crl.isIndirect},
                        {"signedBy", PlaceOrNull(crl.signedBy)},
                        {"rejected", RejectedJson(crl.rejected)}});
    }
    return list;
}

Json JudgementJson(const Judgement &judgement)
{
    static constexpr const char *USES[] = {"taken", "outranked", "not usable"};
    Json crls = Json::array();
    Json entries = Json::array();
    for (const CrlFinding &finding : judgement.crls) {
        crls.push_back({{"crl", finding.crl},
                        {"use", USES[static_cast<size_t>(finding.use)]},
                        {"score", finding.score},
                        {"why", finding.why}});
    }
    for (const EntryFinding &entry : judgement.entries) {
        entries.push_back({{"reason", ReasonText(entry.reason)},
                           {"date", TimeOrNull(entry.date)},
                           {"dateCounts", entry.dateCounts},
                           {"revokes", entry.revokes}});
    }
    return {{"certificate", judgement.certificate},
            {"onPath", judgement.depth == 1},
            {"status", StatusDigits(judgement.status)},
            {"trustAnchor", judgement.ruling == Ruling::Anchor},
            {"crls", crls},
            {"entries", entries}};
}

Json PathJson(const PathFinding &path)
{
    if (path.certificate == NONE) {
        return {};
    }
    Json judgements = Json::array();
    for (const Judgement &judgement : path.judgements) {
        judgements.push_back(JudgementJson(judgement));
    }
    return {{"certificate", path.certificate}, {"judgements", judgements}};
}

Json ContentJson(const ContentFinding &content)
{
    Json candidates = Json::array();
    for (const std::string &path : content.candidates) {
        candidates.push_back(path);
    }
    return {{"algorithm", content.isCompared ? Json(content.algorithm) : Json()},
            {"signedDigest", content.isCompared ? Json(content.expected) : Json()},
            {"digest", content.isCompared ? Json(content.found) : Json()},
            {"fits", content.fits.empty() ? Json() : Json(content.fits)},
            {"candidates", candidates}};
}

Json CauseText(const RefusalCause &cause, const std::string &text)
{
    return cause.code.empty() ? Json() : Json(text);
}

} // namespace

std::string JsonReport(const Check &check)
{
    const std::optional<Step> failed = FailedStep(check);
    Json json = {{"version", VERSION},
                 {"status", StatusDigits(check.status)},
                 {"exitStatus", DeviceExitStatus(check)},
                 {"authentic", check.isAuthentic},
                 {"time", TimeOrNull(check.time)},
                 {"timeProved", check.isTimeProved},
                 {"cause", CauseText(check.cause, check.cause.text)},
                 {"causeCode", CauseText(check.cause, check.cause.code)},
                 {"remedy", CauseText(check.cause, check.cause.remedy)},
                 {"next", CauseText(check.cause, check.cause.next)},
                 {"failedStep", failed.has_value() ? Json(StepName(*failed)) : Json()},
                 {"files",
                  {{"content", check.contentPath},
                   {"root", check.rootPath},
                   {"crls", check.crlPath},
                   {"signature", check.signaturePath}}}};
    json["steps"] = StepsJson(check);
    json["certificates"] = CertificatesJson(check);
    json["crls"] = CrlsJson(check);
    json["signerPath"] = PathJson(check.signerPath);
    json["authorityPath"] = PathJson(check.authorityPath);
    json["content"] = ContentJson(check.content);
    json["endsFirst"] =
        check.endsWhat.empty() ? Json() : Json({{"what", check.endsWhat}, {"time", TimeOrNull(check.endsTime)}});
    json["endsSoon"] = check.endsSoon;
    json["notes"] = check.notes;
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

} // namespace pkgsign
