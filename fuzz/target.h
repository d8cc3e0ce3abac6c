// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What the targets share. Each is one file with LLVMFuzzerTestOneInput.
#ifndef FUZZ_TARGET_H
#define FUZZ_TARGET_H

#include <cstddef>
#include <cstdint>

#include "fuzz/support/host.h"
#include "sigkit/sigkit.h"
#include "tests/forge/forge.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);
extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv);
extern "C" size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t maxSize, unsigned int seed);
extern "C" size_t LLVMFuzzerCustomCrossOver(const uint8_t *data1, size_t size1, const uint8_t *data2, size_t size2,
                                            uint8_t *out, size_t maxSize, unsigned int seed);

// Makes a context. Null when memory has run out.
inline SigkitVerifyCtx *FuzzCreateContext()
{
    SigkitVerifyCreateParam param = SIGKIT_VERIFY_CREATE_PARAM_INIT;
    SigkitVerifyCtx *ctx = nullptr;
    const uint32_t status = SigkitVerifyCreateCtx(&ctx, &param);
    if (status != SIGKIT_OK && (status != SIGKIT_ERR_NO_MEMORY || g_fuzzHost.failAt == 0)) {
        FuzzFail("a context cannot be created: %08x", status);
    }
    return status == SIGKIT_OK ? ctx : nullptr;
}

#endif
