// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/commands/progress.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "pkgsign/files/time.h"

namespace pkgsign
{
namespace
{

constexpr int64_t DELAY = 2000;  // milliseconds before a line appears
constexpr int64_t REFRESH = 200; // between two lines
constexpr uint64_t MEBIBYTE = uint64_t{1} << 20;
constexpr size_t BAR_WIDTH = 30;
constexpr char ERASE_LINE[] = "\r\x1b[K"; // ECMA-48, 8.3.41

} // namespace

Progress StartProgress(const std::string &path)
{
    Progress progress = {isatty(STDERR_FILENO) == 1, MonotonicTime(), 0, 0};
    struct stat found = {};
    const int answer = path == "-" ? fstat(STDIN_FILENO, &found) : stat(path.c_str(), &found);
    if (answer == 0 && S_ISREG(found.st_mode)) {
        progress.total = static_cast<uint64_t>(found.st_size);
    }
    return progress;
}

void ShowProgress(uint64_t octets, Progress *progress)
{
    const int64_t now = progress->isTerminal ? MonotonicTime() : 0;
    if (progress->isTerminal && now - progress->start >= DELAY && now - progress->shown >= REFRESH) {
        (void)std::fprintf(stderr, "%s%s", ERASE_LINE, ProgressText(octets, progress->total).c_str());
        progress->shown = now;
    }
}

void EndProgress(const Progress &progress)
{
    if (progress.shown != 0) {
        (void)std::fprintf(stderr, "%s", ERASE_LINE);
    }
}

std::string ProgressText(uint64_t octets, uint64_t total)
{
    const std::string read = std::to_string(octets / MEBIBYTE);
    if (total == 0) {
        return read + " MiB";
    }
    const uint64_t known = std::min(octets, total); // the file may grow while it is read
    const size_t filled = static_cast<size_t>(BAR_WIDTH * (static_cast<double>(known) / static_cast<double>(total)));
    const unsigned percent = static_cast<unsigned>(100 * (static_cast<double>(known) / static_cast<double>(total)));
    return "[" + std::string(filled, '#') + std::string(BAR_WIDTH - filled, '.') + "] " + std::to_string(percent) +
           " %, " + read + " of " + std::to_string(total / MEBIBYTE) + " MiB";
}

} // namespace pkgsign
