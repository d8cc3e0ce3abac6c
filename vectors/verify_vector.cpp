// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// verify_vector ROOT CRLS SIGNATURE CONTENT: what verify_tool does with a package, for a root that is given as a file.
//
// Exit status: as verify_tool's, the low octet of the status; 255 where the content does not match. The last line of
// standard output has the whole status.
#include <stdint.h>
#include <stdio.h>

#include "sigkit/sigkit.h"
#include "src/libcrypto_start.h"

namespace
{
uint32_t Judge(SigkitVerifyCtx *ctx, char **paths)
{
    uint32_t status = SigkitVerifyAddCertFile(ctx, paths[0]);
    if (status == SIGKIT_OK) {
        status = SigkitVerifyAddCrlFile(ctx, paths[1]);
    }
    uint32_t matched = 0;
    if (status == SIGKIT_OK) {
        status = SigkitVerifyDetachSignatureQuick(ctx, paths[3], paths[2], &matched);
    }
    return status == SIGKIT_OK && matched != 1 ? UINT32_MAX : status;
}
} // namespace

int main(int argc, char **argv)
{
    if (argc != 5) {
        (void)fputs("usage: verify_vector ROOT CRLS SIGNATURE CONTENT\n", stderr);
        return 2;
    }
    (void)StartLibcrypto();
    SigkitVerifyCreateParam param = SIGKIT_VERIFY_CREATE_PARAM_INIT;
    SigkitVerifyCtx *ctx = nullptr;
    uint32_t status = SigkitVerifyCreateCtx(&ctx, &param);
    if (status == SIGKIT_OK) {
        status = Judge(ctx, argv + 1);
        (void)SigkitVrfCtxFree(ctx);
    }
    (void)printf("status %08x\n", status);
    return static_cast<int>(status & 0xFF);
}
