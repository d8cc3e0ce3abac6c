// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Files that are made to hold path validation up.
#include <gtest/gtest.h>

#include "pki/path.h"
#include "pki/store.h"
#include "sigkit/sigkit.h"
#include "tests/pki/store_writer.h"
#include "tests/support/pretended_host.h"
#include "x509/crl.h"

namespace
{

// A CA that rolled its key over: the new certificate bears the CA's name as subject and as issuer, so the CRLs made
// with the new key cover their own issuer, and nothing else does.
WrittenStore RolledOverCa(uint32_t crls)
{
    WrittenStore store;
    store.certs.push_back({"Root", "Root", 1, 1});
    store.certs.push_back({"CA", "Root", 2, 1});
    store.certs.push_back({"CA", "CA", 3, 2});
    WrittenCrl crl;
    crl.issuer = "CA";
    crl.issuerKey = 3;
    store.crls.assign(crls, crl);
    return store;
}

// Sixteen CRLs and as many certificates of one name, each of which might have issued each. The last certificate issued
// all the CRLs, and the one before it the last; the first, the root, issued the others.
WrittenStore EveryIssuerInQuestion()
{
    WrittenStore store;
    store.certs.push_back({"CA", "CA", 1, 1});
    for (uint8_t i = 0; i < 15; ++i) {
        store.certs.push_back({"CA", "CA", static_cast<uint8_t>(100 + i), 1});
    }
    store.certs[15].issuerKey = 113;
    WrittenCrl crl;
    crl.issuer = "CA";
    crl.issuerKey = 114;
    store.crls.assign(16, crl);
    return store;
}

// A chain of eleven certificates of one name, whose CRLs the last certificate signed, but for one of the root. Every
// CRL lists every certificate, superseded later, so each is tried, and the walk goes up the whole chain.
WrittenStore LongWalks()
{
    WrittenStore store;
    store.certs.push_back({"CA", "CA", 1, 1});
    for (uint8_t i = 1; i < 11; ++i) {
        store.certs.push_back({"CA", "CA", static_cast<uint8_t>(i + 1), i});
    }
    WrittenCrl crl;
    crl.issuer = "CA";
    crl.issuerKey = 11;
    crl.nextUpdate = JUDGED_AT - 1;
    crl.entries = {{1, SIGKIT_REASON_SUPERSEDED, JUDGED_AT + DAY}};
    store.crls.assign(16, crl);
    store.crls[15].issuerKey = 1;
    return store;
}

struct Validation {
    uint32_t status = 0;
    uint32_t ok = 1;
    uint32_t signatureChecks = 0;
    size_t lines = 0;
};

Validation Validate(const WrittenStore &store, uint32_t literal)
{
    const ContextGuard ctx(LoadStore(store));
    if (ctx.held == nullptr) {
        ADD_FAILURE() << "the store does not load";
        return {};
    }
    ctx.held->pki->memory.literal = literal;
    g_pretendedHost.lines.clear();
    g_pretendedHost.signatureChecks = 0;
    Validation validation;
    SigkitX509Cert *const last = static_cast<SigkitX509Cert *>(ctx.held->pki->certs.items[store.certs.size() - 1]);
    validation.status = SigkitPkiVerifyCert(ctx.held, last, 1, 0, &validation.ok);
    validation.signatureChecks = g_pretendedHost.signatureChecks;
    validation.lines = g_pretendedHost.lines.size();
    return validation;
}

} // namespace

TEST(PathCost, OfCrlsThatCoverTheirOwnIssuerIsBounded)
{
    const Validation validation = Validate(RolledOverCa(16), SIGKIT_PATH_LITERAL_MAX);
    EXPECT_EQ(SIGKIT_ERR_PATH_TOO_DEEP, validation.status);
    EXPECT_EQ(0u, validation.ok);
    EXPECT_LT(validation.signatureChecks, 64u);
    EXPECT_LT(validation.lines, 5000u);
}

TEST(PathCost, IsNotCutBeforeTheLiteralValidationsAreUsedUp)
{
    // One CRL: ten nested validations below the top one. Two: 2 + 4 + ... + 1024, and as many refusals of the next
    // depth.
    EXPECT_EQ(Validate(RolledOverCa(1), UINT32_MAX).lines, Validate(RolledOverCa(1), SIGKIT_PATH_LITERAL_MAX).lines);
    EXPECT_GT(Validate(RolledOverCa(2), UINT32_MAX).lines, Validate(RolledOverCa(2), SIGKIT_PATH_LITERAL_MAX).lines);
    EXPECT_EQ(Validate(RolledOverCa(2), UINT32_MAX).lines, Validate(RolledOverCa(2), 4096).lines);
}

TEST(PathCost, EachSignatureIsCheckedOnceUnderEachKey)
{
    const Validation validation = Validate(EveryIssuerInQuestion(), SIGKIT_PATH_LITERAL_MAX);
    EXPECT_EQ(SIGKIT_ERR_PATH_TOO_DEEP, validation.status);
    EXPECT_EQ(0u, validation.ok);
    // The CRLs under each key; the last certificate up to the key of the one before it; that one and the root.
    EXPECT_EQ(16u * 16 + 15 + 1 + 1, validation.signatureChecks);
    EXPECT_LT(validation.lines, 5000u);
}

TEST(PathCost, OfWalksUpALongChainIsBounded)
{
    const Validation validation = Validate(LongWalks(), SIGKIT_PATH_LITERAL_MAX);
    EXPECT_EQ(SIGKIT_OK, validation.status);
    EXPECT_LT(validation.signatureChecks, 512u);
    EXPECT_LT(validation.lines, 10000u);
}

TEST(PathCost, ErrorsOfSignatureChecksAreLoggedEachTime)
{
    WrittenStore store = RolledOverCa(1);
    store.crls.push_back(store.crls[0]);
    store.crls[1].algorithm = "1.2.3.4";
    ASSERT_EQ(SIGKIT_ERR_PATH_TOO_DEEP, Validate(store, SIGKIT_PATH_LITERAL_MAX).status);
    size_t logged = 0;
    for (const std::string &line : g_pretendedHost.lines) {
        logged += line == "E SigkitX509PubKeyVerify 88200310 -" ? 1 : 0;
    }
    // Under each of the two keys of that name, in each of the eleven validations.
    EXPECT_EQ(22u, logged);
}
