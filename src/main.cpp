// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include <signal.h>
#include <stdio.h>

#include "src/libcrypto_start.h"
#include "src/verify_frame_main.h"

namespace
{

// Whoever starts the tool without arguments wants to know how; its log is for the device.
constexpr char USAGE[] = "usage: verify_tool -f CHECK_PKG_INTEGRITY -h SIGNATURE -e CHECKSUMS -c CRLS\n"
                         "Only exit status 0 means that CHECKSUMS is authentic.\n";

} // namespace

int main(int argc, char **argv)
{
    // A reader of the log lines that goes away must not end the tool before it has answered.
    (void)signal(SIGPIPE, SIG_IGN);
    (void)signal(SIGXFSZ, SIG_IGN); // nor must a log that has reached the limit of a file's size
    (void)StartLibcrypto();
    if (argc <= 1) {
        (void)fputs(USAGE, stderr);
    }
    return UPGRADE_MainExe(argc, argv);
}
