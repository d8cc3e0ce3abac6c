// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// An environment that names a configuration of libcrypto, with a module in it that leaves a mark when it is loaded.
#ifndef SUPPORT_HOSTILE_ENVIRONMENT_H
#define SUPPORT_HOSTILE_ENVIRONMENT_H

#include <string>
#include <vector>

#include "tests/support/process.h"

struct HostileEnvironment {
    TemporaryDirectory directory;
    std::vector<std::string> settings; // for RunProcess

    HostileEnvironment();

    // Returns whether a program that ran in this environment has loaded the module.
    bool LeftMark() const;

    // Returns whether a program that reads the configuration loads the module: the openssl program does.
    bool ReachesOpenssl() const;
};

#endif
