// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "files.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <openssl/evp.h>

#define DIRECTORY_FLAGS (O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC)

bool Refuse(const char *format, ...)
{
    char text[2 * PATH_OCTETS];
    va_list arguments;
    va_start(arguments, format);
    (void)vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    for (char *octet = text; *octet != '\0'; ++octet) {
        *octet = *octet < ' ' || *octet > '~' ? '?' : *octet;
    }
    (void)fprintf(stderr, "update: %s\n", text);
    return false;
}

int OpenOwnDirectory(const char *path)
{
    struct stat status;
    const int directory = openat(AT_FDCWD, path, DIRECTORY_FLAGS);
    if (directory < 0 || fstat(directory, &status) != 0) {
        (void)Refuse("%s: %s", path, strerror(errno));
    } else if (status.st_uid == geteuid() && (status.st_mode & (S_IWGRP | S_IWOTH)) == 0) {
        return directory;
    } else {
        (void)Refuse("%s: others can write there", path);
    }
    if (directory >= 0) {
        (void)close(directory);
    }
    return -1;
}

int OpenDirectory(int directory, const char *name)
{
    return openat(directory, name, DIRECTORY_FLAGS);
}

// A pipe would hold the open up, and a terminal take this program over.
static int OpenRegular(int directory, const char *name, struct stat *status)
{
    const int file = openat(directory, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (file < 0) {
        (void)Refuse("%s: %s", name, strerror(errno));
        return -1;
    }
    if (fstat(file, status) == 0 && S_ISREG(status->st_mode) && status->st_nlink <= 1) {
        return file;
    }
    (void)close(file);
    (void)Refuse("%s is no regular file, or has other names", name);
    return -1;
}

static bool WriteAll(int file, const unsigned char *data, size_t length)
{
    for (size_t done = 0; done < length;) {
        const ssize_t count = write(file, data + done, length - done);
        if (count < 0 && errno != EINTR) {
            return Refuse("cannot write: %s", strerror(errno));
        }
        done += count < 0 ? 0 : (size_t)count;
    }
    return true;
}

// What is digested is what is written, whatever becomes of the file that is read.
static bool CopyOctets(int in, int out, uint64_t *space, EVP_MD_CTX *digest)
{
    unsigned char piece[65536];
    for (;;) {
        const ssize_t count = read(in, piece, sizeof piece);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            return Refuse("cannot read: %s", strerror(errno));
        }
        if (count == 0) {
            return fsync(out) == 0 || Refuse("cannot write: %s", strerror(errno));
        }
        if ((uint64_t)count > *space) {
            return Refuse("the package is too large");
        }
        *space -= (uint64_t)count;
        if (EVP_DigestUpdate(digest, piece, (size_t)count) != 1 || !WriteAll(out, piece, (size_t)count)) {
            return Refuse("the copy failed");
        }
    }
}

bool CopyFile(int from, const char *name, int to, const char *copy, uint64_t *space, unsigned char *digest)
{
    struct stat status;
    unsigned char computed[EVP_MAX_MD_SIZE];
    const int in = OpenRegular(from, name, &status);
    const int out = in < 0 ? -1 : openat(to, copy, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    EVP_MD_CTX *const context = EVP_MD_CTX_new();
    bool done = out >= 0 && context != NULL && EVP_DigestInit_ex(context, EVP_sha256(), NULL) == 1 &&
                CopyOctets(in, out, space, context) && EVP_DigestFinal_ex(context, computed, NULL) == 1;
    EVP_MD_CTX_free(context);
    if (out >= 0 && close(out) != 0) {
        done = false;
    }
    if (in >= 0) {
        (void)close(in);
    }
    if (done && digest != NULL) {
        memcpy(digest, computed, DIGEST_OCTETS);
    }
    return done || Refuse("%s was not copied", name);
}

bool WriteText(int directory, const char *name, const char *text)
{
    const int file = openat(directory, name, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    bool done = file >= 0 && WriteAll(file, (const unsigned char *)text, strlen(text)) && fsync(file) == 0;
    if (file >= 0 && close(file) != 0) {
        done = false;
    }
    return done || Refuse("cannot write %s: %s", name, strerror(errno));
}

bool ReadText(int directory, const char *name, uint64_t most, char **textOut, uint64_t *lengthOut)
{
    struct stat status;
    const int file = OpenRegular(directory, name, &status);
    if (file < 0) {
        return false;
    }
    const uint64_t length = (uint64_t)status.st_size;
    char *const text = length > most ? NULL : calloc(1, (size_t)length + 1);
    uint64_t done = 0;
    ssize_t count = 1;
    while (text != NULL && done < length && count > 0) {
        count = read(file, text + done, (size_t)(length - done));
        done += count > 0 ? (uint64_t)count : 0;
    }
    (void)close(file);
    if (text == NULL || done != length) {
        free(text);
        return Refuse("%s cannot be read, or is too large", name);
    }
    *textOut = text;
    *lengthOut = length;
    return true;
}

bool Publish(int from, const char *name, int to, const char *published)
{
    return (fsync(from) == 0 && renameat(from, name, to, published) == 0 && fsync(to) == 0) ||
           Refuse("%s cannot be replaced: %s", published, strerror(errno));
}

// Where a walk is. The descriptors are as many as the directories in each other.
struct Place {
    char path[PATH_OCTETS];
    unsigned depth;
    unsigned entries;
    bool (*visit)(const struct Entry *entry, void *context);
    void *context;
};

static bool WalkInto(int directory, struct Place *place);

static bool WalkEntry(int directory, const char *name, struct Place *place)
{
    struct stat status;
    const size_t length = strlen(place->path);
    const int added = snprintf(place->path + length, sizeof place->path - length, "%s%s", length == 0 ? "" : "/", name);
    bool done = (size_t)added < sizeof place->path - length || Refuse("%s: the path is too long", place->path);
    if (done && fstatat(directory, name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
        done = Refuse("%s: %s", place->path, strerror(errno));
    }
    if (done && S_ISDIR(status.st_mode)) {
        const int below = OpenDirectory(directory, name);
        done = below >= 0 ? WalkInto(below, place) : Refuse("%s: %s", place->path, strerror(errno));
    }
    if (done) {
        const struct Entry entry = {directory, name, place->path, &status};
        done = place->visit(&entry, place->context);
    }
    place->path[length] = '\0';
    return done;
}

// Closes the directory.
static bool WalkInto(int directory, struct Place *place)
{
    DIR *const entries = ++place->depth <= DIRECTORY_DEPTH ? fdopendir(directory) : NULL;
    if (entries == NULL) {
        (void)close(directory);
        return Refuse("%s: the directories are too deep, or cannot be read", place->path);
    }
    bool done = true;
    struct dirent *entry = NULL;
    while (done && (errno = 0, entry = readdir(entries)) != NULL) {
        if (strcmp(entry->d_name, ".") != 0 && strcmp(entry->d_name, "..") != 0) {
            done = ++place->entries <= ENTRIES_MAX ? WalkEntry(directory, entry->d_name, place)
                                                   : Refuse("%s: too many files", place->path);
        }
    }
    if (done && errno != 0) {
        done = Refuse("%s: %s", place->path, strerror(errno));
    }
    --place->depth;
    (void)closedir(entries);
    return done;
}

bool Walk(int directory, bool (*visit)(const struct Entry *entry, void *context), void *context)
{
    struct Place place = {"", 0, 0, visit, context};
    const int own = OpenDirectory(directory, "."); // with a position of its own
    return own >= 0 ? WalkInto(own, &place) : Refuse("a directory cannot be opened: %s", strerror(errno));
}

static bool SyncEntry(const struct Entry *entry, void *context)
{
    (void)context;
    if (!S_ISDIR(entry->status->st_mode)) {
        return true;
    }
    const int directory = OpenDirectory(entry->directory, entry->name);
    const bool done = directory >= 0 && fsync(directory) == 0;
    if (directory >= 0) {
        (void)close(directory);
    }
    return done || Refuse("%s cannot be written: %s", entry->path, strerror(errno));
}

bool SyncDirectories(int directory)
{
    return Walk(directory, SyncEntry, NULL) && (fsync(directory) == 0 || Refuse("cannot write: %s", strerror(errno)));
}

static bool RemoveEntry(const struct Entry *entry, void *context)
{
    (void)context;
    const int flags = S_ISDIR(entry->status->st_mode) ? AT_REMOVEDIR : 0;
    return unlinkat(entry->directory, entry->name, flags) == 0 || Refuse("%s: %s", entry->path, strerror(errno));
}

bool RemoveDirectory(int directory, const char *name)
{
    const int below = OpenDirectory(directory, name);
    if (below < 0) {
        return errno == ENOENT || Refuse("%s: %s", name, strerror(errno));
    }
    const bool done = Walk(below, RemoveEntry, NULL);
    (void)close(below);
    return done && (unlinkat(directory, name, AT_REMOVEDIR) == 0 || Refuse("%s: %s", name, strerror(errno)));
}
