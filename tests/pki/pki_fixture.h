// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// A written store, judged certificate by certificate.
#ifndef PKI_FIXTURE_H
#define PKI_FIXTURE_H

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "pki/path.h"
#include "pki/store.h"
#include "sigkit/sigkit.h"
#include "tests/pki/store_writer.h"
#include "tests/support/pretended_host.h"
#include "tests/support/status_names.h"

using Texts = std::vector<std::string>;

class PkiTest : public testing::Test
{
protected:
    // The store that most tests begin with: a root, a CA below it, a signer below that, and the CRL of each issuer.
    void SetUp() override
    {
        store = {};
        store.certs = {{"Root", "Root", 1, 1, 1}, {"CA", "Root", 2, 1, 2}, {"Signer", "CA", 3, 2, 3}};
        store.certs[SIGNER].cA = false;
        store.certs[SIGNER].mayCertSign = false;
        store.certs[SIGNER].mayCrlSign = false;
        store.crls.resize(2);
        store.crls[0].issuer = "Root";
        store.crls[1].issuer = "CA";
        store.crls[1].issuerKey = 2;
    }

    void TearDown() override
    {
        Unload();
        EXPECT_EQ(0, g_pretendedHost.liveBlocks);
    }

    void Load()
    {
        Unload();
        ctx = LoadStore(store);
        ASSERT_NE(nullptr, ctx) << "the store does not load";
        g_pretendedHost.lines.clear();
    }

    void Unload()
    {
        if (ctx != nullptr) {
            EXPECT_EQ(SIGKIT_OK, SigkitVrfCtxFree(ctx));
            ctx = nullptr;
        }
    }

    SigkitX509Cert *Cert(size_t place) const
    {
        return static_cast<SigkitX509Cert *>(ctx->pki->certs.items[place]);
    }

    SigkitX509Crl *Crl(size_t place) const
    {
        return static_cast<SigkitX509Crl *>(ctx->pki->crls.items[place]);
    }

    // Loads the store and judges one of its certificates, by its place.
    uint32_t Judge(size_t place, uint32_t strictRevocation = 0)
    {
        Load();
        return ctx == nullptr ? SIGKIT_ERR_UNKNOWN : JudgeLoaded(place, strictRevocation);
    }

    uint32_t JudgeLoaded(size_t place, uint32_t strictRevocation = 0)
    {
        uint32_t ok = 7;
        const uint32_t status = SigkitPkiVerifyCert(ctx, Cert(place), 1, strictRevocation, &ok);
        EXPECT_EQ(status == SIGKIT_OK ? 1u : 0u, ok);
        EXPECT_EQ(0, ctx->pathDepth);
        return status;
    }

    static constexpr size_t ROOT = 0;
    static constexpr size_t CA = 1;
    static constexpr size_t SIGNER = 2;

    WrittenStore store;
    SigkitVerifyCtx *ctx = nullptr;
};

inline const Texts &LogLines()
{
    return g_pretendedHost.lines;
}

#endif
