// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pki/revocation.h"

#include "tests/pki/pki_fixture.h"

namespace
{

using Revocation = PkiTest;

constexpr int64_t NO_REASON = -1;

bool IsOrdinaryEnd(int64_t reason)
{
    return reason == 3 || reason == 4 || reason == 5;
}

} // namespace

TEST_F(Revocation, FollowsReasonCaStrictnessAndDate)
{
    for (int64_t reason = NO_REASON; reason <= 10; ++reason) {
        for (const size_t place : {CA, SIGNER}) {
            for (const uint32_t strict : {0u, 1u}) {
                for (const int64_t date : {JUDGED_AT - 1, JUDGED_AT, JUDGED_AT + 1}) {
                    SetUp();
                    WrittenCrl &crl = store.crls[place == CA ? 0 : 1];
                    crl.entries = {{store.certs[place].serial, reason, date}};
                    const bool dateDecides = IsOrdinaryEnd(reason) || (place == SIGNER && strict == 0);
                    const bool revoked = !dateDecides || date <= JUDGED_AT;
                    EXPECT_STATUS(revoked ? SIGKIT_ERR_CERT_REVOKED : SIGKIT_OK, Judge(place, strict))
                        << "reason " << reason << ", place " << place << ", strict " << strict << ", "
                        << date - JUDGED_AT;
                }
            }
        }
    }
}

TEST_F(Revocation, IsLoggedWithItsLineEnd)
{
    store.crls[1].entries = {{3, 1, JUDGED_AT - DAY}};
    EXPECT_STATUS(SIGKIT_ERR_CERT_REVOKED, Judge(SIGNER));
    EXPECT_EQ(Texts{"E InternalCheckCrlOfCert 88200002 The certificate was revoked.\r\n"}, LogLines());
    EXPECT_EQ(0u, ctx->pathError) << "not a failed choice of a CRL";
}

TEST_F(Revocation, OfAnotherSerialDoesNotCount)
{
    store.crls[1].entries = {{4, 1, JUDGED_AT - DAY}, {2, 1, JUDGED_AT - DAY}};
    EXPECT_STATUS(SIGKIT_OK, Judge(SIGNER));
}

TEST_F(Revocation, LaterEntriesOfTheSameSerialAreJudgedInTheirTurn)
{
    store.crls[1].entries = {{3, 4, JUDGED_AT + DAY}, {3, 1, JUDGED_AT}};
    EXPECT_STATUS(SIGKIT_ERR_CERT_REVOKED, Judge(SIGNER));
    store.crls[1].entries = {{3, 4, JUDGED_AT + DAY}, {3, 5, JUDGED_AT + DAY}};
    EXPECT_STATUS(SIGKIT_OK, Judge(SIGNER));
}

TEST_F(Revocation, AtAnUnreadableDateIsAFailure)
{
    store.crls[1].entries = {{3, 4, 0, "2203010000Z"}};
    EXPECT_STATUS(SIGKIT_ERR_TIME_FORMAT, Judge(SIGNER));
    EXPECT_TRUE(LogLines().empty());
    store.crls[1].entries[0].reason = 1;
    EXPECT_STATUS(SIGKIT_ERR_CERT_REVOKED, Judge(SIGNER, 1)) << "whatever the date";
}

TEST_F(Revocation, AStrictnessOtherThanOneIsNone)
{
    store.crls[1].entries = {{3, 1, JUDGED_AT + DAY}};
    EXPECT_STATUS(SIGKIT_OK, Judge(SIGNER, 2));
    EXPECT_STATUS(SIGKIT_ERR_CERT_REVOKED, Judge(SIGNER, 1));
}

TEST_F(Revocation, OfTheCaReachesTheSigner)
{
    store.crls[0].entries = {{2, 1, JUDGED_AT - DAY}};
    EXPECT_STATUS(SIGKIT_ERR_CERT_REVOKED, Judge(SIGNER));
    EXPECT_EQ((Texts{"E InternalCheckCrlOfCert 88200002 The certificate was revoked.\r\n",
                     "E InternalFindBestCrlOfCert 88200002 Verify CRL failed."}),
              LogLines());
}

TEST_F(Revocation, EntriesBehindTheLastAreNotLookedAt)
{
    store.crls[1].entries = {{3, 1, JUDGED_AT - DAY}};
    Load();
    const SigkitAsnOcts &serial = Cert(SIGNER)->tbsCertificate.serialNumber;
    EXPECT_TRUE(InternalCrlListsSerial(*Crl(1), serial));
    Crl(1)->tbsCertList.revokedCertificates.count = 0; // the record keeps what stood there
    EXPECT_FALSE(InternalCrlListsSerial(*Crl(1), serial));
    EXPECT_STATUS(SIGKIT_OK, JudgeLoaded(SIGNER));
}

TEST_F(Revocation, SerialsAreEqualOnlyInEveryOctet)
{
    Load();
    const uint8_t octets[] = {3, 3};
    const SigkitAsnOcts longer = {2, 0, 0, 2, octets};
    const SigkitAsnOcts same = {1, 0, 0, 2, octets};
    store.crls[1].entries = {{3}};
    Load();
    EXPECT_FALSE(InternalCrlListsSerial(*Crl(1), longer));
    EXPECT_TRUE(InternalCrlListsSerial(*Crl(1), same));
}
