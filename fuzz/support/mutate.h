// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The structure-aware mutator: changes elements rather than octets, and makes the signatures true again, so that what
// it makes is judged by the rules behind the decoder.
#ifndef FUZZ_MUTATE_H
#define FUZZ_MUTATE_H

#include <cstddef>
#include <cstdint>

#include "fuzz/support/container.h"

// The most objects that the mutator puts into a CRL file.
inline constexpr size_t FUZZ_MAX_OBJECTS = 24;

// Mutates a detached signature's input: a message, a CRL file and content. Has libFuzzer's interface.
size_t FuzzMutateDetached(uint8_t *data, size_t size, size_t maxSize, unsigned int seed);

// Mutates the input of the comparison: two CRL files.
size_t FuzzMutateCrlFiles(uint8_t *data, size_t size, size_t maxSize, unsigned int seed);

// Mutates one object, or several one behind the other, without signing anything again.
size_t FuzzMutateObjects(uint8_t *data, size_t size, size_t maxSize, unsigned int seed);

// Takes some parts from one input and the others from another one.
size_t FuzzCross(const uint8_t *data1, size_t size1, const uint8_t *data2, size_t size2, uint8_t *out, size_t maxSize,
                 unsigned int seed);

// libFuzzer's entry points of a target whose inputs are containers. mutate: one of the functions above.
#define FUZZ_CONTAINER_HOOKS(mutate)                                                                                   \
    extern "C" size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t maxSize, unsigned int seed)           \
    {                                                                                                                  \
        return mutate(data, size, maxSize, seed);                                                                      \
    }                                                                                                                  \
    extern "C" size_t LLVMFuzzerCustomCrossOver(const uint8_t *data1, size_t size1, const uint8_t *data2,              \
                                                size_t size2, uint8_t *out, size_t maxSize, unsigned int seed)         \
    {                                                                                                                  \
        return FuzzCross(data1, size1, data2, size2, out, maxSize, seed);                                              \
    }

#endif
