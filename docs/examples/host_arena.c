// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "host_arena.h"

#include <stdio.h>
#include <string.h>

#include "sigkit/sigkit.h"
#include "sigkit/sigkit_host.h"

// ---- Memory --------------------------------------------------------------------------------------------------------
// Blocks are handed out one behind the other. A block at the end is taken back at once, every other one together with
// the last: enough for a context that lives for one verification.

enum { ARENA_SIZE = 1024 * 1024, UNIT = sizeof(max_align_t) };

static max_align_t g_arena[ARENA_SIZE / UNIT];
static size_t g_used; // units, as all sizes here
static size_t g_peak;
static size_t g_liveBlocks;

uint32_t SigkitMalloc(void **out, size_t size)
{
    if (out == NULL) {
        return SIGKIT_ERR_PARAM;
    }
    *out = NULL;
    if (size == 0) {
        return SIGKIT_OK;
    }
    const size_t units = size / UNIT + 2; // one for the block's own size, one for a remainder
    if (units > sizeof g_arena / UNIT - g_used) {
        return SIGKIT_ERR_NO_MEMORY;
    }
    max_align_t *const head = g_arena + g_used;
    memcpy(head, &units, sizeof units);
    g_used += units;
    g_peak = g_used > g_peak ? g_used : g_peak;
    ++g_liveBlocks;
    *out = head + 1;
    return SIGKIT_OK;
}

void SigkitFree(void *block)
{
    if (block == NULL) {
        return;
    }
    const max_align_t *const head = (const max_align_t *)block - 1;
    const size_t start = (size_t)(head - g_arena);
    size_t units = 0;
    memcpy(&units, head, sizeof units);
    --g_liveBlocks;
    if (g_liveBlocks == 0) {
        g_used = 0;
    } else if (start + units == g_used) {
        g_used = start;
    }
}

size_t HostArenaPeak(void)
{
    return g_peak * UNIT;
}

size_t HostArenaUsed(void)
{
    return g_used * UNIT;
}

// ---- Files ---------------------------------------------------------------------------------------------------------
// A file is an area of memory with a name. One handle for each file: the library has each open once at a time.

struct File {
    const char *name;
    const uint8_t *data;
    size_t size;
    size_t position;
};

enum { MAX_FILES = 4 };

static struct File g_files[MAX_FILES];
static size_t g_fileCount;

bool HostAddFile(const char *name, const uint8_t *data, size_t size)
{
    if (g_fileCount == MAX_FILES) {
        return false;
    }
    const struct File file = {name, data, size, 0};
    g_files[g_fileCount++] = file;
    return true;
}

void *SigkitFileOpen(const char *path, const char *mode)
{
    (void)mode; // always "rb"
    for (size_t i = 0; i < g_fileCount; ++i) {
        if (strcmp(g_files[i].name, path) == 0) {
            g_files[i].position = 0;
            return &g_files[i];
        }
    }
    return NULL;
}

size_t SigkitFileRead(void *buffer, size_t size, void *file)
{
    struct File *const open = (struct File *)file;
    const size_t rest = open->size - open->position;
    const size_t len = size < rest ? size : rest;
    memcpy(buffer, open->data + open->position, len);
    open->position += len;
    return len;
}

int SigkitFileClose(void *file)
{
    return file == NULL ? -1 : 0;
}

size_t SigkitFileGetSize(void *file)
{
    return file == NULL ? 0 : ((const struct File *)file)->size;
}

// ---- Log -----------------------------------------------------------------------------------------------------------

static char g_log[8192];
static size_t g_logLen;

// Appends a text; what does not fit is cut. Line ends within it, and everything else that is not printable, become
// dots.
static void Append(const char *text)
{
    for (; *text != '\0' && g_logLen < sizeof g_log - 2; ++text) {
        g_log[g_logLen++] = *text >= 0x20 && *text < 0x7F ? *text : '.';
    }
}

void SigkitLogPrint(int level, const char *file, int line, const char *function, uint32_t errorCode,
                    const char *message)
{
    (void)file;
    (void)line;
    char code[16];
    (void)snprintf(code, sizeof code, " %08x ", (unsigned)errorCode);
    Append(level == 0 ? "E " : "W ");
    Append(function);
    Append(code);
    Append(message == NULL ? "" : message);
    g_log[g_logLen < sizeof g_log - 2 ? g_logLen++ : g_logLen] = '\n'; // the last octet stays NUL
}

const char *HostLog(void)
{
    return g_log;
}
