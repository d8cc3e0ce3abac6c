// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What a timestamp server is to serve, and to whom.
#ifndef PKGSIGN_TIMESTAMP_SERVER_ORDER_H
#define PKGSIGN_TIMESTAMP_SERVER_ORDER_H

#include <string>
#include <vector>

#include "pkgsign/timestamp/authority.h"
#include "pkgsign/timestamp/clock.h"

namespace pkgsign
{

struct ServerOrder {
    std::string host;
    std::string port;
    const Authority *authority = nullptr;
    Certificate certificate; // its own and its CA's, for who asks
    Certificate ca;
    std::string policy;
    Clock *clock = nullptr;
    std::vector<SignDigest> signers; // a thread for each
    size_t batch = 1;             // tokens that leave together while more are asked for: 1 where a signature takes long
    size_t connectionsMax = 1024; // of more, the one that has idled longest is closed
    int64_t clientSeconds = 30;   // that a client may take for a request, for its answer, and between two
};

} // namespace pkgsign

#endif
