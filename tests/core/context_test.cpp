// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "core/context.h"

#include <gtest/gtest.h>

#include "tests/support/status_names.h"

TEST(HostFailure, IsWhatNoFileCanCause)
{
    for (const uint32_t status :
         {SIGKIT_ERR_NO_MEMORY, SIGKIT_ERR_UNKNOWN, 1u, 0x87FFFFFFu, 0x89000000u, 0x7FFFFFFFu}) {
        EXPECT_TRUE(InternalIsHostFailure(status)) << std::hex << status;
    }
    for (const uint32_t status : {SIGKIT_OK, SIGKIT_ERR_VALUE_TOO_LONG, SIGKIT_ERR_LIST_FULL, SIGKIT_ERR_PARAM,
                                  SIGKIT_ERR_ALGORITHM, SIGKIT_ERR_ASN_BOOLEAN, 0x88000000u, 0x88FFFFFFu}) {
        EXPECT_FALSE(InternalIsHostFailure(status)) << std::hex << status;
    }
}

TEST(HostFailure, IsNotedOnceAndStays)
{
    SigkitVerifyCtx ctx = {};
    InternalPassOver(&ctx, SIGKIT_OK);
    InternalPassOver(&ctx, SIGKIT_ERR_ALGORITHM);
    EXPECT_STATUS(SIGKIT_OK, ctx.hostFailure);
    InternalPassOver(&ctx, SIGKIT_ERR_NO_MEMORY);
    EXPECT_STATUS(SIGKIT_ERR_NO_MEMORY, ctx.hostFailure);
    InternalPassOver(&ctx, SIGKIT_ERR_UNKNOWN);
    InternalPassOver(&ctx, SIGKIT_OK);
    EXPECT_STATUS(SIGKIT_ERR_NO_MEMORY, ctx.hostFailure) << "the first one";
}

TEST(AContext, IsKnownByItsLeadingSize)
{
    SigkitVerifyCtx ctx = {};
    EXPECT_STATUS(SIGKIT_ERR_CTX_NULL, InternalCheckContext(nullptr));
    EXPECT_STATUS(SIGKIT_ERR_CTX_TAG, InternalCheckContext(&ctx));
    for (const uint64_t size : {383u, 385u}) {
        ctx.size = size;
        EXPECT_STATUS(SIGKIT_ERR_CTX_TAG, InternalCheckContext(&ctx));
    }
    ctx.size = 384;
    EXPECT_STATUS(SIGKIT_OK, InternalCheckContext(&ctx));
}
