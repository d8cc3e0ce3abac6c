// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Alterations of inputs: the same ones on every machine.
#ifndef TESTS_REPLAY_ALTERATIONS_H
#define TESTS_REPLAY_ALTERATIONS_H

#include "tests/replay/operations.h"

// Draws the next number below `limit`, which is not 0 (splitmix64).
uint32_t Draw(uint64_t *state, uint32_t limit);

// Makes an altered copy of octets: one of them, a range of them, or their end. The caller frees its data.
Octets Alter(const Octets &octets, uint64_t *state);

#endif
