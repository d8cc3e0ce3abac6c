// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Files by directory descriptors: no path is walked twice, no link is followed, and what has been written survives a
// power cut before it gets the name by which it is used.
#ifndef UPDATE_FILES_H
#define UPDATE_FILES_H

#include <stdbool.h>
#include <stdint.h>
#include <sys/stat.h>

#define DIGEST_OCTETS 32    // SHA-256
#define PATH_OCTETS 1024    // of a name below a directory, its terminator included
#define DIRECTORY_DEPTH 32  // directories in each other; each is an open descriptor while it is looked through
#define ENTRIES_MAX 1000000 // of a directory and all below it: somebody may make them as fast as they are looked at

// What was found below a directory.
struct Entry {
    int directory;    // the directory that holds it
    const char *name; // in that directory
    const char *path; // below the directory that is looked through
    const struct stat *status;
};

// Prints why the package is refused, with control characters as question marks. Returns false.
bool Refuse(const char *format, ...) __attribute__((format(printf, 1, 2)));

// Opens a directory that nobody but this user can write; -1, and says why, when it is none.
int OpenOwnDirectory(const char *path);

// Opens a directory in a directory, never through a link. -1 when there is none.
int OpenDirectory(int directory, const char *name);

// Copies a regular file that has one name to a new file in another directory, down to the disk. Never takes more than
// *space octets, which it takes off. digest: SHA-256 of what was written, or null.
bool CopyFile(int from, const char *name, int to, const char *copy, uint64_t *space, unsigned char *digest);

// Makes a file of a text, down to the disk.
bool WriteText(int directory, const char *name, const char *text);

// Reads a whole file of a directory that nobody else can write. The caller frees *textOut, which ends with a null
// character.
bool ReadText(int directory, const char *name, uint64_t most, char **textOut, uint64_t *lengthOut);

// Gives a file or directory, which is on the disk, the name by which it is used, and the file of that name up. A power
// cut leaves one or the other; what is reported as done stays done.
bool Publish(int from, const char *name, int to, const char *published);

// Calls visit for everything below a directory; for a directory after what is in it. Stops when visit returns false,
// and refuses what exceeds DIRECTORY_DEPTH, ENTRIES_MAX or PATH_OCTETS.
bool Walk(int directory, bool (*visit)(const struct Entry *entry, void *context), void *context);

// Brings all directories below a directory, and itself, to the disk.
bool SyncDirectories(int directory);

// Removes a directory with all that is in it, if there is one.
bool RemoveDirectory(int directory, const char *name);

#endif
