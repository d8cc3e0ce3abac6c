// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Comparisons and searches over the C library.
#include <string.h>

#include "sigkit/sigkit_host.h"

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
