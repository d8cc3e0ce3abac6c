// A host of Sigkit without a heap and without a file system: blocks come out of an arena, files are areas of memory that
// the program has named, and the log goes into a buffer. C11 and C++.
#ifndef CONSUMER_HOST_H
#define CONSUMER_HOST_H

#include <stdarg.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

// Makes `size` octets of `data` a file named `name`. Both are borrowed until the end of the program. False when there
// are too many files.
bool HostAddFile(const char *name, const uint8_t *data, size_t size);

// The library's log so far, a line for each event.
const char *HostLog(void);

// What the library has asked for, and what it still holds.
typedef struct HostUse {
    size_t blocks;
    size_t liveBlocks;
    size_t opened;
    size_t stillOpen;
    size_t digests;
    size_t signatures;
} HostUse;

HostUse *HostCount(void);

// The bounds-checked functions that the library calls besides the callbacks of sigkit_host.h; the program that links it
// supplies them. Each returns 0, or another value when it has refused.
int memcpy_s(void *destination, size_t destinationSize, const void *source, size_t count);
int memset_s(void *destination, size_t destinationSize, int value, size_t count);
int strcpy_s(char *destination, size_t destinationSize, const char *source);
int strcat_s(char *destination, size_t destinationSize, const char *source);
int vsnprintf_s(char *buffer, size_t bufferSize, size_t count, const char *format, va_list arguments);

#ifdef __cplusplus
}
#endif

#endif
