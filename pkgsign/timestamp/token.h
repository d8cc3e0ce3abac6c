// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Timestamp tokens (RFC 3161) made with a key at hand.
#ifndef PKGSIGN_TIMESTAMP_TOKEN_H
#define PKGSIGN_TIMESTAMP_TOKEN_H

#include <string>
#include <vector>

#include "pkgsign/crypto/types.h"

namespace pkgsign
{

using ImprintPtr = std::unique_ptr<TS_MSG_IMPRINT, Deleter<TS_MSG_IMPRINT_free>>;

// The imprint of octets, in a request as in a token; null when there is no memory.
ImprintPtr MakeImprint(const EVP_MD *digest, const Bytes &data);

struct TokenFields {
    Certificate authority;
    std::vector<Certificate> certificates; // carried along
    const EVP_MD *digest = EVP_sha256();   // of the imprint and of the token's own signature
    Bytes signature;                       // the octets that are stamped: the signature value of a message
    int64_t genTime = 0;
    Bytes serial;
    std::string policy = "1.3.6.1.4.1.99999.1";
};

// Makes a token. key: the timestamp authority's, or a throwaway one in its place.
Status MakeToken(const TokenFields &fields, const Key &key, Bytes *tokenOut);

// What is signed of a token, as text, and the SHA-256 digest of the signed attributes' encoding. A throwaway signature
// does not change it.
std::string DescribeToken(const Bytes &token);

// The serial number of a token: 16 octets from the time and the stamped signature, so that a token made again is the
// same.
Bytes TokenSerial(const Bytes &signature, int64_t genTime);

} // namespace pkgsign

#endif
