// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// A context to load and to verify with, and shorter names for what tests do with it.
#ifndef VERIFY_FIXTURE_H
#define VERIFY_FIXTURE_H

#include <string>
#include <vector>

#include "core/context.h"
#include "pki/store.h"
#include "sigkit/sigkit.h"
#include "tests/support/library_test.h"
#include "tests/support/parties.h"

using Texts = std::vector<std::string>;

inline uint32_t Size(const forge::Bytes &bytes)
{
    return static_cast<uint32_t>(bytes.size());
}

class VerifyTest : public LibraryTest
{
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        SigkitVerifyCreateParam param = SIGKIT_VERIFY_CREATE_PARAM_INIT;
        ASSERT_STATUS(SIGKIT_OK, SigkitVerifyCreateCtx(&ctx, &param));
    }

    void TearDown() override
    {
        EXPECT_STATUS(SIGKIT_OK, SigkitVrfCtxFree(ctx));
        LibraryTest::TearDown();
    }

    uint32_t AddCert(const forge::Bytes &data)
    {
        return SigkitVerifyAddCert(ctx, data.data(), Size(data));
    }

    uint32_t AddCrl(const forge::Bytes &data)
    {
        return SigkitVerifyAddCrl(ctx, data.data(), Size(data));
    }

    // Loads the trust anchor and these CRLs, and forgets what was logged meanwhile.
    void LoadTrust(const forge::Bytes &crls = GoodCrls())
    {
        ASSERT_STATUS(SIGKIT_OK, AddCert(AllParties().root.certificate));
        ASSERT_STATUS(SIGKIT_OK, AddCrl(crls));
        ResetRecordingHost();
    }

    uint32_t Begin(const forge::Bytes &message)
    {
        return SigkitVerifyDetachSignatureBegin(ctx, message.data(), Size(message));
    }

    uint32_t Begin(const forge::MessageRequest &request)
    {
        return Begin(MakeMessage(request));
    }

    uint32_t Update(const std::string &content)
    {
        return SigkitVerifyDetachSignatureUpdate(ctx, reinterpret_cast<const uint8_t *>(content.data()),
                                                 static_cast<uint32_t>(content.size()));
    }

    uint32_t Final()
    {
        verdict = 7;
        return SigkitVerifyDetachSignatureFinal(ctx, &verdict);
    }

    uint32_t StoredCerts() const
    {
        return ctx->pki->certs.count;
    }

    uint32_t StoredCrls() const
    {
        return ctx->pki->crls.count;
    }

    SigkitVerifyCtx *ctx = nullptr;
    uint32_t verdict = 7;
};

#endif
