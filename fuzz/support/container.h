// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The input of the targets that take several things at once: flags, and up to three parts.
//
// Four octets of flags, then for each part a length of four octets, most significant first, and the part. A length
// beyond the input means the rest of it; parts that are missing are empty. So every sequence of octets is an input.
#ifndef FUZZ_CONTAINER_H
#define FUZZ_CONTAINER_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "tests/forge/forge.h"

inline constexpr size_t FUZZ_FLAG_OCTETS = 4;
inline constexpr size_t FUZZ_PARTS = 3;

struct FuzzContainer {
    std::array<uint8_t, FUZZ_FLAG_OCTETS> flags = {};
    std::array<forge::Bytes, FUZZ_PARTS> parts;
};

// Bits of flags[0] of the detached signature's target.
inline constexpr uint8_t FUZZ_ARMOUR_CMS = 0x01;      // the message goes in as PEM text with the label CMS
inline constexpr uint8_t FUZZ_ARMOUR_PKCS7 = 0x02;    // the same with the label PKCS7
inline constexpr uint8_t FUZZ_ARMOUR_CRLS = 0x04;     // the objects of the CRL file go in as PEM text
inline constexpr uint8_t FUZZ_CARRIAGE_RETURN = 0x08; // PEM text has CR LF line ends
inline constexpr uint8_t FUZZ_TWICE = 0x10;           // the message is verified again on the same context
inline constexpr uint8_t FUZZ_IN_PIECES = 0x20;       // the content is fed octet by octet
inline constexpr uint8_t FUZZ_ALTERED = 0x40;         // another octet follows the content
inline constexpr uint8_t FUZZ_NO_ROOT = 0x80;         // no trust anchor is loaded

// Parts of the detached signature's target. That of the comparison has a CRL file in each of the first two.
inline constexpr size_t FUZZ_PART_MESSAGE = 0;
inline constexpr size_t FUZZ_PART_CRLS = 1;
inline constexpr size_t FUZZ_PART_CONTENT = 2;

// Takes an input apart.
FuzzContainer FuzzUnpack(const uint8_t *data, size_t size);

// Puts an input together.
forge::Bytes FuzzPack(const FuzzContainer &container);

// The allocation that fails, from flags[1] and flags[2]; 0: none.
uint64_t FuzzFailAt(const FuzzContainer &container);

#endif
