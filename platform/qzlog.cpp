// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The workstation's log service: syslog(3), or where the environment variable QZLOG says. Where no syslog takes the
// lines, as in a container, they go to standard error: a program that is mute explains nothing.
//
// A line reads "LEVEL MODULE FILE(LINE) FUNCTION: MESSAGE". Messages carry octets of the data being judged (names of
// certificates, paths), so that none of them can forge a line or steer a terminal: carriage returns and line feeds at
// the end are dropped, and every other control octet is written as \xNN. Octets from 0x80 on stay as they are, which
// keeps UTF-8 readable. A message longer than 4095 octets is cut.
#include "qzlog.h"

#include <errno.h>
#include <fcntl.h>
#include <paths.h>
#include <pthread.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <syslog.h>
#include <unistd.h>

#include <atomic>

namespace
{

constexpr size_t MESSAGE_SIZE = 4096;                    // octets of a formatted message with its NUL
constexpr size_t HEAD_SIZE = 512;                        // octets of what stands before it, with a NUL
constexpr size_t RAW_SIZE = HEAD_SIZE + MESSAGE_SIZE;    // octets of both
constexpr size_t ESCAPE_SIZE = 4;                        // octets of \xNN
constexpr size_t LINE_SIZE = RAW_SIZE * ESCAPE_SIZE + 1; // both with every octet escaped, and the line feed

struct Level {
    int level;
    int priority; // of syslog(3)
    const char *name;
};

constexpr Level LEVELS[] = {{QZLOG_ERROR, LOG_ERR, "ERROR"},
                            {QZLOG_WARNING, LOG_WARNING, "WARNING"},
                            {QZLOG_INFO, LOG_INFO, "INFO"},
                            {QZLOG_DEBUG, LOG_DEBUG, "DEBUG"}};
constexpr Level OTHER_LEVEL = {0, LOG_NOTICE, "NOTICE"};

const Level &FindLevel(int level)
{
    for (const Level &row : LEVELS) {
        if (row.level == level) {
            return row;
        }
    }
    return OTHER_LEVEL;
}

// Writes `text` without the line ends behind it into `line`, which must hold four octets for each of its own, and
// returns the octets written.
size_t Escape(const char *text, char *line)
{
    constexpr char digits[] = "0123456789abcdef";
    size_t length = strlen(text);
    while (length > 0 && (text[length - 1] == '\n' || text[length - 1] == '\r')) {
        --length;
    }
    size_t written = 0;
    for (size_t i = 0; i < length; ++i) {
        const unsigned char octet = static_cast<unsigned char>(text[i]);
        if (octet >= 0x20 && octet != 0x7F) {
            line[written++] = text[i];
            continue;
        }
        line[written++] = '\\';
        line[written++] = 'x';
        line[written++] = digits[octet >> 4];
        line[written++] = digits[octet & 0x0F];
    }
    return written;
}

pthread_mutex_t g_lineLock = PTHREAD_MUTEX_INITIALIZER;

// One write, so that lines of several processes that append to one file do not mix; a pipe takes a long line in pieces,
// so those of other threads wait. A line that cannot be written is lost: the log has nowhere to complain to.
void WriteLine(int descriptor, const char *line, size_t length)
{
    (void)pthread_mutex_lock(&g_lineLock);
    const ssize_t written = write(descriptor, line, length);
    (void)pthread_mutex_unlock(&g_lineLock);
    (void)written;
}

// Where lines go instead of a descriptor, and the state before the first line.
constexpr int TO_SYSLOG = -1;
constexpr int NOT_OPENED = -2;

// Opened with the first line and kept: a hostile file can cause tens of thousands of lines.
std::atomic<int> g_descriptor{NOT_OPENED};

// By the path alone: the device's programs open no socket of their own, so none is tried.
int Syslog()
{
    return access(_PATH_LOG, W_OK) == 0 ? TO_SYSLOG : STDERR_FILENO;
}

// Opens the file for appending. Returns its descriptor, or -1.
int OpenFile(const char *path)
{
    int descriptor = open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, S_IRUSR | S_IWUSR);
    // Where a standard stream was closed, what is printed to it must not get into the log.
    if (descriptor >= 0 && descriptor <= STDERR_FILENO) {
        const int above = fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
        (void)close(descriptor);
        descriptor = above;
    }
    return descriptor;
}

// To standard error, where whoever has set QZLOG looks. A longer path is cut.
void SayThatFileCannotBeOpened(const char *path, int error, int target)
{
    char raw[RAW_SIZE];
    char line[LINE_SIZE];
    (void)snprintf(raw, sizeof(raw), "qzlog: cannot open '%.*s' of QZLOG: %s; the log goes to %s",
                   static_cast<int>(MESSAGE_SIZE), path, strerror(error),
                   target == TO_SYSLOG ? "syslog" : "standard error");
    size_t length = Escape(raw, line);
    line[length++] = '\n';
    WriteLine(STDERR_FILENO, line, length);
}

// A file that cannot be opened falls back to where lines go without one: better there than nowhere.
int OpenTarget()
{
    const char *const target = secure_getenv("QZLOG"); // a program with raised rights takes no path from its caller
    if (target == nullptr || target[0] == '\0') {
        return Syslog();
    }
    if (strcmp(target, "stderr") == 0) {
        return STDERR_FILENO;
    }
    const int descriptor = OpenFile(target);
    if (descriptor >= 0) {
        return descriptor;
    }
    const int error = errno;
    const int other = Syslog();
    SayThatFileCannotBeOpened(target, error, other);
    return other;
}

int Descriptor()
{
    int descriptor = g_descriptor.load();
    if (descriptor != NOT_OPENED) {
        return descriptor;
    }
    const int opened = OpenTarget();
    if (g_descriptor.compare_exchange_strong(descriptor, opened)) {
        return opened;
    }
    if (opened > STDERR_FILENO) { // ours, but another thread was first
        (void)close(opened);
    }
    return descriptor;
}

// Takes a line that ends in a line feed.
void Emit(int priority, const char *line, size_t length)
{
    const int descriptor = Descriptor();
    if (descriptor >= 0) {
        WriteLine(descriptor, line, length);
        return;
    }
    syslog(LOG_USER | priority, "%.*s", static_cast<int>(length - 1), line);
}

} // namespace

void qzlog(uint32_t moduleId, int level, const char *file, int line, const char *function, int /*reserved*/,
           const char *format, ...)
{
    const Level &row = FindLevel(level);
    char raw[RAW_SIZE];
    raw[0] = '\0';
    (void)snprintf(raw, HEAD_SIZE, "%s %u %s(%d) %s: ", row.name, moduleId, file, line, function);
    va_list arguments;
    va_start(arguments, format);
    if (vsnprintf(raw + strlen(raw), MESSAGE_SIZE, format, arguments) < 0) {
        (void)snprintf(raw + strlen(raw), MESSAGE_SIZE, "(message cannot be formatted)");
    }
    va_end(arguments);

    char text[LINE_SIZE];
    size_t length = Escape(raw, text);
    text[length++] = '\n';
    Emit(row.priority, text, length);
}
