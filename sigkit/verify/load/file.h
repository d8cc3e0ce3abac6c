// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Whole files through the host's file callbacks.
#ifndef VERIFY_LOAD_FILE_H
#define VERIFY_LOAD_FILE_H

#include <stdint.h>

#include "core/guard.h"

// Reads a whole file of at most SIGKIT_MAX_FILE_SIZE octets.
//
//   path  in, NUL-terminated.
//   data  out, owned by the caller until SigkitFree. Not written on failure.
//   len   out, octets.
//
// Returns SIGKIT_OK, SIGKIT_ERR_PARAM for an empty path, SIGKIT_ERR_FILE_OPEN, SIGKIT_ERR_FILE_EMPTY,
// SIGKIT_ERR_FILE_TOO_BIG, SIGKIT_ERR_NO_MEMORY or SIGKIT_ERR_FILE_READ.
//
// Logs: each failure.
[[nodiscard]] uint32_t InternalReadFile(const char *path, uint8_t **data, uint32_t *len);

// Closes a file.
//
// Logs: a failure, as a warning, and returns none: there is nothing that the caller could do.
void InternalCloseFile(void *file);

using InternalFileGuard = InternalGuard<void, InternalCloseFile>;

#endif
