// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// A host without heap and file system: an arena, files in memory, a log in a buffer.
#ifndef EXAMPLES_HOST_ARENA_H
#define EXAMPLES_HOST_ARENA_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

// Makes `size` octets of `data` a file of that name. Both are borrowed until the end of the program. Returns false when
// there is no space for another file.
bool HostAddFile(const char *name, const uint8_t *data, size_t size);

// Octets of the arena that were taken at most, and that are taken now.
size_t HostArenaPeak(void);
size_t HostArenaUsed(void);

// The log so far, one line for each event.
const char *HostLog(void);

#endif
