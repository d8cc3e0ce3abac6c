// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// One line of a log: whether the device tool or its library wrote it, and what it says.
#ifndef PKGSIGN_EXPLAIN_LOG_LINE_H
#define PKGSIGN_EXPLAIN_LOG_LINE_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace pkgsign
{

struct LogLine {
    std::string process; // the number that syslog and journald put before the line in brackets; empty: none
    std::string function;
    std::string text;
    std::optional<uint32_t> code;
    bool isLibrary = false; // else the tool's own
    bool isConsole = false; // went to standard output, not to the log of the platform
    bool isWarning = false;
    bool isInformation = false;
};

// Whether the line is one of the tool's. line: without its line feed; any octets may stand in it.
bool ReadLogLine(std::string_view line, LogLine *lineOut);

// The code of a line that is nothing but "(err:88200002)": a text that ended in a line end has its code there.
std::optional<uint32_t> ReadCodeLine(std::string_view line);

// The number between `before` and `after` in a text; none: it is not there whole.
std::optional<int64_t> NumberBetween(std::string_view text, std::string_view before, std::string_view after, int base);

} // namespace pkgsign

#endif
