// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// One HTTP request to a timestamp authority and its answer: judged by its header, collected, answered, logged.
#ifndef PKGSIGN_TIMESTAMP_EXCHANGE_H
#define PKGSIGN_TIMESTAMP_EXCHANGE_H

#include <microhttpd.h>

#include <string>

#include "pkgsign/timestamp/jobs.h"
#include "pkgsign/timestamp/server_order.h"

namespace pkgsign
{

static_assert(MHD_VERSION >= 0x00097100, "libmicrohttpd 0.9.71: the type of a callback's result");

enum class Phase {
    Header,    // the request line is there
    Body,      // the header is accepted
    Job,       // a thread answers
    Answering, // there is an answer
};

struct Exchange {
    MHD_Connection *connection = nullptr;
    Phase phase = Phase::Header;
    std::string path;
    std::string method;
    size_t received = 0; // octets of the body
    unsigned code = 0;   // HTTP status
    std::string outcome; // for the log
    Job job;             // holds the body, too
    int64_t begun = 0;   // milliseconds of the monotonic clock
};

// What requests are answered from, beside a job.
struct Premises {
    const ServerOrder *order = nullptr;
    size_t granted = 0;
    size_t refused = 0;
    size_t connections = 0;
    bool isEnding = false; // each answer closes its connection
};

// Judges a request by its header alone: nothing is kept of a body before it is known to be small. Sets the exchange's
// `code` when it is refused.
void JudgeHeader(Exchange *exchange);

// Takes a piece of the body. False for one that goes on and on behind its limit.
bool CollectBody(const char *data, size_t size, Exchange *exchange);

// Whether the exchange needs a job.
bool WantsToken(const Exchange &exchange);

// Hands the answer to the connection.
MHD_Result SendAnswer(Exchange *exchange, Premises *premises);

// The line of the log.
std::string DescribeExchange(const Exchange &exchange, bool isComplete);

int64_t Milliseconds(); // of the monotonic clock

} // namespace pkgsign

#endif
