// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Begin, Update and Final on a context with a trust anchor and a CRL file. An acceptance must hold before a second
// opinion.
#include "fuzz/target.h"

#include <string>

#include "fuzz/support/container.h"
#include "fuzz/support/mutate.h"
#include "fuzz/support/oracle.h"
#include "fuzz/support/package_input.h"
#include "fuzz/support/pki.h"
#include "fuzz/support/store_check.h"

namespace
{

void Verify(SigkitVerifyCtx *ctx, const FuzzPackageInput &package)
{
    uint32_t verdict = 0;
    uint32_t status = SIGKIT_OK;
    {
        const forge::Bytes copy = package.message; // gone before the content comes
        status = SigkitVerifyDetachSignatureBegin(ctx, copy.data(), static_cast<uint32_t>(copy.size()));
    }
    FuzzTally(status);
    if (status == SIGKIT_OK) {
        status = FuzzFeed(ctx, package);
    }
    if (status == SIGKIT_OK) {
        status = SigkitVerifyDetachSignatureFinal(ctx, &verdict);
    }
    if (verdict > 1) {
        FuzzFail("a verdict of %u", verdict);
    }
    FuzzCheckCost();
    FuzzCheckStore(ctx);
    if (status != SIGKIT_OK || verdict != 1) {
        return;
    }
    FuzzTally(FUZZ_TALLY_AUTHENTIC);
    if ((package.flags & FUZZ_NO_ROOT) != 0) {
        FuzzFail("an acceptance without a trust anchor");
    }
    FuzzRequireAuthentic(FuzzRootCertificate(), {package.crls, package.message}, package.message, package.content);
}

// Fills the context; false when memory has run out.
bool Load(SigkitVerifyCtx *ctx, const FuzzPackageInput &package)
{
    const forge::Bytes &root = FuzzRootCertificate();
    if ((package.flags & FUZZ_NO_ROOT) == 0 &&
        SigkitVerifyAddCert(ctx, root.data(), static_cast<uint32_t>(root.size())) != SIGKIT_OK) {
        if (g_fuzzHost.failAt == 0) {
            FuzzFail("the trust anchor is refused");
        }
        return false;
    }
    const forge::Bytes copy = package.crls;
    (void)SigkitVerifyAddCrl(ctx, copy.data(), static_cast<uint32_t>(copy.size()));
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const FuzzContainer container = FuzzUnpack(data, size);
    const FuzzPackageInput package = FuzzMakePackageInput(container);
    FuzzBegin();
    g_fuzzHost.failAt = FuzzFailAt(container);
    SigkitVerifyCtx *const ctx = FuzzCreateContext();
    if (ctx != nullptr) {
        if (Load(ctx, package)) {
            Verify(ctx, package);
            if ((package.flags & FUZZ_TWICE) != 0) {
                Verify(ctx, package);
            }
        }
        (void)SigkitVrfCtxFree(ctx);
    }
    FuzzEnd();
    return 0;
}

FUZZ_CONTAINER_HOOKS(FuzzMutateDetached)
