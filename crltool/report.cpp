#include "crltool/report.h"

#include <stdio.h>

#include <algorithm>
#include <vector>

#include <nlohmann/json.hpp>

#include "crltool/text.h"

namespace
{

using Row = std::vector<std::string>;

std::string SerialText(const SigkitCrlSerial &serial)
{
    std::string text;
    for (uint32_t i = 0; i < serial.len; ++i) {
        char digits[4] = {};
        (void)snprintf(digits, sizeof(digits), "%02X", static_cast<unsigned>(serial.serial[i]));
        text += digits;
    }
    return text;
}

// The slots of the decoded CRLs; one that could not be summarised is null.
std::vector<const SigkitCrlInfo *> Slots(const SigkitCrlBundle &bundle)
{
    return std::vector<const SigkitCrlInfo *>(bundle.crls, bundle.crls + bundle.decodedCrls);
}

std::string Table(const std::vector<Row> &rows)
{
    std::vector<size_t> widths;
    for (const Row &row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], row[i].size());
        }
    }
    std::string text;
    for (const Row &row : rows) {
        std::string line;
        for (size_t i = 0; i < row.size(); ++i) {
            line += "  " + row[i] + std::string(widths[i] - row[i].size(), ' ');
        }
        text += line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
    }
    return text;
}

std::string FileTable(const CrlFile &file)
{
    std::vector<Row> rows = {{"issuer", "thisUpdate", "nextUpdate", "verified", "revoked"}};
    for (const SigkitCrlInfo *const info : Slots(*file.bundle)) {
        if (info == nullptr) {
            rows.push_back({"(unreadable)"});
            continue;
        }
        const std::string issuer = info->issuerName[0] == '\0' ? "(unprintable)" : Printable(info->issuerName);
        rows.push_back({issuer, TimeText(info->thisUpdate), TimeText(info->nextUpdate),
                        info->verified == 1 ? "yes" : "no", std::to_string(info->revokedCount)});
    }
    return Printable(file.path) + "\n" + Table(rows);
}

nlohmann::ordered_json FileJson(const CrlFile &file)
{
    nlohmann::ordered_json crls = nlohmann::ordered_json::array();
    for (const SigkitCrlInfo *const info : Slots(*file.bundle)) {
        if (info == nullptr) {
            crls.push_back(nullptr);
            continue;
        }
        nlohmann::ordered_json crl;
        crl["issuer"] = info->issuerName;
        crl["thisUpdate"] = TimeText(info->thisUpdate);
        crl["nextUpdate"] = TimeText(info->nextUpdate);
        crl["verified"] = info->verified == 1;
        crl["issuerSerial"] = SerialText(info->issuerSerial);
        crl["revoked"] = info->revokedCount;
        crls.push_back(crl);
    }
    nlohmann::ordered_json json;
    json["path"] = file.path;
    json["crls"] = crls;
    return json;
}

// The document in ASCII: then no octets of a file reach the terminal that shows it.
std::string Dump(const nlohmann::ordered_json &json)
{
    return json.dump(2, ' ', true, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

// The answer as one word.
const char *ResultWord(const Comparison &comparison)
{
    switch (comparison.result) {
    case SIGKIT_CRL_EQUAL:
        return "equal";
    case SIGKIT_CRL_FIRST_NEWER:
        return "first_newer";
    case SIGKIT_CRL_SECOND_NEWER:
        return "second_newer";
    default:
        return "incomparable";
    }
}

// One line that says which file is newer, or why neither is.
std::string Verdict(const Comparison &comparison)
{
    const std::string &first = comparison.first.path;
    const std::string &second = comparison.second.path;
    if (!comparison.obstacle.empty()) {
        return first + " and " + second + " cannot be compared: " + comparison.obstacle + ".";
    }
    switch (comparison.result) {
    case SIGKIT_CRL_FIRST_NEWER:
        return first + " is newer than " + second + ".";
    case SIGKIT_CRL_SECOND_NEWER:
        return second + " is newer than " + first + ".";
    default:
        return first + " and " + second + " are equally new.";
    }
}

} // namespace

int ExitStatus(const Comparison &comparison)
{
    switch (comparison.result) {
    case SIGKIT_CRL_EQUAL:
    case SIGKIT_CRL_FIRST_NEWER:
        return 0;
    case SIGKIT_CRL_SECOND_NEWER:
        return 1;
    default:
        return 2;
    }
}

std::string TextReport(const Comparison &comparison)
{
    const std::string warning = comparison.warning.empty() ? "" : "Warning: " + Printable(comparison.warning) + "\n";
    return FileTable(comparison.first) + "\n" + FileTable(comparison.second) + "\n" + warning +
           Printable(Verdict(comparison)) + "\n";
}

std::string JsonReport(const Comparison &comparison)
{
    nlohmann::ordered_json json;
    json["files"] = {FileJson(comparison.first), FileJson(comparison.second)};
    json["result"] = ResultWord(comparison);
    json["verdict"] = Verdict(comparison);
    json["warnings"] = nlohmann::ordered_json::array();
    if (!comparison.warning.empty()) {
        json["warnings"].push_back(comparison.warning);
    }
    return Dump(json);
}

std::string JsonError(const std::string &message)
{
    nlohmann::ordered_json json;
    json["result"] = "error";
    json["verdict"] = message;
    return Dump(json);
}
