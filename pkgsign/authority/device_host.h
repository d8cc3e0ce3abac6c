// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The host of the device's library in this program. It is the tool's own, but for the log, which is captured, and for
// stand-ins of keys.
#ifndef PKGSIGN_AUTHORITY_DEVICE_HOST_H
#define PKGSIGN_AUTHORITY_DEVICE_HOST_H

#include <string>
#include <vector>

#include "pkgsign/crypto/types.h"

namespace pkgsign
{

// A throwaway key in the place of a real one: while a setting is asked, what either has signed holds. So an object can
// be judged, among the real ones, before the real key has signed it.
struct StandIn {
    Key real; // its public half
    Key throwaway;
};

// For as long as it lives, the library's lines go to `log`, and a signature that does not hold under a real key is
// tried under its stand-in. One at a time in a thread.
struct HostScope {
    HostScope(const std::vector<StandIn> &standIns, std::string *log);
    ~HostScope();
    HostScope(const HostScope &) = delete;
    HostScope &operator=(const HostScope &) = delete;
};

} // namespace pkgsign

#endif
