// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// A CRL file, DER or PEM, into a context: it never brings a trust anchor.
#include "fuzz/target.h"

#include "fuzz/support/mutate.h"
#include "fuzz/support/store_check.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzBegin();
    SigkitVerifyCtx *const ctx = FuzzCreateContext();
    {
        const forge::Bytes copy(data, data + size); // gone before the store is looked at
        const uint32_t status = SigkitVerifyAddCrl(ctx, copy.data(), static_cast<uint32_t>(size));
        FuzzTally(status);
        if (status == SIGKIT_OK && FuzzCountCrls(ctx) == 0) {
            FuzzFail("success without a CRL");
        }
        (void)SigkitVerifyAddCrl(ctx, copy.data(), static_cast<uint32_t>(size)); // all duplicates
    }
    FuzzCheckStore(ctx);
    if (FuzzHoldsAnchor(ctx)) {
        FuzzFail("a CRL file brought a trust anchor");
    }
    (void)SigkitVrfCtxFree(ctx);
    FuzzEnd();
    return 0;
}

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t maxSize, unsigned int seed)
{
    return FuzzMutateObjects(data, size, maxSize, seed);
}
