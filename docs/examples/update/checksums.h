// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The checksum file of a package: a line with its version, then one for each file, in the order of their names.
#ifndef UPDATE_CHECKSUMS_H
#define UPDATE_CHECKSUMS_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#define DIGEST_DIGITS 64

// One line, in the text of the file.
struct Listed {
    const char *digest; // DIGEST_DIGITS small hexadecimal digits
    const char *name;   // of parts that hold letters, digits and . _ - + and begin with neither . nor -
};

struct Checksums {
    char *text; // what the lines point into
    uint64_t version;
    struct Listed *files;
    size_t count;
};

// Reads a checksum file that was verified. Refuses whatever could be read in two ways. Freed by FreeChecksums, after a
// refusal too.
bool ReadChecksums(int directory, const char *name, struct Checksums *checksumsOut);
void FreeChecksums(struct Checksums *checksums);

// Reads a file that holds a version and nothing else.
bool ReadVersion(int directory, const char *name, uint64_t *versionOut);

// The line of a file; null when it is not listed.
const struct Listed *FindListed(const struct Checksums *checksums, const char *name);

#endif
