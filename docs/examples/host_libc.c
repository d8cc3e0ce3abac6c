// Memory, strings, files and log over the C library.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "sigkit/sigkit.h"
#include "sigkit/sigkit_host.h"

// ---- Memory and strings --------------------------------------------------------------------------------------------

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

// ---- Files ---------------------------------------------------------------------------------------------------------

void *SigkitFileOpen(const char *path, const char *mode)
{
    return fopen(path, mode);
}

size_t SigkitFileRead(void *buffer, size_t size, void *file)
{
    return fread(buffer, 1, size, file);
}

int SigkitFileClose(void *file)
{
    return file == NULL ? -1 : fclose(file);
}

size_t SigkitFileGetSize(void *file)
{
    if (file == NULL) {
        return 0;
    }
    const long position = ftell(file);
    if (position < 0 || fseek(file, 0, SEEK_END) != 0) {
        return 0;
    }
    const long size = ftell(file);
    return fseek(file, position, SEEK_SET) == 0 && size > 0 ? (size_t)size : 0;
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
