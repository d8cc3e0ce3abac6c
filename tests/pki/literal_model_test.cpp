// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The literal model itself, on stores whose answers are known: what an authority may do with its name and its keys.
#include <gtest/gtest.h>

#include "sigkit/sigkit.h"
#include "tests/pki/literal_model.h"
#include "tests/support/status_names.h"

namespace
{

constexpr uint8_t ROOT_KEY = 1;
constexpr uint8_t CA_KEY = 2;
constexpr uint8_t NEW_KEY = 3;
constexpr uint8_t SIGNER_KEY = 4;

constexpr uint8_t CA_SERIAL = 2;

// Whatever has been revoked since long ago.
WrittenEntry Revoked(uint8_t serial)
{
    WrittenEntry entry;
    entry.serial = serial;
    entry.reason = 1; // keyCompromise
    return entry;
}

WrittenCrl CrlOf(const std::string &issuer, uint8_t key)
{
    WrittenCrl crl;
    crl.issuer = issuer;
    crl.issuerKey = key;
    return crl;
}

WrittenCert CrlSignerOf(const std::string &name, uint8_t key)
{
    WrittenCert cert = {name, "Root", key, ROOT_KEY, 9};
    cert.cA = false;
    cert.mayCertSign = false;
    return cert;
}

class LiteralModel : public testing::Test
{
protected:
    // A root and a CA below it, with the root's CRL.
    LiteralModel()
    {
        certs = {{"Root", "Root", ROOT_KEY, ROOT_KEY, 1}, {"CA", "Root", CA_KEY, ROOT_KEY, CA_SERIAL}};
        crls = {CrlOf("Root", ROOT_KEY)};
    }

    // Judges a signer that this issuer's key signed.
    std::string JudgeSigner(const std::string &issuer, uint8_t issuerKey)
    {
        WrittenCert signer = {"Signer", issuer, SIGNER_KEY, issuerKey, 8};
        signer.cA = false;
        signer.mayCertSign = false;
        signer.mayCrlSign = false;
        certs.push_back(signer);
        LiteralContext ctx;
        ctx.store = {certs, crls};
        uint32_t ok = 7;
        const uint32_t status = LiteralVerifyCert(&ctx, certs.size() - 1, 1, 0, &ok);
        EXPECT_EQ(status == SIGKIT_OK ? 1u : 0u, ok);
        EXPECT_EQ(0, ctx.pathDepth);
        return StatusName(status);
    }

    // A CA below the CA that bears the root's name.
    void AddRootNamedCa()
    {
        certs.push_back({"Root", "CA", NEW_KEY, CA_KEY, 3});
    }

    // The CA again with a new key, which signs the CRL from now on.
    void RollOver()
    {
        certs.push_back({"CA", "Root", NEW_KEY, ROOT_KEY, 3});
        crls.push_back(CrlOf("CA", NEW_KEY));
    }

    void Revoke(uint8_t serial)
    {
        crls[0].entries = {Revoked(serial)};
    }

    std::vector<WrittenCert> certs;
    std::vector<WrittenCrl> crls;
};

} // namespace

TEST_F(LiteralModel, AcceptsACaWithTheRootsNameBelowACaThatStands)
{
    AddRootNamedCa();
    crls.push_back(CrlOf("CA", CA_KEY));
    EXPECT_EQ("SIGKIT_OK", JudgeSigner("Root", NEW_KEY));
}

TEST_F(LiteralModel, RefusesACaWithTheRootsNameBelowARevokedCa)
{
    AddRootNamedCa();
    crls.push_back(CrlOf("CA", CA_KEY));
    Revoke(CA_SERIAL);
    EXPECT_EQ("SIGKIT_ERR_CERT_REVOKED", JudgeSigner("Root", NEW_KEY));
}

TEST_F(LiteralModel, RefusesACaWithTheRootsNameThatNoCrlCovers)
{
    AddRootNamedCa();
    Revoke(CA_SERIAL);
    EXPECT_EQ("SIGKIT_ERR_NO_CRL", JudgeSigner("Root", NEW_KEY));
}

TEST_F(LiteralModel, RefusesTheRevokedOldKeyOfACa)
{
    RollOver();
    Revoke(CA_SERIAL);
    EXPECT_EQ("SIGKIT_ERR_CERT_REVOKED", JudgeSigner("CA", CA_KEY));
}

TEST_F(LiteralModel, RefusesTheExpiredOldKeyOfACa)
{
    RollOver();
    certs[1].notAfter = JUDGED_AT - 1;
    EXPECT_EQ("SIGKIT_ERR_CERT_EXPIRED", JudgeSigner("CA", CA_KEY));
}

TEST_F(LiteralModel, AcceptsTheOldKeyOfACaThatIsSupersededLater)
{
    RollOver();
    Revoke(CA_SERIAL);
    crls[0].entries[0].reason = 4;
    crls[0].entries[0].date = JUDGED_AT + DAY;
    EXPECT_EQ("SIGKIT_OK", JudgeSigner("CA", CA_KEY));
}

TEST_F(LiteralModel, RefusesARevokedCaThatACrlSignerOfItsKeyStandsBefore)
{
    certs.insert(certs.begin() + 1, CrlSignerOf("CA", CA_KEY));
    crls.push_back(CrlOf("CA", CA_KEY));
    Revoke(CA_SERIAL);
    EXPECT_EQ("SIGKIT_ERR_CERT_REVOKED", JudgeSigner("CA", CA_KEY));
}

TEST_F(LiteralModel, AcceptsACrlOfASeparateKeyBelowACaThatStands)
{
    certs.push_back(CrlSignerOf("CA", NEW_KEY));
    crls.push_back(CrlOf("CA", NEW_KEY));
    EXPECT_EQ("SIGKIT_OK", JudgeSigner("CA", CA_KEY));
}

TEST_F(LiteralModel, AcceptsACaThatWasRenewedWithItsNameAndKey)
{
    certs.push_back({"CA", "Root", CA_KEY, ROOT_KEY, 3});
    crls.push_back(CrlOf("CA", CA_KEY));
    EXPECT_EQ("SIGKIT_OK", JudgeSigner("CA", CA_KEY));
}

TEST_F(LiteralModel, AcceptsANewKeyThatTheOldOneSigned)
{
    certs.push_back({"CA", "CA", NEW_KEY, CA_KEY, 3});
    crls.push_back(CrlOf("CA", CA_KEY));
    EXPECT_EQ("SIGKIT_OK", JudgeSigner("CA", NEW_KEY));
}

TEST_F(LiteralModel, RefusesARevokedNewKeyThatTheOldOneSigned)
{
    certs.push_back({"CA", "CA", NEW_KEY, CA_KEY, 3});
    crls.push_back(CrlOf("CA", CA_KEY));
    crls[1].entries = {Revoked(3)};
    EXPECT_EQ("SIGKIT_ERR_CERT_REVOKED", JudgeSigner("CA", NEW_KEY));
}

TEST_F(LiteralModel, AcceptsAnOldKeyThatTheNewOneSigned)
{
    certs[1].key = NEW_KEY;
    certs.push_back({"CA", "CA", CA_KEY, NEW_KEY, 3});
    crls.push_back(CrlOf("CA", NEW_KEY));
    EXPECT_EQ("SIGKIT_OK", JudgeSigner("CA", CA_KEY));
}
