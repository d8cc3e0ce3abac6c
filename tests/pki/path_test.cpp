// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include <iterator>

#include "tests/pki/pki_fixture.h"
#include "x509/crl.h"

namespace
{

using Path = PkiTest;

const char DATE_TEXT[] = "Check date for certificate failed, verify may fail.";

// A chain of `length` certificates, the root included, with a CRL of each issuer.
WrittenStore Chain(uint8_t length)
{
    WrittenStore chain;
    chain.certs.push_back({"0", "0"});
    for (uint8_t i = 1; i < length; ++i) {
        const std::string issuer = std::to_string(i - 1);
        WrittenCrl crl;
        crl.issuer = issuer;
        crl.issuerKey = i;
        chain.certs.push_back({std::to_string(i), issuer, static_cast<uint8_t>(i + 1), i, i});
        chain.crls.push_back(crl);
    }
    return chain;
}

} // namespace

TEST_F(Path, OfASignerBelowACaIsValid)
{
    EXPECT_STATUS(SIGKIT_OK, Judge(SIGNER));
    EXPECT_STATUS(SIGKIT_OK, Judge(SIGNER, 1));
    EXPECT_STATUS(SIGKIT_OK, Judge(CA));
    EXPECT_TRUE(LogLines().empty());
    EXPECT_EQ(0u, ctx->pathError);
}

TEST_F(Path, NullIsRefused)
{
    Load();
    uint32_t ok = 7;
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitPkiVerifyCert(nullptr, Cert(0), 1, 0, &ok));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitPkiVerifyCert(ctx, nullptr, 1, 0, &ok));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitPkiVerifyCert(ctx, Cert(0), 1, 0, nullptr));
    EXPECT_EQ(7u, ok);
}

TEST_F(Path, OfTheTrustAnchorNeedsNoCrl)
{
    store.crls.erase(store.crls.begin(), store.crls.end() - 1);
    store.crls[0].issuer = "Nobody";
    EXPECT_STATUS(SIGKIT_OK, Judge(ROOT));
}

TEST_F(Path, EndsOfTheValidityPeriodAreInside)
{
    WrittenCert &signer = store.certs[SIGNER];
    const struct {
        int64_t notBefore;
        int64_t notAfter;
        uint32_t status;
        const char *code;
    } rows[] = {
        {JUDGED_AT, JUDGED_AT, SIGKIT_OK, ""},
        {JUDGED_AT + 1, JUDGED_AT + 2, SIGKIT_ERR_CERT_NOT_YET_VALID, "88200013"},
        {JUDGED_AT - 2, JUDGED_AT - 1, SIGKIT_ERR_CERT_EXPIRED, "88200014"},
    };
    for (const auto &row : rows) {
        signer.notBefore = row.notBefore;
        signer.notAfter = row.notAfter;
        EXPECT_STATUS(row.status, Judge(SIGNER));
        if (row.status != SIGKIT_OK) {
            EXPECT_EQ(Texts{std::string("W InternalVerifyCertificate ") + row.code + " " + DATE_TEXT}, LogLines());
        }
    }
}

TEST_F(Path, BeforeAnyTimestampNothingIsValid)
{
    Load();
    ctx->verifyTime = 0;
    EXPECT_STATUS(SIGKIT_ERR_CERT_NOT_YET_VALID, JudgeLoaded(SIGNER));
    EXPECT_STATUS(SIGKIT_ERR_CERT_NOT_YET_VALID, JudgeLoaded(ROOT));
    ctx->verifyTime = -1;
    EXPECT_STATUS(SIGKIT_ERR_CERT_NOT_YET_VALID, JudgeLoaded(SIGNER)) << "times are signed";
}

TEST_F(Path, OfACertificateWithoutReadableDatesIsRefused)
{
    Load();
    Cert(SIGNER)->tbsCertificate.validity.notAfter.len = 12;
    EXPECT_STATUS(SIGKIT_ERR_TIME_FORMAT, JudgeLoaded(SIGNER));
    EXPECT_EQ(Texts{std::string("W InternalVerifyCertificate 88000301 ") + DATE_TEXT}, LogLines());
}

TEST_F(Path, WithoutARootIsRefused)
{
    store.certs[CA].issuerKey = 9;
    EXPECT_STATUS(SIGKIT_ERR_NO_ROOT, Judge(SIGNER));
    EXPECT_EQ(SIGKIT_ERR_NO_ROOT, ctx->pathError);
    EXPECT_TRUE(LogLines().empty());
}

TEST_F(Path, AnIssuerMustBeACaThatMaySignCertificates)
{
    store.certs[CA].cA = false;
    EXPECT_STATUS(SIGKIT_ERR_NO_ROOT, Judge(SIGNER));
    store.certs[CA].cA = true;
    store.certs[CA].mayCertSign = false;
    EXPECT_STATUS(SIGKIT_ERR_NO_ROOT, Judge(SIGNER));
}

TEST_F(Path, WithoutAnyCrlOfTheIssuerIsRefused)
{
    store.crls.pop_back();
    EXPECT_STATUS(SIGKIT_ERR_NO_CRL, Judge(SIGNER));
    EXPECT_EQ(Texts{"E InternalFindBestCrlOfCert 0 Can't find CRL for certificate."}, LogLines());
    EXPECT_EQ(SIGKIT_ERR_NO_CRL, ctx->pathError);
}

TEST_F(Path, WithoutTheRootsCrlTheCrlOfTheCaDoesNotCount)
{
    store.crls.erase(store.crls.begin());
    EXPECT_STATUS(SIGKIT_ERR_NO_CRL, Judge(SIGNER));
    EXPECT_EQ((Texts{"E InternalFindBestCrlOfCert 0 Can't find CRL for certificate.",
                     "E InternalFindBestCrlOfCert 88200012 Verify CRL failed."}),
              LogLines());
}

TEST_F(Path, OfElevenCertificatesIsValidAndOfTwelveNot)
{
    store = Chain(11);
    EXPECT_STATUS(SIGKIT_OK, Judge(10));
    store = Chain(12);
    EXPECT_STATUS(SIGKIT_ERR_NO_ROOT, Judge(11));
    EXPECT_EQ(Texts{"E InternalFindCertRoot ffffffff find path too deep."}, LogLines());
    EXPECT_STATUS(SIGKIT_OK, JudgeLoaded(10));
}

TEST_F(Path, ThatNestsTooDeepIsRefused)
{
    Load();
    uint32_t ok = 7;
    ctx->pathDepth = 11;
    EXPECT_STATUS(SIGKIT_ERR_PATH_TOO_DEEP, SigkitPkiVerifyCert(ctx, Cert(ROOT), 0, 0, &ok));
    EXPECT_EQ(0u, ok);
    EXPECT_EQ(11, ctx->pathDepth);
    EXPECT_EQ(Texts{"E SigkitPkiVerifyCert 0 The path of certificate is too deep."}, LogLines());
    ctx->pathDepth = 10;
    EXPECT_STATUS(SIGKIT_OK, SigkitPkiVerifyCert(ctx, Cert(ROOT), 0, 0, &ok));
    EXPECT_EQ(10, ctx->pathDepth);
    ctx->pathDepth = 0;
}

TEST_F(Path, AnErrorStaysUntilAnotherFollows)
{
    store.crls.erase(store.crls.begin());
    Load();
    ctx->pki->memory.literal = 0;
    uint32_t ok = 7;
    // Each is judged twice, the second time from memory.
    for (int i = 0; i < 2; ++i) {
        ctx->pathError = SIGKIT_ERR_UNKNOWN;
        EXPECT_STATUS(SIGKIT_OK, SigkitPkiVerifyCert(ctx, Cert(ROOT), 0, 0, &ok));
        EXPECT_STATUS(SIGKIT_ERR_UNKNOWN, ctx->pathError);
        EXPECT_STATUS(SIGKIT_ERR_NO_CRL, SigkitPkiVerifyCert(ctx, Cert(CA), 0, 0, &ok));
        EXPECT_STATUS(SIGKIT_ERR_NO_CRL, ctx->pathError);
    }
    EXPECT_EQ(0, ctx->pathDepth);
    Unload();
    SetUp();
    Load();
    ctx->pathError = SIGKIT_ERR_UNKNOWN;
    EXPECT_STATUS(SIGKIT_OK, JudgeLoaded(SIGNER));
    EXPECT_STATUS(SIGKIT_ERR_UNKNOWN, ctx->pathError) << "a CRL that is found leaves it alone";
}

TEST_F(Path, NothingIsRememberedFromOneValidationToTheNext)
{
    store.certs[CA].notAfter = JUDGED_AT;
    Load();
    ctx->pki->memory.literal = 0;
    EXPECT_STATUS(SIGKIT_OK, JudgeLoaded(SIGNER));
    ctx->verifyTime += 1; // the CA, whose CRL counts for the signer, has ended
    EXPECT_STATUS(SIGKIT_ERR_CERT_EXPIRED, JudgeLoaded(SIGNER));
    ctx->verifyTime -= 1;
    EXPECT_STATUS(SIGKIT_OK, JudgeLoaded(SIGNER));
}

TEST_F(Path, WithoutAStoreIsAWrongArgument)
{
    Load();
    SigkitVerifyCtx empty = {};
    for (const int32_t isTopLevel : {1, 0}) {
        uint32_t ok = 7;
        EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitPkiVerifyCert(&empty, Cert(SIGNER), isTopLevel, 0, &ok));
        EXPECT_EQ(0u, ok);
        EXPECT_EQ(0, empty.pathDepth);
    }
    EXPECT_TRUE(LogLines().empty());
}

TEST_F(Path, IsTrustedNoMoreWhenTheHostFailedAtAnyCandidate)
{
    // A decoy, which comes first, bears the name of the issuer, so that the failure may pass without harm.
    store.certs.insert(store.certs.begin() + CA, {"CA", "Root", 8, 1, 8});
    const size_t signer = SIGNER + 1;
    Load();
    g_pretendedHost.signatureChecks = 0;
    EXPECT_STATUS(SIGKIT_OK, JudgeLoaded(signer));
    const uint32_t checks = g_pretendedHost.signatureChecks;
    // The two decoys are passed over, and the path is whole without them; each other check is one that it needs.
    const uint32_t statuses[] = {SIGKIT_ERR_UNKNOWN, SIGKIT_ERR_NO_ROOT, SIGKIT_ERR_NO_ROOT, SIGKIT_ERR_NO_ROOT,
                                 SIGKIT_ERR_UNKNOWN, SIGKIT_ERR_NO_CRL,  SIGKIT_ERR_NO_CRL};
    ASSERT_EQ(std::size(statuses), checks);
    for (uint32_t n = 1; n <= checks; ++n) {
        Load();
        g_pretendedHost.signatureChecks = 0;
        g_pretendedHost.checkFailAt = n;
        EXPECT_STATUS(statuses[n - 1], JudgeLoaded(signer)) << n;
        EXPECT_STATUS(SIGKIT_ERR_UNKNOWN, ctx->hostFailure) << n;
        g_pretendedHost.checkFailAt = 0;
        EXPECT_STATUS(SIGKIT_ERR_UNKNOWN, JudgeLoaded(signer)) << "for the life of the context";
    }
}

TEST_F(Path, IsCoveredAboveByACrlThatItsIssuerSigned)
{
    // Each time that the CA is judged, this CRL is worth a warning.
    WrittenCrl expired = store.crls[0];
    expired.nextUpdate = JUDGED_AT - 1;
    store.crls.push_back(expired);
    const Texts once(1, "W InternalCrlGetScore 88200103 Found an expired CRL, it most likely cause NO CRL error.");
    EXPECT_STATUS(SIGKIT_OK, Judge(SIGNER));
    EXPECT_EQ(once, LogLines()) << "as the issuer of the signer's CRL, and not again as the signer's";
}

TEST_F(Path, IsNotCoveredAboveByACrlThatANamesakeOfTheIssuerSigned)
{
    // With the key of a CA that is revoked, a CA was made that bears the root's name, and the signer below it.
    store.certs.push_back({"Root", "CA", 4, 2, 4});
    store.certs[SIGNER].issuer = "Root";
    store.certs[SIGNER].issuerKey = 4;
    EXPECT_STATUS(SIGKIT_OK, Judge(SIGNER)) << "while the CA stands";
    store.crls[0].entries = {{2, -1, JUDGED_AT - DAY}};
    EXPECT_STATUS(SIGKIT_ERR_CERT_REVOKED, Judge(SIGNER));
    store.crls.pop_back(); // the CA's own
    EXPECT_STATUS(SIGKIT_ERR_NO_CRL, Judge(SIGNER));
}

TEST_F(Path, OfACaThatChangedItsKeyStandsAndFallsWithTheCertificateThatIssued)
{
    // The CRL is made with the new key; the signer was issued with the old one.
    store.certs.push_back({"CA", "Root", 4, 1, 4});
    store.crls[1].issuerKey = 4;
    EXPECT_STATUS(SIGKIT_OK, Judge(SIGNER));
    store.crls[1].indirect = true; // says nothing about the issuer either way
    EXPECT_STATUS(SIGKIT_OK, Judge(SIGNER));
    for (const bool indirect : {true, false}) {
        store.crls[1].indirect = indirect;
        store.certs[CA].notAfter = JUDGED_AT - 1;
        EXPECT_STATUS(SIGKIT_ERR_CERT_EXPIRED, Judge(SIGNER));
        store.certs[CA].notAfter = JUDGED_AT;
        store.crls[0].entries = {{2, -1, JUDGED_AT - DAY}};
        EXPECT_STATUS(SIGKIT_ERR_CERT_REVOKED, Judge(SIGNER));
        store.crls[0].entries = {{2, SIGKIT_REASON_SUPERSEDED, JUDGED_AT + 1}};
        EXPECT_STATUS(SIGKIT_OK, Judge(SIGNER)) << "superseded later";
        store.crls[0].entries = {};
    }
}

TEST_F(Path, IsNotCoveredAboveByACrlKeyThatIsTheKeyOfTheRevokedCa)
{
    // Name and key of the CA, but another certificate: it may sign CRLs alone, and comes first.
    WrittenCert standIn = {"CA", "Root", 2, 1, 5};
    standIn.cA = false;
    standIn.mayCertSign = false;
    store.certs.insert(store.certs.begin() + CA, standIn);
    EXPECT_STATUS(SIGKIT_OK, Judge(SIGNER + 1));
    store.crls[0].entries = {{2, -1, JUDGED_AT - DAY}};
    EXPECT_STATUS(SIGKIT_ERR_CERT_REVOKED, Judge(SIGNER + 1));
}

TEST_F(Path, EndsAtARevokedCertificateOfTheNewKeyUnderTheOldOne)
{
    store.certs.push_back({"CA", "CA", 4, 2, 4}); // new with old, RFC 4210, 4.4
    store.certs[SIGNER].issuerKey = 4;
    EXPECT_STATUS(SIGKIT_OK, Judge(SIGNER));
    store.crls[1].entries = {{4, -1, JUDGED_AT - DAY}};
    EXPECT_STATUS(SIGKIT_ERR_CERT_REVOKED, Judge(SIGNER));
}

TEST_F(Path, OfTheOldKeyUnderTheNewOneIsValid)
{
    store.certs[CA].key = 4;
    store.certs.push_back({"CA", "CA", 2, 4, 4}); // old with new
    store.crls[1].issuerKey = 4;
    EXPECT_STATUS(SIGKIT_OK, Judge(SIGNER));
    store.crls[1].entries = {{4, -1, JUDGED_AT - DAY}};
    EXPECT_STATUS(SIGKIT_ERR_CERT_REVOKED, Judge(SIGNER));
}

TEST_F(Path, OfACaThatWasRenewedUnderItsNameAndKeyIsValid)
{
    store.certs.push_back({"CA", "Root", 2, 1, 4});
    EXPECT_STATUS(SIGKIT_OK, Judge(SIGNER));
    EXPECT_TRUE(LogLines().empty());
}

TEST_F(Path, OfACaWithAKeyOfItsOwnForCrlsIsValidWhileTheCaStands)
{
    WrittenCert crlKey = {"CA", "Root", 5, 1, 5};
    crlKey.cA = false;
    crlKey.mayCertSign = false;
    store.certs.push_back(crlKey);
    store.crls[1].issuerKey = 5;
    EXPECT_STATUS(SIGKIT_OK, Judge(SIGNER));
    EXPECT_TRUE(LogLines().empty());
    store.crls[0].entries = {{2, -1, JUDGED_AT - DAY}};
    EXPECT_STATUS(SIGKIT_ERR_CERT_REVOKED, Judge(SIGNER));
}

TEST_F(Path, AlongACycleOfCrossSignedCertificatesEnds)
{
    store.certs = {{"Root", "Root", 1, 1, 1}, {"A", "B", 2, 3, 2}, {"B", "A", 3, 2, 3}};
    EXPECT_STATUS(SIGKIT_ERR_NO_ROOT, Judge(1));
    EXPECT_STATUS(SIGKIT_ERR_NO_ROOT, JudgeLoaded(2));
}

TEST_F(Path, OfASelfIssuedCertificateThatIsNotSelfSignedGoesOn)
{
    store.certs = {{"CA", "CA", 1, 1, 1}, {"CA", "CA", 2, 1, 2}};
    store.crls = {WrittenCrl()};
    store.crls[0].issuer = "CA";
    EXPECT_STATUS(SIGKIT_OK, Judge(1));
}
