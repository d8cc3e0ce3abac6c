// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Stands in for the fuzzer's own mutation in a program that makes inputs and does not fuzz.
#include <cstddef>
#include <cstdint>

extern "C" size_t LLVMFuzzerMutate(uint8_t *data, size_t size, size_t maxSize);

extern "C" size_t LLVMFuzzerMutate(uint8_t * /*data*/, size_t size, size_t /*maxSize*/)
{
    return size;
}
