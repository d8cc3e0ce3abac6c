#include "crltool/report.h"

#include <stdio.h>
#include <time.h>

#include <algorithm>
#include <iterator>
#include <vector>

#include <nlohmann/json.hpp>

namespace
{

using Row = std::vector<std::string>;

// The time in ISO 8601, UTC.
std::string TimeText(int64_t seconds)
{
    const time_t instant = static_cast<time_t>(seconds);
    struct tm parts = {};
    char text[64] = {};
    if (gmtime_r(&instant, &parts) == nullptr || strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%SZ", &parts) == 0) {
        return std::to_string(seconds);
    }
    return text;
}

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

// The slots up to the last one in use; a CRL that could not be summarised leaves a null among them.
std::vector<const SigkitCrlInfo *> Slots(const SigkitCrlBundle &bundle)
{
    std::vector<const SigkitCrlInfo *> slots(std::begin(bundle.crls), std::end(bundle.crls));
    while (!slots.empty() && slots.back() == nullptr) {
        slots.pop_back();
    }
    return slots;
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
        rows.push_back({Printable(info->issuerName), TimeText(info->thisUpdate), TimeText(info->nextUpdate),
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

// The answer as one word.
const char *ResultWord(const Comparison &comparison)
{
    if (comparison.status != SIGKIT_OK) {
        return "incomparable";
    }
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

// Why the files cannot be compared.
std::string Obstacle(const Comparison &comparison)
{
    switch (comparison.status) {
    case SIGKIT_OK:
        return "each file is newer than the other for some issuer";
    case SIGKIT_ERR_CRL_BUNDLE_EMPTY:
        return "no CRL of one of the files can be read";
    case SIGKIT_ERR_CRL_BUNDLE_UNVERIFIED:
        return "a CRL cannot be read, or its issuer is not trusted at its thisUpdate";
    case SIGKIT_ERR_CRL_ISSUER_TWICE:
        return "one file holds two CRLs of one issuer";
    case SIGKIT_ERR_CRL_COVERAGE:
        return "the newer file lacks the CRL of an issuer that it does not revoke";
    default: {
        char text[32] = {};
        (void)snprintf(text, sizeof(text), "error %x", comparison.status);
        return text;
    }
    }
}

} // namespace

int ExitStatus(const Comparison &comparison)
{
    if (comparison.status != SIGKIT_OK || comparison.result == SIGKIT_CRL_CONFLICT) {
        return 2;
    }
    return comparison.result == SIGKIT_CRL_SECOND_NEWER ? 1 : 0;
}

std::string Verdict(const Comparison &comparison)
{
    const std::string &first = comparison.first.path;
    const std::string &second = comparison.second.path;
    if (ExitStatus(comparison) == 2) {
        return first + " and " + second + " cannot be compared: " + Obstacle(comparison) + ".";
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

std::string Printable(const std::string &text)
{
    std::string printable;
    for (const char character : text) {
        const unsigned octet = static_cast<unsigned char>(character);
        char escaped[8] = {character};
        if (octet < 0x20 || octet == 0x7F || octet == '\\') {
            (void)snprintf(escaped, sizeof(escaped), octet == '\\' ? "\\\\" : "\\x%02X", octet);
        }
        printable += escaped;
    }
    return printable;
}

std::string TextReport(const Comparison &comparison)
{
    return FileTable(comparison.first) + "\n" + FileTable(comparison.second) + "\n" + Printable(Verdict(comparison)) +
           "\n";
}

std::string JsonReport(const Comparison &comparison)
{
    nlohmann::ordered_json json;
    json["files"] = {FileJson(comparison.first), FileJson(comparison.second)};
    json["result"] = ResultWord(comparison);
    json["verdict"] = Verdict(comparison);
    return json.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}
