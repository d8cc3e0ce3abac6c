// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "fuzz/support/host.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>

#include "qzlog.h"
#include "qzosax.h"
#include "sigkit/sigkit_host.h"

namespace
{

std::map<uint32_t, uint64_t> &Statuses()
{
    static std::map<uint32_t, uint64_t> *const statuses = new std::map<uint32_t, uint64_t>(); // outlives the exit
    return *statuses;
}

void WriteStatuses()
{
    std::FILE *const file = std::fopen(std::getenv("FUZZ_STATUS_FILE"), "w");
    if (file == nullptr) {
        return;
    }
    for (const auto &[status, count] : Statuses()) {
        std::fprintf(file, "%08x %llu\n", status, static_cast<unsigned long long>(count));
    }
    (void)std::fclose(file);
}

} // namespace

FuzzHost g_fuzzHost = {};

void FuzzFail(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    std::fputs("FINDING: ", stderr);
    std::vfprintf(stderr, format, arguments);
    std::fputc('\n', stderr);
    va_end(arguments);
    std::abort();
}

void FuzzBegin()
{
    g_fuzzHost = {};
}

void FuzzCheckCost()
{
    if (g_fuzzHost.signatureChecks > FUZZ_MAX_SIGNATURE_CHECKS) {
        FuzzFail("%llu RSA operations", static_cast<unsigned long long>(g_fuzzHost.signatureChecks));
    }
    g_fuzzHost.signatureChecks = 0;
}

void FuzzEnd()
{
    if (g_fuzzHost.liveBlocks != 0) {
        FuzzFail("%lld blocks are still alive", static_cast<long long>(g_fuzzHost.liveBlocks));
    }
}

void FuzzTally(uint32_t status)
{
    static const bool wanted = std::getenv("FUZZ_STATUS_FILE") != nullptr && std::atexit(WriteStatuses) == 0;
    if (wanted) {
        Statuses()[status] += 1;
    }
}

extern "C" {

// ---- The platform's services ---------------------------------------------------------------------------------------

void *qzax_mallocsubstandard(uint32_t /*moduleId*/, size_t size, uint32_t /*flags*/, const char * /*function*/,
                             int /*line*/)
{
    g_fuzzHost.allocations += 1;
    if (g_fuzzHost.failAt != 0 && g_fuzzHost.allocations >= g_fuzzHost.failAt) {
        return nullptr;
    }
    void *const block = std::malloc(size);
    if (block == nullptr) {
        FuzzFail("the library asks for %zu octets", size);
    }
    std::memset(block, 0xA5, size); // nothing may rely on the content
    g_fuzzHost.liveBlocks += 1;
    return block;
}

void qzax_freesub(void *block, const char * /*function*/, int /*line*/)
{
    if (block == nullptr) {
        FuzzFail("a null block is released");
    }
    g_fuzzHost.liveBlocks -= 1;
    std::free(block);
}

void qzlog(uint32_t /*moduleId*/, int /*level*/, const char *file, int /*line*/, const char *function, int /*reserved*/,
           const char *format, ...)
{
    char text[8192];
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    if (file == nullptr || function == nullptr || length < 0) {
        FuzzFail("a log line cannot be formatted");
    }
}

// ---- Host callbacks that are watched: the linker puts these before the real ones -----------------------------------

void __wrap_SigkitLogPrint(int level, const char *file, int line, const char *function, uint32_t errorCode,
                           const char *message);
void __wrap_SigkitLogPrint(int level, const char *file, int /*line*/, const char *function, uint32_t /*errorCode*/,
                           const char *message)
{
    if (level < 0 || level > 1 || file == nullptr || function == nullptr) {
        FuzzFail("a log line of level %d", level);
    }
    // Reads the texts to their ends.
    volatile size_t length =
        std::strlen(file) + std::strlen(function) + (message == nullptr ? 0 : std::strlen(message));
    (void)length;
}

int32_t __real_SigkitCryptoVerifyFinal(SigkitCryptoCtx *ctx, const uint8_t *signature, uint32_t len, int32_t *verified);
int32_t __wrap_SigkitCryptoVerifyFinal(SigkitCryptoCtx *ctx, const uint8_t *signature, uint32_t len, int32_t *verified);
int32_t __wrap_SigkitCryptoVerifyFinal(SigkitCryptoCtx *ctx, const uint8_t *signature, uint32_t len, int32_t *verified)
{
    g_fuzzHost.signatureChecks += 1;
    return __real_SigkitCryptoVerifyFinal(ctx, signature, len, verified);
}
}
