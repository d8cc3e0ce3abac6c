// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pki/path_memory.h"

namespace
{

bool HasPlace(uint32_t storeIndex, int32_t depth)
{
    static_assert(SIGKIT_PATH_DEPTH_MAX < 32, "each depth has a bit of its own");
    return storeIndex >= 1 && storeIndex <= SIGKIT_LIST_CAPACITY && depth >= 0 && depth <= SIGKIT_PATH_DEPTH_MAX;
}

} // namespace

void InternalForgetOutcomes(InternalPathMemory *memory)
{
    memory->warned = false;
    for (uint32_t &known : memory->known) {
        known = 0;
    }
}

bool InternalMayWarn(InternalPathMemory *memory)
{
    if (memory->nested < memory->literal) {
        return true;
    }
    const bool isFirst = !memory->warned;
    memory->warned = true;
    return isFirst;
}

const InternalPathOutcome *InternalRecallOutcome(InternalPathMemory *memory, uint32_t storeIndex, int32_t depth)
{
    if (memory->nested < memory->literal) {
        memory->nested += 1;
        return nullptr;
    }
    if (!HasPlace(storeIndex, depth) || (memory->known[storeIndex - 1] & (1U << depth)) == 0) {
        return nullptr;
    }
    return &memory->outcomes[storeIndex - 1][depth];
}

void InternalKeepOutcome(InternalPathMemory *memory, uint32_t storeIndex, int32_t depth,
                         const InternalPathOutcome &outcome)
{
    if (HasPlace(storeIndex, depth)) {
        memory->known[storeIndex - 1] |= 1U << depth;
        memory->outcomes[storeIndex - 1][depth] = outcome;
    }
}
