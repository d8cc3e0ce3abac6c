// Memory out of an arena that is wound back when the last block is gone, strings, and the bounds-checked functions.
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <sigkit/sigkit.h>
#include <sigkit/sigkit_host.h>

#include "host.h"

#define ARENA_SIZE ((size_t)16 * 1024 * 1024)
#define ALIGNMENT 16

typedef union Arena {
    uint8_t octets[ARENA_SIZE];
    max_align_t alignment;
} Arena;

static Arena g_arena;
static size_t g_used;
static HostUse g_use;

HostUse *HostCount(void)
{
    return &g_use;
}

uint32_t SigkitMalloc(void **out, size_t size)
{
    if (out == NULL) {
        return SIGKIT_ERR_PARAM;
    }
    *out = NULL;
    if (size == 0) {
        return SIGKIT_OK;
    }
    if (size > ARENA_SIZE - ALIGNMENT || (size + ALIGNMENT - 1) / ALIGNMENT * ALIGNMENT > ARENA_SIZE - g_used) {
        return SIGKIT_ERR_NO_MEMORY;
    }
    *out = g_arena.octets + g_used;
    (void)memset(*out, 0xA5, size); // whoever counts on zeros is found out
    g_used += (size + ALIGNMENT - 1) / ALIGNMENT * ALIGNMENT;
    ++g_use.blocks;
    ++g_use.liveBlocks;
    return SIGKIT_OK;
}

void SigkitFree(void *block)
{
    if (block == NULL) {
        return;
    }
    const uintptr_t address = (uintptr_t)block;
    const uintptr_t start = (uintptr_t)g_arena.octets;
    if (address < start || address >= start + g_used || g_use.liveBlocks == 0) {
        (void)fputs("consumer: a block that is not of the arena was freed\n", stderr);
        abort();
    }
    if (--g_use.liveBlocks == 0) {
        g_used = 0;
    }
}

int SigkitMemCmp(const void *a, const void *b, size_t n)
{
    return a == NULL || b == NULL ? -1 : memcmp(a, b, n);
}

int SigkitStrNCmp(const char *a, const char *b, size_t n)
{
    return a == NULL || b == NULL ? -1 : strncmp(a, b, n);
}

int SigkitStrCmp(const char *a, const char *b)
{
    return a == NULL || b == NULL ? -1 : strcmp(a, b);
}

const char *SigkitStrStr(const char *haystack, const char *needle)
{
    return haystack == NULL || needle == NULL ? NULL : strstr(haystack, needle);
}

const char *SigkitStrChr(const char *text, int character)
{
    return text == NULL ? NULL : strchr(text, (unsigned char)character);
}

uint32_t SigkitStrlen(const char *text)
{
    return text == NULL ? 0 : (uint32_t)strlen(text);
}

int memcpy_s(void *destination, size_t destinationSize, const void *source, size_t count)
{
    if (destination == NULL || source == NULL || count > destinationSize) {
        return EINVAL;
    }
    (void)memcpy(destination, source, count);
    return 0;
}

int memset_s(void *destination, size_t destinationSize, int value, size_t count)
{
    if (destination == NULL || count > destinationSize) {
        return EINVAL;
    }
    (void)memset(destination, value, count);
    return 0;
}

int strcpy_s(char *destination, size_t destinationSize, const char *source)
{
    return source == NULL ? EINVAL : memcpy_s(destination, destinationSize, source, strlen(source) + 1);
}

int strcat_s(char *destination, size_t destinationSize, const char *source)
{
    if (destination == NULL || memchr(destination, 0, destinationSize) == NULL) {
        return EINVAL;
    }
    const size_t used = strlen(destination);
    return strcpy_s(destination + used, destinationSize - used, source);
}
