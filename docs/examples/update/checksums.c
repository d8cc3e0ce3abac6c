// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "checksums.h"

#include <stdlib.h>
#include <string.h>

#include "files.h"

#define TEXT_OCTETS_MAX 2000000 // of a checksum file, as of the files beside it
#define VERSION_DIGITS_MAX 18   // fits 64 bits
#define DIRECTORIES_MAX (DIRECTORY_DEPTH - 4)
#define NAME_OCTETS_MAX (PATH_OCTETS - 32)

static const char VERSION_KEY[] = "version ";
static const char DIGITS[] = "0123456789";
static const char HEX_DIGITS[] = "0123456789abcdef";
static const char NAME_CHARACTERS[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._-+/";

// Takes a line off a text, and ends it with a null character. Null when there is no whole line.
static char *TakeLine(char **text, const char *end)
{
    char *const line = *text;
    char *const stop = memchr(line, '\n', (size_t)(end - line));
    if (stop == NULL) {
        return NULL;
    }
    *stop = '\0';
    *text = stop + 1;
    return strlen(line) == (size_t)(stop - line) ? line : NULL;
}

// One form for one number: no sign, space or leading zero.
static bool ParseVersion(const char *line, uint64_t *versionOut)
{
    const size_t key = sizeof VERSION_KEY - 1;
    if (line == NULL || strncmp(line, VERSION_KEY, key) != 0) {
        return false;
    }
    const char *const number = line + key;
    const size_t digits = strspn(number, DIGITS);
    if (digits == 0 || digits > VERSION_DIGITS_MAX || number[digits] != '\0' || (number[0] == '0' && digits != 1)) {
        return false;
    }
    *versionOut = strtoull(number, NULL, 10);
    return true;
}

// A closed set of characters, and no part that is empty, leads upwards, hides or looks like an option.
static bool IsName(const char *name)
{
    size_t directories = 0;
    if (strspn(name, NAME_CHARACTERS) != strlen(name) || strlen(name) > NAME_OCTETS_MAX) {
        return false;
    }
    for (const char *part = name;; ++part) {
        if (*part == '\0' || *part == '/' || *part == '.' || *part == '-') {
            return false;
        }
        part = strchr(part, '/');
        if (part == NULL) {
            return directories <= DIRECTORIES_MAX;
        }
        ++directories;
    }
}

static bool ParseFile(char *line, struct Listed *fileOut)
{
    if (line == NULL || strspn(line, HEX_DIGITS) != DIGEST_DIGITS || strncmp(line + DIGEST_DIGITS, "  ", 2) != 0 ||
        !IsName(line + DIGEST_DIGITS + 2)) {
        return false;
    }
    *fileOut = (struct Listed){line, line + DIGEST_DIGITS + 2};
    return true;
}

bool ReadVersion(int directory, const char *name, uint64_t *versionOut)
{
    char *text = NULL;
    uint64_t length = 0;
    if (!ReadText(directory, name, sizeof VERSION_KEY + VERSION_DIGITS_MAX, &text, &length)) {
        return false;
    }
    char *rest = text;
    const char *const end = text + length;
    const bool done = ParseVersion(TakeLine(&rest, end), versionOut) && rest == end;
    free(text);
    return done || Refuse("%s holds no version", name);
}

bool ReadChecksums(int directory, const char *name, struct Checksums *checksumsOut)
{
    uint64_t length = 0;
    *checksumsOut = (struct Checksums){NULL, 0, NULL, 0};
    if (!ReadText(directory, name, TEXT_OCTETS_MAX, &checksumsOut->text, &length)) {
        return false;
    }
    char *rest = checksumsOut->text;
    const char *const end = rest + length;
    if (!ParseVersion(TakeLine(&rest, end), &checksumsOut->version)) {
        return Refuse("%s does not begin with a version", name);
    }
    checksumsOut->files = calloc(length / DIGEST_DIGITS + 1, sizeof *checksumsOut->files);
    if (checksumsOut->files == NULL) {
        return Refuse("no memory");
    }
    while (rest != end) {
        struct Listed *const file = &checksumsOut->files[checksumsOut->count];
        if (!ParseFile(TakeLine(&rest, end), file)) {
            return Refuse("%s, line %zu: no digest and name", name, checksumsOut->count + 2);
        }
        if (checksumsOut->count != 0 && strcmp(file[-1].name, file->name) >= 0) {
            return Refuse("%s, line %zu: named twice, or out of order", name, checksumsOut->count + 2);
        }
        ++checksumsOut->count;
    }
    return checksumsOut->count != 0 || Refuse("%s lists no file", name);
}

void FreeChecksums(struct Checksums *checksums)
{
    free(checksums->files);
    free(checksums->text);
}

static int CompareName(const void *name, const void *file)
{
    return strcmp(name, ((const struct Listed *)file)->name);
}

const struct Listed *FindListed(const struct Checksums *checksums, const char *name)
{
    return bsearch(name, checksums->files, checksums->count, sizeof *checksums->files, CompareName);
}
