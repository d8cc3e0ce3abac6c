// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The device's memory service.
#ifndef PLATFORM_QZOSAX_H
#define PLATFORM_QZOSAX_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

// Allocates a block.
//
//   moduleId  in, the program's number on the device.
//   size      in, octets wanted, not 0.
//   flags     in, 0.
//   function  in, name of the function that allocates; borrowed for the call only.
//   line      in, line number that the allocation is known by.
//
// Returns a block that is aligned for any record and whose content is undefined, or null when there is no memory. The
// caller owns it until qzax_freesub.
void *qzax_mallocsubstandard(uint32_t moduleId, size_t size, uint32_t flags, const char *function, int line);

// Releases a block of qzax_mallocsubstandard.
//
//   block     in, not null; must not be used afterwards.
//   function  in, name of the function that releases; borrowed for the call only.
//   line      in, line number that the release is known by.
void qzax_freesub(void *block, const char *function, int line);

#ifdef __cplusplus
}
#endif

#endif
