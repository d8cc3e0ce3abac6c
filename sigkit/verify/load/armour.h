// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What distinguishes PEM armour (RFC 7468) from DER.
#ifndef VERIFY_LOAD_ARMOUR_H
#define VERIFY_LOAD_ARMOUR_H

#include <stddef.h>
#include <stdint.h>

// What every block begins with, and an armoured file.
inline constexpr char SIGKIT_PEM_BEGIN[] = "-----BEGIN";

// Octets of a literal, without its NUL.
template <size_t Size>
constexpr uint32_t InternalTextLen(const char (&)[Size])
{
    return Size - 1;
}

// Returns whether data, of at least ten octets, begin like PEM armour.
[[nodiscard]] bool InternalIsPem(const uint8_t *data);

#endif
