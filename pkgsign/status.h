// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// How the operations of the release side report.
#ifndef PKGSIGN_STATUS_H
#define PKGSIGN_STATUS_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace pkgsign
{

// Octets of a file or of an encoded object.
using Bytes = std::vector<uint8_t>;

// The outcome of an operation: `ok`, or else the reason as one line of text without a full stop: what, where, and what
// to do about it. Outputs are written only on success.
struct [[nodiscard]] Status {
    bool ok = true;
    std::string reason;
    bool isUsage = false; // the command line itself is at fault
};

inline Status Fail(std::string reason)
{
    return {false, std::move(reason), false};
}

inline Status FailUsage(std::string reason)
{
    return {false, std::move(reason), true};
}

// What reads an option's value: when it fails, the command line is at fault.
inline Status Usage(Status status)
{
    status.isUsage = !status.ok;
    return status;
}

} // namespace pkgsign

#endif
