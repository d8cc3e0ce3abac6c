// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "x509/time.h"

#include <string>

#include "sigkit/sigkit.h"
#include "tests/support/library_test.h"

namespace
{

using Time = LibraryTest;

constexpr uint32_t UTC = 23;
constexpr uint32_t GENERALIZED = 24;

SigkitAsnOcts View(uint32_t tag, const std::string &text)
{
    return {static_cast<uint32_t>(text.size()), 0, 0, tag, reinterpret_cast<const uint8_t *>(text.data())};
}

int64_t Seconds(uint32_t tag, const std::string &text)
{
    const SigkitAsnOcts view = View(tag, text);
    uint64_t seconds = 77;
    EXPECT_STATUS(SIGKIT_OK, SigkitConvertDatetimeToTime(&view, &seconds)) << text;
    return static_cast<int64_t>(seconds);
}

} // namespace

TEST_F(Time, IsConvertedToSeconds)
{
    const struct {
        uint32_t tag;
        const char *text;
        int64_t seconds;
    } rows[] = {
        {UTC, "491231235959Z", 2524607999},
        {UTC, "500101000000Z", -631152000},
        {UTC, "700101000000Z", 0},
        {UTC, "691231235959Z", -1},
        {UTC, "000229120000Z", 951825600},
        {UTC, "991231235959Z", 946684799},
        {GENERALIZED, "19700101000000Z", 0},
        {GENERALIZED, "20000301000000Z", 951868800},
        {GENERALIZED, "20500101000000Z", 2524608000},
        {GENERALIZED, "21000301000000Z", 4107542400},
        {GENERALIZED, "99991231235959Z", 253402300799},
        {GENERALIZED, "19010101000000Z", -2177452800},
        {GENERALIZED, "20240229000000Z", 1709164800},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(row.seconds, Seconds(row.tag, row.text)) << row.text;
    }
}

TEST_F(Time, AYearBelow1901CountsFrom1900)
{
    EXPECT_EQ(Seconds(GENERALIZED, "20240101000000Z"), Seconds(GENERALIZED, "01240101000000Z"));
    EXPECT_EQ(Seconds(GENERALIZED, "38000101000000Z"), Seconds(GENERALIZED, "19000101000000Z"));
    EXPECT_NE(Seconds(GENERALIZED, "38010101000000Z"), Seconds(GENERALIZED, "19010101000000Z"));
}

TEST_F(Time, IsTakenApart)
{
    const std::string text = "20231112131415Z";
    const SigkitAsnOcts view = View(GENERALIZED, text);
    SigkitDateTime time = {};
    ASSERT_STATUS(SIGKIT_OK, SigkitConvertFromTime(&view, &time));
    EXPECT_EQ(2023, time.year);
    EXPECT_EQ(11, time.month);
    EXPECT_EQ(12, time.day);
    EXPECT_EQ(13, time.hour);
    EXPECT_EQ(14, time.minute);
    EXPECT_EQ(15, time.second);
}

TEST_F(Time, OfAnotherLengthOrTypeIsRefused)
{
    const struct {
        uint32_t tag;
        const char *text;
    } rows[] = {{UTC, "2301011200Z"},           {UTC, "23010112000Z"},
                {UTC, "20230101120000Z"},       {UTC, "230101120000+0000"},
                {GENERALIZED, "230101120000Z"}, {GENERALIZED, "20230101120000.5Z"},
                {GENERALIZED, "2023010112Z"},   {22, "230101120000Z"},
                {0, "20230101120000Z"},         {UTC, ""}};
    for (const auto &row : rows) {
        const SigkitAsnOcts view = View(row.tag, row.text);
        uint64_t seconds = 77;
        EXPECT_STATUS(SIGKIT_ERR_TIME_FORMAT, SigkitConvertDatetimeToTime(&view, &seconds)) << row.text;
        EXPECT_EQ(77u, seconds);
    }
}

TEST_F(Time, NullIsRefused)
{
    const SigkitAsnOcts view = View(UTC, "230101120000Z");
    SigkitDateTime time = {};
    uint64_t seconds = 0;
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitConvertFromTime(nullptr, &time));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitConvertFromTime(&view, nullptr));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitConvertDatetimeToTime(nullptr, &seconds));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitConvertDatetimeToTime(&view, nullptr));
    EXPECT_EQ(0u, SigkitMktime(nullptr));
}

TEST_F(Time, NeitherDigitsNorRangesAreChecked)
{
    // Each pair is a sum that is cut to its field; what matters is that it is defined.
    const std::string text = "23\xff\xff:;<=>?@AX";
    const SigkitAsnOcts view = View(UTC, text);
    SigkitDateTime time = {};
    ASSERT_STATUS(SIGKIT_OK, SigkitConvertFromTime(&view, &time));
    EXPECT_EQ(static_cast<uint8_t>(10 * (0xFF - '0') + (0xFF - '0')), time.month);
    EXPECT_EQ(10 * (':' - '0') + (';' - '0'), time.day);
    EXPECT_EQ(2023, time.year);
    const std::string year = "\xff\xff\xff\xff"
                             "0101000000Z";
    const SigkitAsnOcts odd = View(GENERALIZED, year);
    ASSERT_STATUS(SIGKIT_OK, SigkitConvertFromTime(&odd, &time));
    EXPECT_EQ(static_cast<uint16_t>(1111 * (0xFF - '0')), time.year);
}
