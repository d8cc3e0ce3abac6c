// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What is asked of a timestamp authority (RFC 3161, 2.4.1), and whether its answer is what was asked for and what
// devices take.
#ifndef PKGSIGN_TIMESTAMP_REQUEST_H
#define PKGSIGN_TIMESTAMP_REQUEST_H

#include <functional>
#include <string>

#include "pkgsign/crypto/types.h"

namespace pkgsign
{

struct TimestampRequest {
    const EVP_MD *digest = nullptr; // of the imprint; null where there was no request: any that devices take
    Bytes signature;                // the octets that are stamped: the signature value of a message
    Bytes nonce;                    // a positive number, most significant octet first; empty: none
    bool isNonceKnown = true;       // false: the request is long gone, and any nonce will do
};

// A token that was checked, and its time in seconds since 1970-01-01 00:00:00 UTC.
struct CheckedToken {
    Bytes der;
    int64_t genTime = 0;
};

// Takes a token, or says why not.
using AcceptToken = std::function<Status(const CheckedToken &token)>;

// A new request with a random nonce. digest: of the imprint.
Status NewTimestampRequest(const EVP_MD *digest, const Bytes &signature, TimestampRequest *requestOut);

// The DER encoding (TimeStampReq). It asks for the authority's certificate.
Status EncodeTimestampRequest(const TimestampRequest &request, Bytes *derOut);

// Reads one that was written earlier. Refused: one without a nonce, and one for something else than `signature`.
// source: for the reason.
Status DecodeTimestampRequest(const Bytes &der, const std::string &source, const Bytes &signature,
                              TimestampRequest *requestOut);

// Reads a TimeStampResp (RFC 3161, 2.4.2). In this order, each reason beginning with its layer:
//   PKIStatus    it is neither granted nor grantedWithMods; the failInfo and the authority's text are named
//   token        imprint, nonce or the number of signers is wrong, or the signer's certificate is missing
//   device rule  a fraction of a second, another purpose, another key than RSA, SHA-1, a third certificate
// Not checked: signatures and certificate paths, which the device's library judges; ESSCertID and policy, which nobody
// compares with anything.
Status ReadTimestampAnswer(const Bytes &answer, const TimestampRequest &request, CheckedToken *tokenOut);

// The same for octets that may also be a bare token.
Status ReadTokenOrAnswer(const Bytes &given, const TimestampRequest &request, CheckedToken *tokenOut);

// The time of a token in such octets, while it is not known yet what the token has to be for.
Status TokenTime(const Bytes &given, int64_t *timeOut);

} // namespace pkgsign

#endif
