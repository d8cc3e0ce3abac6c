// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Allocation: every block of the library comes from the host and goes back to it.
//
// Logs: nothing, in any function of this header.
#ifndef CORE_MEMORY_H
#define CORE_MEMORY_H

#include <stddef.h>
#include <stdint.h>

#include "sigkit/sigkit_host.h"

// Allocates a block and zeroes it.
//
//   out   out, the block, owned by the caller until SigkitFree; null when `size` is 0.
//   size  in, octets.
//
// Returns SIGKIT_OK, SIGKIT_ERR_PARAM when `out` is null, the host's code when it has no memory, or the code of
// memset_s. After the last the block is gone, but `*out` still holds its address: go by the status alone.
[[nodiscard]] uint32_t SigkitMallocWith0(void **out, size_t size);

// Allocates octets without zeroing them.
//
//   out   out, owned by the caller until SigkitFree. Not written on failure.
//   size  in, octets.
//
// Returns SIGKIT_OK, or the host's code when it has no memory.
[[nodiscard]] uint32_t InternalNewBytes(uint8_t **out, size_t size);

// Allocates a zeroed record of type T into `*out`. See SigkitMallocWith0.
template <typename T>
[[nodiscard]] uint32_t InternalNewRecord(T **out)
{
    void *block = nullptr;
    const uint32_t status = SigkitMallocWith0(&block, sizeof(T));
    if (status == 0) {
        *out = static_cast<T *>(block);
    }
    return status;
}

// Copies `len` octets of `data` into a new block with `zeroTail` zero octets behind them, so that text becomes a
// string.
//
//   out  out, the copy, owned by the caller until SigkitFree. Not written on failure.
//
// Returns SIGKIT_OK, or the code of the allocation or of the copy.
[[nodiscard]] uint32_t InternalCopyBytes(uint8_t **out, const uint8_t *data, uint32_t len, uint32_t zeroTail);

#endif
