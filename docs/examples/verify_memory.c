// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Verifies content that lies in memory: verify_memory ROOT CRLS SIGNATURE CONTENT
//
// The program reads the four files once; from then on the library sees areas of memory only. Exit status: 0 the content
// is authentic, 1 it is not, 2 wrong usage or a file that cannot be read.
#include <stdio.h>
#include <stdlib.h>

#include "host_arena.h"
#include "host_libcrypto.h"
#include "sigkit/sigkit.h"

enum { FILE_COUNT = 4, FILE_SIZE = 65536 };

static const char *const g_names[FILE_COUNT] = {"root", "crls", "signature", "content"};
static uint8_t g_contents[FILE_COUNT][FILE_SIZE];

static bool LoadFiles(char **paths)
{
    for (size_t i = 0; i < FILE_COUNT; ++i) {
        FILE *const file = fopen(paths[i], "rb");
        if (file == NULL) {
            return false;
        }
        const size_t size = fread(g_contents[i], 1, FILE_SIZE, file);
        const bool whole = ferror(file) == 0 && fgetc(file) == EOF;
        fclose(file);
        if (!whole || !HostAddFile(g_names[i], g_contents[i], size)) {
            return false;
        }
    }
    return true;
}

static uint32_t Verify(uint32_t *verdict)
{
    SigkitVerifyCreateParam param = SIGKIT_VERIFY_CREATE_PARAM_INIT;
    SigkitVerifyCtx *ctx = NULL;
    uint32_t status = SigkitVerifyCreateCtx(&ctx, &param);
    if (status != SIGKIT_OK) {
        return status;
    }
    status = SigkitVerifyAddCertFile(ctx, "root");
    if (status == SIGKIT_OK) {
        status = SigkitVerifyAddCrlFile(ctx, "crls");
    }
    if (status == SIGKIT_OK) {
        status = SigkitVerifyDetachSignatureQuick(ctx, "content", "signature", verdict);
    }
    SigkitVrfCtxFree(ctx); // on every path: a check that was left open would meet the next content
    return status;
}

int main(int argc, char **argv)
{
    if (argc != FILE_COUNT + 1 || !LoadFiles(argv + 1)) {
        fprintf(stderr, "Usage: verify_memory ROOT CRLS SIGNATURE CONTENT\n");
        return 2;
    }
    HostStartLibcrypto();
    uint32_t verdict = 0;
    const uint32_t status = Verify(&verdict);
    const bool authentic = status == SIGKIT_OK && verdict == 1;
    printf("%s (%08x)\n", authentic ? "authentic" : "not authentic", (unsigned)status);
    if (status != SIGKIT_OK) {
        puts(SigkitStatusText(status));
    }
    printf("arena: %zu octets at most, %zu left\n", HostArenaPeak(), HostArenaUsed());
    fputs(HostLog(), stderr);
    return authentic ? EXIT_SUCCESS : EXIT_FAILURE;
}
