// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include <algorithm>
#include <set>

#include <nlohmann/json.hpp>

#include "pkgsign/authority/crls.h"
#include "pkgsign/authority/json_places.h"
#include "pkgsign/authority/pki.h"
#include "pkgsign/files/files.h"

namespace pkgsign
{
namespace
{

using Json = nlohmann::ordered_json;

constexpr char FORMAT[] = "1";
constexpr const char *STATE_NAMES[] = {"requested", "begun", "issued"};

// ---- Reading --------------------------------------------------------------------------------------------------------

// Reads the members of objects. The first thing that is wrong is kept.
struct Reader {
    const std::string &text;
    std::string problem;
};

void Complain(Reader *reader, const Json &json, const std::string &what)
{
    if (reader->problem.empty()) {
        const size_t offset = json.is_object() ? json.value(PLACE, size_t{0}) : 0;
        reader->problem = Place(reader->text, offset) + ": " + what;
    }
}

// A key that is not known is refused: what it says would be lost with the next change.
void CheckKeys(Reader *reader, const Json &json, const std::set<std::string> &known)
{
    for (const auto &member : json.items()) {
        if (member.key() != PLACE && known.count(member.key()) == 0) {
            Complain(reader, json, "the key '" + member.key() + "' is not known");
        }
    }
}

std::string ReadText(Reader *reader, const Json &json, const char *key, bool optional = false)
{
    const auto found = json.find(key);
    if (found == json.end() && optional) {
        return {};
    }
    if (found == json.end() || !found->is_string()) {
        Complain(reader, json, std::string("'") + key + "' is missing or no text");
        return {};
    }
    return found->get<std::string>();
}

// A name of a certificate or authority. It becomes part of a path.
std::string ReadName(Reader *reader, const Json &json, const char *key)
{
    const std::string name = ReadText(reader, json, key);
    if (!IsName(name)) {
        Complain(reader, json, std::string("'") + key + "' is no name of a certificate");
    }
    return name;
}

int64_t ReadTime(Reader *reader, const Json &json, const char *key)
{
    int64_t seconds = 0;
    const Status status = ParseTime(ReadText(reader, json, key), &seconds);
    if (!status.ok) {
        Complain(reader, json, std::string("'") + key + "': " + status.reason);
    }
    return seconds;
}

void ReadSpan(Reader *reader, const Json &json, const char *key, int64_t *span)
{
    const Status status = ParseSpan(ReadText(reader, json, key), span);
    if (!status.ok) {
        Complain(reader, json, std::string("'") + key + "': " + status.reason);
    }
}

std::string ReadDigits(Reader *reader, const Json &json, const char *key, const char *digits)
{
    const std::string text = ReadText(reader, json, key);
    if (text.empty() || text.find_first_not_of(digits) != std::string::npos) {
        Complain(reader, json, std::string("'") + key + "' is no number");
    }
    return text;
}

constexpr char HEXADECIMAL[] = "0123456789ABCDEF";
constexpr char DECIMAL[] = "0123456789";

// As SerialText writes it: serial numbers are compared as texts.
std::string ReadSerial(Reader *reader, const Json &json)
{
    const std::string serial = ReadDigits(reader, json, "serial", HEXADECIMAL);
    if (serial != "0" && (serial.size() % 2 != 0 || serial.rfind("00", 0) == 0)) {
        Complain(reader, json, "'serial' wants two digits for each octet, and none for leading zeros");
    }
    return serial;
}

// As CompareNumbers wants it.
std::string ReadNumber(Reader *reader, const Json &json)
{
    const std::string number = ReadDigits(reader, json, "number", DECIMAL);
    if (number.size() > 1 && number[0] == '0') {
        Complain(reader, json, "'number' begins with a zero");
    }
    return number;
}

State ReadState(Reader *reader, const Json &json)
{
    const std::string text = ReadText(reader, json, "state");
    for (size_t i = 0; i < std::size(STATE_NAMES); ++i) {
        if (text == STATE_NAMES[i]) {
            return static_cast<State>(i);
        }
    }
    Complain(reader, json, "'state' is none of requested, begun and issued");
    return State::Begun;
}

Entry ReadEntry(Reader *reader, const Json &json)
{
    Entry entry;
    CheckKeys(reader, json,
              {"name", "role", "state", "subject", "authority", "key", "issuer", "serial", "notBefore", "notAfter"});
    entry.name = ReadName(reader, json, "name");
    const Status status = ParseRole(ReadText(reader, json, "role"), &entry.role);
    if (!status.ok) {
        Complain(reader, json, "'role': " + status.reason);
    }
    entry.state = ReadState(reader, json);
    entry.key = ReadText(reader, json, "key", true);
    if (IsCa(entry.role) && entry.state != State::Requested) {
        entry.authority = ReadName(reader, json, "authority");
    }
    if (entry.state != State::Requested) {
        entry.issuer = ReadName(reader, json, "issuer");
        entry.serial = ReadSerial(reader, json);
        entry.notBefore = ReadTime(reader, json, "notBefore");
        entry.notAfter = ReadTime(reader, json, "notAfter");
    }
    entry.subject = ReadText(reader, json, "subject");
    return entry;
}

Revocation ReadRevocation(Reader *reader, const Json &json)
{
    Revocation revocation;
    CheckKeys(reader, json, {"issuer", "serial", "reason", "date", "noted"});
    revocation.issuer = ReadName(reader, json, "issuer");
    revocation.serial = ReadSerial(reader, json);
    revocation.reason = ReadText(reader, json, "reason");
    const Status status = CheckReason(revocation.reason);
    if (!status.ok) {
        Complain(reader, json, "'reason': " + status.reason);
    }
    revocation.date = ReadTime(reader, json, "date");
    revocation.noted = ReadTime(reader, json, "noted");
    return revocation;
}

PublishedCrl ReadCrl(Reader *reader, const Json &json)
{
    PublishedCrl crl;
    CheckKeys(reader, json, {"issuer", "number", "thisUpdate", "nextUpdate"});
    crl.issuer = ReadName(reader, json, "issuer");
    crl.number = ReadNumber(reader, json);
    crl.thisUpdate = ReadTime(reader, json, "thisUpdate");
    crl.nextUpdate = ReadTime(reader, json, "nextUpdate");
    return crl;
}

template <typename T, typename Read>
void ReadList(Reader *reader, const Json &json, const char *key, std::vector<T> *list, Read read)
{
    const auto found = json.find(key);
    if (found == json.end() || !found->is_array()) {
        Complain(reader, json, std::string("'") + key + "' is missing or no list");
        return;
    }
    for (const Json &item : *found) {
        if (!item.is_object()) {
            Complain(reader, json, std::string("'") + key + "' holds something that is no object");
            return;
        }
        list->push_back(read(reader, item));
    }
}

void ReadPki(Reader *reader, const Json &json, Pki *pki)
{
    if (!json.is_object() || ReadText(reader, json, "format") != FORMAT) {
        Complain(reader, json, "this is no PKI of format 1");
        return;
    }
    CheckKeys(reader, json, {"format", "country", "organization", "lifetimes", "certificates", "revocations", "crls"});
    pki->country = ReadText(reader, json, "country");
    pki->organization = ReadText(reader, json, "organization");
    const auto lifetimes = json.find("lifetimes");
    if (lifetimes == json.end() || !lifetimes->is_object()) {
        Complain(reader, json, "'lifetimes' is missing or no object");
        return;
    }
    CheckKeys(reader, *lifetimes, {"issuing-ca", "signer", "timestamp", "crl"});
    ReadSpan(reader, *lifetimes, "issuing-ca", &pki->lifetimes.issuingCa);
    ReadSpan(reader, *lifetimes, "signer", &pki->lifetimes.signer);
    ReadSpan(reader, *lifetimes, "timestamp", &pki->lifetimes.timestamp);
    ReadSpan(reader, *lifetimes, "crl", &pki->lifetimes.crl);
    ReadList(reader, json, "certificates", &pki->certificates, ReadEntry);
    ReadList(reader, json, "revocations", &pki->revocations, ReadRevocation);
    ReadList(reader, json, "crls", &pki->crls, ReadCrl);
}

void CheckIssuer(Reader *reader, const Json &json, const Pki &pki, const std::string &issuer)
{
    if (std::none_of(pki.certificates.begin(), pki.certificates.end(),
                     [&](const Entry &entry) { return entry.authority == issuer; })) {
        Complain(reader, json, "no CA of the folder is the 'issuer' '" + issuer + "'");
    }
}

// What a merge or an editor can leave. A revocation of an authority that there is not would be in no CRL, and of two
// of one certificate or authority only the first would count.
void CheckWhole(Reader *reader, const Json &json, const Pki &pki)
{
    for (size_t i = 0; i < pki.certificates.size(); ++i) {
        const Entry &entry = pki.certificates[i];
        if (FindEntry(pki, entry.name) != &entry) {
            Complain(reader, json["certificates"][i], "two certificates are named '" + entry.name + "'");
        }
        if (entry.state != State::Requested) {
            CheckIssuer(reader, json["certificates"][i], pki, entry.issuer);
        }
    }
    for (size_t i = 0; i < pki.revocations.size(); ++i) {
        const Revocation &revocation = pki.revocations[i];
        CheckIssuer(reader, json["revocations"][i], pki, revocation.issuer);
        if (FindRevocation(pki, revocation.issuer, revocation.serial) != &revocation) {
            Complain(reader, json["revocations"][i], "this revocation stands there twice");
        }
    }
    for (size_t i = 0; i < pki.crls.size(); ++i) {
        CheckIssuer(reader, json["crls"][i], pki, pki.crls[i].issuer);
        if (FindCrl(pki, pki.crls[i].issuer) != &pki.crls[i]) {
            Complain(reader, json["crls"][i], "the CRL of '" + pki.crls[i].issuer + "' stands there twice");
        }
    }
}

// ---- Writing --------------------------------------------------------------------------------------------------------

Json ToJson(const Entry &entry)
{
    Json json;
    json["name"] = entry.name;
    json["role"] = RoleName(entry.role);
    json["state"] = STATE_NAMES[static_cast<size_t>(entry.state)];
    json["subject"] = entry.subject;
    if (!entry.authority.empty()) {
        json["authority"] = entry.authority;
    }
    if (!entry.key.empty()) {
        json["key"] = entry.key;
    }
    if (entry.state != State::Requested) {
        json["issuer"] = entry.issuer;
        json["serial"] = entry.serial;
        json["notBefore"] = FormatTime(entry.notBefore);
        json["notAfter"] = FormatTime(entry.notAfter);
    }
    return json;
}

Json ToJson(const Revocation &revocation)
{
    return {{"issuer", revocation.issuer},
            {"serial", revocation.serial},
            {"reason", revocation.reason},
            {"date", FormatTime(revocation.date)},
            {"noted", FormatTime(revocation.noted)}};
}

Json ToJson(const PublishedCrl &crl)
{
    return {{"issuer", crl.issuer},
            {"number", crl.number},
            {"thisUpdate", FormatTime(crl.thisUpdate)},
            {"nextUpdate", FormatTime(crl.nextUpdate)}};
}

template <typename T>
Json ToJson(const std::vector<T> &list)
{
    Json json = Json::array();
    for (const T &item : list) {
        json.push_back(ToJson(item));
    }
    return json;
}

} // namespace

std::string EncodePki(const Pki &pki)
{
    Json json;
    json["format"] = FORMAT;
    json["country"] = pki.country;
    json["organization"] = pki.organization;
    json["lifetimes"] = {{"issuing-ca", FormatSpan(pki.lifetimes.issuingCa)},
                         {"signer", FormatSpan(pki.lifetimes.signer)},
                         {"timestamp", FormatSpan(pki.lifetimes.timestamp)},
                         {"crl", FormatSpan(pki.lifetimes.crl)}};
    json["certificates"] = ToJson(pki.certificates);
    json["revocations"] = ToJson(pki.revocations);
    json["crls"] = ToJson(pki.crls);
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

Status DecodePki(const Bytes &data, const std::string &source, Pki *pkiOut)
{
    const std::string text(data.begin(), data.end());
    Json json;
    Reader reader = {text, ParseWithPlaces(text, &json)};
    Pki pki;
    if (reader.problem.empty()) {
        ReadPki(&reader, json, &pki);
    }
    if (reader.problem.empty()) {
        CheckWhole(&reader, json, pki);
    }
    if (!reader.problem.empty()) {
        return Fail("'" + Printable(source) + "' is damaged: " + Printable(reader.problem) +
                    "; take it from your version control or a backup, then import the CRLs that are published");
    }
    *pkiOut = std::move(pki);
    return {};
}

} // namespace pkgsign
