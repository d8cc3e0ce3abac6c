// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The command line and the operation table, with an operation of the test's own in the place of the package check.
#include "src/verify_frame_main.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "src/upgrade_sigkit_handle.h"
#include "tests/support/recording_platform.h"

namespace
{

struct FakeOperation {
    int status = 0;
    int calls = 0;
    const void *param = nullptr;
};
FakeOperation g_fakeOperation;

// An argument vector that getopt may reorder.
struct Arguments {
    std::vector<std::string> texts;
    std::vector<char *> pointers;
};

Arguments MakeArguments(const std::vector<std::string> &texts)
{
    Arguments arguments;
    arguments.texts = texts;
    arguments.texts.insert(arguments.texts.begin(), "verify_tool");
    for (std::string &text : arguments.texts) {
        arguments.pointers.push_back(text.data());
    }
    arguments.pointers.push_back(nullptr);
    return arguments;
}

class CommandLine : public testing::Test
{
protected:
    void SetUp() override
    {
        ResetRecordingPlatform();
        g_fakeOperation = FakeOperation();
        g_verifyParam = {};
        optind = 0; // starts getopt anew
        opterr = 0; // its own messages are not what is tested
    }

    void TearDown() override
    {
        EXPECT_EQ(0u, g_recordingPlatform.allocations); // the command line needs no memory
        for (const RecordedLog &log : g_recordingPlatform.logs) {
            EXPECT_EQ(1014u, log.moduleId);
            EXPECT_EQ("verify_frame_main", log.file);
            EXPECT_EQ(0, log.reserved);
        }
    }

    static int Run(const std::vector<std::string> &texts)
    {
        Arguments arguments = MakeArguments(texts);
        return UPGRADE_MainExe(static_cast<int>(arguments.texts.size()), arguments.pointers.data());
    }

    static int Parse(const std::vector<std::string> &texts)
    {
        Arguments arguments = MakeArguments(texts);
        return UPGRADE_CmdParse(static_cast<int>(arguments.texts.size()), arguments.pointers.data());
    }
};

using Texts = std::vector<std::string>;

const char OPCODE[] = "CHECK_PKG_INTEGRITY";

} // namespace

int UPGRADE_CheckPkgIntegrity(void *param)
{
    ++g_fakeOperation.calls;
    g_fakeOperation.param = param;
    return g_fakeOperation.status;
}

TEST_F(CommandLine, TheOperationRunsOnceWithTheParsedParameters)
{
    EXPECT_EQ(0, Run({"-f", OPCODE, "-h", "a.cms", "-e", "a.sum", "-c", "a.crl"}));
    EXPECT_EQ(1, g_fakeOperation.calls);
    EXPECT_EQ(&g_verifyParam, g_fakeOperation.param);
    EXPECT_STREQ(OPCODE, g_verifyParam.opcode);
    EXPECT_STREQ("a.cms", g_verifyParam.cmsPath);
    EXPECT_STREQ("a.sum", g_verifyParam.checksumPath);
    EXPECT_STREQ("a.crl", g_verifyParam.crlPath);
    EXPECT_STREQ("", g_verifyParam.reserved);
    EXPECT_EQ((Texts{"I 27 UPGRADE_CmdParseSingle The Opcode is : CHECK_PKG_INTEGRITY.",
                     "I 48 UPGRADE_CmdParseSingle The path of cms file is (a.cms).",
                     "I 41 UPGRADE_CmdParseSingle The path of checksum file is : a.sum.",
                     "I 34 UPGRADE_CmdParseSingle The path of crl file is : a.crl.",
                     "I 105 UPGRADE_CmdExe VERIFY_TOOL: Execute function (CHECK_PKG_INTEGRITY).",
                     "I 107 UPGRADE_CmdExe VERIFY_TOOL: Execute ret(0)."}),
              LogTexts());
}

TEST_F(CommandLine, OptionsMayComeInAnyOrder)
{
    EXPECT_EQ(0, Run({"-c", "a.crl", "-e", "a.sum", "-h", "a.cms", "-f", OPCODE}));
    EXPECT_STREQ("a.cms", g_verifyParam.cmsPath);
    EXPECT_STREQ("a.sum", g_verifyParam.checksumPath);
    EXPECT_STREQ("a.crl", g_verifyParam.crlPath);
}

TEST_F(CommandLine, TheOperationsCodeIsReturnedUnchangedAndPrintedAsASignedNumber)
{
    g_fakeOperation.status = static_cast<int>(0x88100001);
    EXPECT_EQ(-2012217343, Run({"-f", OPCODE}));
    EXPECT_EQ((Texts{"I 27 UPGRADE_CmdParseSingle The Opcode is : CHECK_PKG_INTEGRITY.",
                     "I 105 UPGRADE_CmdExe VERIFY_TOOL: Execute function (CHECK_PKG_INTEGRITY).",
                     "I 107 UPGRADE_CmdExe VERIFY_TOOL: Execute ret(-2012217343).",
                     "E 130 UPGRADE_MainExe Verify VKB Command exec fail!"}),
              LogTexts());
}

TEST_F(CommandLine, TheOperationsMinusOneIsReturnedUnchanged)
{
    g_fakeOperation.status = -1;
    EXPECT_EQ(-1, Run({"-f", OPCODE}));
    EXPECT_EQ("I 107 UPGRADE_CmdExe VERIFY_TOOL: Execute ret(-1).", LogTexts().at(2));
}

TEST_F(CommandLine, TenArgumentsAreAccepted)
{
    EXPECT_EQ(0, Run({"-f", OPCODE, "-h", "a", "-e", "b", "-c", "c", "ignored"}));
    EXPECT_EQ(1, g_fakeOperation.calls);
}

TEST_F(CommandLine, ElevenArgumentsAreRefusedBeforeAnyOptionIsParsed)
{
    EXPECT_EQ(-1, Run({"-f", OPCODE, "-h", "a", "-e", "b", "-c", "c", "-e", "d"}));
    EXPECT_EQ(
        (Texts{"E 70 UPGRADE_CmdParse API parameter error.", "E 123 UPGRADE_MainExe Upgrade Command parse fail!"}),
        LogTexts());
    EXPECT_STREQ("", g_verifyParam.opcode);
    EXPECT_EQ(0, g_fakeOperation.calls);
}

TEST_F(CommandLine, ANullArgumentVectorIsRefused)
{
    EXPECT_EQ(-1, UPGRADE_MainExe(1, nullptr));
    EXPECT_EQ(
        (Texts{"E 70 UPGRADE_CmdParse API parameter error.", "E 123 UPGRADE_MainExe Upgrade Command parse fail!"}),
        LogTexts());
}

TEST_F(CommandLine, AnOpcodeOf40CharactersIsCutTo31AndNotFound)
{
    const std::string kept(31, 'A');
    EXPECT_EQ(-1, Run({"-f", std::string(40, 'A')}));
    EXPECT_EQ(kept, g_verifyParam.opcode);
    EXPECT_EQ((Texts{"I 27 UPGRADE_CmdParseSingle The Opcode is : " + kept + ".",
                     "E 111 UPGRADE_CmdExe VERIFY_TOOL: Cannot find opcode(" + kept + ").",
                     "E 130 UPGRADE_MainExe Verify VKB Command exec fail!"}),
              LogTexts());
    EXPECT_EQ(0, g_fakeOperation.calls);
}

TEST_F(CommandLine, APathOf200CharactersIsCutTo127WithoutError)
{
    const std::string kept(127, 'p');
    const std::string path(200, 'p');
    EXPECT_EQ(0, Parse({"-h", path, "-e", path, "-c", path}));
    EXPECT_EQ(kept, g_verifyParam.cmsPath);
    EXPECT_EQ(kept, g_verifyParam.checksumPath);
    EXPECT_EQ(kept, g_verifyParam.crlPath);
    EXPECT_EQ((Texts{"I 48 UPGRADE_CmdParseSingle The path of cms file is (" + kept + ").",
                     "I 41 UPGRADE_CmdParseSingle The path of checksum file is : " + kept + ".",
                     "I 34 UPGRADE_CmdParseSingle The path of crl file is : " + kept + "."}),
              LogTexts());
}

TEST_F(CommandLine, TheLongestTextsThatFitAreKeptWhole)
{
    EXPECT_EQ(0, Parse({"-f", std::string(31, 'o'), "-h", std::string(127, 'p')}));
    EXPECT_EQ(std::string(31, 'o'), g_verifyParam.opcode);
    EXPECT_EQ(std::string(127, 'p'), g_verifyParam.cmsPath);
}

TEST_F(CommandLine, AnOpcodeInLowerCaseIsNotFound)
{
    EXPECT_EQ(-1, Run({"-f", "check_pkg_integrity"}));
    EXPECT_EQ("E 111 UPGRADE_CmdExe VERIFY_TOOL: Cannot find opcode(check_pkg_integrity).", LogTexts().at(1));
}

TEST_F(CommandLine, TheBeginningOfAnOpcodeIsNotFound)
{
    EXPECT_EQ(-1, Run({"-f", "CHECK_PKG"}));
    EXPECT_EQ(0, g_fakeOperation.calls);
}

TEST_F(CommandLine, WithoutAnOpcodeTheLookupFails)
{
    EXPECT_EQ(-1, Run({"-h", "a.cms"}));
    EXPECT_EQ((Texts{"I 48 UPGRADE_CmdParseSingle The path of cms file is (a.cms).",
                     "E 111 UPGRADE_CmdExe VERIFY_TOOL: Cannot find opcode().",
                     "E 130 UPGRADE_MainExe Verify VKB Command exec fail!"}),
              LogTexts());
}

TEST_F(CommandLine, AnUnknownOptionIsRefusedAndNothingBehindItIsRead)
{
    EXPECT_EQ(-1, Run({"-f", OPCODE, "-x", "value", "-h", "a.cms"}));
    EXPECT_EQ(
        (Texts{"I 27 UPGRADE_CmdParseSingle The Opcode is : CHECK_PKG_INTEGRITY.",
               "E 81 UPGRADE_CmdParse API parameter parse fail.", "E 123 UPGRADE_MainExe Upgrade Command parse fail!"}),
        LogTexts());
    EXPECT_STREQ("", g_verifyParam.cmsPath);
    EXPECT_EQ(0, g_fakeOperation.calls);
}

TEST_F(CommandLine, AnOptionWithoutItsValueIsRefused)
{
    EXPECT_EQ(-1, Run({"-f", OPCODE, "-c"}));
    EXPECT_EQ(
        (Texts{"I 27 UPGRADE_CmdParseSingle The Opcode is : CHECK_PKG_INTEGRITY.",
               "E 81 UPGRADE_CmdParse API parameter parse fail.", "E 123 UPGRADE_MainExe Upgrade Command parse fail!"}),
        LogTexts());
}

TEST_F(CommandLine, ARepeatedOptionKeepsTheLastValue)
{
    EXPECT_EQ(0, Parse({"-e", "a-long-name", "-e", "b"}));
    EXPECT_STREQ("b", g_verifyParam.checksumPath);
}

TEST_F(CommandLine, ArgumentsThatAreNoOptionsAreIgnored)
{
    EXPECT_EQ(0, Parse({"first", "-e", "a", "second"}));
    EXPECT_STREQ("a", g_verifyParam.checksumPath);
}

TEST_F(CommandLine, NoOptionIsMandatory)
{
    EXPECT_EQ(0, Parse({}));
    EXPECT_TRUE(LogTexts().empty());
}

TEST_F(CommandLine, AnOptionsTextThatCannotBeCopiedIsRefusedWithoutALine)
{
    optarg = nullptr;
    for (const char option : {'f', 'h', 'e', 'c'}) {
        EXPECT_EQ(-1, UPGRADE_CmdParseSingle(option)) << option;
    }
    EXPECT_TRUE(LogTexts().empty());
}

TEST_F(CommandLine, TheSingleStepRefusesOtherCharactersWithoutALine)
{
    char text[] = "value";
    optarg = text;
    EXPECT_EQ(-1, UPGRADE_CmdParseSingle('x'));
    EXPECT_EQ(-1, UPGRADE_CmdParseSingle('?'));
    EXPECT_TRUE(LogTexts().empty());
}

TEST_F(CommandLine, TheOperationTableHoldsThePackageCheckAlone)
{
    static_assert(VERIFY_FUNC_COUNT == 1);
    EXPECT_STREQ(OPCODE, g_verifyFuncTable[0].name);
    EXPECT_EQ(&UPGRADE_CheckPkgIntegrity, g_verifyFuncTable[0].handler);
}
