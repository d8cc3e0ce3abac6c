// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/timestamp/jobs.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace pkgsign
{
namespace
{

// Waits for a job; null at the end.
Job *NextJob(Jobs *jobs)
{
    std::unique_lock<std::mutex> lock(jobs->access);
    jobs->isChanged.wait(lock, [&] { return jobs->isEnding || !jobs->waiting.empty(); });
    if (jobs->isEnding) {
        return nullptr;
    }
    Job *const job = jobs->waiting.front();
    jobs->waiting.pop_front();
    return job;
}

void HandBack(Job *job, Jobs *jobs)
{
    bool isTime = false;
    {
        const std::lock_guard<std::mutex> guard(jobs->access);
        jobs->done.push_back(job);
        isTime = !jobs->isSignalled && (jobs->waiting.empty() || jobs->done.size() >= jobs->batch);
        jobs->isSignalled = jobs->isSignalled || isTime;
    }
    if (isTime) { // without the lock, at which the loop would have to wait again
        const uint64_t one = 1;
        (void)!write(jobs->doneSignal, &one, sizeof(one));
    }
}

// A thread whose signer has failed leaves the jobs to the others; the last one refuses them.
bool IsNeeded(Jobs *jobs)
{
    const std::lock_guard<std::mutex> guard(jobs->access);
    jobs->hasFailed = true;
    if (jobs->ableThreads > 1) {
        --jobs->ableThreads;
        return false;
    }
    return true;
}

void RunJobs(Jobs *jobs, const SignDigest &sign)
{
    bool hasFailed = false;
    const SignDigest watched = [&](const Bytes &digest, Bytes *signatureOut) {
        const Status status = sign(digest, signatureOut);
        hasFailed = !status.ok;
        return status;
    };
    for (Job *job = NextJob(jobs); job != nullptr; job = NextJob(jobs)) {
        job->answer = AnswerRequest(*jobs->authority, job->request, jobs->takeMoment, watched);
        const bool isLast = hasFailed && !IsNeeded(jobs);
        HandBack(job, jobs);
        if (isLast) {
            return;
        }
    }
}

} // namespace

Status StartJobs(const Authority &authority, const TakeMoment &takeMoment, const std::vector<SignDigest> &signers,
                 size_t batch, Jobs *jobs)
{
    jobs->doneSignal = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    if (jobs->doneSignal < 0) {
        return Fail(std::string("cannot start: ") + std::strerror(errno));
    }
    jobs->authority = &authority;
    jobs->takeMoment = takeMoment;
    jobs->batch = batch;
    jobs->ableThreads = signers.size();
    for (const SignDigest &sign : signers) {
        jobs->threads.emplace_back([jobs, sign] { RunJobs(jobs, sign); });
    }
    return {};
}

void AddJob(Job *job, Jobs *jobs)
{
    {
        const std::lock_guard<std::mutex> guard(jobs->access);
        jobs->waiting.push_back(job);
    }
    jobs->isChanged.notify_one();
}

std::vector<Job *> TakeDone(Jobs *jobs, bool *hasFailedOut)
{
    uint64_t count = 0;
    (void)!read(jobs->doneSignal, &count, sizeof(count));
    std::vector<Job *> done;
    const std::lock_guard<std::mutex> guard(jobs->access);
    done.swap(jobs->done);
    jobs->isSignalled = false;
    *hasFailedOut = jobs->hasFailed;
    return done;
}

Jobs::~Jobs()
{
    {
        const std::lock_guard<std::mutex> guard(access);
        isEnding = true;
    }
    isChanged.notify_all();
    for (std::thread &thread : threads) {
        thread.join();
    }
    if (doneSignal >= 0) {
        (void)close(doneSignal);
    }
}

} // namespace pkgsign
