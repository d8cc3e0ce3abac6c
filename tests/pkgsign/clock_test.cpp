// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Time that never goes back, also when the process is killed and the machine's clock steps.
#include "pkgsign/timestamp/clock.h"

#include <cerrno>

#include "pkgsign/files/files.h"
#include "tests/pkgsign/support.h"

namespace
{

int64_t g_now = 0;
int g_writes = 0;
bool g_diskIsFull = false;
struct timex g_kernel = {};
int g_kernelAnswer = TIME_OK;

int CountRename(const char *from, const char *to)
{
    ++g_writes;
    return rename(from, to);
}

ssize_t WriteOrFail(int file, const void *data, size_t size)
{
    if (g_diskIsFull) {
        errno = ENOSPC;
        return -1;
    }
    return write(file, data, size);
}

// The clock of a server under a time that the test sets.
class ServerClock : public testing::Test
{
protected:
    void SetUp() override
    {
        g_now = 1000000;
        g_writes = 0;
        g_diskIsFull = false;
        g_kernel = {};
        g_kernelAnswer = TIME_OK;
        pkgsign::g_clockCalls.now = [] { return g_now; };
        pkgsign::g_clockCalls.adjustment = [](struct timex *out) {
            *out = g_kernel;
            return g_kernelAnswer;
        };
        pkgsign::g_systemCalls.rename = CountRename;
        pkgsign::g_systemCalls.write = WriteOrFail;
    }

    void TearDown() override
    {
        pkgsign::g_clockCalls = clockCalls;
        pkgsign::g_systemCalls = systemCalls;
    }

    std::string Path() const
    {
        return directory.File("clock");
    }

    static bool Takes(pkgsign::Clock *clock, int64_t expected)
    {
        int64_t taken = 0;
        return pkgsign::TakeTime(clock, &taken).ok && taken == expected;
    }

    static std::string WhyNot(pkgsign::Clock *clock)
    {
        int64_t taken = 0;
        const pkgsign::Status status = pkgsign::TakeTime(clock, &taken);
        EXPECT_FALSE(status.ok);
        EXPECT_EQ(0, taken);
        return status.reason;
    }

    const pkgsign::ClockCalls clockCalls = pkgsign::g_clockCalls;
    const pkgsign::SystemCalls systemCalls = pkgsign::g_systemCalls;
    TemporaryDirectory directory;
};

TEST_F(ServerClock, WritesItsFileOnceInTenSeconds)
{
    pkgsign::Clock clock;
    ASSERT_TRUE(pkgsign::OpenClock(Path(), -1, &clock).ok);
    for (int i = 0; i < 4400; ++i) { // a hundred tokens a second, for 44 seconds
        ASSERT_TRUE(Takes(&clock, 1000000 + i / 100));
        g_now = 1000000 + (i + 1) / 100;
    }
    EXPECT_EQ(4, g_writes);
}

TEST_F(ServerClock, GivesNoTimeAfterAKillBeforeItHasPassedWhatMayHaveBeenGivenOut)
{
    {
        pkgsign::Clock killed;
        ASSERT_TRUE(pkgsign::OpenClock(Path(), -1, &killed).ok);
        ASSERT_TRUE(Takes(&killed, 1000000));
    } // without CloseClock
    pkgsign::Clock clock;
    ASSERT_TRUE(pkgsign::OpenClock(Path(), -1, &clock).ok);
    for (; g_now < 1000000 + pkgsign::CLOCK_AHEAD; ++g_now) {
        EXPECT_TRUE(Contains(WhyNot(&clock), "which may have been given out"));
        EXPECT_FALSE(pkgsign::CheckClock(clock).ok);
    }
    EXPECT_TRUE(pkgsign::CheckClock(clock).ok);
    EXPECT_TRUE(Takes(&clock, g_now));
}

TEST_F(ServerClock, GivesTimeAtOnceAfterAnOrderlyEnd)
{
    {
        pkgsign::Clock ended;
        ASSERT_TRUE(pkgsign::OpenClock(Path(), -1, &ended).ok);
        ASSERT_TRUE(Takes(&ended, 1000000));
        ASSERT_TRUE(pkgsign::CloseClock(&ended).ok);
        EXPECT_TRUE(Contains(WhyNot(&ended), "closed"));
    }
    pkgsign::Clock clock;
    ASSERT_TRUE(pkgsign::OpenClock(Path(), -1, &clock).ok);
    g_now = 999999;
    EXPECT_NE("", WhyNot(&clock));
    g_now = 1000000;
    EXPECT_TRUE(Takes(&clock, 1000000));
}

TEST_F(ServerClock, KeepsWhatAnEarlierServerReservedWhenItHasGivenNothing)
{
    for (int i = 0; i < 2; ++i) {
        pkgsign::Clock clock;
        ASSERT_TRUE(pkgsign::OpenClock(Path(), -1, &clock).ok);
        EXPECT_EQ(i == 0, Takes(&clock, 1000000)); // the first is killed; the second gives nothing and ends in order
        if (i == 1) {
            ASSERT_TRUE(pkgsign::CloseClock(&clock).ok);
        }
    }
    pkgsign::Clock clock;
    ASSERT_TRUE(pkgsign::OpenClock(Path(), -1, &clock).ok);
    g_now = 1000009;
    EXPECT_NE("", WhyNot(&clock));
}

TEST_F(ServerClock, GivesNoTimeWhileTheMachinesClockIsSetBack)
{
    pkgsign::Clock clock;
    ASSERT_TRUE(pkgsign::OpenClock(Path(), -1, &clock).ok);
    ASSERT_TRUE(Takes(&clock, 1000000));
    g_now = 999999;
    EXPECT_EQ("the clock stands at 1970-01-12T13:46:39Z, before 1970-01-12T13:46:40Z, which may have been given out",
              WhyNot(&clock));
    g_now = 1000000;
    EXPECT_TRUE(Takes(&clock, 1000000));
}

TEST_F(ServerClock, GivesNoTimeThatItCannotReserve)
{
    pkgsign::Clock clock;
    ASSERT_TRUE(pkgsign::OpenClock(Path(), -1, &clock).ok);
    ASSERT_TRUE(Takes(&clock, 1000000));
    g_diskIsFull = true;
    g_now = 1000010; // reserved before
    EXPECT_TRUE(Takes(&clock, 1000010));
    g_now = 1000011;
    EXPECT_TRUE(Contains(WhyNot(&clock), "No space left on device"));
    g_diskIsFull = false;
    EXPECT_TRUE(Takes(&clock, 1000011));
}

// Whoever asks for health must not send clients where no token is given out, and must come back when one may be again.
TEST_F(ServerClock, IsNotSaidToBeGoodBehindAFailedWriteUntilAnotherMayBeTried)
{
    pkgsign::Clock clock;
    ASSERT_TRUE(pkgsign::OpenClock(Path(), -1, &clock).ok);
    g_diskIsFull = true;
    EXPECT_TRUE(Contains(WhyNot(&clock), "No space left on device"));
    EXPECT_TRUE(Contains(pkgsign::CheckClock(clock).reason, "could not be written"));
    g_now += 10;
    EXPECT_TRUE(pkgsign::CheckClock(clock).ok);
    EXPECT_TRUE(Contains(WhyNot(&clock), "No space left on device"));
    EXPECT_FALSE(pkgsign::CheckClock(clock).ok);
    g_diskIsFull = false;
    EXPECT_TRUE(Takes(&clock, g_now));
    EXPECT_TRUE(pkgsign::CheckClock(clock).ok);
}

TEST_F(ServerClock, AsksTheKernelWhenToldTo)
{
    pkgsign::Clock clock;
    ASSERT_TRUE(pkgsign::OpenClock(Path(), 0.5, &clock).ok);
    g_kernel.maxerror = 500000;
    EXPECT_TRUE(Takes(&clock, 1000000));
    g_kernel.maxerror = 500001;
    EXPECT_EQ("the kernel's clock may be wrong by 0.500001 s, more than 0.5 s", WhyNot(&clock));
    g_kernel.maxerror = 0;
    g_kernel.status = STA_UNSYNC;
    EXPECT_EQ("the kernel's clock is not synchronised", WhyNot(&clock));
    g_kernel.status = 0;
    g_kernelAnswer = TIME_ERROR;
    EXPECT_EQ("the kernel's clock is not synchronised", WhyNot(&clock));
    g_kernelAnswer = -1; // not permitted
    EXPECT_EQ("the kernel's clock is not synchronised", WhyNot(&clock));
    g_kernelAnswer = TIME_WAIT; // a leap second has passed
    EXPECT_TRUE(Takes(&clock, 1000000));
}

TEST_F(ServerClock, DoesNotAskTheKernelUnlessToldTo)
{
    pkgsign::Clock clock;
    g_kernelAnswer = TIME_ERROR;
    ASSERT_TRUE(pkgsign::OpenClock(Path(), -1, &clock).ok);
    EXPECT_TRUE(Takes(&clock, 1000000));
}

TEST_F(ServerClock, IsForOneProcess)
{
    pkgsign::Clock clock;
    pkgsign::Clock other;
    ASSERT_TRUE(pkgsign::OpenClock(Path(), -1, &clock).ok);
    const pkgsign::Status status = pkgsign::OpenClock(Path(), -1, &other);
    EXPECT_FALSE(status.ok);
    EXPECT_TRUE(Contains(status.reason, "another server uses the clock's file")) << status.reason;
}

TEST_F(ServerClock, IsNotOpenedOverADamagedFile)
{
    for (const char *const text : {"", "2026-01-31T12:00:00Z", "yesterday\n"}) {
        pkgsign::Clock clock;
        ASSERT_TRUE(pkgsign::WriteWhole(Path(), std::string(text)).ok);
        const pkgsign::Status status = pkgsign::OpenClock(Path(), -1, &clock);
        EXPECT_FALSE(status.ok) << text;
        EXPECT_TRUE(Contains(status.reason, "cannot be used")) << status.reason;
    }
}

} // namespace
