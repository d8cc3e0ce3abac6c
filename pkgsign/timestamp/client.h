// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Asking timestamp authorities over HTTP (RFC 3161, 3.4).
#ifndef PKGSIGN_TIMESTAMP_CLIENT_H
#define PKGSIGN_TIMESTAMP_CLIENT_H

#include <string>
#include <vector>

#include "pkgsign/timestamp/request.h"

namespace pkgsign
{

// Octets that are taken of one answer, headers and body together. A token with two certificates has a tenth of it.
inline constexpr size_t ANSWER_SIZE_MAX = 65536;

// How often one authority is asked, when it answers 503 and says when to come back.
inline constexpr int ATTEMPTS_MAX = 3;

struct ClientSettings {
    std::string caFile;          // CA certificates (PEM) that alone vouch for a host; empty: those of the system
    long connectTimeout = 10000; // milliseconds, names looked up and TLS begun
    long timeout = 30000;        // milliseconds, a request from its beginning to the end of its answer
    long waitMax = 60;           // seconds; whoever says Retry-After beyond is not asked again
};

// Sends a request (DER) by POST, and gives back what the authority answers under 200 and application/timestamp-reply.
// Proxies are those of the environment, as libcurl reads it. No redirect is followed: where a signature's digest goes
// is what the caller has named. Refused before anything is sent: a URL that is neither http nor https, or that holds a
// password. Each reason begins with the layer: URL, name resolution, connection, TLS, HTTP status, HTTP answer, content
// type.
Status PostTimestampRequest(const std::string &url, const ClientSettings &settings, const Bytes &request,
                            Bytes *answerOut);

// Refuses URLs that PostTimestampRequest would refuse, before anything is asked or signed.
Status CheckUrls(const std::vector<std::string> &urls);

// Asks one authority after the other, each with a request of its own, until `accept` has taken a token. All URLs are
// read before the first is asked. The reason names every authority that was asked. urlOut: whose token it is.
Status TokenFromAuthorities(const std::vector<std::string> &urls, const ClientSettings &settings, const EVP_MD *digest,
                            const Bytes &signature, const AcceptToken &accept, std::string *urlOut);

} // namespace pkgsign

#endif
