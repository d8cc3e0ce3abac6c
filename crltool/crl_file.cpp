// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "crltool/crl_file.h"

#include "core/context.h"
#include "pki/store.h"

namespace
{

// Loads the file into a context that has the trust anchor, and keeps what that adds to the context.
uint32_t LoadCrls(LoadedCrlFile *file)
{
    const SigkitVerifyCtx &ctx = *file->ctx;
    const uint32_t imagesBefore = ctx.buffers.count;
    const uint32_t skippedBefore = ctx.skippedCrls;
    file->firstCert = ctx.pki->certs.count;
    const uint32_t status = SigkitDecodeCrlFile(file->ctx, file->path, &file->bundle);
    file->certs = ctx.pki->certs.count - file->firstCert;
    file->images = ctx.buffers.count - imagesBefore;
    file->decodedCrls = ctx.decodedCrls;
    file->skippedCrls = ctx.skippedCrls - skippedBefore;
    return status;
}

} // namespace

LoadedCrlFile::~LoadedCrlFile()
{
    if (bundle != nullptr) {
        (void)SigkitCrlFree(ctx, bundle);
    }
    if (ctx != nullptr) {
        (void)SigkitVrfCtxFree(ctx);
    }
}

uint32_t LoadCrlFile(const char *rootPath, const char *path, LoadedCrlFile *file, const char **failedPath)
{
    file->path = path;
    SigkitVerifyCreateParam param = SIGKIT_VERIFY_CREATE_PARAM_INIT;
    *failedPath = rootPath;
    uint32_t status = SigkitVerifyCreateCtx(&file->ctx, &param);
    if (status == SIGKIT_OK) {
        status = SigkitVerifyAddCertFile(file->ctx, rootPath);
    }
    if (status == SIGKIT_OK) {
        *failedPath = path;
        status = LoadCrls(file);
    }
    return status;
}
