// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/timestamp/der.h"

#include <algorithm>
#include <functional>

namespace pkgsign
{
namespace
{

constexpr size_t SHORT_LENGTH_MAX = 0x7F; // X.690, 8.1.3.4

void AppendHeader(DerIdentifier identifier, size_t size, Bytes *out)
{
    out->push_back(identifier);
    if (size <= SHORT_LENGTH_MAX) {
        out->push_back(static_cast<uint8_t>(size));
        return;
    }
    uint8_t octets = 1;
    while (octets < sizeof(size) && size >> (8 * octets) != 0) {
        ++octets;
    }
    out->push_back(static_cast<uint8_t>(0x80 | octets));
    while (octets > 0) {
        --octets;
        out->push_back(static_cast<uint8_t>(size >> (8 * octets)));
    }
}

template <typename Parts>
Bytes Wrap(DerIdentifier identifier, const Parts &parts)
{
    size_t size = 0;
    for (const BytesView part : parts) {
        size += part.size();
    }
    Bytes element;
    element.reserve(size + 2 + sizeof(size));
    AppendHeader(identifier, size, &element);
    for (const BytesView part : parts) {
        element.insert(element.end(), part.begin(), part.end());
    }
    return element;
}

} // namespace

Bytes DerElement(DerIdentifier identifier, std::initializer_list<BytesView> contents)
{
    return Wrap(identifier, contents);
}

Bytes DerSetOf(DerIdentifier identifier, std::vector<BytesView> elements)
{
    std::sort(elements.begin(), elements.end(), [](BytesView a, BytesView b) {
        return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(), std::less<>());
    });
    return Wrap(identifier, elements);
}

Bytes DerUnsigned(const Bytes &magnitude)
{
    auto first = std::find_if(magnitude.begin(), magnitude.end(), [](uint8_t octet) { return octet != 0; });
    Bytes content(first, magnitude.end());
    if (content.empty() || content[0] >= 0x80) {
        content.insert(content.begin(), 0);
    }
    return DerElement(DER_INTEGER, {content});
}

} // namespace pkgsign
