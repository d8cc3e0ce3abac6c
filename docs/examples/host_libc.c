// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Memory, files and log over the C library.
#define _FILE_OFFSET_BITS 64 // content of 2 GiB and more on machines of 32 bits
#include <stdio.h>
#include <stdlib.h>

#include "sigkit/sigkit.h"
#include "sigkit/sigkit_host.h"

// ---- Memory --------------------------------------------------------------------------------------------------------

uint32_t SigkitMalloc(void **out, size_t size)
{
    if (out == NULL) {
        return SIGKIT_ERR_PARAM;
    }
    *out = NULL;
    if (size == 0) {
        return SIGKIT_OK;
    }
    *out = malloc(size);
    return *out == NULL ? SIGKIT_ERR_NO_MEMORY : SIGKIT_OK;
}

void SigkitFree(void *block)
{
    free(block);
}

// ---- Files ---------------------------------------------------------------------------------------------------------

void *SigkitFileOpen(const char *path, const char *mode)
{
    return fopen(path, mode);
}

size_t SigkitFileRead(void *buffer, size_t size, void *file)
{
    return fread(buffer, 1, size, (FILE *)file);
}

int SigkitFileClose(void *file)
{
    return file == NULL ? -1 : fclose((FILE *)file);
}

size_t SigkitFileGetSize(void *file)
{
    FILE *const stream = (FILE *)file;
    if (stream == NULL) {
        return 0;
    }
    const long position = ftell(stream);
    if (position < 0 || fseek(stream, 0, SEEK_END) != 0) {
        return 0;
    }
    const long size = ftell(stream);
    return fseek(stream, position, SEEK_SET) == 0 && size > 0 ? (size_t)size : 0;
}

// ---- Log -----------------------------------------------------------------------------------------------------------

// Names out of certificates come along in the text, so octets that could steer a terminal are replaced.
static void PrintSafely(const char *text)
{
    for (size_t i = 0; text[i] != '\0'; ++i) {
        const unsigned char octet = (unsigned char)text[i];
        if (octet != '\r' && octet != '\n') {
            fputc(octet < 0x20 || octet == 0x7F ? '?' : octet, stderr);
        }
    }
}

void SigkitLogPrint(int level, const char *file, int line, const char *function, uint32_t errorCode,
                    const char *message)
{
    (void)file; // the same in every line
    (void)line;
    fprintf(stderr, "%s %s: ", level == 0 ? "error" : "warning", function);
    PrintSafely(message == NULL ? "" : message);
    fprintf(stderr, " (%08x)\n", (unsigned)errorCode);
}
