// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Timestamp requests (RFC 3161, 2.4.1) as programs in the field write them, and requests that are to be refused.
#ifndef SUPPORT_TIMESTAMP_REQUESTS_H
#define SUPPORT_TIMESTAMP_REQUESTS_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace timestamp_requests
{

inline constexpr char POLICY[] = "1.3.6.1.4.1.99999.1";

// What a request says. The imprint is made of octets 0x5A.
struct Shape {
    std::string name;
    size_t digestSize = 32; // octets: 32, 48 or 64
    bool hasNull = true;    // parameters of the digest's identifier
    std::string policy;     // empty: none
    size_t nonceSize = 0;   // octets; 0: none
    bool wantsCertificates = false;
    bool statesFalse = false; // writes certReq where it is the default, which DER would leave out
};

std::vector<uint8_t> Encode(const Shape &shape);

// Those of the field.
const std::vector<Shape> &FieldShapes();

// Wrong in one thing each. failure: the bit of PKIFailureInfo that the answer has.
struct Refusal {
    std::string name;
    std::vector<uint8_t> octets;
    int failure;
};
std::vector<Refusal> Refusals();

} // namespace timestamp_requests

#endif
