// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/forge/der.h"
#include "tests/forge/status.h"

#include <openssl/objects.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace forge
{
namespace
{
void AppendLength(size_t length, Bytes *out)
{
    if (length < 0x80) {
        out->push_back(static_cast<uint8_t>(length));
        return;
    }
    unsigned octets = 0;
    for (size_t rest = length; rest != 0; rest >>= 8) {
        ++octets;
    }
    out->push_back(static_cast<uint8_t>(0x80 | octets));
    while (octets != 0) {
        --octets;
        out->push_back(static_cast<uint8_t>(length >> (8 * octets)));
    }
}

// Breaks a time down; false for a year that four digits cannot hold.
bool BreakDown(int64_t seconds, std::tm *out)
{
    const std::time_t time = static_cast<std::time_t>(seconds);
    return gmtime_r(&time, out) != nullptr && out->tm_year >= -1900 && out->tm_year <= 9999 - 1900;
}

// The digits from the year (of two or four digits) to the second, and "Z".
Bytes TimeText(const std::tm &time, bool shortYear)
{
    char text[80];
    const int year = shortYear ? time.tm_year % 100 : time.tm_year + 1900;
    const int length = std::snprintf(text, sizeof(text), "%0*d%02d%02d%02d%02d%02dZ", shortYear ? 2 : 4, year,
                                     time.tm_mon + 1, time.tm_mday, time.tm_hour, time.tm_min, time.tm_sec);
    return Bytes(text, text + length);
}

// Order of encodings; an encoding is never empty.
bool Precedes(const Bytes &left, const Bytes &right)
{
    const int order = std::memcmp(left.data(), right.data(), std::min(left.size(), right.size()));
    return order != 0 ? order < 0 : left.size() < right.size();
}

} // namespace

Bytes DerElement(uint8_t identifier, const Bytes &content)
{
    Bytes element = {identifier};
    AppendLength(content.size(), &element);
    element.insert(element.end(), content.begin(), content.end());
    return element;
}

Bytes DerJoin(const std::vector<Bytes> &elements)
{
    Bytes joined;
    for (const Bytes &element : elements) {
        joined.insert(joined.end(), element.begin(), element.end());
    }
    return joined;
}

Bytes DerSequence(const std::vector<Bytes> &elements)
{
    return DerElement(DER_SEQUENCE, DerJoin(elements));
}

Bytes DerSetOf(std::vector<Bytes> elements)
{
    std::sort(elements.begin(), elements.end(), Precedes);
    return DerElement(DER_SET, DerJoin(elements));
}

Bytes DerConstructed(uint8_t number, const Bytes &content)
{
    return DerElement(static_cast<uint8_t>(0xA0 | number), content);
}

Bytes DerBoolean(bool value)
{
    return {DER_BOOLEAN, 1, static_cast<uint8_t>(value ? 0xFF : 0x00)};
}

Bytes DerNull()
{
    return {DER_NULL, 0};
}

Bytes DerOctetString(const Bytes &octets)
{
    return DerElement(DER_OCTET_STRING, octets);
}

Bytes DerInteger(int64_t value)
{
    Bytes octets;
    for (int shift = 56; shift >= 0; shift -= 8) {
        octets.push_back(static_cast<uint8_t>(value >> shift));
    }
    return DerUnsigned(octets);
}

Bytes DerUnsigned(const Bytes &octets)
{
    const auto first = std::find_if(octets.begin(), octets.end(), [](uint8_t octet) { return octet != 0; });
    Bytes content(first, octets.end());
    if (content.empty() || (content.front() & 0x80) != 0) {
        content.insert(content.begin(), 0x00); // the sign bit must be clear
    }
    return DerElement(DER_INTEGER, content);
}

Bytes DerBitString(const Bytes &octets)
{
    Bytes content(octets.size() + 1); // the first octet says: no unused bits
    std::copy(octets.begin(), octets.end(), content.begin() + 1);
    return DerElement(DER_BIT_STRING, content);
}

Bytes DerNamedBits(uint32_t mask)
{
    Bytes content = {0};
    for (unsigned bit = 0; bit < 32 && (mask >> bit) != 0; ++bit) {
        if (bit % 8 == 0) {
            content.push_back(0);
        }
        if (((mask >> bit) & 1) != 0) {
            content.back() = static_cast<uint8_t>(content.back() | (0x80u >> (bit % 8)));
        }
        content.front() = static_cast<uint8_t>(7 - bit % 8); // ends up as the count of unused bits
    }
    return DerElement(DER_BIT_STRING, content);
}

Status DerTime(int64_t seconds, Bytes *timeOut)
{
    std::tm time = {};
    if (!BreakDown(seconds, &time)) {
        return Fail("time out of range");
    }
    const bool utcTime = time.tm_year >= 50 && time.tm_year < 150;
    *timeOut = DerElement(utcTime ? DER_UTC_TIME : DER_GENERALIZED_TIME, TimeText(time, utcTime));
    return Ok();
}

Status DerGeneralizedTime(int64_t seconds, Bytes *timeOut)
{
    std::tm time = {};
    if (!BreakDown(seconds, &time)) {
        return Fail("time out of range");
    }
    *timeOut = DerElement(DER_GENERALIZED_TIME, TimeText(time, false));
    return Ok();
}

Status DerObjectIdentifier(const std::string &identifier, Bytes *elementOut)
{
    ASN1_OBJECT *object = OBJ_txt2obj(identifier.c_str(), 0);
    if (object == nullptr) {
        return FailCrypto("not an object identifier: '" + identifier + "'");
    }
    unsigned char *encoding = nullptr;
    const int length = i2d_ASN1_OBJECT(object, &encoding);
    ASN1_OBJECT_free(object);
    if (length <= 0) {
        return FailCrypto("cannot encode the object identifier '" + identifier + "'");
    }
    elementOut->assign(encoding, encoding + length);
    OPENSSL_free(encoding);
    return Ok();
}

Bytes DerKnownIdentifier(const char *dotted)
{
    Bytes element;
    if (!DerObjectIdentifier(dotted, &element).ok) {
        std::abort(); // a slip in our own source
    }
    return element;
}
} // namespace forge
