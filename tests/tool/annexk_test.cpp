// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "platform/annexk.h"

#include <gtest/gtest.h>

#include <errno.h>
#include <string.h>

#include <string>

namespace
{

int Format(char *buffer, size_t size, size_t count, const char *format, ...) __attribute__((format(printf, 4, 5)));

int Format(char *buffer, size_t size, size_t count, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int result = vsnprintf_s(buffer, size, count, format, arguments);
    va_end(arguments);
    return result;
}

struct Bounded : testing::Test {
    char area[8] = "stale";
};

} // namespace

TEST_F(Bounded, MemcpyCopiesWhatFits)
{
    EXPECT_EQ(0, memcpy_s(area, 8, "12345678", 8));
    EXPECT_EQ(0, memcmp(area, "12345678", 8));
    EXPECT_EQ(0, memcpy_s(area, 8, "x", 0));
    EXPECT_EQ(ERANGE, memcpy_s(area, 8, "123456789", 9));
    EXPECT_EQ(EINVAL, memcpy_s(nullptr, 8, "1", 1));
    EXPECT_EQ(EINVAL, memcpy_s(area, 8, nullptr, 1));
    EXPECT_EQ('1', area[0]) << "a failure touches nothing";
}

TEST_F(Bounded, MemsetSetsWhatFits)
{
    EXPECT_EQ(0, memset_s(area, 8, 'z', 8));
    EXPECT_EQ('z', area[7]);
    EXPECT_EQ(ERANGE, memset_s(area, 8, 'y', 9));
    EXPECT_EQ(EINVAL, memset_s(nullptr, 8, 'y', 1));
    EXPECT_EQ('z', area[0]);
}

TEST_F(Bounded, StrcpyCopiesWithItsNul)
{
    EXPECT_EQ(0, strcpy_s(area, 8, "1234567"));
    EXPECT_STREQ("1234567", area);
    EXPECT_EQ(ERANGE, strcpy_s(area, 8, "12345678"));
    EXPECT_STREQ("", area);
    EXPECT_EQ(ERANGE, strcpy_s(area, 0, ""));
    EXPECT_EQ(EINVAL, strcpy_s(nullptr, 8, ""));
    EXPECT_EQ(EINVAL, strcpy_s(area, 8, nullptr));
}

TEST_F(Bounded, StrncpyCopiesNoMoreThanAsked)
{
    EXPECT_EQ(0, strncpy_s(area, 8, "1234567890", 7));
    EXPECT_STREQ("1234567", area);
    EXPECT_EQ(0, strncpy_s(area, 8, "12", 7));
    EXPECT_STREQ("12", area);
    EXPECT_EQ(ERANGE, strncpy_s(area, 8, "1234567890", 8));
    EXPECT_STREQ("", area);
    EXPECT_EQ(EINVAL, strncpy_s(nullptr, 8, "", 1));
    EXPECT_EQ(EINVAL, strncpy_s(area, 8, nullptr, 1));
}

TEST_F(Bounded, StrcatAppendsWhatFits)
{
    EXPECT_EQ(0, strcat_s(area, 8, "67"));
    EXPECT_STREQ("stale67", area);
    EXPECT_EQ(ERANGE, strcat_s(area, 8, "8"));
    EXPECT_STREQ("", area);
    EXPECT_EQ(EINVAL, strcat_s(nullptr, 8, ""));
    EXPECT_EQ(EINVAL, strcat_s(area, 8, nullptr));
    memset(area, 'x', sizeof(area)); // no string
    EXPECT_EQ(EINVAL, strcat_s(area, 8, ""));
}

TEST_F(Bounded, VsnprintfReturnsWhatItWrote)
{
    EXPECT_EQ(7, Format(area, 8, 7, "%d", 1234567));
    EXPECT_STREQ("1234567", area);
    EXPECT_EQ(0, Format(area, 8, 7, "%s", ""));
    EXPECT_EQ(-1, Format(area, 8, 7, "%d", 12345678));
    EXPECT_EQ(-1, Format(area, 8, 3, "%d", 1234));
    EXPECT_EQ(-1, Format(nullptr, 8, 7, "%d", 1));
}
