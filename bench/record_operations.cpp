// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Verifies a package as the tool does and writes the digests and signature checks that it took to a file; says how many
// they were. Usage: record_operations ROOT CHECKSUMS SIGNATURE CRLS OPERATIONS
#include <cstdint>
#include <cstdio>
#include <string>
#include <unordered_map>

#include "bench/operations.h"
#include "sigkit/sigkit.h"
#include "sigkit/sigkit_host.h"
#include "tests/forge/forge.h"

namespace
{

struct Operation {
    std::string digest;
    std::string pieces[OPERATION_PIECES];
};

std::unordered_map<const void *, Operation> g_begun;
std::string g_file;
uint32_t g_digests = 0;
uint32_t g_signatureChecks = 0;

// By the numbers of sigkit_host.h.
std::string DigestName(uint32_t identifier)
{
    return identifier == 43 ? "SHA256" : identifier == 44 ? "SHA384" : "SHA512";
}

void End(const void *ctx)
{
    const Operation &operation = g_begun[ctx];
    g_file += operation.digest + std::string(OPERATION_NAME_SIZE - operation.digest.size(), '\0');
    for (const std::string &piece : operation.pieces) {
        const uint32_t len = static_cast<uint32_t>(piece.size());
        g_file.append(reinterpret_cast<const char *>(&len), sizeof(len));
        g_file += piece;
    }
    g_begun.erase(ctx);
}

void Feed(const void *ctx, const void *data, uint32_t len)
{
    if (len != 0) {
        g_begun[ctx].pieces[PIECE_DATA].append(static_cast<const char *>(data), len);
    }
}

std::string Number(const SigkitBigInt *number)
{
    return std::string(reinterpret_cast<const char *>(number->data), number->len);
}

} // namespace

#define WRAPPED(name, ...)                                                                                             \
    int32_t __real_##name(__VA_ARGS__);                                                                                \
    int32_t __wrap_##name(__VA_ARGS__)

extern "C" {

WRAPPED(SigkitMdInit, SigkitMdCtx *ctx, uint32_t hashAoid)
{
    g_begun[ctx] = {DigestName(hashAoid), {}};
    return __real_SigkitMdInit(ctx, hashAoid);
}

WRAPPED(SigkitMdUpdate, SigkitMdCtx *ctx, const void *data, uint32_t len)
{
    Feed(ctx, data, len);
    return __real_SigkitMdUpdate(ctx, data, len);
}

WRAPPED(SigkitMdFinal, SigkitMdCtx *ctx, uint8_t *digest, uint32_t *digestLen, void *reserved)
{
    ++g_digests;
    End(ctx);
    return __real_SigkitMdFinal(ctx, digest, digestLen, reserved);
}

WRAPPED(SigkitCryptoVerifyInit, SigkitCryptoCtx *ctx, const SigkitBigInt *exponent, const SigkitBigInt *modulus,
        uint32_t hashAoid)
{
    g_begun[ctx] = {DigestName(hashAoid), {Number(modulus), Number(exponent), "", ""}};
    return __real_SigkitCryptoVerifyInit(ctx, exponent, modulus, hashAoid);
}

WRAPPED(SigkitCryptoVerifyUpdate, SigkitCryptoCtx *ctx, const void *data, uint32_t len)
{
    Feed(ctx, data, len);
    return __real_SigkitCryptoVerifyUpdate(ctx, data, len);
}

WRAPPED(SigkitCryptoVerifyFinal, SigkitCryptoCtx *ctx, const uint8_t *signature, uint32_t len, int32_t *verified)
{
    ++g_signatureChecks;
    g_begun[ctx].pieces[PIECE_SIGNATURE].assign(reinterpret_cast<const char *>(signature), len);
    End(ctx);
    return __real_SigkitCryptoVerifyFinal(ctx, signature, len, verified);
}

} // extern "C"

namespace
{

bool Verify(const char *root, const char *content, const char *signature, const char *crls)
{
    SigkitVerifyCreateParam param = SIGKIT_VERIFY_CREATE_PARAM_INIT;
    SigkitVerifyCtx *ctx = nullptr;
    forge::Bytes anchor;
    if (!forge::ReadFile(root, &anchor).ok || SigkitVerifyCreateCtx(&ctx, &param) != SIGKIT_OK) {
        return false;
    }
    uint32_t verdict = 0;
    uint32_t status = SigkitVerifyAddCert(ctx, anchor.data(), static_cast<uint32_t>(anchor.size()));
    if (status == SIGKIT_OK) {
        status = SigkitVerifyAddCrlFile(ctx, crls);
    }
    if (status == SIGKIT_OK) {
        status = SigkitVerifyDetachSignatureQuick(ctx, content, signature, &verdict);
    }
    (void)SigkitVrfCtxFree(ctx);
    return status == SIGKIT_OK && verdict == 1;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 6 || !Verify(argv[1], argv[2], argv[3], argv[4])) {
        std::fputs("record_operations: the package is not accepted\n", stderr);
        return 1;
    }
    std::printf("%u signature checks, %u digests\n", g_signatureChecks, g_digests);
    return forge::WriteFile(argv[5], forge::Bytes(g_file.begin(), g_file.end())).ok ? 0 : 1;
}
