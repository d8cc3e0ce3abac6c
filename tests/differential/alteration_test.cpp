// Certificates and CRLs that were good before something in them was altered.
#include <gtest/gtest.h>

#include "tests/differential/alter.h"
#include "tests/differential/judge.h"
#include "tests/differential/seeds.h"
#include "tests/support/pretended_host.h"

namespace
{

constexpr unsigned MAX_FINDINGS = 5; // of one kind of alteration; more of them say nothing new

struct Row {
    const char *name;
    Alteration alteration;
};

const Row ROWS[] = {
    {"ABitIsFlipped", Alteration::BIT},
    {"AnOctetIsChanged", Alteration::OCTET},
    {"ATagIsChanged", Alteration::TAG},
    {"ALengthIsChanged", Alteration::LENGTH},
    {"AContentIsChanged", Alteration::CONTENT},
    {"AnElementIsDeleted", Alteration::DELETION},
    {"AnElementIsDuplicated", Alteration::DUPLICATION},
    {"ElementsAreSwapped", Alteration::SWAP},
};

void PrintTo(const Row &row, std::ostream *stream)
{
    *stream << row.name;
}

class WhenIn : public ::testing::TestWithParam<Row>
{
};

void CompareAltered(const Kind &kind, const std::vector<der::Bytes> &seeds, Alteration alteration)
{
    Dice dice = {static_cast<uint64_t>(alteration) * 1000};
    unsigned findings = 0;
    g_tally = Tally();
    for (unsigned i = 0; i < ALTERATIONS && findings < MAX_FINDINGS; ++i) {
        const der::Bytes altered = Alter(seeds[Throw(&dice, seeds.size())], alteration, &dice);
        if (altered.empty()) {
            continue;
        }
        const std::string disagreement = Disagreement(kind, altered);
        EXPECT_TRUE(disagreement.empty()) << disagreement;
        findings += disagreement.empty() ? 0U : 1U;
    }
    EXPECT_EQ(0, g_pretendedHost.liveBlocks);
    EXPECT_LT(0U, g_tally.bothAccepted) << "no alteration left anything to compare";
    ::testing::Test::RecordProperty("inputs", static_cast<int>(g_tally.inputs));
    ::testing::Test::RecordProperty("acceptedByBoth", static_cast<int>(g_tally.bothAccepted));
    ::testing::Test::RecordProperty("acceptedByTheLibraryOnly", static_cast<int>(g_tally.libraryOnly));
    ::testing::Test::RecordProperty("acceptedByLibcryptoOnly", static_cast<int>(g_tally.libcryptoOnly));
}

} // namespace

TEST_P(WhenIn, ACertificateBothDecodersStillAgree)
{
    CompareAltered(CERTIFICATE, GoodCertificates(), GetParam().alteration);
}

TEST_P(WhenIn, ACrlBothDecodersStillAgree)
{
    CompareAltered(CRL, GoodCrls(), GetParam().alteration);
}

INSTANTIATE_TEST_SUITE_P(Alterations, WhenIn, ::testing::ValuesIn(ROWS),
                         [](const ::testing::TestParamInfo<Row> &row) { return std::string(row.param.name); });
