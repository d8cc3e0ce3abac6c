// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/forge/support.h"

#include <ostream>

namespace
{
struct TimeCase {
    const char *name;
    const char *text;
    bool accepted;
    int64_t seconds;
};

void PrintTo(const TimeCase &row, std::ostream *out)
{
    *out << row.name;
}

const TimeCase TIME_CASES[] = {
    {"Epoch", "1970-01-01T00:00:00Z", true, 0},
    {"LeapDay", "2024-02-29T23:59:59Z", true, 1709251199},
    {"Year2050", "2050-01-01T00:00:00Z", true, 2524608000},
    {"NoSuchDayIsRefused", "2023-02-29T00:00:00Z", false, 0},
    {"NoSuchMonthIsRefused", "2023-13-01T00:00:00Z", false, 0},
    {"NoSuchHourIsRefused", "2023-01-01T24:00:00Z", false, 0},
    {"LeapSecondIsRefused", "2016-12-31T23:59:60Z", false, 0},
    {"ZoneIsRefused", "2023-01-01T00:00:00+01:00", false, 0},
    {"MissingZoneIsRefused", "2023-01-01T00:00:00", false, 0},
    {"DateAloneIsRefused", "2023-01-01", false, 0},
    {"SpaceForDigitIsRefused", "2023-01- 1T00:00:00Z", false, 0},
    {"TailIsRefused", "2023-01-01T00:00:00Z ", false, 0},
    {"NothingIsRefused", "", false, 0},
};

class ParseTime : public ::testing::TestWithParam<TimeCase>
{
};

TEST_P(ParseTime, YieldsSecondsOrRefuses)
{
    int64_t seconds = 0;
    const forge::Status status = forge::ParseTime(GetParam().text, &seconds);
    EXPECT_EQ(GetParam().accepted, status.ok) << status.reason;
    EXPECT_EQ(GetParam().seconds, seconds);
}

INSTANTIATE_TEST_SUITE_P(Times, ParseTime, ::testing::ValuesIn(TIME_CASES),
                         [](const auto &row) { return row.param.name; });

} // namespace
