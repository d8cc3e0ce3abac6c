// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/forge/status.h"

#include <cstdio>
#include <ctime>

namespace forge
{
namespace
{
// True when the text has digits exactly where the pattern has '0', and the pattern's characters elsewhere.
bool HasForm(const std::string &text, const std::string &pattern)
{
    if (text.size() != pattern.size()) {
        return false;
    }
    for (size_t i = 0; i < text.size(); ++i) {
        const bool digit = text[i] >= '0' && text[i] <= '9';
        if (pattern[i] == '0' ? !digit : text[i] != pattern[i]) {
            return false;
        }
    }
    return true;
}

bool SameInstant(const std::tm &left, const std::tm &right)
{
    return left.tm_year == right.tm_year && left.tm_mon == right.tm_mon && left.tm_mday == right.tm_mday &&
           left.tm_hour == right.tm_hour && left.tm_min == right.tm_min && left.tm_sec == right.tm_sec;
}

} // namespace

Status ParseTime(const std::string &text, int64_t *secondsOut)
{
    const Status failure = Fail("not a UTC time like 2026-01-31T12:00:00Z: '" + text + "'");
    std::tm time = {};
    if (!HasForm(text, "0000-00-00T00:00:00Z") ||
        std::sscanf(text.c_str(), "%d-%d-%dT%d:%d:%dZ", &time.tm_year, &time.tm_mon, &time.tm_mday, &time.tm_hour,
                    &time.tm_min, &time.tm_sec) != 6) {
        return failure;
    }
    time.tm_year -= 1900;
    time.tm_mon -= 1;
    std::tm normal = time;
    const std::time_t seconds = timegm(&normal); // moves 31 February to March: such a date does not exist
    if (!SameInstant(time, normal)) {
        return failure;
    }
    *secondsOut = seconds;
    return Ok();
}
} // namespace forge
