// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/files/time.h"

#include <cctype>
#include <cstdio>
#include <ctime>

namespace pkgsign
{
namespace
{

struct Unit {
    char letter;
    int64_t seconds;
};
constexpr Unit UNITS[] = {{'y', SECONDS_PER_YEAR}, {'d', SECONDS_PER_DAY}, {'h', 3600}, {'m', 60}, {'s', 1}};

constexpr size_t SPAN_DIGITS_MAX = 9; // keeps the product within 64 bits

bool HasShape(const std::string &text, const char *shape)
{
    size_t i = 0;
    for (; shape[i] != '\0'; ++i) {
        if (i >= text.size() ||
            (shape[i] == '0' ? std::isdigit(static_cast<unsigned char>(text[i])) == 0 : text[i] != shape[i])) {
            return false;
        }
    }
    return i == text.size();
}

} // namespace

Status ParseTime(const std::string &text, int64_t *secondsOut)
{
    const std::string full = HasShape(text, "0000-00-00") ? text + "T00:00:00Z" : text;
    struct tm parts = {};
    if (HasShape(full, "0000-00-00T00:00:00Z")) {
        const char *const end = strptime(full.c_str(), "%Y-%m-%dT%H:%M:%SZ", &parts);
        const int64_t seconds = end == nullptr ? 0 : static_cast<int64_t>(timegm(&parts));
        if (end != nullptr && FormatTime(seconds) == full) { // a 31 June comes back as another day
            *secondsOut = seconds;
            return {};
        }
    }
    return Fail("'" + text + "' is no time; it wants the form 2026-01-31T12:00:00Z or 2026-01-31");
}

std::string FormatTime(int64_t seconds)
{
    const time_t instant = static_cast<time_t>(seconds);
    struct tm parts = {};
    char text[64] = {};
    if (gmtime_r(&instant, &parts) == nullptr || strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%SZ", &parts) == 0) {
        return std::to_string(seconds);
    }
    return text;
}

Status ParseSpan(const std::string &text, int64_t *secondsOut)
{
    const size_t digits = text.empty() ? 0 : text.size() - 1;
    int64_t count = 0;
    for (size_t i = 0; i < digits && digits <= SPAN_DIGITS_MAX; ++i) {
        count =
            std::isdigit(static_cast<unsigned char>(text[i])) != 0 && count >= 0 ? count * 10 + (text[i] - '0') : -1;
    }
    for (const Unit &unit : UNITS) {
        if (count > 0 && text.back() == unit.letter) {
            *secondsOut = count * unit.seconds;
            return {};
        }
    }
    return Fail("'" + text + "' is no span of time; it wants a number with y, d, h, m or s, for instance 90d");
}

std::string FormatSpan(int64_t seconds)
{
    for (const Unit &unit : UNITS) {
        if (seconds % unit.seconds == 0) {
            return std::to_string(seconds / unit.seconds) + unit.letter;
        }
    }
    return std::to_string(seconds) + "s";
}

int64_t MonotonicTime()
{
    struct timespec now = {};
    (void)clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

} // namespace pkgsign
