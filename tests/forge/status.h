// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// How the operations of this folder report.
#ifndef TESTS_FORGE_STATUS_H
#define TESTS_FORGE_STATUS_H

#include "tests/forge/forge.h"

#include <string>
#include <utility>

namespace forge
{
inline Status Ok()
{
    return {true, {}};
}

inline Status Fail(std::string reason)
{
    return {false, std::move(reason)};
}

// A failure of libcrypto: `what` followed by libcrypto's own reason. Empties its error queue.
Status FailCrypto(const std::string &what);
} // namespace forge

#endif
