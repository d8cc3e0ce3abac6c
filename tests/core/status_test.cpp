// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include <ctype.h>
#include <inttypes.h>
#include <stdio.h>

#include <algorithm>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "sigkit/sigkit.h"

namespace
{

struct Row {
    std::string name;
    uint32_t value;
    uint32_t code; // the macro's
    std::string met;
    std::string meaning;
    std::string remedy;
};

void PrintTo(const Row &row, std::ostream *out)
{
    *out << row.name;
}

const Row ROWS[] = {
#define SIGKIT_STATUS(name, value, met, meaning, remedy) {#name, value, name, #met, meaning, remedy},
#include "sigkit/core/status_list.def"
#undef SIGKIT_STATUS
};

std::string Definition(const std::string &name, uint32_t value, const std::string &meaning)
{
    char digits[16] = {};
    (void)snprintf(digits, sizeof(digits), "%08X", value);
    return name + " " + digits + " // " + meaning + "\n";
}

// The status codes that the public header defines, a line each.
std::string DefinitionsOfTheHeader()
{
    std::ifstream header(SIGKIT_HEADER);
    std::string definitions;
    for (std::string line; std::getline(header, line);) {
        char name[64] = {};
        uint32_t value = 0;
        int end = 0; // of what stands before the meaning
        const int fields =
            sscanf(line.c_str(), "#define SIGKIT_%56[A-Z0-9_] UINT32_C(%" SCNx32 ") ///< %n", name, &value, &end);
        const std::string status = std::string("SIGKIT_") + name;
        if (fields == 2 && end != 0 && (status == "SIGKIT_OK" || status.rfind("SIGKIT_ERR_", 0) == 0)) {
            definitions += Definition(status, value, line.substr(static_cast<size_t>(end)));
        }
    }
    return definitions;
}

class StatusCode : public ::testing::TestWithParam<Row>
{
};

// The values are part of the interface: scripts of the devices read them from the log and from the exit status.
TEST_P(StatusCode, HasItsFixedValueItsNameAndItsText)
{
    EXPECT_EQ(GetParam().value, GetParam().code);
    EXPECT_EQ(GetParam().name, SigkitStatusName(GetParam().code));
    EXPECT_EQ(GetParam().meaning, SigkitStatusText(GetParam().code));
}

TEST_P(StatusCode, HasAPhraseForItsMeaningAndSentencesForItsRemedy)
{
    const std::string &meaning = GetParam().meaning;
    const std::string &remedy = GetParam().remedy;
    EXPECT_TRUE(islower(meaning.front()) && isalnum(meaning.back())) << meaning;
    EXPECT_TRUE(!islower(remedy.front()) && std::string(".?`").find(remedy.back()) != std::string::npos) << remedy;
    EXPECT_EQ(0, std::count(remedy.begin(), remedy.end(), '`') % 2) << remedy;
    EXPECT_EQ(std::string::npos, (meaning + remedy).find_first_of("|\n")) << "a cell of a table holds it";
}

INSTANTIATE_TEST_SUITE_P(All, StatusCode, ::testing::ValuesIn(ROWS), [](const auto &test) { return test.param.name; });

TEST(StatusCodes, OfTheHeaderAreThoseOfTheListWithItsWords)
{
    std::string listed;
    for (const Row &row : ROWS) {
        listed += Definition(row.name, row.value, row.meaning);
    }
    EXPECT_EQ(listed, DefinitionsOfTheHeader());
}

TEST(StatusCodes, RiseFromSuccessWhichIsZero)
{
    EXPECT_EQ(0u, SIGKIT_OK);
    const Row *const disorder = std::adjacent_find(std::begin(ROWS), std::end(ROWS),
                                                   [](const Row &a, const Row &b) { return a.value >= b.value; });
    EXPECT_EQ(std::end(ROWS), disorder);
}

TEST(StatusCodes, ThatAPackageCanMeetDoNotReadAsSuccessInAnExitStatus)
{
    for (const Row &row : ROWS) {
        EXPECT_TRUE(row.met != "PACKAGE" || row.code == SIGKIT_OK || (row.code & 0xFF) != 0) << row.name;
    }
}

TEST(StatusCodes, OfOthersHaveNoNameAndATextThatSaysSo)
{
    for (const uint32_t status : {1u, 22u, 0x88000003u, 0xFFFFFFFEu}) {
        EXPECT_STREQ("", SigkitStatusName(status));
        EXPECT_STREQ("not a status code of Sigkit", SigkitStatusText(status));
    }
}

} // namespace
