// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "fuzz/support/container.h"

#include <algorithm>

namespace
{

constexpr size_t LENGTH_OCTETS = 4;

} // namespace

FuzzContainer FuzzUnpack(const uint8_t *data, size_t size)
{
    FuzzContainer container;
    size_t at = std::min(size, FUZZ_FLAG_OCTETS);
    std::copy(data, data + at, container.flags.begin());
    for (forge::Bytes &part : container.parts) {
        if (size - at < LENGTH_OCTETS) {
            break;
        }
        size_t length = 0;
        for (size_t i = 0; i < LENGTH_OCTETS; ++i) {
            length = (length << 8) | data[at + i];
        }
        at += LENGTH_OCTETS;
        length = std::min(length, size - at);
        part.assign(data + at, data + at + length);
        at += length;
    }
    return container;
}

forge::Bytes FuzzPack(const FuzzContainer &container)
{
    forge::Bytes octets(container.flags.begin(), container.flags.end());
    for (const forge::Bytes &part : container.parts) {
        for (size_t shift = 8 * LENGTH_OCTETS; shift != 0; shift -= 8) {
            octets.push_back(static_cast<uint8_t>(part.size() >> (shift - 8)));
        }
        octets.insert(octets.end(), part.begin(), part.end());
    }
    return octets;
}

uint64_t FuzzFailAt(const FuzzContainer &container)
{
    return container.flags[1] + 256u * container.flags[2];
}
