// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Choices of the mutator, and of the tests that alter encodings. Every one follows from a seed, so that a run can be
// repeated.
#ifndef FUZZ_RANDOM_H
#define FUZZ_RANDOM_H

#include <cstddef>
#include <cstdint>

struct FuzzRandom {
    uint64_t state = 0;
};

// Returns the next 64 bits (the SplitMix64 sequence).
inline uint64_t FuzzNext(FuzzRandom *random)
{
    random->state += 0x9E3779B97F4A7C15u;
    uint64_t mixed = random->state;
    mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9u;
    mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EBu;
    return mixed ^ (mixed >> 31);
}

// Returns a number below `bound`, or 0 when `bound` is 0.
inline size_t FuzzBelow(FuzzRandom *random, size_t bound)
{
    return bound == 0 ? 0 : static_cast<size_t>(FuzzNext(random) % bound);
}

// Returns true `chances` times out of 100.
inline bool FuzzChance(FuzzRandom *random, size_t chances)
{
    return FuzzBelow(random, 100) < chances;
}

#endif
