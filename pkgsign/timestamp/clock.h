// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The time of a timestamp authority: whole seconds that never go back, across restarts as well.
#ifndef PKGSIGN_TIMESTAMP_CLOCK_H
#define PKGSIGN_TIMESTAMP_CLOCK_H

#include <sys/timex.h>

#include <atomic>
#include <limits>
#include <mutex>
#include <string>

#include "pkgsign/status.h"

namespace pkgsign
{

// The file of a clock holds a time that no token lies behind. It is written this many seconds ahead, so once in as many
// seconds and not once a token. After a kill or a power cut no time is given out until the clock has come to it.
inline constexpr int64_t CLOCK_AHEAD = 10;

// Where the time comes from. Tests put their own here.
struct ClockCalls {
    int64_t (*now)();                     // seconds since 1970
    int (*adjustment)(struct timex *out); // the kernel's estimate of its clock, as ntp_adjtime
};
extern ClockCalls g_clockCalls;

struct Clock {
    std::string path;
    int lock = -1;                // descriptor; one process per file
    double errorMax = -1;         // seconds; negative: the kernel is not asked
    std::atomic<int64_t> last{0}; // no earlier time is given out; changed under `access`
    // When the file could last not be written; changed under `access`.
    std::atomic<int64_t> failed{std::numeric_limits<int64_t>::min()};
    std::mutex access;     // of what follows; held while the file is written
    int64_t reserved = 0;  // what the file holds
    bool hasGiven = false; // whether `last` was given out by this process

    Clock() = default;
    Clock(const Clock &) = delete;
    Clock &operator=(const Clock &) = delete;
    ~Clock();
};

// Opens a clock. path: its file; made when there is none. A damaged file is refused, and one that another process uses.
//   errorMax  seconds that the kernel may give as its clock's largest error; negative: it is not asked.
Status OpenClock(const std::string &path, double errorMax, Clock *clock);

// Takes the time for one token; by any thread. Fails when the clock stands before a time that may have been given out,
// when the kernel does not vouch for it (errorMax), and when the file cannot be written.
Status TakeTime(Clock *clock, int64_t *secondsOut);

// Whether TakeTime would yield a time now. Neither writes nor waits for a disk that does: for CLOCK_AHEAD seconds after
// a write that failed the next one is taken to fail as well.
Status CheckClock(const Clock &clock);

// What the kernel says: seconds of its clock's largest error, and whether it is synchronised at all.
struct ClockError {
    double seconds = 0;
    bool isSynchronised = false;
};
ClockError AskKernel();

// Leaves the last time that was given out in the file, so that the next process need not wait. Afterwards no time is
// given out.
Status CloseClock(Clock *clock);

} // namespace pkgsign

#endif
