// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// A timestamp authority (RFC 3161) from octets to octets: a request in, an answer out, without HTTP.
//
// libcrypto could make the answer too, at a tenth of the signature's cost: here, where each microsecond beside the
// signature is counted, it is put together from encodings that are made once.
#ifndef PKGSIGN_TIMESTAMP_AUTHORITY_H
#define PKGSIGN_TIMESTAMP_AUTHORITY_H

#include <functional>
#include <string>

#include "pkgsign/crypto/types.h"
#include "pkgsign/timestamp/failure.h"

namespace pkgsign
{

inline constexpr size_t TIMESTAMP_REQUEST_SIZE_MAX = 4096; // octets; real requests have less than 200
inline constexpr int TIMESTAMP_NONCE_SIZE_MAX = 32;        // octets: the longest that clients are known to send
inline constexpr size_t TOKEN_SERIAL_SIZE = 16;            // octets, all of them random
inline constexpr char TIMESTAMP_POLICY[] = "1.3.6.1.4.1.99999.1";

// What each token of an authority says alike, encoded once.
struct Authority {
    Bytes certificates;       // its own and its CA's: devices take two
    Bytes issuerAndSerial;    // names the signer
    Bytes signingCertificate; // the attribute of RFC 5035 that pins the signer's certificate
    Bytes policy;
    int64_t notBefore = 0; // of its certificate; no token lies outside
    int64_t notAfter = 0;
};

// policy: object identifier, dotted. ca: the issuer's certificate, carried along.
Status PrepareAuthority(const Certificate &certificate, const Certificate &ca, const std::string &policy,
                        Authority *authorityOut);

// When a token is made, and its serial number. The time is taken once per token, after the request has been read and
// accepted; a failure, for instance of a clock that went back, is answered with timeNotAvailable.
struct Moment {
    int64_t time = 0; // seconds
    Bytes serial;     // TOKEN_SERIAL_SIZE
};
using TakeMoment = std::function<Status(Moment *momentOut)>;

// Signs a SHA-256 digest by RSASSA-PKCS1-v1_5. A failure is answered with systemFailure.
using SignDigest = std::function<Status(const Bytes &digest, Bytes *signatureOut)>;

struct Answer {
    Bytes octets; // a TimeStampResp, always
    bool isGranted = false;
    std::string summary; // for a log line: serial number and digest, or failInfo and reason; printable
};

// Answers a request. Whatever the octets are, the result is an answer. A token is not handed out before its fields have
// been read back and compared with the request.
Answer AnswerRequest(const Authority &authority, const Bytes &request, const TakeMoment &takeMoment,
                     const SignDigest &sign);

// An answer that grants nothing, for what goes wrong before a request is read.
Answer RefuseRequest(Failure failure, const std::string &reason);

// Asks for a token over `stamped`, as a client would, and yields it bare: for a rehearsal.
Status StampBy(const Authority &authority, const Bytes &stamped, int64_t time, const SignDigest &sign, Bytes *tokenOut);

} // namespace pkgsign

#endif
