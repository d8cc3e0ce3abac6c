// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Reads one element of DER (X.690, 8.1), with an identifier of one octet.
#ifndef DIFFERENTIAL_ELEMENT_H
#define DIFFERENTIAL_ELEMENT_H

#include "tests/support/der_writer.h"

// By positions in the input.
struct ElementPlace {
    uint8_t identifier = 0;
    size_t start = 0;
    size_t content = 0;
    size_t end = 0;
};

// False unless an element begins at `pos` and ends within `limit`.
inline bool ReadElement(const der::Bytes &input, size_t pos, size_t limit, ElementPlace *element)
{
    if (pos > limit || limit - pos < 2 || (input[pos] & 0x1F) == 0x1F) {
        return false;
    }
    size_t content = pos + 2;
    size_t len = input[pos + 1];
    if (len >= 0x80) {
        const size_t octets = len & 0x7F;
        if (octets == 0 || octets > 4 || limit - content < octets) {
            return false;
        }
        len = 0;
        for (size_t i = 0; i < octets; ++i) {
            len = len << 8 | input[content++];
        }
    }
    if (limit - content < len) {
        return false;
    }
    *element = {input[pos], pos, content, content + len};
    return true;
}

inline der::Bytes WholeOf(const der::Bytes &input, const ElementPlace &element)
{
    return der::Bytes(input.begin() + static_cast<ptrdiff_t>(element.start),
                      input.begin() + static_cast<ptrdiff_t>(element.end));
}

inline der::Bytes ContentOf(const der::Bytes &input, const ElementPlace &element)
{
    return der::Bytes(input.begin() + static_cast<ptrdiff_t>(element.content),
                      input.begin() + static_cast<ptrdiff_t>(element.end));
}

#endif
