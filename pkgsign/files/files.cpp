// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/files/files.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <random>

namespace pkgsign
{
namespace
{

constexpr size_t READ_SIZE = 65536;

int Open(const char *path, int flags, mode_t mode)
{
    return open(path, flags, mode);
}

int RenameNew(const char *from, const char *to)
{
    const int result = renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE);
    const bool isUnknown = result != 0 && (errno == EINVAL || errno == ENOSYS); // of some file systems
    return !isUnknown ? result : link(from, to) == 0 ? unlink(from) : -1;
}

int Exchange(const char *a, const char *b)
{
    return renameat2(AT_FDCWD, a, AT_FDCWD, b, RENAME_EXCHANGE);
}

Status FailSystem(const std::string &what, const std::string &path)
{
    return Fail("cannot " + what + " '" + Printable(path) + "': " + std::strerror(errno));
}

// Eight digits by which a name is taken by no other process.
std::string Unusual()
{
    char digits[16] = {};
    std::random_device random;
    (void)std::snprintf(digits, sizeof(digits), "%08x", static_cast<unsigned>(random()));
    return digits;
}

std::string TemporaryName(const std::string &path)
{
    const size_t slash = path.rfind('/');
    const size_t start = slash == std::string::npos ? 0 : slash + 1;
    return path.substr(0, start) + "." + path.substr(start) + "." + Unusual() + ".tmp";
}

std::string DirectoryOf(const std::string &path)
{
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos) {
        return ".";
    }
    return slash == 0 ? "/" : path.substr(0, slash);
}

bool WriteAll(int file, const uint8_t *data, size_t size)
{
    while (size > 0) {
        const ssize_t written = g_systemCalls.write(file, data, size);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return false;
        }
        data += written;
        size -= static_cast<size_t>(written);
    }
    return true;
}

// Makes a new file that holds the octets and has reached the disk.
bool WriteToDisk(const std::string &path, const uint8_t *data, size_t size, mode_t mode)
{
    const int file = g_systemCalls.open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    if (file < 0) {
        return false;
    }
    const bool written = WriteAll(file, data, size) && g_systemCalls.fsync(file) == 0;
    const int error = errno;
    const bool closed = g_systemCalls.close(file) == 0;
    errno = written ? errno : error;
    return written && closed;
}

bool SyncDirectory(const std::string &path)
{
    const int directory = g_systemCalls.open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC, 0);
    if (directory < 0) {
        return false;
    }
    const bool synced = g_systemCalls.fsync(directory) == 0;
    const int error = errno;
    (void)g_systemCalls.close(directory);
    errno = error;
    return synced;
}

// Writes under a temporary name, and gives it its own by `place`.
Status Write(const std::string &path, const uint8_t *data, size_t size, mode_t mode,
             int (*place)(const char *from, const char *to))
{
    const std::string temporary = TemporaryName(path);
    const bool isPlaced = WriteToDisk(temporary, data, size, mode) && place(temporary.c_str(), path.c_str()) == 0;
    if (!isPlaced) {
        const Status status = FailSystem("write", path);
        (void)g_systemCalls.unlink(temporary.c_str());
        return status;
    }
    return SyncDirectory(DirectoryOf(path)) ? Status() : FailSystem("keep on disk the directory of", path);
}

// The file that a path leads to, through links.
Status FindTarget(const std::string &path, std::string *targetOut)
{
    std::error_code failure;
    struct stat found = {};
    const bool isLink = lstat(path.c_str(), &found) == 0 && S_ISLNK(found.st_mode);
    const std::string target = isLink ? std::filesystem::canonical(path, failure).string() : path;
    if (failure) {
        return Fail("cannot write '" + Printable(path) + "': it is a link that leads to no file");
    }
    if (stat(target.c_str(), &found) == 0 && !S_ISREG(found.st_mode)) {
        return Fail("cannot write '" + Printable(path) +
                    "': it is no regular file; name another, or - for standard output");
    }
    *targetOut = target;
    return {};
}

// Whether files can be made in a directory, asked by one without a name: nothing is left, not by a crash either.
bool TakesFiles(const std::string &directory)
{
    const int file = g_systemCalls.open(directory.c_str(), O_WRONLY | O_TMPFILE | O_CLOEXEC, 0600);
    if (file >= 0) {
        return g_systemCalls.close(file) == 0;
    }
    const bool isUnknown = errno == EOPNOTSUPP || errno == EISDIR || errno == EINVAL; // of some file systems
    return isUnknown && access(directory.c_str(), W_OK | X_OK) == 0;
}

} // namespace

SystemCalls g_systemCalls = {Open, write, fsync, close, rename, RenameNew, unlink, mkdir, Exchange};

Status ReadPieces(const std::string &path, const std::function<Status(const uint8_t *, size_t)> &piece, uint64_t *total)
{
    const int file = path == "-" ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        return FailSystem("read", path);
    }
    Bytes buffer(READ_SIZE);
    Status status;
    uint64_t octets = 0;
    while (status.ok) {
        const ssize_t size = read(file, buffer.data(), buffer.size());
        if (size < 0 && errno == EINTR) {
            continue;
        }
        if (size <= 0) {
            status = size < 0 ? FailSystem("read", path) : Status();
            break;
        }
        octets += static_cast<uint64_t>(size);
        status = piece(buffer.data(), static_cast<size_t>(size));
    }
    if (file != STDIN_FILENO) {
        (void)close(file);
    }
    if (status.ok && total != nullptr) {
        *total = octets;
    }
    return status;
}

Status ReadWhole(const std::string &path, Bytes *dataOut, size_t sizeMax)
{
    Bytes data;
    const Status status = ReadPieces(path, [&](const uint8_t *piece, size_t size) {
        if (size > sizeMax - data.size()) {
            return Fail("'" + Printable(path) + "' is larger than " + std::to_string(sizeMax) + " octets");
        }
        data.insert(data.end(), piece, piece + size);
        return Status();
    });
    if (status.ok) {
        *dataOut = std::move(data);
    }
    return status;
}

Status WriteNew(const std::string &path, const void *data, size_t size, mode_t mode)
{
    return Write(path, static_cast<const uint8_t *>(data), size, mode, g_systemCalls.renameNew);
}

Status WriteWhole(const std::string &path, const Bytes &data, mode_t mode)
{
    if (path == "-") {
        return WriteAll(STDOUT_FILENO, data.data(), data.size()) ? Status() : FailSystem("write to", "standard output");
    }
    std::string target;
    const Status status = FindTarget(path, &target);
    if (!status.ok) {
        return status;
    }
    return Write(target, data.data(), data.size(), mode, g_systemCalls.rename);
}

Status CheckWritable(const std::string &path)
{
    std::string target;
    const Status status = path.empty() || path == "-" ? Status() : FindTarget(path, &target);
    if (!status.ok || target.empty() || TakesFiles(DirectoryOf(target))) {
        return status;
    }
    return FailSystem("write '" + Printable(path) + "': no file can be made in", DirectoryOf(target));
}

Status WriteWhole(const std::string &path, const std::string &text, mode_t mode)
{
    return WriteWhole(path, Bytes(text.begin(), text.end()), mode);
}

Status WriteStandardOutput(const std::string &text)
{
    return WriteWhole("-", text);
}

bool Exists(const std::string &path)
{
    struct stat found = {};
    return lstat(path.c_str(), &found) == 0;
}

Status MakeDirectory(const std::string &path)
{
    struct stat found = {};
    if (g_systemCalls.mkdir(path.c_str(), 0700) == 0 || (stat(path.c_str(), &found) == 0 && S_ISDIR(found.st_mode))) {
        return {};
    }
    return FailSystem("make the directory", path);
}

Status MakeDirectoryBeside(const std::string &path, std::string *madeOut)
{
    const std::string made = path + ".new-" + Unusual();
    if (g_systemCalls.mkdir(made.c_str(), 0700) != 0) {
        return FailSystem("make the directory", made);
    }
    *madeOut = made;
    return {};
}

Status PlaceDirectory(const std::string &made, const std::string &path, const std::string &aside)
{
    bool isPlaced = false;
    if (aside.empty()) {
        isPlaced = g_systemCalls.rename(made.c_str(), path.c_str()) == 0;
    } else if (g_systemCalls.exchange(made.c_str(), path.c_str()) == 0) {
        isPlaced = g_systemCalls.rename(made.c_str(), aside.c_str()) == 0;
        if (!isPlaced) {
            const int error = errno;
            (void)g_systemCalls.exchange(made.c_str(), path.c_str());
            errno = error;
        }
    } else if (errno == EINVAL || errno == ENOSYS) { // a file system that cannot exchange
        isPlaced = g_systemCalls.rename(path.c_str(), aside.c_str()) == 0 &&
                   g_systemCalls.rename(made.c_str(), path.c_str()) == 0;
    }
    if (!isPlaced) {
        return FailSystem("make", path);
    }
    return SyncDirectory(DirectoryOf(path)) ? Status() : FailSystem("keep on disk the directory of", path);
}

} // namespace pkgsign
