// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// A platform for tests: log and memory services that remember every call. A test that links it watches what a part of
// the tool asks of the device; memory can be made to run out.
#ifndef SUPPORT_RECORDING_PLATFORM_H
#define SUPPORT_RECORDING_PLATFORM_H

#include <stddef.h>
#include <stdint.h>

#include <string>
#include <vector>

#include "qzlog.h"
#include "qzosax.h"

// One call of qzlog, with its text formatted.
struct RecordedLog {
    uint32_t moduleId = 0;
    int level = 0;
    std::string file;
    int line = 0;
    std::string function;
    int reserved = 0;
    std::string message;
};

// One call of qzax_mallocsubstandard.
struct RecordedAllocation {
    uint32_t moduleId = 0;
    size_t size = 0;
    uint32_t flags = 0;
    std::string function;
    int line = 0;
    void *block = nullptr; // what the call returned; null when it was made to fail
};

// One call of qzax_freesub.
struct RecordedRelease {
    void *block = nullptr;
    std::string function;
    int line = 0;
};

struct RecordingPlatform {
    std::vector<RecordedLog> logs;

    // Off by default: tests that decode much would keep millions of them.
    bool recordMemory = false;
    std::vector<RecordedAllocation> allocationCalls;
    std::vector<RecordedRelease> releaseCalls;

    uint32_t allocations = 0; // calls so far
    size_t lastSize = 0;      // octets that the last call asked for
    uint32_t failAt = 0;      // number of the call that fails, from 1; 0 for none
    int32_t liveBlocks = 0;   // given out and not yet released
    size_t liveOctets = 0;    // of those blocks
    size_t peakOctets = 0;    // the most that they ever were
};

extern RecordingPlatform g_recordingPlatform;

// Forgets all calls, counts and faults. Blocks that are still alive are forgotten as well, so assert first.
void ResetRecordingPlatform();

// One log call in short: level letter (E, W, I, D or ?), line, function and text; for example
// "E 70 UPGRADE_CmdParse API parameter error."
std::string LogText(const RecordedLog &log);

// All log calls since the last reset in short.
std::vector<std::string> LogTexts();

#endif
