// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// One number over everything that the library says: equal on two machines when they say the same. What a number looks
// like in memory, the size of a pointer and addresses do not come in.
#ifndef TESTS_REPLAY_RECORD_HASH_H
#define TESTS_REPLAY_RECORD_HASH_H

#include <stddef.h>
#include <stdint.h>

struct SigkitAsnItem;
struct SigkitCrlBundle;

// FNV-1a of 64 bits.
inline constexpr uint64_t HASH_START = 0xcbf29ce484222325;
extern uint64_t g_hash;

void HashNumber(uint64_t number);
void HashOctets(const uint8_t *data, size_t size);
void HashText(const char *text);

// Everything that a decoded record of a type holds.
void HashRecord(const uint8_t *record, const SigkitAsnItem &item);

// A summary of a CRL file; null is one too.
void HashBundle(const SigkitCrlBundle *bundle);

#endif
