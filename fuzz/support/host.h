// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The host below the library while it is fuzzed: memory that is counted and can run out, a log that goes nowhere but
// reads all that it is given, and the invariants that hold for every input.
#ifndef FUZZ_HOST_H
#define FUZZ_HOST_H

#include <cstdint>

struct FuzzHost {
    int64_t liveBlocks;       // allocated and not released
    uint64_t allocations;     // so far
    uint64_t failAt;          // this allocation and all behind it fail; 0: none does
    uint64_t signatureChecks; // RSA operations that the library has asked for
};

extern FuzzHost g_fuzzHost;

// Prints why, and ends the process: a finding.
[[noreturn]] __attribute__((format(printf, 1, 2))) void FuzzFail(const char *format, ...);

// Starts an input: nothing is alive and memory does not run out.
void FuzzBegin();

// The most RSA operations that a context may take, whatever its CRL file and its signature file are.
inline constexpr uint64_t FUZZ_MAX_SIGNATURE_CHECKS = 1000;

// Fails when a context has taken more RSA operations than that. Call it once the context has done its work.
void FuzzCheckCost();

// Ends an input: a block that is still alive is a finding.
void FuzzEnd();

// Stands in the tally for a verdict of 1 together with success.
inline constexpr uint32_t FUZZ_TALLY_AUTHENTIC = 1;

// Counts how often each status was met. With the environment variable FUZZ_STATUS_FILE the counts are written there
// when the process ends.
void FuzzTally(uint32_t status);

#endif
