// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Files: read whole or in pieces, and written whole or not at all.
#ifndef PKGSIGN_FILES_FILES_H
#define PKGSIGN_FILES_FILES_H

#include <sys/stat.h>
#include <sys/types.h>

#include <cstddef>
#include <functional>
#include <string>

#include "pkgsign/status.h"

namespace pkgsign
{

// Largest file that is read whole, where nothing smaller is asked for: 16 MiB.
inline constexpr size_t FILE_SIZE_MAX = size_t{1} << 24;

// The calls with which files and directories are made. Tests let each of them fail.
struct SystemCalls {
    int (*open)(const char *path, int flags, mode_t mode);
    ssize_t (*write)(int file, const void *data, size_t size);
    int (*fsync)(int file);
    int (*close)(int file);
    int (*rename)(const char *from, const char *to);
    int (*renameNew)(const char *from, const char *to); // fails when `to` is there
    int (*unlink)(const char *path);
    int (*mkdir)(const char *path, mode_t mode);
    int (*exchange)(const char *a, const char *b); // what two names lead to, in one step
};
extern SystemCalls g_systemCalls;

// Reads a whole file; "-" is standard input. sizeMax: octets beyond which the file is refused.
Status ReadWhole(const std::string &path, Bytes *dataOut, size_t sizeMax = FILE_SIZE_MAX);

// Reads a file, or standard input for "-", in pieces: `piece` is called with each, in order. total (may be null):
// octets read.
Status ReadPieces(const std::string &path, const std::function<Status(const uint8_t *data, size_t size)> &piece,
                  uint64_t *total = nullptr);

// Writes a file: under a temporary name beside it, to the disk, then renamed, and the directory to the disk. Whatever
// fails and whenever it ends, the name leads to the earlier file or to the whole new one. A link stays, and the file is
// replaced that it leads to. "-" is standard output. mode: permission bits before the umask.
Status WriteWhole(const std::string &path, const Bytes &data, mode_t mode = 0666);
Status WriteWhole(const std::string &path, const std::string &text, mode_t mode = 0666);

// Whether WriteWhole could write there, to be asked before a key signs what is to be written. Leaves nothing behind.
// Empty, where no file is asked for, and "-" will do.
Status CheckWritable(const std::string &path);

// As WriteWhole, for a file that must not be there yet, whichever process makes it.
Status WriteNew(const std::string &path, const void *data, size_t size, mode_t mode);

// Writes to standard output, or says why it took less than all.
Status WriteStandardOutput(const std::string &text);

// Whether a path leads to a file, directory or anything else.
bool Exists(const std::string &path);

// Makes a directory that only its owner may enter, unless it is there already.
Status MakeDirectory(const std::string &path);

// Makes a new directory beside `path` that no other process takes and only its owner may enter.
Status MakeDirectoryBeside(const std::string &path, std::string *madeOut);

// Moves a directory to `path` and the entry to the disk. aside: where what is there goes, in the same step where the
// file system can do that; empty: nothing must be there but an empty directory.
Status PlaceDirectory(const std::string &made, const std::string &path, const std::string &aside);

// `text` as it may be shown on a terminal or a page: valid UTF-8, in which control characters, those that turn the
// direction of writing, and octets that are no character stand as \xHH or \u{HHHH}.
std::string Printable(const std::string &text);

// A status of the library as logs have it: "88200012".
std::string StatusDigits(uint32_t status);

} // namespace pkgsign

#endif
