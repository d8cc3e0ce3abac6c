// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// SHA-256, SHA-384 and SHA-512 (FIPS 180-4), so that a host needs no other library.
#ifndef TESTS_REPLAY_DIGEST_H
#define TESTS_REPLAY_DIGEST_H

#include <stddef.h>
#include <stdint.h>

inline constexpr size_t DIGEST_SIZE_MAX = 64;

// Writes the digest of `size` octets and returns its own octets: 0 for a hash algorithm that is none of the library's
// 43, 44 and 45.
uint32_t DigestOf(uint32_t hashAoid, const uint8_t *data, size_t size, uint8_t (&digest)[DIGEST_SIZE_MAX]);

#endif
