// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The device's log service.
#ifndef PLATFORM_QZLOG_H
#define PLATFORM_QZLOG_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

// Levels of the log service; the numbers between them belong to other programs of the device.
enum { QZLOG_ERROR = 3, QZLOG_WARNING = 4, QZLOG_INFO = 5, QZLOG_DEBUG = 7 };

// Writes one line to the device's log.
//
//   moduleId  in, the program's number on the device; 1014 is the verification tool.
//   level     in, one of the levels above.
//   file      in, base name of the source file, without ending.
//   line      in, line number that the event is known by.
//   function  in, name of the function that logs.
//   reserved  in, 0.
//   format    in, printf-style, with its arguments. All texts are borrowed for the call only.
//
// The workstation implementation writes to syslog(3), and to standard error as well where /dev/log is not there for it;
// the environment variable QZLOG set to "stderr" or to a path sends the lines to standard error or appends them to that
// file instead. A file that cannot be opened is named on standard error, and syslog takes its place. It never writes to
// standard output, which belongs to the library's own lines.
__attribute__((format(printf, 7, 8))) void qzlog(uint32_t moduleId, int level, const char *file, int line,
                                                 const char *function, int reserved, const char *format, ...);

#ifdef __cplusplus
}
#endif

#endif
