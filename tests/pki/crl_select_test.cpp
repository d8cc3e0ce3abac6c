// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pki/crl_select.h"

#include "tests/pki/pki_fixture.h"

namespace
{

using CrlChoice = PkiTest;

const char EXPIRED[] = "W InternalCrlGetScore 88200103 Found an expired CRL, it most likely cause NO CRL error.";
const char NO_CRL[] = "E InternalFindBestCrlOfCert 0 Can't find CRL for certificate.";

// A CRL of the CA that lists the signer.
WrittenCrl Listing(int64_t reason, int64_t date)
{
    WrittenCrl crl;
    crl.issuer = "CA";
    crl.issuerKey = 2;
    crl.entries = {{3, reason, date}};
    return crl;
}

// Sorts candidates of these scores; gives their original positions in the new order.
std::vector<size_t> SortedPositions(const std::vector<uint32_t> &scores)
{
    std::vector<SigkitCrlCandidate> candidates;
    for (const uint32_t score : scores) {
        candidates.push_back({score, nullptr});
    }
    SigkitList list = {};
    for (SigkitCrlCandidate &candidate : candidates) {
        EXPECT_STATUS(SIGKIT_OK, SigkitListAdd(&list, &candidate));
    }
    EXPECT_STATUS(SIGKIT_OK, SigkitListSort(&list, InternalCrlScoreSortDesc));
    std::vector<size_t> positions;
    for (uint32_t index = 0; index < list.count; ++index) {
        const auto *candidate = static_cast<const SigkitCrlCandidate *>(list.items[index]);
        positions.push_back(static_cast<size_t>(candidate - candidates.data()));
    }
    return positions;
}

} // namespace

TEST_F(CrlChoice, ScoresEachProperty)
{
    const struct {
        const char *issuer;
        bool indirect;
        bool lists;
        bool current;
        uint32_t score;
    } rows[] = {
        {"CA", false, false, true, 0x60}, {"CA", true, false, true, 0x70}, {"Root", true, false, true, 0x50},
        {"CA", false, true, true, 0xE0},  {"CA", true, true, true, 0xF0},  {"Root", true, true, true, 0xD0},
        {"CA", false, true, false, 0xA0}, {"CA", true, true, false, 0xB0}, {"Root", true, true, false, 0x90},
        {"CA", false, false, false, 0},   {"Root", true, false, false, 0}, {"Root", false, true, true, 0},
    };
    for (const auto &row : rows) {
        store.crls.resize(1);
        store.crls[0].issuer = row.issuer;
        store.crls[0].indirect = row.indirect;
        store.crls[0].entries.clear();
        if (row.lists) {
            store.crls[0].entries = {{77}, {3}};
        }
        store.crls[0].nextUpdate = row.current ? JUDGED_AT : JUDGED_AT - 1;
        Load();
        EXPECT_EQ(row.score, InternalCrlGetScore(*Crl(0), *Cert(SIGNER), JUDGED_AT, &ctx->pki->memory));
        Texts expected = row.current ? Texts() : Texts{EXPIRED};
        if (row.issuer == std::string("Root") && !row.indirect) {
            expected = {"W InternalCrlGetScore 0 invalid issuer score."};
        }
        EXPECT_EQ(expected, LogLines());
    }
}

TEST_F(CrlChoice, AnUnreadableNextUpdateMakesACrlUseless)
{
    store.crls[1] = Listing(1, JUDGED_AT - DAY);
    store.crls[1].nextUpdateText = "2203010000Z";
    EXPECT_STATUS(SIGKIT_ERR_NO_CRL, Judge(SIGNER));
    EXPECT_EQ(Texts{NO_CRL}, LogLines()) << "silently";
}

TEST_F(CrlChoice, AnExpiredCrlProvesNoCleanRecord)
{
    store.crls[1].nextUpdate = JUDGED_AT - 1;
    EXPECT_STATUS(SIGKIT_ERR_NO_CRL, Judge(SIGNER));
    EXPECT_EQ((Texts{EXPIRED, NO_CRL}), LogLines());
}

TEST_F(CrlChoice, AnExpiredCrlStillProvesARevocation)
{
    store.crls[1] = Listing(1, JUDGED_AT - DAY);
    store.crls[1].nextUpdate = JUDGED_AT - 1;
    EXPECT_STATUS(SIGKIT_ERR_CERT_REVOKED, Judge(SIGNER));
    store.crls[1].entries[0] = {3, 4, JUDGED_AT + 1};
    EXPECT_STATUS(SIGKIT_OK, Judge(SIGNER)) << "superseded after the instant of judgement";
    store.crls[1].entries[0].reason = 1;
    EXPECT_STATUS(SIGKIT_ERR_CERT_REVOKED, Judge(SIGNER, 1));
}

TEST_F(CrlChoice, ACrlThatListsTheCertificateComesBeforeANewerOneThatDoesNot)
{
    WrittenCrl listing = Listing(1, JUDGED_AT - DAY);
    listing.nextUpdate = JUDGED_AT - 1;
    store.crls.push_back(listing);
    EXPECT_STATUS(SIGKIT_ERR_CERT_REVOKED, Judge(SIGNER));
}

TEST_F(CrlChoice, OfEqualCrlsTheFirstOfTheStoreIsTaken)
{
    store.crls.push_back(store.crls[1]);
    Load();
    InternalCrlChoice best = {};
    ctx->pathDepth = 1;
    ASSERT_STATUS(SIGKIT_OK, InternalSelectCrl(ctx, *Cert(SIGNER), Cert(ROOT), 0, &best));
    EXPECT_EQ(Crl(1), best.crl);
    EXPECT_EQ(Cert(CA), best.issuer);
}

TEST_F(CrlChoice, TheOwnIssuersCrlComesBeforeAnothersAndOneMarkedIndirectFirst)
{
    store.crls.push_back(store.crls[0]);
    store.crls[2].indirect = true; // the root's, for certificates of the CA
    store.crls.push_back(store.crls[1]);
    store.crls[3].indirect = true;
    Load();
    InternalCrlChoice best = {};
    ctx->pathDepth = 1;
    ASSERT_STATUS(SIGKIT_OK, InternalSelectCrl(ctx, *Cert(SIGNER), Cert(ROOT), 0, &best));
    EXPECT_EQ(Crl(3), best.crl);
}

TEST_F(CrlChoice, AnIndirectCrlAloneLeadsUpToTheIssuer)
{
    store.crls[1].issuer = "Root";
    store.crls[1].issuerKey = 1;
    store.crls[1].indirect = true;
    EXPECT_STATUS(SIGKIT_OK, Judge(SIGNER));
    store.crls[0].entries = {{2, 1, JUDGED_AT - DAY}}; // the CA itself
    EXPECT_STATUS(SIGKIT_ERR_CERT_REVOKED, Judge(SIGNER)) << "the walk goes on to the CA";
}

TEST_F(CrlChoice, ACrlUnderAnotherRootIsNeverACandidate)
{
    store.certs.push_back({"CA", "Other", 9, 8, 9}); // the CA's name, below a root that is not in the store
    store.crls[1].issuerKey = 9;
    EXPECT_STATUS(SIGKIT_ERR_NO_CRL, Judge(SIGNER));
}

TEST_F(CrlChoice, AnIssuerMayBeElevenCertificatesFromTheRootAndNotTwelve)
{
    for (const uint8_t length : {uint8_t{11}, uint8_t{12}}) {
        store = {};
        store.certs.push_back({"0", "0"});
        for (uint8_t i = 1; i < length; ++i) {
            store.certs.push_back({std::to_string(i), std::to_string(i - 1), static_cast<uint8_t>(i + 1), i, i});
        }
        store.certs.push_back({"Signer", "0", 50, 1, 50});
        // The root's CRL covers everybody; the last CA's alone revokes.
        store.crls.resize(2);
        store.crls[0].issuer = "0";
        store.crls[0].indirect = true;
        store.crls[1].issuer = std::to_string(length - 1);
        store.crls[1].issuerKey = length;
        store.crls[1].indirect = true;
        store.crls[1].entries = {{50, 1, JUDGED_AT - DAY}};
        EXPECT_STATUS(length == 11 ? SIGKIT_ERR_CERT_REVOKED : SIGKIT_OK, Judge(length)) << +length;
    }
}

TEST_F(CrlChoice, ACrlWithoutAnIssuerIsNeverACandidate)
{
    store.crls[1].issuerKey = 9;
    EXPECT_STATUS(SIGKIT_ERR_NO_CRL, Judge(SIGNER));
    EXPECT_EQ(Texts{NO_CRL}, LogLines());
}

TEST_F(CrlChoice, WhenOneIssuerDoesNotValidateTheNextIsTried)
{
    // Two certificates of the CA: the CRL that is tried first is by the one that has expired.
    store.certs.insert(store.certs.begin() + 1, {"CA", "Root", 9, 1, 9});
    store.certs[1].notAfter = JUDGED_AT - 1;
    WrittenCrl byExpired = store.crls[1];
    byExpired.issuerKey = 9;
    store.crls.insert(store.crls.begin(), byExpired);
    EXPECT_STATUS(SIGKIT_OK, Judge(3));
    store.crls.pop_back();
    EXPECT_STATUS(SIGKIT_ERR_CERT_EXPIRED, Judge(3));
    EXPECT_EQ("E InternalFindBestCrlOfCert 88200014 Verify CRL failed.", LogLines().back());
    EXPECT_EQ(SIGKIT_ERR_CERT_EXPIRED, ctx->pathError);
}

TEST_F(CrlChoice, CandidatesWithoutAnIssuerLeaveNothing)
{
    store.crls[1].issuerKey = 9;
    Load();
    SigkitCrlCandidate candidate = {0x60, Crl(1)};
    SigkitList candidates = {1, {&candidate}};
    InternalCrlChoice best = {};
    EXPECT_STATUS(SIGKIT_ERR_CRL_UNVERIFIED, InternalFindBestCrlOfCert(ctx, candidates, 0, &best));
    EXPECT_EQ(Texts{"E InternalFindBestCrlOfCert 0 Verify CRL failed."}, LogLines());
    EXPECT_EQ(nullptr, best.crl);
}

TEST_F(CrlChoice, WithoutMemoryThereIsNoChoice)
{
    Load();
    g_pretendedHost.failAt = g_pretendedHost.allocations + 1;
    EXPECT_STATUS(SIGKIT_ERR_NO_MEMORY, JudgeLoaded(SIGNER));
    EXPECT_EQ(SIGKIT_ERR_NO_MEMORY, ctx->pathError);
}

TEST_F(CrlChoice, ACertificateWithoutAnIssuerNameHasNoCrl)
{
    Load();
    ASSERT_STATUS(SIGKIT_OK, JudgeLoaded(SIGNER)); // remembers the issuer
    Cert(SIGNER)->tbsCertificate.issuer.count = 0;
    EXPECT_STATUS(SIGKIT_ERR_NO_CRL, JudgeLoaded(SIGNER));
}

// ---- The order of candidates ---------------------------------------------------------------------------------------

TEST(CandidateOrder, PutsTheHighestScoreFirst)
{
    EXPECT_EQ((std::vector<size_t>{1, 2, 0}), SortedPositions({0x50, 0x90, 0x70}));
}

TEST(CandidateOrder, KeepsTheOrderOfEqualScores)
{
    EXPECT_EQ((std::vector<size_t>{2, 0, 1, 3}), SortedPositions({0x60, 0x60, 0xE0, 0x60}));
}

TEST(CandidateOrder, ComparesScoresWithoutSign)
{
    const SigkitCrlCandidate small = {1, nullptr};
    for (const uint32_t score : {0x80000000, 0x80000001, 0xFFFFFFFF}) {
        const SigkitCrlCandidate large = {score, nullptr};
        EXPECT_EQ(-1, InternalCrlScoreSortDesc(&large, &small));
        EXPECT_EQ(1, InternalCrlScoreSortDesc(&small, &large));
    }
    EXPECT_EQ(0, InternalCrlScoreSortDesc(&small, &small));
}

TEST(CandidateOrder, TakesCandidatesOfOneScoreForEqual)
{
    const SigkitCrlCandidate first = {0x50, nullptr};
    const SigkitCrlCandidate second = {0x50, nullptr};
    EXPECT_EQ(0, InternalCrlScoreSortDesc(&first, &second));
}
