// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Verifies what comes on standard input: verify_stream ROOT CRLS SIGNATURE <CONTENT
//
// Exit status: 0 the content is authentic, 1 it is not, 2 wrong usage.
#include <stdbool.h>
#include <stdio.h>
#include <stdlib.h>

#include "host_libcrypto.h"
#include "sigkit/sigkit.h"

// Reads a signature message. Returns the octets, or 0.
static uint32_t ReadMessage(const char *path, uint8_t *data, size_t size)
{
    FILE *const file = fopen(path, "rb");
    if (file == NULL) {
        return 0;
    }
    const size_t len = fread(data, 1, size, file);
    const bool whole = ferror(file) == 0 && fgetc(file) == EOF;
    fclose(file);
    return whole ? (uint32_t)len : 0;
}

// Feeds standard input to the verification in progress.
static uint32_t FeedInput(SigkitVerifyCtx *ctx)
{
    uint8_t piece[65536];
    uint32_t status = SIGKIT_OK;
    size_t len = 0;
    while (status == SIGKIT_OK && (len = fread(piece, 1, sizeof piece, stdin)) != 0) {
        status = SigkitVerifyDetachSignatureUpdate(ctx, piece, (uint32_t)len);
    }
    // Half of a content is another content. An empty one is fed as well: only a message with a signer takes it.
    if (ferror(stdin) != 0) {
        return SIGKIT_ERR_FILE_READ;
    }
    return status == SIGKIT_OK ? SigkitVerifyDetachSignatureUpdate(ctx, piece, 0) : status;
}

static uint32_t Verify(SigkitVerifyCtx *ctx, char **paths, uint32_t *verdict)
{
    static uint8_t message[SIGKIT_MAX_FILE_SIZE];
    const uint32_t len = ReadMessage(paths[2], message, sizeof message);
    uint32_t status = SigkitVerifyAddCertFile(ctx, paths[0]);
    if (status == SIGKIT_OK) {
        status = SigkitVerifyAddCrlFile(ctx, paths[1]);
    }
    if (status == SIGKIT_OK) {
        status = SigkitVerifyDetachSignatureBegin(ctx, message, len);
    }
    if (status == SIGKIT_OK) {
        status = FeedInput(ctx);
    }
    return status == SIGKIT_OK ? SigkitVerifyDetachSignatureFinal(ctx, verdict) : status;
}

int main(int argc, char **argv)
{
    if (argc != 4) {
        fprintf(stderr, "Usage: verify_stream ROOT CRLS SIGNATURE <CONTENT\n");
        return 2;
    }
    HostStartLibcrypto();
    SigkitVerifyCreateParam param = SIGKIT_VERIFY_CREATE_PARAM_INIT;
    SigkitVerifyCtx *ctx = NULL;
    uint32_t verdict = 0;
    uint32_t status = SigkitVerifyCreateCtx(&ctx, &param);
    if (status == SIGKIT_OK) {
        status = Verify(ctx, argv + 1, &verdict);
        SigkitVrfCtxFree(ctx); // on every path: a check that was left open would meet the next content
    }
    const bool authentic = status == SIGKIT_OK && verdict == 1;
    printf("%s (%08x)\n", authentic ? "authentic" : "not authentic", (unsigned)status);
    if (status != SIGKIT_OK) {
        puts(SigkitStatusText(status));
    }
    return authentic ? EXIT_SUCCESS : EXIT_FAILURE;
}
