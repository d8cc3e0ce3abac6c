// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pki/chain.h"

#include <functional>

#include "tests/pki/pki_fixture.h"
#include "x509/issuer.h"

namespace
{

using Chain = PkiTest;

} // namespace

TEST_F(Chain, ADecoyWithTheIssuersNameIsPassedOver)
{
    store.certs.insert(store.certs.begin() + 1, {"CA", "Root", 9, 1, 9});
    EXPECT_STATUS(SIGKIT_OK, Judge(SIGNER + 1));
    EXPECT_EQ(Cert(2), Cert(3)->issuerCert);
}

TEST_F(Chain, ARememberedIssuerIsTheOnlyOne)
{
    Load();
    Cert(SIGNER)->issuerCert = Cert(ROOT); // not its issuer, but remembered
    EXPECT_EQ(Cert(ROOT), InternalFindCertIssuer(ctx, Cert(SIGNER)));
    Cert(ROOT)->tbsCertificate.extensions.basicConstraints.cA = 0;
    EXPECT_EQ(nullptr, InternalFindCertIssuer(ctx, Cert(SIGNER)));
}

TEST_F(Chain, FindsTheIssuerOfACrlByNameUsageAndSignature)
{
    // In the order of the store: right name and no right to sign CRLs, right name and another key, the issuer.
    store.certs = {
        {"Root", "Root", 1, 1, 1}, {"CA", "Root", 2, 1, 2}, {"CA", "Root", 3, 1, 3}, {"CA", "Root", 2, 1, 4}};
    store.certs[1].mayCrlSign = false;
    store.certs[3].cA = false; // not asked for
    store.certs[3].notAfter = JUDGED_AT - DAY;
    Load();
    EXPECT_EQ(Cert(3), SigkitPkiFindCrlIssuer(ctx, Crl(1)));
    EXPECT_EQ(Cert(ROOT), SigkitPkiFindCrlIssuer(ctx, Crl(0)));
    EXPECT_EQ(nullptr, SigkitPkiFindCrlIssuer(nullptr, Crl(0)));
    EXPECT_EQ(nullptr, SigkitPkiFindCrlIssuer(ctx, nullptr));
    SigkitVerifyCtx empty = {};
    EXPECT_EQ(nullptr, SigkitPkiFindCrlIssuer(&empty, Crl(0)));
}

TEST_F(Chain, FindsNoIssuerWhoseKeyDoesNotVerify)
{
    store.crls[1].issuerKey = 9;
    Load();
    EXPECT_EQ(nullptr, SigkitPkiFindCrlIssuer(ctx, Crl(1)));
}

TEST_F(Chain, AnswersErrorsOfACheckFromMemoryOnceARecordHasHadTooMany)
{
    store.crls[1].algorithm = "1.2.3.4";
    store.certs[SIGNER].algorithm = "1.2.3.4";
    Load();
    const std::function<uint32_t(bool *)> checks[] = {
        [this](bool *issued) { return InternalIsCrlIssuedBy(Crl(1), *Cert(CA), issued); },
        [this](bool *issued) { return InternalIsCertIssuedBy(Cert(SIGNER), *Cert(CA), issued); }};
    for (int operation = 0; operation < 2; ++operation) {
        ctx->pki->memory.nested = SIGKIT_PATH_LITERAL_MAX;
        InternalRenewTrail(ctx);
        EXPECT_EQ(0u, ctx->pki->memory.nested);
        for (const auto &check : checks) {
            g_pretendedHost.lines.clear();
            for (uint32_t i = 0; i < SIGKIT_ISSUER_ERRORS_MAX + 9; ++i) {
                bool issued = true;
                ASSERT_STATUS(SIGKIT_ERR_ALGORITHM, check(&issued));
                EXPECT_FALSE(issued);
            }
            EXPECT_EQ(Texts(SIGKIT_ISSUER_ERRORS_MAX, "E SigkitX509PubKeyVerify 88200310 -"), LogLines());
        }
    }
}

TEST_F(Chain, AsksTheHostAgainHoweverOftenItFailed)
{
    Load();
    bool issued = false;
    for (uint32_t i = 0; i < SIGKIT_ISSUER_ERRORS_MAX + 9; ++i) {
        g_pretendedHost.checkFailAt = g_pretendedHost.signatureChecks + 1;
        ASSERT_STATUS(SIGKIT_ERR_UNKNOWN, InternalIsCrlIssuedBy(Crl(1), *Cert(CA), &issued));
    }
    g_pretendedHost.checkFailAt = 0;
    EXPECT_STATUS(SIGKIT_OK, InternalIsCrlIssuedBy(Crl(1), *Cert(CA), &issued));
    EXPECT_TRUE(issued);
}
