// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Bounds-checked memory and string functions in the manner of C11, Annex K. Unlike Annex K they have no run-time
// constraint handler: a violated bound is reported by the result alone.
#ifndef PLATFORM_ANNEXK_H
#define PLATFORM_ANNEXK_H

#include <stdarg.h>
#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

// Copies `count` octets of `source` to `destination`, an area of `destinationSize` octets; the two must not overlap.
// Returns 0, or an errno value when an argument is null or `count` exceeds `destinationSize`.
int memcpy_s(void *destination, size_t destinationSize, const void *source, size_t count);

// Sets the first `count` octets of `destination`, an area of `destinationSize` octets, to `value`.
// Returns 0, or an errno value when `destination` is null or `count` exceeds `destinationSize`.
int memset_s(void *destination, size_t destinationSize, int value, size_t count);

// Copies the string `source` with its NUL. Returns 0, or an errno value when an argument is null or the string does not
// fit; `destination` then holds the empty string if it can hold one.
int strcpy_s(char *destination, size_t destinationSize, const char *source);

// Copies at most `count` characters of the string `source` and a NUL behind them. Returns 0, or an errno value when an
// argument is null or the characters and the NUL do not fit; `destination` then holds the empty string if it can.
int strncpy_s(char *destination, size_t destinationSize, const char *source, size_t count);

// Appends the string `source` to the string `destination`. Returns 0, or an errno value when an argument is null,
// `destination` is not a string or the result does not fit; `destination` then holds the empty string if it can.
int strcat_s(char *destination, size_t destinationSize, const char *source);

// Formats at most `count` characters and a NUL into `buffer`, `bufferSize` octets. Returns the number of characters
// written, without the NUL, or -1 when an argument is null, the format is broken or the text does not fit.
__attribute__((format(printf, 4, 0))) int vsnprintf_s(char *buffer, size_t bufferSize, size_t count, const char *format,
                                                      va_list arguments);

#ifdef __cplusplus
}
#endif

#endif
