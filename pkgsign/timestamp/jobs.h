// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The threads of a timestamp server: each signs with a signer of its own, so that the event loop never waits for one.
#ifndef PKGSIGN_TIMESTAMP_JOBS_H
#define PKGSIGN_TIMESTAMP_JOBS_H

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

#include "pkgsign/timestamp/authority.h"

namespace pkgsign
{

// A request on its way to an answer. Between AddJob and TakeDone it is a thread's.
struct Job {
    Bytes request;
    Answer answer;
    void *owner = nullptr;
};

struct Jobs {
    const Authority *authority = nullptr;
    TakeMoment takeMoment; // called by all threads
    std::vector<std::thread> threads;
    int doneSignal = -1; // eventfd; readable when done jobs are to be taken
    size_t batch = 1;
    std::mutex access; // of what follows
    std::condition_variable isChanged;
    std::deque<Job *> waiting;
    std::vector<Job *> done;
    size_t ableThreads = 0;   // whose signer has not failed
    bool isSignalled = false; // since jobs were taken
    bool hasFailed = false;   // a signer has
    bool isEnding = false;

    Jobs() = default;
    Jobs(const Jobs &) = delete;
    Jobs &operator=(const Jobs &) = delete;
    ~Jobs(); // ends the threads; jobs that still wait are not done
};

// Starts a thread for each signer.
//
//   authority  outlives the jobs
//   batch      while other jobs wait, so many must be done before doneSignal is given: to wake the loop is dear beside
//              a quick signature
Status StartJobs(const Authority &authority, const TakeMoment &takeMoment, const std::vector<SignDigest> &signers,
                 size_t batch, Jobs *jobs);

void AddJob(Job *job, Jobs *jobs);

// The jobs that have been done since the last call. hasFailedOut: whether a signer has failed for good.
std::vector<Job *> TakeDone(Jobs *jobs, bool *hasFailedOut);

} // namespace pkgsign

#endif
