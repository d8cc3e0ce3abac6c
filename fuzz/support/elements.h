// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Elements read in place, for the second opinion: no trees, no copies, no leniency but that of the length's form.
#ifndef FUZZ_ELEMENTS_H
#define FUZZ_ELEMENTS_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "tests/forge/forge.h"

struct Element {
    uint8_t identifier = 0;
    const uint8_t *begin = nullptr; // of the identifier
    const uint8_t *content = nullptr;
    size_t length = 0; // of the content
};

// Reads the element at `data`. Returns whether there is a whole one within `size` octets.
bool ElementRead(const uint8_t *data, size_t size, Element *out);

// Reads the elements that make up the whole content of another one. Returns whether they do.
bool ElementChildren(const Element &element, std::vector<Element> *out);

forge::Bytes ElementContent(const Element &element);
forge::Bytes ElementEncoding(const Element &element);

// Returns the content, without the sign octet when the tag is an INTEGER's.
forge::Bytes ElementValue(const Element &element);

#endif
