// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Elements of BER (X.690) as they stand in a file, broken ones too: read as far as they go.
#ifndef PKGSIGN_EXPLAIN_INSPECT_ELEMENT_H
#define PKGSIGN_EXPLAIN_INSPECT_ELEMENT_H

#include <string>

#include "pkgsign/status.h"

namespace pkgsign::inspection
{

// Of how many octets the length may be that devices read.
inline constexpr size_t DEVICE_LENGTH_OCTETS_MAX = 4;

enum class ElementFlaw : uint8_t {
    None,
    HighTagNumber,    // the number follows the identifier octet (8.1.2.4)
    IndefiniteLength, // the content ends at two zeros (8.1.3.6)
    ManyLengthOctets, // more than DEVICE_LENGTH_OCTETS_MAX
    Nothing,          // not one octet, or a header that is cut
};

// Offsets count from the beginning of the octets.
struct InspectedElement {
    ElementFlaw flaw = ElementFlaw::Nothing;
    uint8_t identifier = 0; // the octet, whatever the number behind it
    size_t offset = 0;
    size_t content = 0;
    size_t end = 0;          // of the content, as far as it is there
    size_t next = 0;         // behind the element
    uint64_t length = 0;     // as stated; of an indefinite one, as found
    bool isCut = false;      // the content ends before its length
    bool isLongForm = false; // the length has octets to spare (X.690, 10.1)
};

// Reads the element at `at`, which ends at `end` at the latest. The cost is that of the header, and for an indefinite
// length that of the headers in it.
InspectedElement ReadElement(const Bytes &data, size_t at, size_t end);

inline size_t ContentSize(const InspectedElement &element)
{
    return element.end - element.content;
}

inline bool IsThere(const InspectedElement &element)
{
    return element.flaw != ElementFlaw::Nothing;
}

inline bool IsConstructed(const InspectedElement &element)
{
    return (element.identifier & 0x20) != 0;
}

// "SEQUENCE", "[0]", "OCTET STRING in pieces": what an identifier octet stands for.
std::string IdentifierName(uint8_t identifier);

// The same with the size, or "nothing".
std::string DescribeElement(const InspectedElement &element);

} // namespace pkgsign::inspection

#endif
