// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Times as text: ISO 8601 in UTC, whole seconds.
#ifndef PKGSIGN_FILES_TIME_H
#define PKGSIGN_FILES_TIME_H

#include <string>

#include "pkgsign/status.h"

namespace pkgsign
{

inline constexpr int64_t SECONDS_PER_DAY = 86400;
inline constexpr int64_t SECONDS_PER_YEAR = 365 * SECONDS_PER_DAY;

// Reads "2026-01-31T12:00:00Z" or "2026-01-31" (midnight). secondsOut: since 1970-01-01 00:00:00 UTC.
Status ParseTime(const std::string &text, int64_t *secondsOut);

// Writes seconds as "2026-01-31T12:00:00Z".
std::string FormatTime(int64_t seconds);

// Reads a span: "90d", "12h", "30m", "15s", or "10y" of 365 days each. secondsOut: more than 0.
Status ParseSpan(const std::string &text, int64_t *secondsOut);

// Writes a span in the largest unit of ParseSpan that it is a multiple of.
std::string FormatSpan(int64_t seconds);

// Milliseconds of a clock that nobody sets.
int64_t MonotonicTime();

} // namespace pkgsign

#endif
