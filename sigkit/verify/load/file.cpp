// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "verify/load/file.h"

#include "core/log.h"
#include "core/memory.h"
#include "sigkit/sigkit.h"
#include "sigkit/sigkit_host.h"

uint32_t InternalReadFile(const char *path, uint8_t **data, uint32_t *len)
{
    if (path[0] == '\0') {
        return SIGKIT_FAIL(SIGKIT_ERR_PARAM, "Empty file path.");
    }
    InternalFileGuard file(SigkitFileOpen(path, "rb"));
    if (file.held == nullptr) {
        return SIGKIT_FAIL(SIGKIT_ERR_FILE_OPEN, "Can not open file '%s'.", path);
    }
    const size_t size = SigkitFileGetSize(file.held);
    if (size == 0) {
        return SIGKIT_TRAIL(SIGKIT_ERR_FILE_EMPTY);
    }
    if (size > SIGKIT_MAX_FILE_SIZE) {
        return SIGKIT_TRAIL(SIGKIT_ERR_FILE_TOO_BIG);
    }
    InternalBytesGuard bytes;
    const uint32_t status = InternalNewBytes(&bytes.held, size);
    if (status != SIGKIT_OK) {
        return SIGKIT_TRAIL(status);
    }
    if (SigkitFileRead(bytes.held, size, file.held) != size) {
        return SIGKIT_TRAIL(SIGKIT_ERR_FILE_READ);
    }
    *len = static_cast<uint32_t>(size);
    *data = bytes.Take();
    return SIGKIT_OK;
}

void InternalCloseFile(void *file)
{
    const int result = SigkitFileClose(file);
    if (result != 0) {
        SigkitLogCallback(SIGKIT_LOG_WARNING, SIGKIT_LOG_TAG, __LINE__, __func__, static_cast<uint32_t>(result),
                          nullptr);
    }
}
