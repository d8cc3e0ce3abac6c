// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// How a timestamp server's threads hand back what they have done.
#include "pkgsign/timestamp/jobs.h"

#include <poll.h>

#include <array>
#include <semaphore>

#include <gtest/gtest.h>

#include "tests/support/timestamp_requests.h"

namespace
{

constexpr int LONG_ENOUGH = 60000; // milliseconds
constexpr int AT_ONCE = 50;        // the signal follows the job

class JobsOfOneThread : public testing::Test
{
protected:
    // Three jobs, of which none is done before Finish.
    void Start(size_t batch)
    {
        const pkgsign::TakeMoment takeMoment = [this](pkgsign::Moment *) {
            mayGoOn.acquire();
            return pkgsign::Fail("there is no clock");
        };
        ASSERT_TRUE(StartJobs(authority, takeMoment, {pkgsign::SignDigest()}, batch, &jobs).ok);
        for (pkgsign::Job &job : held) {
            job.request = timestamp_requests::Encode(timestamp_requests::FieldShapes()[0]);
            AddJob(&job, &jobs);
        }
    }

    // Lets a job go on, and waits until it is done.
    void Finish()
    {
        mayGoOn.release();
        for (bool isDone = false; !isDone; std::this_thread::yield()) {
            const std::lock_guard<std::mutex> guard(jobs.access);
            isDone = !jobs.done.empty();
        }
    }

    bool IsSignalled(int milliseconds) const
    {
        struct pollfd signal = {jobs.doneSignal, POLLIN, 0};
        return poll(&signal, 1, milliseconds) == 1;
    }

    size_t Take()
    {
        bool hasFailed = true;
        const size_t count = TakeDone(&jobs, &hasFailed).size();
        EXPECT_FALSE(hasFailed);
        return count;
    }

    pkgsign::Authority authority;
    std::counting_semaphore<> mayGoOn{0};
    std::array<pkgsign::Job, 3> held;
    pkgsign::Jobs jobs; // goes first: its thread uses the others
};

TEST_F(JobsOfOneThread, AreHandedBackInPairsWhileOthersWaitAndTheLastOneAtOnce)
{
    Start(2);
    Finish();
    EXPECT_FALSE(IsSignalled(AT_ONCE));
    mayGoOn.release();
    EXPECT_TRUE(IsSignalled(LONG_ENOUGH));
    EXPECT_EQ(2u, Take());
    mayGoOn.release();
    EXPECT_TRUE(IsSignalled(LONG_ENOUGH));
    EXPECT_EQ(1u, Take());
}

TEST_F(JobsOfOneThread, AreHandedBackOneByOneWhereEachTakesLong)
{
    Start(1);
    for (size_t i = 0; i < held.size(); ++i) {
        mayGoOn.release();
        EXPECT_TRUE(IsSignalled(LONG_ENOUGH)) << i;
        EXPECT_EQ(1u, Take()) << i;
    }
}

} // namespace
