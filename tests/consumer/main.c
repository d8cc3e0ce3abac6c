// consumer ROOT CONTENT SIGNATURE CRLS: verifies a package over a host of its own.
//
// Prints "authentic", or "refused" with the status and the library's log, and what the library has asked its host for.
// Exit status: 0 authentic, 1 refused, 2 a file could not be read, 3 the library kept something.
#include <stdio.h>
#include <stdlib.h>

#include <sigkit/sigkit.h>

#include "host.h"

typedef struct Content {
    uint8_t *data;
    size_t size;
} Content;

static bool ReadStream(FILE *stream, Content *out)
{
    for (;;) {
        uint8_t *const more = (uint8_t *)realloc(out->data, out->size + 4096);
        if (more == NULL) {
            return false;
        }
        out->data = more;
        const size_t count = fread(out->data + out->size, 1, 4096, stream);
        out->size += count;
        if (count == 0) {
            return ferror(stream) == 0;
        }
    }
}

static bool Read(const char *path, Content *out)
{
    FILE *const stream = fopen(path, "rb");
    const bool complete = stream != NULL && ReadStream(stream, out);
    if (!complete) {
        (void)fprintf(stderr, "consumer: cannot read %s\n", path);
    }
    if (stream != NULL) {
        (void)fclose(stream);
    }
    return complete;
}

static uint32_t Verify(const Content *root, uint32_t *verdict)
{
    SigkitVerifyCreateParam param = {sizeof(SigkitVerifyCreateParam), {0}};
    SigkitVerifyCtx *ctx = NULL;
    uint32_t status = SigkitVerifyCreateCtx(&ctx, &param);
    if (status == SIGKIT_OK) {
        status = SigkitVerifyAddCert(ctx, root->data, (uint32_t)root->size);
    }
    if (status == SIGKIT_OK) {
        status = SigkitVerifyAddCrlFile(ctx, "crls");
    }
    if (status == SIGKIT_OK) {
        status = SigkitVerifyDetachSignatureQuick(ctx, "content", "signature", verdict);
    }
    if (ctx != NULL) {
        (void)SigkitVrfCtxFree(ctx);
    }
    return status;
}

static int Report(uint32_t status, uint32_t verdict)
{
    const HostUse *const use = HostCount();
    const bool authentic = status == SIGKIT_OK && verdict == 1;
    if (authentic) {
        (void)puts("authentic");
    } else {
        (void)printf("refused %08x\n%s", (unsigned)status, HostLog());
    }
    (void)printf("Sigkit %s: %zu blocks, %zu files, %zu digests, %zu signatures\n", SigkitGetVersion(), use->blocks,
                 use->opened, use->digests, use->signatures);
    if (use->liveBlocks != 0 || use->stillOpen != 0) {
        (void)printf("kept: %zu blocks, %zu files\n", use->liveBlocks, use->stillOpen);
        return 3;
    }
    return authentic ? 0 : 1;
}

int main(int argc, char **argv)
{
    if (argc != 5) {
        (void)fputs("Usage: consumer ROOT CONTENT SIGNATURE CRLS\n", stderr);
        return 2;
    }
    Content contents[4] = {{NULL, 0}, {NULL, 0}, {NULL, 0}, {NULL, 0}};
    static const char *const names[4] = {"root", "content", "signature", "crls"};
    int result = 0;
    for (int i = 0; i < 4 && result == 0; ++i) {
        if (!Read(argv[i + 1], &contents[i]) || !HostAddFile(names[i], contents[i].data, contents[i].size)) {
            result = 2;
        }
    }
    if (result == 0) {
        uint32_t verdict = 0;
        const uint32_t status = Verify(&contents[0], &verdict);
        result = Report(status, verdict);
    }
    for (int i = 0; i < 4; ++i) {
        free(contents[i].data);
    }
    return result;
}
