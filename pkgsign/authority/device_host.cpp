// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The linker leads the library's calls of SigkitCryptoVerifyFinal here (--wrap), and the log is this file's; all other
// callbacks are those of the device's tool.
#include "pkgsign/authority/device_host.h"

#include <cstdarg>
#include <cstdio>

#include "platform/qzlog.h"
#include "sigkit/sigkit_host.h"
#include "src/upgrade_sigkit_sdk_callback/contexts.h"

namespace pkgsign
{
namespace
{

thread_local const std::vector<StandIn> *t_standIns = nullptr;
thread_local std::string *t_log = nullptr;

} // namespace

HostScope::HostScope(const std::vector<StandIn> &standIns, std::string *log)
{
    t_standIns = &standIns;
    t_log = log;
}

HostScope::~HostScope()
{
    t_standIns = nullptr;
    t_log = nullptr;
}

} // namespace pkgsign

extern "C" {

// The linker's option --wrap gives these names.
// NOLINTNEXTLINE(bugprone-reserved-identifier)
int32_t __real_SigkitCryptoVerifyFinal(SigkitCryptoCtx *ctx, const uint8_t *signature, uint32_t len, int32_t *verified);

// NOLINTNEXTLINE(bugprone-reserved-identifier)
int32_t __wrap_SigkitCryptoVerifyFinal(SigkitCryptoCtx *ctx, const uint8_t *signature, uint32_t len, int32_t *verified)
{
    int32_t status = __real_SigkitCryptoVerifyFinal(ctx, signature, len, verified);
    if (status != 0 || *verified == 1 || pkgsign::t_standIns == nullptr) {
        return status;
    }
    for (const pkgsign::StandIn &standIn : *pkgsign::t_standIns) {
        if (pkgsign::SamePublicKey(standIn.real.get(), ctx->pkey)) {
            EVP_PKEY *const real = ctx->pkey;
            ctx->pkey = standIn.throwaway.get(); // the digest is still open: EVP_VerifyFinal works on a copy
            status = __real_SigkitCryptoVerifyFinal(ctx, signature, len, verified);
            ctx->pkey = real;
            return status;
        }
    }
    return status;
}

void SigkitLogPrint(int, const char *, int, const char *function, uint32_t errorCode, const char *message)
{
    if (pkgsign::t_log == nullptr) {
        return;
    }
    char code[16] = {};
    (void)std::snprintf(code, sizeof(code), "%08x", errorCode);
    *pkgsign::t_log += std::string(code) + "|" + function + ": " + (message == nullptr ? "" : message) + "\n";
}

// The tool's own events are about failures of libcrypto, which the library reports as well.
void qzlog(uint32_t, int, const char *, int, const char *, int, const char *, ...)
{
}
}
