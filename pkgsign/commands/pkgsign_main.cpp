// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// pkgsign: the release side.
#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <exception>

#include "pkgsign/commands/command.h"

namespace
{

// A file that is opened must not become a standard stream that was closed. The stand-ins are open the wrong way round,
// so that using them fails.
void KeepStandardStreams()
{
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
        if (fcntl(stream, F_GETFD) < 0) {
            (void)!open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        }
    }
}

} // namespace

int main(int argc, char **argv)
{
    KeepStandardStreams();
    (void)std::signal(SIGPIPE, SIG_IGN); // a reader that went away is an error of writing, and has its exit status
    try {
        return pkgsign::RunCommandLine(argc, argv, pkgsign::AllCommands());
    } catch (const std::exception &error) { // no memory, for the most part
        (void)std::fprintf(stderr, "pkgsign: %s\n", error.what());
        return pkgsign::EXIT_NOT_DONE;
    }
}
