// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/explain/cause_json.h"

#include <nlohmann/json.hpp>

#include "pkgsign/explain/cause_text.h"
#include "pkgsign/files/files.h"
#include "sigkit/sigkit.h"

namespace pkgsign
{
namespace
{

using Json = nlohmann::ordered_json;

std::string Write(const Json &json)
{
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

Json StatusJson(const StatusEntry &status)
{
    Json json;
    json["status"] = StatusDigits(status.value);
    json["name"] = status.name;
    json["exitStatus"] = nullptr;
    if (status.met == Met::PACKAGE) {
        json["exitStatus"] = ExitStatusOf(status.value);
    }
    json["meaning"] = status.meaning;
    json["remedy"] = status.remedy;
    return json;
}

Json CauseJson(const Cause &cause, const std::string &whose)
{
    return {{"cause", CauseText(cause, whose)}, {"remedy", cause.remedy}};
}

Json StatusWithCauses(const StatusEntry &status)
{
    Json json = StatusJson(status);
    json["causes"] = Json::array();
    for (const Cause &cause : AllCauses()) {
        if (cause.status == status.value) {
            json["causes"].push_back(CauseJson(cause, "the"));
        }
    }
    return json;
}

Json TextOrNull(const std::string &text)
{
    return text.empty() ? Json(nullptr) : Json(text);
}

} // namespace

std::string ExplainStatusJson(const StatusEntry &status)
{
    return Write(StatusWithCauses(status));
}

std::string ExplainExitJson(int exitStatus)
{
    Json json;
    json["exitStatus"] = exitStatus;
    json["meaning"] = TextOrNull(ExitMeaning(exitStatus));
    json["statuses"] = Json::array();
    for (const StatusEntry *status : StatusesOf(exitStatus)) {
        json["statuses"].push_back(StatusWithCauses(*status));
    }
    return Write(json);
}

std::string ExplainRunJson(const LogFindings &findings, const Trail &trail)
{
    Json json;
    json["runs"] = findings.runs;
    json["answered"] = trail.isAnswered;
    json["authentic"] = trail.isAnswered && trail.status == SIGKIT_OK;
    json["status"] = nullptr;
    json["exitStatus"] = nullptr;
    json["name"] = nullptr;
    json["meaning"] = nullptr;
    if (trail.status) {
        json["status"] = StatusDigits(*trail.status);
        json["exitStatus"] = ExitStatusOf(*trail.status);
        json["name"] = TextOrNull(SigkitStatusName(*trail.status));
        json["meaning"] = TrailMeaning(trail);
    }
    json["signature"] = TextOrNull(findings.last.signature);
    json["checksums"] = TextOrNull(findings.last.checksums);
    json["crls"] = TextOrNull(findings.last.crls);
    json["trail"] = Json::array();
    for (const TrailStep &step : trail.steps) {
        json["trail"].push_back({{"function", step.function},
                                 {"status", step.status ? Json(StatusDigits(*step.status)) : Json(nullptr)},
                                 {"text", step.isText ? Json(step.text) : Json(nullptr)}});
    }
    json["left"] = trail.left;
    json["causes"] = Json::array();
    for (const Cause *cause : trail.causes) {
        json["causes"].push_back(CauseJson(*cause, trail.whose));
    }
    json["next"] = TextOrNull(NextCommand(findings.last, trail));
    return Write(json);
}

std::string ListStatusesJson()
{
    Json json = Json::array();
    for (const StatusEntry &status : AllStatuses()) {
        json.push_back(StatusJson(status));
    }
    return Write(json);
}

} // namespace pkgsign
