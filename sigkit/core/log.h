// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The library's log: each failure is logged where it arises and again by every function that it ends. A note "Logs:" in
// a header speaks of the function's own lines: what it calls logs its own lines besides. A function that cannot fail
// bears no such note.
#ifndef CORE_LOG_H
#define CORE_LOG_H

#include <stdint.h>

// Levels of the library's log. Only errors and warnings reach the host.
enum : int { SIGKIT_LOG_ERROR = 0, SIGKIT_LOG_WARNING = 1, SIGKIT_LOG_INFO = 2, SIGKIT_LOG_DEBUG = 3 };

// The tag that stands in every line of the library's log in place of a file name.
inline constexpr const char *SIGKIT_LOG_TAG = "sigkit_log.log";

// Size of the buffer in which a message is formatted, its NUL included. Longer messages cannot be formatted.
inline constexpr uint32_t SIGKIT_LOG_MESSAGE_SIZE = 2048;

// Formats an event and hands it to the host's SigkitLogPrint. Events that are neither errors nor warnings, or that have
// no file or function, are dropped. When the message cannot be formatted, that is logged and the event is printed with
// its raw format.
//
//   level      in, SIGKIT_LOG_ERROR or SIGKIT_LOG_WARNING.
//   file       in, SIGKIT_LOG_TAG.
//   line       in, the caller's line.
//   function   in, the caller's name.
//   errorCode  in, the failure that is logged, or 0.
//   format     in, printf-style with its arguments, or null for a line with the code alone.
[[gnu::format(printf, 6, 7)]] void SigkitLogCallback(int level, const char *file, int line, const char *function,
                                                     uint32_t errorCode, const char *format, ...);

// Logs an event with a text and returns `code`, which may be 0, unchanged. Use the macros.
[[gnu::format(printf, 5, 6)]] uint32_t InternalLogEvent(int level, int line, const char *function, uint32_t code,
                                                        const char *format, ...);

// Logs `code` as an error without a text and returns `code` unchanged. Use SIGKIT_TRAIL.
uint32_t InternalLogTrail(int line, const char *function, uint32_t code);

// A failure with its text, as a value to return. The function's own name stands in the line, so not inside a lambda.
#define SIGKIT_FAIL(code, ...) InternalLogEvent(SIGKIT_LOG_ERROR, __LINE__, __func__, (code), __VA_ARGS__)

// An error that is logged and goes no further; `code` may be 0.
#define SIGKIT_ERROR(code, ...) (void)InternalLogEvent(SIGKIT_LOG_ERROR, __LINE__, __func__, (code), __VA_ARGS__)

// A failure without a text, as a value to return. clang-tidy, which does not see that the call returns the code, would
// go on from a failure as from a success.
#ifdef __clang_analyzer__
#define SIGKIT_TRAIL(code) (code)
#else
#define SIGKIT_TRAIL(code) InternalLogTrail(__LINE__, __func__, (code))
#endif

// Something that the caller survives; `code` may be 0.
#define SIGKIT_WARN(code, ...) (void)InternalLogEvent(SIGKIT_LOG_WARNING, __LINE__, __func__, (code), __VA_ARGS__)

#endif
