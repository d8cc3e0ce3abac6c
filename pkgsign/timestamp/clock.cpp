// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/timestamp/clock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <limits>

#include "pkgsign/files/files.h"
#include "pkgsign/files/time.h"

namespace pkgsign
{
namespace
{

constexpr double MICROSECOND = 1e-6;
constexpr size_t STATE_SIZE_MAX = 64;

int64_t Now()
{
    struct timespec now = {};
    (void)clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<int64_t>(now.tv_sec);
}

int Adjustment(struct timex *out)
{
    out->modes = 0; // only read
    return ntp_adjtime(out);
}

std::string Seconds(double seconds)
{
    char text[32] = {};
    (void)std::snprintf(text, sizeof(text), "%.6g", seconds);
    return text;
}

Status CheckError(const Clock &clock)
{
    if (clock.errorMax < 0) {
        return {};
    }
    const ClockError error = AskKernel();
    if (!error.isSynchronised) {
        return Fail("the kernel's clock is not synchronised");
    }
    return error.seconds <= clock.errorMax ? Status()
                                           : Fail("the kernel's clock may be wrong by " + Seconds(error.seconds) +
                                                  " s, more than " + Seconds(clock.errorMax) + " s");
}

Status CheckTime(const Clock &clock, int64_t now)
{
    const int64_t last = clock.last;
    if (last == std::numeric_limits<int64_t>::max()) {
        return Fail("the clock is closed");
    }
    return now >= last ? CheckError(clock)
                       : Fail("the clock stands at " + FormatTime(now) + ", before " + FormatTime(last) +
                              ", which may have been given out");
}

Status Reserve(Clock *clock, int64_t time)
{
    const Status status = WriteWhole(clock->path, FormatTime(time) + "\n", 0600);
    if (status.ok) {
        clock->reserved = time;
    }
    clock->failed = status.ok ? std::numeric_limits<int64_t>::min() : g_clockCalls.now();
    return status;
}

Status ReadState(const std::string &path, int64_t *timeOut)
{
    Bytes text;
    Status status = ReadWhole(path, &text, STATE_SIZE_MAX);
    if (status.ok) {
        const auto end = std::find(text.begin(), text.end(), static_cast<uint8_t>('\n'));
        status = end == text.end() ? Fail("it has no line") : ParseTime(std::string(text.begin(), end), timeOut);
    }
    return status.ok ? status
                     : Fail("the clock's file '" + Printable(path) + "' cannot be used (" + status.reason +
                            "); write a time into it that no token lies behind");
}

Status Lock(const std::string &path, int *lockOut)
{
    const std::string name = path + ".lock"; // of its own: the clock's file is replaced
    const int file = open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (file >= 0 && flock(file, LOCK_EX | LOCK_NB) == 0) {
        *lockOut = file;
        return {};
    }
    const int error = errno;
    if (file >= 0) {
        (void)close(file);
    }
    return error == EWOULDBLOCK ? Fail("another server uses the clock's file '" + Printable(path) +
                                       "'; each has one of its own (--state)")
                                : Fail("cannot lock '" + Printable(name) + "': " + std::strerror(error));
}

} // namespace

ClockCalls g_clockCalls = {Now, Adjustment};

Clock::~Clock()
{
    if (lock >= 0) {
        (void)close(lock);
    }
}

Status OpenClock(const std::string &path, double errorMax, Clock *clock)
{
    Status status = Lock(path, &clock->lock);
    int64_t reserved = 0;
    if (status.ok && Exists(path)) {
        status = ReadState(path, &reserved);
    }
    clock->path = path;
    clock->errorMax = errorMax;
    clock->reserved = reserved;
    clock->last = reserved;
    return status;
}

Status TakeTime(Clock *clock, int64_t *secondsOut)
{
    const std::lock_guard<std::mutex> guard(clock->access);
    const int64_t now = g_clockCalls.now();
    Status status = CheckTime(*clock, now);
    if (status.ok && now > clock->reserved) {
        status = Reserve(clock, now + CLOCK_AHEAD);
    }
    if (status.ok) {
        clock->last = now;
        clock->hasGiven = true;
        *secondsOut = now;
    }
    return status;
}

Status CheckClock(const Clock &clock)
{
    const int64_t now = g_clockCalls.now();
    const int64_t failed = clock.failed;
    return now >= failed && failed > now - CLOCK_AHEAD
               ? Fail("the clock's file '" + Printable(clock.path) + "' could not be written")
               : CheckTime(clock, now);
}

ClockError AskKernel()
{
    struct timex state = {};
    const int result = g_clockCalls.adjustment(&state);
    const bool isSynchronised = result >= 0 && result != TIME_ERROR && (state.status & STA_UNSYNC) == 0;
    return {static_cast<double>(state.maxerror) * MICROSECOND, isSynchronised};
}

Status CloseClock(Clock *clock)
{
    const std::lock_guard<std::mutex> guard(clock->access);
    const int64_t last = clock->last;
    clock->last = std::numeric_limits<int64_t>::max();
    return clock->hasGiven && last < clock->reserved ? Reserve(clock, last) : Status();
}

} // namespace pkgsign
