// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/support/hostile_environment.h"

#include <unistd.h>

#include <fstream>

HostileEnvironment::HostileEnvironment()
{
    std::ofstream(directory.File("openssl.cnf"))
        << "openssl_conf = init\n[init]\nproviders = list\n[list]\n"
           "hostile = hostile\n[hostile]\nmodule = " HOSTILE_MODULE "\nactivate = 1\n";
    settings = {"OPENSSL_CONF=" + directory.File("openssl.cnf"), "OPENSSL_MODULES=" + directory.path,
                "OPENSSL_ENGINES=" + directory.path, "HOSTILE_MARK=" + directory.File("mark")};
}

bool HostileEnvironment::LeftMark() const
{
    return access(directory.File("mark").c_str(), F_OK) == 0;
}

bool HostileEnvironment::ReachesOpenssl() const
{
    (void)RunProcess({"openssl", "dgst", "-sha256", directory.File("openssl.cnf")}, settings);
    return LeftMark();
}
