// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Finds the lines of the device tool in a log, whatever else is in it and whatever stands before them.
#ifndef PKGSIGN_EXPLAIN_LOG_H
#define PKGSIGN_EXPLAIN_LOG_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "pkgsign/status.h"

namespace pkgsign
{

inline constexpr uint64_t LOG_SIZE_MAX = uint64_t{1} << 30; // octets of a log; then it is refused, not cut
inline constexpr size_t LOG_LINE_MAX = 16384;               // octets of a line that are looked at
inline constexpr size_t LOG_EVENTS_MAX = 512;               // events of a run that are kept: the first and the last 256
inline constexpr size_t LOG_RUNS_OPEN_MAX = 64;             // runs that may be mixed in one log

// Something that failed, or a warning: of the tool or of its library.
struct LogEvent {
    std::string function;
    std::string text;             // may be empty
    std::optional<uint32_t> code; // only what goes to standard output has it
    bool isWarning = false;
};

// One run of the tool, as far as the log has it.
struct LogRun {
    std::string signature; // paths as the tool understood them; empty: not in the log
    std::string checksums;
    std::string crls;
    std::vector<LogEvent> events;   // in the order of the log
    size_t left = 0;                // how many more there were, between the first and the last that are kept
    std::optional<uint32_t> answer; // what the tool returned; none: the log does not say
};

struct LogFindings {
    size_t runs = 0; // how many are in the log
    LogRun last;     // the one that logged last
};

// Reads a log from a file, or from standard input for "-". A log without a line of the tool has 0 runs.
Status ReadLog(const std::string &path, LogFindings *findingsOut);

} // namespace pkgsign

#endif
