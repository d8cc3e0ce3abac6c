// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The host callbacks for files, over the C library.
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <atomic>

#include "sigkit/sigkit_host.h"
#include "src/upgrade_sigkit_sdk_callback/callback.h"

namespace
{

// Longest path that is opened, in characters without the NUL; PATH_MAX counts it.
constexpr size_t MAX_PATH_LENGTH = 4096;

// Octets read from the system at a time; the library asks for 4096.
constexpr size_t FILE_BUFFER_SIZE = 32768;

// The buffer of the stream that was opened when no other had it. Streams beside it have the small ones of the C
// library. It is given back only after its stream was closed, when another stream may have the same address already.
alignas(64) char g_fileBuffer[FILE_BUFFER_SIZE];
std::atomic<bool> g_isBufferTaken{false};
std::atomic<FILE *> g_bufferedStream{nullptr};

// Positions of files are 32-bit numbers to the library, of whatever size long is: ftell of a 32-bit machine would fail
// where that of another cuts.
int32_t Position(FILE *stream)
{
    return static_cast<int32_t>(ftello(stream));
}

} // namespace

void *SigkitFileOpen(const char *path, const char *mode)
{
    if (strlen(path) > MAX_PATH_LENGTH) {
        return nullptr;
    }
    // Only asks whether the path leads anywhere: what is opened is the path as it was given.
    char resolved[MAX_PATH_LENGTH + 1] = {};
    if (realpath(path, resolved) == nullptr) {
        return nullptr;
    }
    FILE *const stream = fopen(path, mode);
    if (stream != nullptr && !g_isBufferTaken.exchange(true)) {
        g_bufferedStream.store(stream);
        (void)setvbuf(stream, g_fileBuffer, _IOFBF, FILE_BUFFER_SIZE);
    }
    return stream;
}

size_t SigkitFileRead(void *buffer, size_t size, void *file)
{
    return fread(buffer, 1, size, static_cast<FILE *>(file));
}

int SigkitFileClose(void *file)
{
    if (file == nullptr) {
        return FAILURE;
    }
    FILE *const stream = static_cast<FILE *>(file);
    const bool isBuffered = g_bufferedStream.load() == stream;
    if (isBuffered) {
        g_bufferedStream.store(nullptr);
    }
    const int result = fclose(stream);
    if (isBuffered) {
        g_isBufferTaken.store(false);
    }
    return result;
}

size_t SigkitFileGetSize(void *file)
{
    FILE *const stream = static_cast<FILE *>(file);
    if (stream == nullptr) {
        return 0;
    }
    const int32_t position = Position(stream);
    if (position < 0) {
        return 0;
    }
    (void)fseeko(stream, 0, SEEK_END);
    const int32_t size = Position(stream);
    (void)fseeko(stream, position, SEEK_SET);
    // A size that its 32 bits make negative becomes a huge one here, which the library refuses.
    return static_cast<size_t>(size);
}
