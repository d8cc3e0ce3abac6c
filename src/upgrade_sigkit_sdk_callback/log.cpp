// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The host callback for the log, over standard output and the platform's log. Nothing else is in this file, so that a
// program with a log of its own can have the other callbacks without it.
#include <stdio.h>

#include "qzlog.h"
#include "sigkit/sigkit_host.h"
#include "src/module.h"
#include "src/upgrade_sigkit_sdk_callback/callback.h"

namespace
{

// Line numbers by which the log knows the events.
constexpr int LINE_PRINT_ERROR = 283;
constexpr int LINE_PRINT_WARNING = 290;
constexpr int LINE_PRINT_DEBUG = 297;
constexpr int LINE_PRINT_INFO = 304;

// How an event of the library appears on the console and in the platform's log.
struct LogLevel {
    const char *prefix;
    int platformLevel;
    int line;
};

constexpr LogLevel LOG_LEVELS[] = {{"[ERROR]", QZLOG_ERROR, LINE_PRINT_ERROR},
                                   {"[WARNING]", QZLOG_WARNING, LINE_PRINT_WARNING},
                                   {"[INFO]", QZLOG_INFO, LINE_PRINT_INFO},
                                   {"[DEBUG]", QZLOG_DEBUG, LINE_PRINT_DEBUG}};
constexpr int LOG_LEVEL_COUNT = static_cast<int>(sizeof(LOG_LEVELS) / sizeof(LOG_LEVELS[0]));

} // namespace

void SigkitLogPrint(int level, const char *file, int line, const char *function, uint32_t errorCode,
                    const char *message)
{
    const char *const text = message == nullptr ? "(null)" : message;
    flockfile(stdout); // a line is printed in pieces: those of other threads wait
    if (level >= 0 && level < LOG_LEVEL_COUNT) {
        const LogLevel &row = LOG_LEVELS[level];
        (void)printf("%s", row.prefix);
        LOG_EVENT(row.platformLevel, row.line, "%s(%d):(%s):%s", file, line, function, text);
    }
    (void)printf("%s(%d):(%s):%s", file, line, function, text);
    if (errorCode != 0) {
        (void)printf("(err:%x)", errorCode);
    }
    (void)puts("\r");
    (void)fflush(stdout); // lines are few, and none may be lost if the process dies
    funlockfile(stdout);
}
