// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Why an authority refuses: PKIFailureInfo of RFC 3161, 2.4.2.
#ifndef PKGSIGN_TIMESTAMP_FAILURE_H
#define PKGSIGN_TIMESTAMP_FAILURE_H

#include <cstdint>

namespace pkgsign
{

// The number of the bit.
enum class Failure : uint8_t {
    BadAlg = 0,
    BadRequest = 2,
    BadDataFormat = 5,
    TimeNotAvailable = 14,
    UnacceptedPolicy = 15,
    UnacceptedExtension = 16,
    AddInfoNotAvailable = 17,
    SystemFailure = 25,
};

struct FailureText {
    Failure failure;
    const char *name;
    const char *meaning;
};

inline constexpr FailureText FAILURES[] = {
    {Failure::BadAlg, "badAlg", "unrecognized or unsupported algorithm"},
    {Failure::BadRequest, "badRequest", "transaction not permitted or supported"},
    {Failure::BadDataFormat, "badDataFormat", "the request has the wrong format"},
    {Failure::TimeNotAvailable, "timeNotAvailable", "the authority's time source is not available"},
    {Failure::UnacceptedPolicy, "unacceptedPolicy", "the requested policy is not supported"},
    {Failure::UnacceptedExtension, "unacceptedExtension", "a requested extension is not supported"},
    {Failure::AddInfoNotAvailable, "addInfoNotAvailable", "additional information is not understood or not available"},
    {Failure::SystemFailure, "systemFailure", "the authority has a system failure"}};

} // namespace pkgsign

#endif
