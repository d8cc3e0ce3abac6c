// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/explain/inspect_element.h"

namespace pkgsign::inspection
{
namespace
{

constexpr uint8_t NUMBER_BITS = 0x1F;
constexpr uint8_t CONSTRUCTED_BIT = 0x20;
constexpr uint8_t LONG_FORM_BIT = 0x80;

constexpr const char *UNIVERSAL_NAMES[] = {"end of contents",
                                           "BOOLEAN",
                                           "INTEGER",
                                           "BIT STRING",
                                           "OCTET STRING",
                                           "NULL",
                                           "OBJECT IDENTIFIER",
                                           nullptr,
                                           nullptr,
                                           nullptr,
                                           "ENUMERATED",
                                           nullptr,
                                           "UTF8String",
                                           nullptr,
                                           nullptr,
                                           nullptr,
                                           "SEQUENCE",
                                           "SET",
                                           nullptr,
                                           "PrintableString",
                                           "TeletexString",
                                           nullptr,
                                           "IA5String",
                                           "UTCTime",
                                           "GeneralizedTime",
                                           nullptr,
                                           nullptr,
                                           nullptr,
                                           "UniversalString",
                                           nullptr,
                                           "BMPString",
                                           nullptr};

struct Header {
    InspectedElement element;
    bool isIndefinite = false;
};

// The number in octets of seven bits behind an identifier octet (X.690, 8.1.2.4.2).
bool SkipHighNumber(const Bytes &data, size_t end, size_t *at)
{
    while (*at < end) {
        if ((data[(*at)++] & 0x80) == 0) {
            return true;
        }
    }
    return false;
}

// Takes the octets of a length in its long form.
bool ReadLongLength(const Bytes &data, size_t end, size_t count, size_t *at, InspectedElement *element)
{
    if (count > end - *at) {
        return false;
    }
    constexpr uint64_t TOO_MUCH = UINT64_MAX >> 8;
    const bool hasZero = data[*at] == 0;
    for (size_t i = 0; i < count; ++i) {
        const uint8_t octet = data[(*at)++];
        element->length = element->length > TOO_MUCH ? UINT64_MAX : element->length << 8 | octet;
    }
    element->isLongForm = hasZero || element->length < LONG_FORM_BIT;
    if (count > DEVICE_LENGTH_OCTETS_MAX) {
        element->flaw = ElementFlaw::ManyLengthOctets;
    }
    return true;
}

// Identifier and length.
Header ReadHeader(const Bytes &data, size_t at, size_t end)
{
    Header header;
    InspectedElement &element = header.element;
    element.offset = at;
    element.content = element.end = element.next = at;
    if (at >= end) {
        return header;
    }
    element.identifier = data[at++];
    const bool isHigh = (element.identifier & NUMBER_BITS) == NUMBER_BITS;
    if ((isHigh && !SkipHighNumber(data, end, &at)) || at >= end) {
        return header;
    }
    element.flaw = isHigh ? ElementFlaw::HighTagNumber : ElementFlaw::None;
    const uint8_t first = data[at++];
    if (first < LONG_FORM_BIT) {
        element.length = first;
    } else if (first == LONG_FORM_BIT) {
        header.isIndefinite = true;
        element.flaw = isHigh ? element.flaw : ElementFlaw::IndefiniteLength;
    } else if (!ReadLongLength(data, end, first & ~LONG_FORM_BIT & 0xFF, &at, &element)) {
        element.flaw = ElementFlaw::Nothing;
        return header;
    }
    element.content = at;
    const uint64_t there = end - at;
    element.isCut = element.length > there;
    element.end = at + static_cast<size_t>(element.isCut ? there : element.length);
    element.next = element.end;
    return header;
}

// The end of an indefinite length (X.690, 8.1.3.6): those within are counted, so that one walk is enough.
void FindEnd(const Bytes &data, size_t end, InspectedElement *element)
{
    size_t at = element->content;
    size_t open = 1;
    while (true) {
        const Header header = ReadHeader(data, at, end);
        if (!IsThere(header.element) || header.element.isCut) {
            element->isCut = true;
            element->end = element->next = end;
            break;
        }
        const bool isEnd = header.element.identifier == 0 && ContentSize(header.element) == 0 && !header.isIndefinite;
        at = header.element.next;
        open += header.isIndefinite ? 1 : 0;
        open -= isEnd ? 1 : 0;
        if (open == 0) {
            element->end = header.element.offset;
            element->next = at;
            break;
        }
    }
    element->length = element->end - element->content;
}

} // namespace

InspectedElement ReadElement(const Bytes &data, size_t at, size_t end)
{
    Header header = ReadHeader(data, at, end);
    if (header.isIndefinite) {
        FindEnd(data, end, &header.element);
    }
    return header.element;
}

std::string IdentifierName(uint8_t identifier)
{
    const unsigned number = identifier & NUMBER_BITS;
    const bool isConstructed = (identifier & CONSTRUCTED_BIT) != 0;
    const std::string digits = number == NUMBER_BITS ? "31 or more" : std::to_string(number);
    switch (identifier >> 6) {
    case 0: {
        const char *const name = UNIVERSAL_NAMES[number];
        const bool isPlain = isConstructed == (number == 16 || number == 17);
        return (name == nullptr ? "[UNIVERSAL " + digits + "]" : std::string(name)) + (isPlain ? ""
                                                                                       : isConstructed
                                                                                           ? " in pieces"
                                                                                           : " that is primitive");
    }
    case 1:
        return "[APPLICATION " + digits + "]";
    case 2:
        return "[" + digits + "]" + (isConstructed ? "" : " that is primitive");
    default:
        return "[PRIVATE " + digits + "]";
    }
}

std::string DescribeElement(const InspectedElement &element)
{
    if (!IsThere(element)) {
        return "nothing";
    }
    const bool isIndefinite = element.flaw == ElementFlaw::IndefiniteLength;
    return IdentifierName(element.identifier) +
           (isIndefinite ? " of indefinite length" : " of " + std::to_string(element.length) + " octets");
}

} // namespace pkgsign::inspection
