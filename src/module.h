// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What every source file of the tool hands to the platform about itself.
#ifndef SRC_MODULE_H
#define SRC_MODULE_H

#include <stdint.h>

#include "qzlog.h"

// The tool's number on the device, for its log and its memory.
inline constexpr uint32_t MODULE_ID = 1014;

// Logs an event of the function that this stands in. `line` is the number by which field support knows the event: it is
// fixed, whatever happens to the source file. SOURCE_NAME is the source that the log names: the base name of the file
// without ending, or of the directory whose files log as one.
#define LOG_EVENT(level, line, ...) qzlog(MODULE_ID, (level), SOURCE_NAME, (line), __func__, 0, __VA_ARGS__)

#endif
