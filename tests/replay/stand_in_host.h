// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// A host that needs nothing but the C library: memory that is counted and runs out on request, real digests, and
// signatures that hold or not by rule instead of by arithmetic. Its log becomes part of the hash.
#ifndef TESTS_REPLAY_STAND_IN_HOST_H
#define TESTS_REPLAY_STAND_IN_HOST_H

#include <stdint.h>

struct StandInHost {
    uint32_t allocations = 0; // asked for so far
    uint32_t failAt = 0;      // the one that fails, from 1; 0: none
    bool staysEmpty = false;  // all behind it fail, too
    bool doubtsAll = false;   // of eight signatures one does not hold; else every one holds
    int64_t liveBlocks = 0;   // not released yet
    uint32_t digests = 0;     // contexts that were not released yet
    uint32_t signatures = 0;  // checks of signatures
};

extern StandInHost g_standInHost;

#endif
