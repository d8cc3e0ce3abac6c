// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The bounds-checked functions that the library calls. A platform that has them already needs none of this.
#include <stdarg.h>
#include <stddef.h>
#include <stdio.h>
#include <string.h>

#ifdef __cplusplus
extern "C" {
#endif

int memcpy_s(void *destination, size_t destinationSize, const void *source, size_t count);
int memset_s(void *destination, size_t destinationSize, int value, size_t count);
int strcpy_s(char *destination, size_t destinationSize, const char *source);
int strcat_s(char *destination, size_t destinationSize, const char *source);
__attribute__((format(printf, 4, 0))) int vsnprintf_s(char *buffer, size_t bufferSize, size_t count, const char *format,
                                                      va_list arguments);

#ifdef __cplusplus
}
#endif

enum { REFUSED = 1 };

int memcpy_s(void *destination, size_t destinationSize, const void *source, size_t count)
{
    if (destination == NULL || source == NULL || count > destinationSize) {
        return REFUSED;
    }
    memcpy(destination, source, count);
    return 0;
}

int memset_s(void *destination, size_t destinationSize, int value, size_t count)
{
    if (destination == NULL || count > destinationSize) {
        return REFUSED;
    }
    memset(destination, value, count);
    return 0;
}

int strcpy_s(char *destination, size_t destinationSize, const char *source)
{
    return source == NULL ? REFUSED : memcpy_s(destination, destinationSize, source, strlen(source) + 1);
}

int strcat_s(char *destination, size_t destinationSize, const char *source)
{
    if (destination == NULL || source == NULL) {
        return REFUSED;
    }
    const char *const end = (const char *)memchr(destination, '\0', destinationSize);
    if (end == NULL) {
        return REFUSED;
    }
    const size_t used = (size_t)(end - destination);
    return strcpy_s(destination + used, destinationSize - used, source);
}

// Returns the characters written, or a negative number when they do not fit: not the result of vsnprintf.
int vsnprintf_s(char *buffer, size_t bufferSize, size_t count, const char *format, va_list arguments)
{
    if (buffer == NULL || bufferSize == 0 || format == NULL) {
        return -1;
    }
    const size_t room = count < bufferSize ? count + 1 : bufferSize;
    const int length = vsnprintf(buffer, room, format, arguments);
    return length < 0 || (size_t)length >= room ? -1 : length;
}
