// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/support/der_writer.h"

#include <stdlib.h>

namespace der
{
namespace
{

// Big-endian octets of a length, without leading zeros; at least one octet.
Bytes LengthOctets(size_t length)
{
    Bytes octets;
    do {
        octets.insert(octets.begin(), static_cast<uint8_t>(length & 0xFF));
        length >>= 8;
    } while (length != 0);
    return octets;
}

Bytes ShortestLength(size_t length)
{
    if (length < 0x80) {
        return {static_cast<uint8_t>(length)};
    }
    const Bytes octets = LengthOctets(length);
    return Concatenate({{static_cast<uint8_t>(0x80 | octets.size())}, octets});
}

// Two's complement of a number in as few octets as possible (X.690, 8.3.2).
Bytes IntegerContent(int64_t value)
{
    Bytes octets;
    for (int shift = 56; shift >= 0; shift -= 8) {
        octets.push_back(static_cast<uint8_t>(static_cast<uint64_t>(value) >> shift));
    }
    while (octets.size() > 1 && ((octets[0] == 0x00 && octets[1] < 0x80) || (octets[0] == 0xFF && octets[1] >= 0x80))) {
        octets.erase(octets.begin());
    }
    return octets;
}

// One arc of an object identifier: seven bits an octet, all but the last with the high bit (X.690, 8.19.2).
Bytes ArcOctets(uint64_t arc)
{
    Bytes octets = {static_cast<uint8_t>(arc & 0x7F)};
    for (arc >>= 7; arc != 0; arc >>= 7) {
        octets.insert(octets.begin(), static_cast<uint8_t>(0x80 | (arc & 0x7F)));
    }
    return octets;
}

std::vector<uint64_t> Arcs(const std::string &dotted)
{
    std::vector<uint64_t> arcs;
    const char *position = dotted.c_str();
    while (*position != '\0') {
        char *end = nullptr;
        arcs.push_back(strtoull(position, &end, 10));
        if (end == position) {
            abort(); // the test wrote no identifier
        }
        position = *end == '.' ? end + 1 : end;
    }
    return arcs;
}

} // namespace

// ---- Octets --------------------------------------------------------------------------------------------------------

Bytes Concatenate(const std::vector<Bytes> &parts)
{
    Bytes whole;
    for (const Bytes &part : parts) {
        whole.insert(whole.end(), part.begin(), part.end());
    }
    return whole;
}

Bytes Repeat(size_t count, const Bytes &part)
{
    return Concatenate(std::vector<Bytes>(count, part));
}

Bytes Fill(size_t count, uint8_t octet)
{
    return Bytes(count, octet);
}

Bytes Text(const std::string &text)
{
    return Bytes(text.begin(), text.end());
}

Bytes Hex(const std::string &digits)
{
    Bytes octets;
    std::string pair;
    for (const char digit : digits) {
        if (digit == ' ') {
            continue;
        }
        pair.push_back(digit);
        if (pair.size() == 2) {
            octets.push_back(static_cast<uint8_t>(strtoul(pair.c_str(), nullptr, 16)));
            pair.clear();
        }
    }
    if (!pair.empty()) {
        abort(); // the test left half an octet
    }
    return octets;
}

// ---- Elements with a chosen header ---------------------------------------------------------------------------------

Bytes Tlv(uint8_t identifier, const Bytes &content)
{
    return TlvRawLength(identifier, ShortestLength(content.size()), content);
}

Bytes TlvLong(uint8_t identifier, const Bytes &content, uint8_t octets)
{
    Bytes length = {static_cast<uint8_t>(0x80 | octets)};
    for (int index = octets - 1; index >= 0; --index) {
        const uint64_t octet = index < 8 ? static_cast<uint64_t>(content.size()) >> (8 * index) : 0;
        length.push_back(static_cast<uint8_t>(octet));
    }
    return TlvRawLength(identifier, length, content);
}

Bytes TlvOfLength(uint8_t identifier, uint32_t length, const Bytes &content)
{
    return TlvRawLength(identifier, ShortestLength(length), content);
}

Bytes TlvRawLength(uint8_t identifier, const Bytes &lengthOctets, const Bytes &content)
{
    return Concatenate({{identifier}, lengthOctets, content});
}

Bytes TlvIndefinite(uint8_t identifier, const Bytes &content)
{
    return TlvRawLength(identifier, {0x80}, Concatenate({content, {0x00, 0x00}}));
}

Bytes Retag(uint8_t identifier, Bytes element)
{
    element.at(0) = identifier;
    return element;
}

Bytes Truncate(Bytes element, size_t octets)
{
    element.resize(element.size() - octets);
    return element;
}

// ---- Types ---------------------------------------------------------------------------------------------------------

Bytes Sequence(const std::vector<Bytes> &members)
{
    return Tlv(SEQUENCE, Concatenate(members));
}

Bytes Set(const std::vector<Bytes> &members)
{
    return Tlv(SET, Concatenate(members));
}

Bytes Integer(int64_t value)
{
    return Tlv(INTEGER, IntegerContent(value));
}

Bytes IntegerRaw(const Bytes &content)
{
    return Tlv(INTEGER, content);
}

Bytes Enumerated(int64_t value)
{
    return Tlv(ENUMERATED, IntegerContent(value));
}

Bytes Boolean(uint8_t contentOctet)
{
    return Tlv(BOOLEAN, {contentOctet});
}

Bytes Null()
{
    return Tlv(NULL_VALUE, {});
}

Bytes BitString(uint8_t unusedBits, const Bytes &bits)
{
    return Tlv(BIT_STRING, Concatenate({{unusedBits}, bits}));
}

Bytes OctetString(const Bytes &content)
{
    return Tlv(OCTET_STRING, content);
}

Bytes Oid(const std::string &dotted)
{
    return Tlv(OBJECT_IDENTIFIER, OidContent(dotted));
}

Bytes OidContent(const std::string &dotted)
{
    const std::vector<uint64_t> arcs = Arcs(dotted);
    Bytes content = ArcOctets(arcs.at(0) * 40 + arcs.at(1));
    for (size_t index = 2; index < arcs.size(); ++index) {
        content = Concatenate({content, ArcOctets(arcs[index])});
    }
    return content;
}

Bytes Utf8(const std::string &text)
{
    return Tlv(UTF8_STRING, Text(text));
}

Bytes Printable(const std::string &text)
{
    return Tlv(PRINTABLE_STRING, Text(text));
}

Bytes Ia5(const std::string &text)
{
    return Tlv(IA5_STRING, Text(text));
}

Bytes UtcTime(const std::string &text)
{
    return Tlv(UTC_TIME, Text(text));
}

Bytes GeneralizedTime(const std::string &text)
{
    return Tlv(GENERALIZED_TIME, Text(text));
}

Bytes Explicit(uint8_t number, const Bytes &inner)
{
    return Implicit(number, true, inner);
}

Bytes Implicit(uint8_t number, bool constructed, const Bytes &content)
{
    return Tlv(static_cast<uint8_t>(0x80 | (constructed ? 0x20 : 0x00) | (number & 0x1F)), content);
}

} // namespace der
