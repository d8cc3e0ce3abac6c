// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/explain/inspect_value.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <iterator>

#include <openssl/objects.h>

#include "pkgsign/files/files.h"
#include "x509/time.h"

namespace pkgsign::inspection
{
namespace
{

constexpr uint32_t TAG_NUMBER = 0x1F;
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

// Whether the digits of a time, as the device takes them, are those of the second that it computes from them.
bool IsSecond(const SigkitDateTime &parts, int64_t seconds)
{
    const time_t instant = static_cast<time_t>(seconds);
    struct tm back = {};
    return gmtime_r(&instant, &back) != nullptr && back.tm_year + 1900 == parts.year &&
           back.tm_mon + 1 == parts.month && back.tm_mday == parts.day && back.tm_hour == parts.hour &&
           back.tm_min == parts.minute && back.tm_sec == parts.second;
}

} // namespace

std::string DottedIdentifier(const Bytes &content)
{
    std::string text;
    uint64_t group = 0;
    bool isFirst = true;
    const bool isWhole = !content.empty() && content.size() < IDENTIFIER_OCTETS_MAX && (content.back() & 0x80) == 0;
    bool isGroup = false; // within one
    for (const uint8_t octet : content) {
        // One that begins with a zero to spare is another one to the device (X.690, 8.19.2).
        if (!isWhole || group > UINT64_MAX >> 7 || (!isGroup && octet == 0x80)) {
            return "#" + ShownHex(content);
        }
        isGroup = (octet & 0x80) != 0;
        group = group << 7 | (octet & 0x7F);
        if (isGroup) {
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
    const SigkitAsnOcts view = {static_cast<uint32_t>(content.size()), 0, 0, identifier & TAG_NUMBER, content.data()};
    SigkitDateTime parts = {};
    if (SigkitConvertFromTime(&view, &parts) != 0) {
        return std::nullopt;
    }
    const int64_t seconds = static_cast<int64_t>(SigkitMktime(&parts));
    const bool areDigits =
        std::all_of(content.begin(), content.end() - 1, [](uint8_t octet) { return octet >= '0' && octet <= '9'; });
    *isTime = areDigits && content.back() == 'Z' && IsSecond(parts, seconds);
    return seconds;
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
