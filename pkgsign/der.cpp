#include "pkgsign/der.h"
#include "pkgsign/status.h"

#include <openssl/objects.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace
{
void AppendLength(size_t length, PkgsignBytes *out)
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
PkgsignBytes TimeText(const std::tm &time, bool shortYear)
{
    char text[80];
    const int year = shortYear ? time.tm_year % 100 : time.tm_year + 1900;
    const int length = std::snprintf(text, sizeof(text), "%0*d%02d%02d%02d%02d%02dZ", shortYear ? 2 : 4, year,
                                     time.tm_mon + 1, time.tm_mday, time.tm_hour, time.tm_min, time.tm_sec);
    return PkgsignBytes(text, text + length);
}

// Order of encodings; an encoding is never empty.
bool Precedes(const PkgsignBytes &left, const PkgsignBytes &right)
{
    const int order = std::memcmp(left.data(), right.data(), std::min(left.size(), right.size()));
    return order != 0 ? order < 0 : left.size() < right.size();
}

} // namespace

PkgsignBytes PkgsignDerElement(uint8_t identifier, const PkgsignBytes &content)
{
    PkgsignBytes element = {identifier};
    AppendLength(content.size(), &element);
    element.insert(element.end(), content.begin(), content.end());
    return element;
}

PkgsignBytes PkgsignDerJoin(const std::vector<PkgsignBytes> &elements)
{
    PkgsignBytes joined;
    for (const PkgsignBytes &element : elements) {
        joined.insert(joined.end(), element.begin(), element.end());
    }
    return joined;
}

PkgsignBytes PkgsignDerSequence(const std::vector<PkgsignBytes> &elements)
{
    return PkgsignDerElement(DER_SEQUENCE, PkgsignDerJoin(elements));
}

PkgsignBytes PkgsignDerSetOf(std::vector<PkgsignBytes> elements)
{
    std::sort(elements.begin(), elements.end(), Precedes);
    return PkgsignDerElement(DER_SET, PkgsignDerJoin(elements));
}

PkgsignBytes PkgsignDerConstructed(uint8_t number, const PkgsignBytes &content)
{
    return PkgsignDerElement(static_cast<uint8_t>(0xA0 | number), content);
}

PkgsignBytes PkgsignDerBoolean(bool value)
{
    return {DER_BOOLEAN, 1, static_cast<uint8_t>(value ? 0xFF : 0x00)};
}

PkgsignBytes PkgsignDerNull()
{
    return {DER_NULL, 0};
}

PkgsignBytes PkgsignDerOctetString(const PkgsignBytes &octets)
{
    return PkgsignDerElement(DER_OCTET_STRING, octets);
}

PkgsignBytes PkgsignDerInteger(int64_t value)
{
    PkgsignBytes octets;
    for (int shift = 56; shift >= 0; shift -= 8) {
        octets.push_back(static_cast<uint8_t>(value >> shift));
    }
    return PkgsignDerUnsigned(octets);
}

PkgsignBytes PkgsignDerUnsigned(const PkgsignBytes &octets)
{
    const auto first = std::find_if(octets.begin(), octets.end(), [](uint8_t octet) { return octet != 0; });
    PkgsignBytes content(first, octets.end());
    if (content.empty() || (content.front() & 0x80) != 0) {
        content.insert(content.begin(), 0x00); // the sign bit must be clear
    }
    return PkgsignDerElement(DER_INTEGER, content);
}

PkgsignBytes PkgsignDerBitString(const PkgsignBytes &octets)
{
    PkgsignBytes content(octets.size() + 1); // the first octet says: no unused bits
    std::copy(octets.begin(), octets.end(), content.begin() + 1);
    return PkgsignDerElement(DER_BIT_STRING, content);
}

PkgsignBytes PkgsignDerNamedBits(uint32_t mask)
{
    PkgsignBytes content = {0};
    for (unsigned bit = 0; bit < 32 && (mask >> bit) != 0; ++bit) {
        if (bit % 8 == 0) {
            content.push_back(0);
        }
        if (((mask >> bit) & 1) != 0) {
            content.back() = static_cast<uint8_t>(content.back() | (0x80u >> (bit % 8)));
        }
        content.front() = static_cast<uint8_t>(7 - bit % 8); // ends up as the count of unused bits
    }
    return PkgsignDerElement(DER_BIT_STRING, content);
}

PkgsignStatus PkgsignDerTime(int64_t seconds, PkgsignBytes *timeOut)
{
    std::tm time = {};
    if (!BreakDown(seconds, &time)) {
        return PkgsignFail("time out of range");
    }
    const bool utcTime = time.tm_year >= 50 && time.tm_year < 150;
    *timeOut = PkgsignDerElement(utcTime ? DER_UTC_TIME : DER_GENERALIZED_TIME, TimeText(time, utcTime));
    return PkgsignOk();
}

PkgsignStatus PkgsignDerGeneralizedTime(int64_t seconds, PkgsignBytes *timeOut)
{
    std::tm time = {};
    if (!BreakDown(seconds, &time)) {
        return PkgsignFail("time out of range");
    }
    *timeOut = PkgsignDerElement(DER_GENERALIZED_TIME, TimeText(time, false));
    return PkgsignOk();
}

PkgsignStatus PkgsignDerObjectIdentifier(const std::string &identifier, PkgsignBytes *elementOut)
{
    ASN1_OBJECT *object = OBJ_txt2obj(identifier.c_str(), 0);
    if (object == nullptr) {
        return PkgsignFailCrypto("not an object identifier: '" + identifier + "'");
    }
    unsigned char *encoding = nullptr;
    const int length = i2d_ASN1_OBJECT(object, &encoding);
    ASN1_OBJECT_free(object);
    if (length <= 0) {
        return PkgsignFailCrypto("cannot encode the object identifier '" + identifier + "'");
    }
    elementOut->assign(encoding, encoding + length);
    OPENSSL_free(encoding);
    return PkgsignOk();
}

PkgsignBytes PkgsignDerKnownIdentifier(const char *dotted)
{
    PkgsignBytes element;
    if (!PkgsignDerObjectIdentifier(dotted, &element).ok) {
        std::abort(); // a slip in our own source
    }
    return element;
}
