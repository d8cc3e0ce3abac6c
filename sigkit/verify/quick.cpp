// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "core/context.h"
#include "core/guard.h"
#include "core/log.h"
#include "core/memory.h"
#include "sigkit/sigkit.h"
#include "sigkit/sigkit_host.h"
#include "verify/load/file.h"

namespace
{

// Octets of content that are fed at a time.
constexpr size_t PIECE_SIZE = 4096;

uint32_t InternalCheckParamVerifyDetachSignatureQuick(const SigkitVerifyCtx *ctx, const char *contentPath,
                                                      const char *signaturePath, const uint32_t *verdict)
{
    const uint32_t status = InternalCheckContext(ctx);
    if (status == SIGKIT_OK && (contentPath == nullptr || signaturePath == nullptr || verdict == nullptr)) {
        return SIGKIT_TRAIL(SIGKIT_ERR_PARAM);
    }
    return status;
}

// Feeds a whole file, however large, to the verification in progress. The name is part of the log: the content is read.
uint32_t InternalUpdateContent(SigkitVerifyCtx *ctx, const char *path)
{
    if (path[0] == '\0') {
        return SIGKIT_FAIL(SIGKIT_ERR_PARAM, "Empty file path.");
    }
    InternalFileGuard file(SigkitFileOpen(path, "rb"));
    if (file.held == nullptr) {
        return SIGKIT_FAIL(SIGKIT_ERR_FILE_OPEN, "Can't open file '%s'.", path);
    }
    InternalBytesGuard piece;
    uint32_t status = InternalNewBytes(&piece.held, PIECE_SIZE);
    if (status != SIGKIT_OK) {
        return SIGKIT_TRAIL(status);
    }
    for (;;) {
        const size_t octets = SigkitFileRead(piece.held, PIECE_SIZE, file.held);
        if (octets == 0) {
            return SIGKIT_OK;
        }
        status = SigkitVerifyDetachSignatureUpdate(ctx, piece.held, static_cast<uint32_t>(octets));
        if (status != SIGKIT_OK) {
            return SIGKIT_TRAIL(status);
        }
    }
}

} // namespace

uint32_t SigkitVerifyDetachSignatureQuick(SigkitVerifyCtx *ctx, const char *contentPath, const char *signaturePath,
                                          uint32_t *verdict)
{
    uint32_t status = InternalCheckParamVerifyDetachSignatureQuick(ctx, contentPath, signaturePath, verdict);
    if (status != SIGKIT_OK) {
        return status;
    }
    *verdict = 0;
    InternalBytesGuard message; // released last, on every path
    uint32_t len = 0;
    status = InternalReadFile(signaturePath, &message.held, &len);
    if (status == SIGKIT_OK) {
        status = SigkitVerifyDetachSignatureBegin(ctx, message.held, len);
    }
    if (status == SIGKIT_OK) {
        status = InternalUpdateContent(ctx, contentPath);
    }
    if (status == SIGKIT_OK) {
        status = SigkitVerifyDetachSignatureFinal(ctx, verdict);
    }
    return status == SIGKIT_OK ? status : SIGKIT_TRAIL(status);
}
