// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// A timestamp authority over HTTP (RFC 3161, 3.4): one event loop for all connections, and threads that sign.
//
//   POST anywhere      a request of at most TIMESTAMP_REQUEST_SIZE_MAX octets, application/timestamp-query
//   GET /health        JSON; 200 when tokens are given out, else 503
//   GET /certificate   the authority's certificate and its CA's, PEM
#ifndef PKGSIGN_TIMESTAMP_SERVER_H
#define PKGSIGN_TIMESTAMP_SERVER_H

#include "pkgsign/timestamp/server_order.h"

namespace pkgsign
{

// Serves until SIGTERM or SIGINT, which the caller has blocked in all threads; then finishes what is under way. Prints
// one line with the address to standard output before it takes the first request, and a line for each request to
// standard error. Fails when it cannot listen, and, after what is under way, when a signer has failed.
Status ServeRequests(const ServerOrder &order);

} // namespace pkgsign

#endif
