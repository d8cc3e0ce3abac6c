// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/explain/inspect_value.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <iterator>

#include <openssl/objects.h>

#include "pkgsign/files/files.h"

namespace pkgsign::inspection
{
namespace
{

constexpr uint8_t UTC_TIME = 0x17;
constexpr uint8_t GENERALIZED_TIME = 0x18;
constexpr uint8_t TELETEX_STRING = 0x14;
constexpr uint8_t BMP_STRING = 0x1E;
constexpr uint8_t UNIVERSAL_STRING = 0x1C;

std::string HexNumber(unsigned number)
{
    char text[16] = {};
    (void)std::snprintf(text, sizeof(text), "%02X", number);
    return text;
}

void AppendCodePoint(uint32_t codePoint, std::string *text)
{
    const auto add = [text](uint32_t octet) { text->push_back(static_cast<char>(octet)); };
    if (codePoint < 0x80) {
        add(codePoint);
    } else if (codePoint < 0x800) {
        add(0xC0 | codePoint >> 6);
        add(0x80 | (codePoint & 0x3F));
    } else if (codePoint < 0x10000) {
        add(0xE0 | codePoint >> 12);
        add(0x80 | (codePoint >> 6 & 0x3F));
        add(0x80 | (codePoint & 0x3F));
    } else {
        add(0xF0 | codePoint >> 18);
        add(0x80 | (codePoint >> 12 & 0x3F));
        add(0x80 | (codePoint >> 6 & 0x3F));
        add(0x80 | (codePoint & 0x3F));
    }
}

// Characters of `size` octets each, the most significant first; false when they are none.
bool DecodeWide(const Bytes &content, size_t size, std::string *text)
{
    if (content.size() % size != 0) {
        return false;
    }
    for (size_t at = 0; at < content.size(); at += size) {
        uint32_t codePoint = 0;
        for (size_t i = 0; i < size; ++i) {
            codePoint = codePoint << 8 | content[at + i];
        }
        if (codePoint > 0x10FFFF || (codePoint >= 0xD800 && codePoint <= 0xDFFF)) {
            return false;
        }
        AppendCodePoint(codePoint, text);
    }
    return true;
}

struct DigestRow {
    const char *name;
    size_t size;
    const char *digest;
    const char *signature;
};
constexpr DigestRow DIGESTS[] = {{"SHA-256", 32, "2.16.840.1.101.3.4.2.1", "1.2.840.113549.1.1.11"},
                                 {"SHA-384", 48, "2.16.840.1.101.3.4.2.2", "1.2.840.113549.1.1.12"},
                                 {"SHA-512", 64, "2.16.840.1.101.3.4.2.3", "1.2.840.113549.1.1.13"}};

bool AreInRange(const struct tm &parts)
{
    struct tm same = parts;
    const time_t seconds = timegm(&same);
    struct tm back = {};
    return gmtime_r(&seconds, &back) != nullptr && back.tm_mon == parts.tm_mon && back.tm_mday == parts.tm_mday &&
           back.tm_hour == parts.tm_hour && back.tm_min == parts.tm_min && back.tm_sec == parts.tm_sec;
}

} // namespace

std::string DottedIdentifier(const Bytes &content)
{
    std::string text;
    uint64_t group = 0;
    bool isFirst = true;
    const bool isWhole = !content.empty() && content.size() < IDENTIFIER_OCTETS_MAX && (content.back() & 0x80) == 0;
    for (const uint8_t octet : content) {
        if (!isWhole || group > UINT64_MAX >> 7) {
            return "#" + ShownHex(content);
        }
        group = group << 7 | (octet & 0x7F);
        if ((octet & 0x80) != 0) {
            continue;
        }
        if (isFirst) {
            const uint64_t root = std::min<uint64_t>(group / 40, 2);
            text = std::to_string(root) + "." + std::to_string(group - root * 40);
        } else {
            text += "." + std::to_string(group);
        }
        isFirst = false;
        group = 0;
    }
    return text.empty() ? "#" : text;
}

std::string IdentifierText(const std::string &dotted)
{
    const int nid = OBJ_txt2nid(dotted.c_str());
    return nid == NID_undef || dotted[0] == '#' ? dotted : OBJ_nid2ln(nid);
}

std::string ShortIdentifierText(const std::string &dotted)
{
    const int nid = OBJ_txt2nid(dotted.c_str());
    return nid == NID_undef || dotted[0] == '#' ? dotted : OBJ_nid2sn(nid);
}

std::string ShownHex(const Bytes &octets)
{
    std::string text;
    for (size_t i = 0; i < octets.size() && i < VALUE_OCTETS_MAX; ++i) {
        text += HexNumber(octets[i]);
    }
    return text + (octets.size() > VALUE_OCTETS_MAX ? "..." : "");
}

std::string StringText(uint8_t identifier, const Bytes &content, bool *isExact)
{
    const bool isShort = content.size() <= VALUE_OCTETS_MAX;
    const Bytes shown(content.begin(),
                      content.begin() + static_cast<ptrdiff_t>(std::min(content.size(), VALUE_OCTETS_MAX)));
    std::string text;
    bool isText = true;
    if (identifier == BMP_STRING || identifier == UNIVERSAL_STRING) {
        isText = DecodeWide(shown, identifier == BMP_STRING ? 2 : 4, &text);
    } else if (identifier == TELETEX_STRING) {
        for (const uint8_t octet : shown) { // as most who write it mean it: ISO 8859-1
            AppendCodePoint(octet, &text);
        }
    } else {
        text.assign(shown.begin(), shown.end());
    }
    if (!isText) {
        *isExact = false;
        return "#" + ShownHex(content);
    }
    const std::string safe = Printable(text);
    *isExact = isShort && safe == text;
    return safe + (isShort ? "" : "...");
}

std::optional<int64_t> ReadDeviceTime(uint8_t identifier, const Bytes &content, bool *isTime)
{
    const size_t yearSize = identifier == UTC_TIME ? 2 : 4;
    if ((identifier != UTC_TIME && identifier != GENERALIZED_TIME) || content.size() != yearSize + 11) {
        return std::nullopt;
    }
    const auto number = [&](size_t at, size_t size) {
        int value = 0;
        for (size_t i = at; i < at + size; ++i) {
            value = value * 10 + (content[i] - '0');
        }
        return value;
    };
    const bool areDigits =
        std::all_of(content.begin(), content.end() - 1, [](uint8_t octet) { return octet >= '0' && octet <= '9'; });
    const int year = number(0, yearSize);
    struct tm parts = {};
    parts.tm_year = identifier == GENERALIZED_TIME ? year - 1900 : year < 50 ? year + 100 : year;
    parts.tm_mon = number(yearSize, 2) - 1;
    parts.tm_mday = number(yearSize + 2, 2);
    parts.tm_hour = number(yearSize + 4, 2);
    parts.tm_min = number(yearSize + 6, 2);
    parts.tm_sec = number(yearSize + 8, 2);
    *isTime = areDigits && content.back() == 'Z' && AreInRange(parts);
    return static_cast<int64_t>(timegm(&parts));
}

std::string DeviceDigestName(const std::string &dotted)
{
    for (const DigestRow &row : DIGESTS) {
        if (dotted == row.digest || dotted == row.signature) {
            return row.name;
        }
    }
    return "";
}

size_t DigestSize(const std::string &name)
{
    const auto row = std::find_if(std::begin(DIGESTS), std::end(DIGESTS),
                                  [&](const DigestRow &candidate) { return name == candidate.name; });
    return row == std::end(DIGESTS) ? 0 : row->size;
}

} // namespace pkgsign::inspection
