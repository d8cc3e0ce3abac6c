// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/forge/status.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace forge
{
namespace
{
using File = std::unique_ptr<std::FILE, int (*)(std::FILE *)>;

Status FailFile(const char *action, const std::string &path)
{
    return Fail(std::string("cannot ") + action + " '" + path + "': " + std::strerror(errno));
}

bool WriteAll(int descriptor, const uint8_t *data, size_t size)
{
    while (size != 0) {
        const ssize_t count = write(descriptor, data, size);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return false;
        }
        data += count;
        size -= static_cast<size_t>(count);
    }
    return true;
}

// Writes a file that must not exist yet. A file that could not be finished is removed.
bool WriteNew(const std::string &path, const uint8_t *data, size_t size, unsigned mode)
{
    const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, static_cast<mode_t>(mode));
    if (descriptor < 0) {
        return false;
    }
    const bool written = WriteAll(descriptor, data, size) && fsync(descriptor) == 0;
    const int reason = errno;
    const bool closed = close(descriptor) == 0;
    if (!written) {
        errno = reason;
    }
    return written && closed;
}

Status Write(const std::string &path, const uint8_t *data, size_t size, unsigned mode)
{
    struct stat existing = {};
    if (stat(path.c_str(), &existing) == 0 && !S_ISREG(existing.st_mode)) {
        return Fail("cannot write '" + path + "': not a regular file"); // a rename would put a file in its place
    }
    const std::string temporary = path + "." + std::to_string(getpid()) + ".tmp";
    if (!WriteNew(temporary, data, size, mode) || std::rename(temporary.c_str(), path.c_str()) != 0) {
        const Status status = FailFile("write", path);
        unlink(temporary.c_str());
        return status;
    }
    return Ok();
}

} // namespace

Status ReadFile(const std::string &path, Bytes *dataOut)
{
    const File file(std::fopen(path.c_str(), "rb"), std::fclose);
    if (file == nullptr) {
        return FailFile("open", path);
    }
    Bytes data;
    uint8_t piece[65536];
    size_t count = 0;
    while ((count = std::fread(piece, 1, sizeof(piece), file.get())) != 0) {
        data.insert(data.end(), piece, piece + count);
    }
    if (std::ferror(file.get()) != 0) {
        return FailFile("read", path);
    }
    *dataOut = std::move(data);
    return Ok();
}

Status WriteFile(const std::string &path, const Bytes &data, unsigned mode)
{
    return Write(path, data.data(), data.size(), mode);
}

Status WriteFile(const std::string &path, const std::string &text, unsigned mode)
{
    return Write(path, reinterpret_cast<const uint8_t *>(text.data()), text.size(), mode);
}
} // namespace forge
