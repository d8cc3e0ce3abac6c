// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include <algorithm>

#include <nlohmann/json.hpp>

#include "pkgsign/authority/crls.h"
#include "pkgsign/commands/command.h"
#include "pkgsign/commands/shared.h"
#include "pkgsign/files/files.h"
#include "pkgsign/files/objects.h"

namespace pkgsign
{
namespace
{

using Json = nlohmann::ordered_json;

struct Options {
    bool json = false;
    std::string horizon;
};

std::string StateText(const Pki &pki, const Entry &entry, int64_t now)
{
    const Revocation *const revocation = FindRevocation(pki, entry.issuer, entry.serial);
    if (entry.state == State::Requested) {
        return "requested";
    }
    if (entry.state == State::Begun) {
        return "begun";
    }
    if (revocation != nullptr) {
        return "revoked";
    }
    return now < entry.notBefore ? "not yet valid" : now > entry.notAfter ? "ended" : "valid";
}

// Something that new packages need, and when it ends.
struct Need {
    std::string what;
    int64_t ends;
};

// Of the certificates of a role that could be used again or still, the one that ends last; null: there is none.
const Entry *LastOf(const Pki &pki, Role role)
{
    const Entry *last = nullptr;
    for (const Entry &entry : pki.certificates) {
        if (entry.role == role && entry.state == State::Issued && !entry.key.empty() &&
            FindRevocation(pki, entry.issuer, entry.serial) == nullptr && !IsCaRevoked(pki, entry) &&
            (last == nullptr || entry.notAfter > last->notAfter)) {
            last = &entry;
        }
    }
    return last;
}

// The certificate of each role that ends last, and the last CRL of each CA that has not ended.
std::vector<Need> Needs(const Pki &pki, int64_t now)
{
    std::vector<Need> needs;
    for (const Role role : {Role::Signer, Role::Timestamp, Role::IssuingCa}) {
        if (const Entry *const entry = LastOf(pki, role); entry != nullptr) {
            needs.push_back({"certificate '" + entry->name + "'", entry->notAfter});
        }
    }
    for (const PublishedCrl &crl : pki.crls) {
        const Entry *const ca = FindAuthority(pki, crl.issuer);
        if (ca != nullptr && StateText(pki, *ca, now) == "valid") {
            needs.push_back({"CRL of '" + crl.issuer + "'", crl.nextUpdate});
        }
    }
    return needs;
}

std::string Row(const std::vector<std::string> &cells, const std::vector<size_t> &widths)
{
    std::string line;
    for (size_t i = 0; i < cells.size(); ++i) {
        line += cells[i] + std::string(widths[i] - std::min(widths[i], cells[i].size()), ' ') + "  ";
    }
    return line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
}

std::string Table(const std::vector<std::vector<std::string>> &rows)
{
    std::vector<size_t> widths(rows[0].size());
    std::string text;
    for (const auto &row : rows) {
        for (size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], row[i].size());
        }
    }
    for (const auto &row : rows) {
        text += Row(row, widths);
    }
    return text;
}

size_t CountEntries(const Pki &pki, const std::string &authority)
{
    return static_cast<size_t>(std::count_if(pki.revocations.begin(), pki.revocations.end(),
                                             [&](const Revocation &entry) { return entry.issuer == authority; }));
}

std::string TextList(const Pki &pki, int64_t now)
{
    std::vector<std::vector<std::string>> certificates = {{"NAME", "ROLE", "STATE", "FROM", "TO", "SERIAL", "KEY"}};
    std::vector<std::vector<std::string>> crls = {{"CRL OF", "ENTRIES", "FROM", "NEXT UPDATE", "NUMBER"}};
    for (const Entry &entry : pki.certificates) {
        const bool isDated = entry.state != State::Requested;
        certificates.push_back({Printable(entry.name), RoleName(entry.role), StateText(pki, entry, now),
                                isDated ? FormatTime(entry.notBefore) : "-", isDated ? FormatTime(entry.notAfter) : "-",
                                isDated ? entry.serial : "-", entry.key.empty() ? "-" : Printable(entry.key)});
    }
    for (const PublishedCrl &crl : pki.crls) {
        crls.push_back({Printable(crl.issuer), std::to_string(CountEntries(pki, crl.issuer)),
                        FormatTime(crl.thisUpdate), FormatTime(crl.nextUpdate), crl.number});
    }
    std::string text = Table(certificates) + "\n" + Table(crls);
    for (const Revocation &entry : pki.revocations) {
        text += "revoked: " + entry.serial + " of '" + Printable(entry.issuer) + "', " + entry.reason + " from " +
                FormatTime(entry.date) + "\n";
    }
    return text;
}

// A name that is not UTF-8 is given as hexadecimal as well.
void AddName(const std::string &key, const std::string &name, Json *json)
{
    const std::string quoted = Json(name).dump(-1, ' ', false, Json::error_handler_t::replace);
    const std::string text = Json::parse(quoted).get<std::string>();
    (*json)[key] = text;
    if (text != name) {
        std::string digits;
        for (const char octet : name) {
            char two[4] = {};
            (void)std::snprintf(two, sizeof(two), "%02X", static_cast<unsigned>(static_cast<unsigned char>(octet)));
            digits += two;
        }
        (*json)[key + "Hex"] = digits;
    }
}

Json CertificateJson(const Pki &pki, const Entry &entry, int64_t now)
{
    Json json;
    json["name"] = entry.name;
    json["role"] = RoleName(entry.role);
    json["state"] = StateText(pki, entry, now);
    AddName("subject", entry.subject, &json);
    if (entry.state != State::Requested) {
        json["issuer"] = entry.issuer;
        json["serial"] = entry.serial;
        json["notBefore"] = FormatTime(entry.notBefore);
        json["notAfter"] = FormatTime(entry.notAfter);
    }
    json["hasKey"] = !entry.key.empty();
    return json;
}

std::string JsonList(const Pki &pki, int64_t now, const std::vector<Need> &soon)
{
    Json json;
    json["now"] = FormatTime(now);
    json["certificates"] = Json::array();
    json["crls"] = Json::array();
    json["revocations"] = Json::array();
    for (const Entry &entry : pki.certificates) {
        json["certificates"].push_back(CertificateJson(pki, entry, now));
    }
    for (const PublishedCrl &crl : pki.crls) {
        json["crls"].push_back({{"issuer", crl.issuer},
                                {"number", crl.number},
                                {"thisUpdate", FormatTime(crl.thisUpdate)},
                                {"nextUpdate", FormatTime(crl.nextUpdate)},
                                {"entries", CountEntries(pki, crl.issuer)}});
    }
    for (const Revocation &entry : pki.revocations) {
        json["revocations"].push_back({{"issuer", entry.issuer},
                                       {"serial", entry.serial},
                                       {"reason", entry.reason},
                                       {"date", FormatTime(entry.date)},
                                       {"noted", FormatTime(entry.noted)}});
    }
    json["endsSoon"] = Json::array();
    for (const Need &need : soon) {
        json["endsSoon"].push_back({{"what", need.what}, {"ends", FormatTime(need.ends)}});
    }
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

Status List(const Options &options, Session *session)
{
    Pki pki;
    int64_t horizon = 0;
    const int64_t now = session->place.now;
    Status status = LoadPki(session->place.folder, &pki);
    if (status.ok) {
        status = ReadHorizon(options.horizon, &horizon);
    }
    if (!status.ok) {
        return status;
    }
    std::vector<Need> soon;
    std::string text;
    for (const Need &need : Needs(pki, now)) {
        if (!options.horizon.empty() && need.ends - now < horizon) {
            soon.push_back(need);
            text += (need.ends < now ? "ended: " : "ends soon: ") + need.what + " at " + FormatTime(need.ends) + "\n";
        }
    }
    session->out = options.json ? JsonList(pki, now, soon) : TextList(pki, now) + text;
    session->success = soon.empty() ? EXIT_DONE : EXIT_ENDS_SOON;
    return {};
}

} // namespace

Command ListCommand()
{
    Command command = MakeCommand<Options>(
        "list", "Show certificates, CRLs and revocations", "pkgsign list --horizon 30", List,
        [](Options *options) -> std::vector<Option> {
            return {{"--json", "", "one JSON document", &options->json},
                    {"--horizon", "DAYS", "exit status 3 when something that a package needs ends within",
                     &options->horizon}};
        });
    command.isWriting = false;
    return command;
}

} // namespace pkgsign
