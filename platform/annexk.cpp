// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The workstation's bounds-checked functions, over the C library.
#include "annexk.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>

namespace
{

// A string function that fails leaves the empty string behind, so that a caller that goes on reads no stale text.
int Refuse(char *destination, size_t destinationSize, int reason)
{
    if (destination != nullptr && destinationSize > 0) {
        destination[0] = '\0';
    }
    return reason;
}

} // namespace

int memcpy_s(void *destination, size_t destinationSize, const void *source, size_t count)
{
    if (destination == nullptr || source == nullptr) {
        return EINVAL;
    }
    if (count > destinationSize) {
        return ERANGE;
    }
    memcpy(destination, source, count);
    return 0;
}

int memset_s(void *destination, size_t destinationSize, int value, size_t count)
{
    if (destination == nullptr) {
        return EINVAL;
    }
    if (count > destinationSize) {
        return ERANGE;
    }
    memset(destination, value, count);
    return 0;
}

int strcpy_s(char *destination, size_t destinationSize, const char *source)
{
    if (destination == nullptr || source == nullptr) {
        return Refuse(destination, destinationSize, EINVAL);
    }
    const size_t length = strnlen(source, destinationSize);
    if (length >= destinationSize) {
        return Refuse(destination, destinationSize, ERANGE);
    }
    memcpy(destination, source, length + 1);
    return 0;
}

int strncpy_s(char *destination, size_t destinationSize, const char *source, size_t count)
{
    if (destination == nullptr || source == nullptr) {
        return Refuse(destination, destinationSize, EINVAL);
    }
    // Reads no further than the text, the count or the area goes: the source need not end before `count`.
    const size_t length = strnlen(source, count < destinationSize ? count : destinationSize);
    if (length >= destinationSize) {
        return Refuse(destination, destinationSize, ERANGE);
    }
    memcpy(destination, source, length);
    destination[length] = '\0';
    return 0;
}

int strcat_s(char *destination, size_t destinationSize, const char *source)
{
    if (destination == nullptr || source == nullptr) {
        return Refuse(destination, destinationSize, EINVAL);
    }
    const size_t length = strnlen(destination, destinationSize);
    if (length == destinationSize) { // not a string
        return Refuse(destination, destinationSize, EINVAL);
    }
    const size_t room = destinationSize - length;
    const size_t added = strnlen(source, room);
    if (added >= room) {
        return Refuse(destination, destinationSize, ERANGE);
    }
    memcpy(destination + length, source, added + 1);
    return 0;
}

int vsnprintf_s(char *buffer, size_t bufferSize, size_t count, const char *format, va_list arguments)
{
    if (buffer == nullptr || bufferSize == 0 || format == nullptr) {
        return Refuse(buffer, bufferSize, -1);
    }
    const size_t room = count < bufferSize ? count + 1 : bufferSize;
    const int length = vsnprintf(buffer, room, format, arguments);
    if (length < 0 || static_cast<size_t>(length) >= room) {
        return Refuse(buffer, bufferSize, -1);
    }
    return length;
}
