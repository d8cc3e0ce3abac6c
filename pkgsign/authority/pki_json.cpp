#include <map>
#include <set>

#include <nlohmann/json.hpp>

#include "pkgsign/authority/pki.h"
#include "pkgsign/files/files.h"

namespace pkgsign
{
namespace
{

using Json = nlohmann::ordered_json;

constexpr char FORMAT[] = "1";
constexpr const char *STATE_NAMES[] = {"requested", "begun", "issued"};

// ---- Reading: where things stand ----------------------------------------------------------------------------------

// Walks over octets and counts how many the parser has taken.
struct CountingIterator {
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char *;
    using reference = const char &;

    const char *at;
    size_t *taken;

    reference operator*() const
    {
        return *at;
    }
    CountingIterator &operator++()
    {
        ++at;
        ++*taken;
        return *this;
    }
    CountingIterator operator++(int)
    {
        const CountingIterator before = *this;
        ++*this;
        return before;
    }
    bool operator==(const CountingIterator &other) const
    {
        return at == other.at;
    }
    bool operator!=(const CountingIterator &other) const
    {
        return at != other.at;
    }
};

std::string Place(const std::string &text, size_t offset)
{
    size_t line = 1;
    size_t column = 1;
    for (size_t i = 0; i + 1 < offset && i < text.size(); ++i) {
        column = text[i] == '\n' ? 1 : column + 1;
        line += text[i] == '\n' ? 1 : 0;
    }
    return "line " + std::to_string(line) + ", column " + std::to_string(column);
}

// The place of every object of a document, in the order in which they begin.
struct Document {
    std::vector<size_t> objects;
    std::string problem;
};

void Parse(const std::string &text, Json *json, Document *document)
{
    size_t taken = 0;
    std::vector<std::set<std::string>> keys;
    const auto watch = [&](int, Json::parse_event_t event, Json &value) {
        if (event == Json::parse_event_t::object_start) {
            keys.emplace_back();
            document->objects.push_back(taken);
        } else if (event == Json::parse_event_t::object_end) {
            keys.pop_back();
        } else if (event == Json::parse_event_t::key && !keys.back().insert(value.get<std::string>()).second &&
                   document->problem.empty()) {
            document->problem = Place(text, taken) + ": the key '" + value.get<std::string>() + "' stands there twice";
        }
        return true;
    };
    try {
        *json = Json::parse(CountingIterator{text.data(), &taken}, CountingIterator{text.data() + text.size(), &taken},
                            watch);
    } catch (const Json::parse_error &error) {
        document->problem = Place(text, error.byte) + ": this is not JSON";
    }
}

// Reads the members of one object after the other. The first thing that is wrong is kept.
struct Reader {
    const std::string &text;
    const Document &document;
    size_t object = 0; // in the document's order
    std::string problem;
};

void Complain(Reader *reader, const std::string &what)
{
    if (reader->problem.empty()) {
        const size_t offset =
            reader->object < reader->document.objects.size() ? reader->document.objects[reader->object] : 0;
        reader->problem = Place(reader->text, offset) + ": " + what;
    }
}

std::string ReadText(Reader *reader, const Json &json, const char *key, bool optional = false)
{
    const auto found = json.find(key);
    if (found == json.end() && optional) {
        return {};
    }
    if (found == json.end() || !found->is_string()) {
        Complain(reader, std::string("'") + key + "' is missing or no text");
        return {};
    }
    return found->get<std::string>();
}

int64_t ReadTime(Reader *reader, const Json &json, const char *key)
{
    int64_t seconds = 0;
    const Status status = ParseTime(ReadText(reader, json, key), &seconds);
    if (!status.ok) {
        Complain(reader, std::string("'") + key + "': " + status.reason);
    }
    return seconds;
}

void ReadSpan(Reader *reader, const Json &json, const char *key, int64_t *span)
{
    const Status status = ParseSpan(ReadText(reader, json, key), span);
    if (!status.ok) {
        Complain(reader, std::string("'") + key + "': " + status.reason);
    }
}

std::string ReadDigits(Reader *reader, const Json &json, const char *key, const char *digits)
{
    const std::string text = ReadText(reader, json, key);
    if (text.empty() || text.find_first_not_of(digits) != std::string::npos) {
        Complain(reader, std::string("'") + key + "' is no number");
    }
    return text;
}

constexpr char HEXADECIMAL[] = "0123456789ABCDEF";
constexpr char DECIMAL[] = "0123456789";

State ReadState(Reader *reader, const Json &json)
{
    const std::string text = ReadText(reader, json, "state");
    for (size_t i = 0; i < std::size(STATE_NAMES); ++i) {
        if (text == STATE_NAMES[i]) {
            return static_cast<State>(i);
        }
    }
    Complain(reader, "'state' is none of requested, begun and issued");
    return State::Begun;
}

Entry ReadEntry(Reader *reader, const Json &json)
{
    Entry entry;
    entry.name = ReadText(reader, json, "name");
    const Status status = ParseRole(ReadText(reader, json, "role"), &entry.role);
    if (!status.ok) {
        Complain(reader, "'role': " + status.reason);
    }
    if (entry.name.empty() || entry.name.find('/') != std::string::npos || entry.name[0] == '.') {
        Complain(reader, "'name' is no name of a certificate");
    }
    entry.state = ReadState(reader, json);
    entry.key = ReadText(reader, json, "key", true);
    entry.authority = ReadText(reader, json, "authority", true);
    if (entry.state != State::Requested) {
        entry.issuer = ReadText(reader, json, "issuer");
        entry.serial = ReadDigits(reader, json, "serial", HEXADECIMAL);
        entry.notBefore = ReadTime(reader, json, "notBefore");
        entry.notAfter = ReadTime(reader, json, "notAfter");
    }
    entry.subject = ReadText(reader, json, "subject");
    return entry;
}

Revocation ReadRevocation(Reader *reader, const Json &json)
{
    Revocation revocation;
    revocation.issuer = ReadText(reader, json, "issuer");
    revocation.serial = ReadDigits(reader, json, "serial", HEXADECIMAL);
    revocation.reason = ReadText(reader, json, "reason");
    revocation.date = ReadTime(reader, json, "date");
    revocation.noted = ReadTime(reader, json, "noted");
    return revocation;
}

PublishedCrl ReadCrl(Reader *reader, const Json &json)
{
    PublishedCrl crl;
    crl.issuer = ReadText(reader, json, "issuer");
    crl.number = ReadDigits(reader, json, "number", DECIMAL);
    crl.thisUpdate = ReadTime(reader, json, "thisUpdate");
    crl.nextUpdate = ReadTime(reader, json, "nextUpdate");
    return crl;
}

template <typename T, typename Read>
void ReadList(Reader *reader, const Json &json, const char *key, std::vector<T> *list, Read read)
{
    const auto found = json.find(key);
    if (found == json.end() || !found->is_array()) {
        Complain(reader, std::string("'") + key + "' is missing or no list");
        return;
    }
    for (const Json &item : *found) {
        if (!item.is_object()) {
            Complain(reader, std::string("'") + key + "' holds something that is no object");
            return;
        }
        reader->object += 1;
        list->push_back(read(reader, item));
    }
}

void ReadPki(Reader *reader, const Json &json, Pki *pki)
{
    if (!json.is_object() || ReadText(reader, json, "format") != FORMAT) {
        Complain(reader, "this is no PKI of format 1");
        return;
    }
    pki->country = ReadText(reader, json, "country");
    pki->organization = ReadText(reader, json, "organization");
    const auto lifetimes = json.find("lifetimes");
    if (lifetimes == json.end() || !lifetimes->is_object()) {
        Complain(reader, "'lifetimes' is missing or no object");
        return;
    }
    reader->object += 1;
    ReadSpan(reader, *lifetimes, "issuing-ca", &pki->lifetimes.issuingCa);
    ReadSpan(reader, *lifetimes, "signer", &pki->lifetimes.signer);
    ReadSpan(reader, *lifetimes, "timestamp", &pki->lifetimes.timestamp);
    ReadSpan(reader, *lifetimes, "crl", &pki->lifetimes.crl);
    ReadList(reader, json, "certificates", &pki->certificates, ReadEntry);
    ReadList(reader, json, "revocations", &pki->revocations, ReadRevocation);
    ReadList(reader, json, "crls", &pki->crls, ReadCrl);
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
    Document document;
    Parse(text, &json, &document);
    Reader reader = {text, document, 0, document.problem};
    Pki pki;
    if (reader.problem.empty()) {
        ReadPki(&reader, json, &pki);
    }
    for (size_t i = 0; i < pki.certificates.size() && reader.problem.empty(); ++i) {
        if (FindEntry(pki, pki.certificates[i].name) != &pki.certificates[i]) {
            reader.problem = "two certificates are named '" + pki.certificates[i].name + "'";
        }
    }
    if (!reader.problem.empty()) {
        return Fail("'" + Printable(source) + "' is damaged: " + Printable(reader.problem) +
                    "; take it from your version control or a backup, then import the CRLs that are published");
    }
    *pkiOut = std::move(pki);
    return {};
}

} // namespace pkgsign
