// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// How far a long content is read: a line on standard error when that is a terminal.
#ifndef PKGSIGN_COMMANDS_PROGRESS_H
#define PKGSIGN_COMMANDS_PROGRESS_H

#include <cstdint>
#include <string>

namespace pkgsign
{

struct Progress {
    bool isTerminal = false; // standard error
    int64_t start = 0;       // milliseconds of the monotonic clock
    int64_t shown = 0;       // likewise; 0: nothing was shown yet
    uint64_t total = 0;      // octets; 0: it is not known
};

// path: the content, whose size is asked for.
Progress StartProgress(const std::string &path);

// Shows the line, after two seconds and then five times a second. octets: read until now.
void ShowProgress(uint64_t octets, Progress *progress);

// Takes it away.
void EndProgress(const Progress &progress);

// The line itself: a bar, or the octets alone when the total is not known.
std::string ProgressText(uint64_t octets, uint64_t total);

} // namespace pkgsign

#endif
