// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// A file of certificates, DER or PEM, into a context that already has its trust anchor.
#include "fuzz/target.h"

#include "fuzz/support/mutate.h"
#include "fuzz/support/store_check.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzBegin();
    SigkitVerifyCtx *const ctx = FuzzCreateContext();
    {
        const forge::Bytes copy(data, data + size); // gone before the store is looked at
        const uint32_t status = SigkitVerifyAddCert(ctx, copy.data(), static_cast<uint32_t>(size));
        FuzzTally(status);
        (void)SigkitVerifyAddCert(ctx, copy.data(), static_cast<uint32_t>(size)); // all duplicates
    }
    FuzzCheckStore(ctx);
    if (FuzzCountCrls(ctx) != 0) {
        FuzzFail("a CRL came in as a certificate");
    }
    (void)SigkitVrfCtxFree(ctx);
    FuzzEnd();
    return 0;
}

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t maxSize, unsigned int seed)
{
    return FuzzMutateObjects(data, size, maxSize, seed);
}
