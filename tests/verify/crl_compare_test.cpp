// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Comparison of CRL files, on summaries written by hand.
#include "verify/crl_compare.h"

#include <string.h>

#include "tests/verify/verify_fixture.h"

namespace
{

struct Summary {
    std::string issuer;
    int64_t thisUpdate = 100;
    std::vector<uint8_t> issuerSerial = {1};
    std::vector<std::vector<uint8_t>> revoked = {};
    uint32_t verified = 1;
};

SigkitCrlSerial Serial(const std::vector<uint8_t> &octets)
{
    SigkitCrlSerial serial = {};
    serial.len = static_cast<uint32_t>(octets.size());
    std::copy(octets.begin(), octets.end(), serial.serial);
    return serial;
}

// A bundle that owns its parts itself; SigkitCrlFree is not for it.
struct Bundle {
    SigkitCrlBundle bundle = {};
    std::vector<SigkitCrlInfo> infos;
    std::vector<std::vector<SigkitCrlSerial>> serials;

    Bundle(std::initializer_list<Summary> summaries)
    {
        infos.resize(summaries.size());
        serials.resize(summaries.size());
        bundle.size = sizeof(bundle);
        for (const Summary &summary : summaries) {
            const size_t place = static_cast<size_t>(bundle.count);
            SigkitCrlInfo &info = infos[place];
            info.verified = summary.verified;
            info.thisUpdate = summary.thisUpdate;
            (void)summary.issuer.copy(info.issuerName, sizeof(info.issuerName) - 1);
            info.issuerSerial = Serial(summary.issuerSerial);
            for (const std::vector<uint8_t> &revoked : summary.revoked) {
                serials[place].push_back(Serial(revoked));
            }
            info.revokedSerials = serials[place].data();
            info.revokedCount = static_cast<int32_t>(serials[place].size());
            bundle.crls[bundle.count++] = &info;
        }
    }
    Bundle(const Bundle &) = delete;
    Bundle &operator=(const Bundle &) = delete;
};

class CrlCompare : public VerifyTest
{
protected:
    uint32_t Compare(const Bundle &first, const Bundle &second)
    {
        result = 9;
        return SigkitCrlCompare(ctx, &first.bundle, &second.bundle, &result);
    }

    uint32_t result = 9;
};

} // namespace

TEST_F(CrlCompare, DecidesByTheTimesOfCommonIssuersAndThenByCounts)
{
    const struct {
        Bundle first;
        Bundle second;
        uint32_t status;
        uint32_t result;
    } rows[] = {
        {{{"A"}}, {{"A"}}, SIGKIT_OK, SIGKIT_CRL_EQUAL},
        {{{"A", 101}}, {{"A"}}, SIGKIT_OK, SIGKIT_CRL_FIRST_NEWER},
        {{{"A"}}, {{"A", 101}}, SIGKIT_OK, SIGKIT_CRL_SECOND_NEWER},
        {{{"A", -2}}, {{"A", -1}}, SIGKIT_OK, SIGKIT_CRL_SECOND_NEWER},
        {{{"A"}, {"B"}}, {{"B"}, {"A"}}, SIGKIT_OK, SIGKIT_CRL_EQUAL},
        {{{"A"}, {"B", 101}}, {{"B"}, {"A"}}, SIGKIT_OK, SIGKIT_CRL_FIRST_NEWER},
        {{{"A", 101}, {"B", 101}}, {{"B"}, {"A"}}, SIGKIT_OK, SIGKIT_CRL_FIRST_NEWER},
        {{{"A", 101}, {"B"}}, {{"B", 101}, {"A"}}, SIGKIT_OK, SIGKIT_CRL_CONFLICT},
        {{{"A"}, {"B", 101}}, {{"A", 101}, {"B"}}, SIGKIT_OK, SIGKIT_CRL_CONFLICT},
        {{{"A"}}, {{"A"}, {"B"}}, SIGKIT_OK, SIGKIT_CRL_SECOND_NEWER},
        {{{"A"}, {"B"}}, {{"A"}}, SIGKIT_OK, SIGKIT_CRL_FIRST_NEWER},
        // The newer one lacks an issuer of the older one.
        {{{"A"}, {"B"}}, {{"A", 101}}, SIGKIT_ERR_CRL_COVERAGE, SIGKIT_CRL_CONFLICT},
        {{{"A", 101}}, {{"A"}, {"B"}}, SIGKIT_ERR_CRL_COVERAGE, SIGKIT_CRL_CONFLICT},
        {{{"A"}}, {{"B"}}, SIGKIT_ERR_CRL_COVERAGE, SIGKIT_CRL_CONFLICT},
        {{{"A", 101}, {"B"}, {"C"}}, {{"A"}, {"B", 101}}, SIGKIT_ERR_CRL_COVERAGE, SIGKIT_CRL_CONFLICT},
        {{{"A", 101}, {"B"}}, {{"A"}, {"B", 101}, {"C"}}, SIGKIT_OK, SIGKIT_CRL_CONFLICT},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(&row - rows);
        ResetRecordingHost();
        EXPECT_STATUS(row.status, Compare(row.first, row.second));
        EXPECT_EQ(row.result, result);
        EXPECT_EQ(row.status == SIGKIT_OK ? Texts{} : Texts{"E SigkitCrlCompare 88200110 -"}, LineTexts());
    }
}

TEST_F(CrlCompare, ADroppedIssuerMustBeRevokedByTheFirstRootCrl)
{
    const std::vector<uint8_t> serial = {1, 2, 3};
    const Bundle older = {{"Root", 100, {9}}, {"CA", 100, serial}};
    const struct {
        Bundle newer;
        uint32_t status;
    } rows[] = {
        {{{"Root", 101, {9}, {serial}}}, SIGKIT_OK},
        {{{"Root", 101, {9}, {{7}, serial}}}, SIGKIT_OK},
        {{{"Root", 101, {9}, {{1, 2}}}}, SIGKIT_ERR_CRL_COVERAGE},                             // a prefix
        {{{"Root", 101, {9}, {{1, 2, 3, 4}}}}, SIGKIT_ERR_CRL_COVERAGE},                       // longer
        {{{"Root", 101, {9}, {{1, 2, 4}}}}, SIGKIT_ERR_CRL_COVERAGE},                          // another
        {{{"Root", 101, {9}}}, SIGKIT_ERR_CRL_COVERAGE},                                       // revokes nothing
        {{{"Root", 101, {9}, {{7}}}, {"Other", 101, {8}, {serial}}}, SIGKIT_ERR_CRL_COVERAGE}, // not the first
        {{{"Other", 101, {8}}, {"Root", 101, {9}, {serial}}}, SIGKIT_OK}, // the first that revokes anything
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(&row - rows);
        EXPECT_STATUS(row.status, Compare(older, row.newer));
        EXPECT_EQ(row.status == SIGKIT_OK ? SIGKIT_CRL_SECOND_NEWER : SIGKIT_CRL_CONFLICT, result);
    }
}

TEST_F(CrlCompare, AnUnverifiedOrMissingSummaryMakesABundleUseless)
{
    const Bundle good = {{"A"}, {"B"}};
    for (const uint32_t verified : {0u, 2u}) {
        const Bundle unverified = {{"A"}, {"B", 100, {1}, {}, verified}};
        EXPECT_STATUS(SIGKIT_ERR_CRL_BUNDLE_UNVERIFIED, Compare(good, unverified));
        EXPECT_EQ(SIGKIT_CRL_CONFLICT, result);
        EXPECT_STATUS(SIGKIT_ERR_CRL_BUNDLE_UNVERIFIED, Compare(unverified, good));
    }
    Bundle gap = {{"A"}, {"B"}};
    gap.bundle.crls[2] = gap.bundle.crls[0];
    gap.bundle.crls[0] = nullptr;
    EXPECT_STATUS(SIGKIT_ERR_CRL_BUNDLE_UNVERIFIED, Compare(good, gap));
    EXPECT_STATUS(SIGKIT_ERR_CRL_BUNDLE_UNVERIFIED, Compare(gap, good));
    EXPECT_EQ(Texts(6, "E SigkitCrlCompare 88200106 -"), LineTexts());
}

TEST_F(CrlCompare, TwoCrlsOfOneIssuerCannotBeCompared)
{
    const Bundle good = {{"A"}, {"B"}};
    const Bundle twice = {{"A"}, {"B"}, {"A", 101}};
    EXPECT_STATUS(SIGKIT_ERR_CRL_ISSUER_TWICE, Compare(good, twice));
    EXPECT_EQ(SIGKIT_CRL_CONFLICT, result);
    EXPECT_STATUS(SIGKIT_ERR_CRL_ISSUER_TWICE, Compare(twice, good));
    const Bundle nameless = {{""}, {""}};
    EXPECT_STATUS(SIGKIT_ERR_CRL_ISSUER_TWICE, Compare(good, nameless)) << "names that cannot be printed are equal";
    EXPECT_EQ(Texts(3, "E SigkitCrlCompare 88200109 -"), LineTexts());
    EXPECT_TRUE(InternalFindDuplicateCrlIssuer(twice.bundle));
    EXPECT_FALSE(InternalFindDuplicateCrlIssuer(good.bundle));
}

TEST_F(CrlCompare, ABundleOfNothingIsRefusedWithoutAResult)
{
    const Bundle good = {{"A"}};
    const Bundle empty = {};
    EXPECT_STATUS(SIGKIT_ERR_CRL_BUNDLE_EMPTY, Compare(good, empty));
    EXPECT_STATUS(SIGKIT_ERR_CRL_BUNDLE_EMPTY, Compare(empty, good));
    EXPECT_EQ(9u, result);
    EXPECT_EQ((Texts{"E InternalCheckParamCrlCompare 88200105 -", "E InternalCheckParamCrlCompare 88200105 -"}),
              LineTexts());
}

TEST_F(CrlCompare, MissingArgumentsAreLogged)
{
    const Bundle good = {{"A"}};
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitCrlCompare(ctx, nullptr, &good.bundle, &result));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitCrlCompare(ctx, &good.bundle, nullptr, &result));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitCrlCompare(ctx, &good.bundle, &good.bundle, nullptr));
    EXPECT_EQ(9u, result);
    EXPECT_EQ(Texts(3, "E InternalCheckParamCrlCompare 88100001 -"), LineTexts());
}

TEST_F(CrlCompare, ACountThatTheRecordCannotHoldReadsNothingBeyondIt)
{
    Bundle odd = {{"A"}};
    const Bundle good = {{"A"}};
    for (SigkitCrlInfo *&slot : odd.bundle.crls) {
        slot = odd.bundle.crls[0];
    }
    for (const int32_t count : {17, INT32_MAX}) {
        odd.bundle.count = count;
        EXPECT_STATUS(SIGKIT_ERR_CRL_BUNDLE_UNVERIFIED, Compare(good, odd));
        EXPECT_FALSE(InternalCheckNewCrl(good.bundle, odd.bundle));
    }
    odd.bundle.count = -1;
    EXPECT_STATUS(SIGKIT_OK, Compare(good, odd)) << "no slot is below it";
    EXPECT_EQ(SIGKIT_CRL_FIRST_NEWER, result);
}

TEST_F(CrlCompare, CoverageRefusesEmptySlots)
{
    Bundle newer = {{"A"}, {"B"}};
    Bundle older = {{"A"}, {"B"}};
    EXPECT_TRUE(InternalCheckNewCrl(newer.bundle, older.bundle));
    newer.bundle.crls[0] = nullptr;
    EXPECT_FALSE(InternalCheckNewCrl(newer.bundle, older.bundle)) << "met before the issuer is found";
    older.bundle.count = 0;
    EXPECT_TRUE(InternalCheckNewCrl(newer.bundle, older.bundle)) << "nothing is asked";
    older.bundle.count = 2;
    older.bundle.crls[1] = nullptr;
    const Bundle whole = {{"A"}, {"B"}};
    EXPECT_FALSE(InternalCheckNewCrl(whole.bundle, older.bundle));
}
