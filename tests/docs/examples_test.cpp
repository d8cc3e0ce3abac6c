// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The examples of the host guide: what they accept and what they refuse.
#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/hostile_environment.h"
#include "tests/support/parties.h"
#include "tests/support/process.h"

namespace
{

const std::string CONTENT = "f4d1b0 firmware.bin\n";

// One of the programs, and how its log marks errors and warnings.
struct Example {
    const char *name;
    std::string program;
    bool readsContentFromInput;
    int unreadable; // exit status when there is no signature file
    std::string error;
    std::string warning;
};

void PrintTo(const Example &example, std::ostream *out)
{
    *out << example.name;
}

const Example EXAMPLES[] = {{"VerifyStream", VERIFY_STREAM, true, 1, "error Internal", "warning Sigkit"},
                            {"VerifyMemory", VERIFY_MEMORY, false, 2, "E Internal", "W Sigkit"}};

class HostExample : public testing::TestWithParam<Example>
{
protected:
    void SetUp() override
    {
        Write("root", AllParties().root.certificate);
        Write("content", Octets(CONTENT));
        WriteCrls({});
        WriteMessage();
    }

    void Write(const std::string &name, const forge::Bytes &data)
    {
        const forge::Status status = forge::WriteFile(directory.File(name), data);
        ASSERT_TRUE(status.ok) << status.reason;
    }

    void WriteMessage()
    {
        Write("signature", MakeMessage(message));
    }

    // The CRLs of root and issuing CA; the latter's has the entries.
    void WriteCrls(const std::vector<forge::RevokedCertificate> &revoked)
    {
        forge::CrlRequest request = CrlRequest(AllParties().issuingCa);
        request.revoked = revoked;
        Write("crls", Join({MakeCrl(CrlRequest(AllParties().root)), MakeCrl(request)}));
    }

    ProcessResult Run(const std::vector<std::string> &environment = {})
    {
        const std::string content = directory.File("content");
        const std::string arguments =
            directory.File("root") + " " + directory.File("crls") + " " + directory.File("signature");
        const std::string separator = GetParam().readsContentFromInput ? " <" : " ";
        return RunProcess({"/bin/sh", "-c", GetParam().program + " " + arguments + separator + content}, environment);
    }

    void ExpectRefused(const std::string &code)
    {
        const ProcessResult result = Run();
        EXPECT_EQ(1, result.exitStatus);
        EXPECT_EQ("not authentic (" + code + ")", result.output.substr(0, result.output.find('\n')));
    }

    TemporaryDirectory directory;
    forge::MessageRequest message = MessageRequest(CONTENT);
};

TEST_P(HostExample, AcceptsAnAuthenticContentWithoutAnErrorInTheLog)
{
    const ProcessResult result = Run();
    EXPECT_EQ(0, result.exitStatus);
    EXPECT_EQ("authentic (00000000)", result.output.substr(0, result.output.find('\n')));
    // The CRL file of this test brings no certificates, which is logged as a warning.
    EXPECT_NE(std::string::npos, result.errors.find(GetParam().warning)) << result.errors;
    EXPECT_EQ(std::string::npos, result.errors.find(GetParam().error)) << result.errors;
}

TEST_P(HostExample, AcceptsEachDigest)
{
    for (const forge::Digest digest : {forge::Digest::Sha256, forge::Digest::Sha384, forge::Digest::Sha512}) {
        message.digest = digest;
        message.tokenRequest.imprintDigest = digest;
        WriteMessage();
        EXPECT_EQ(0, Run().exitStatus);
    }
}

TEST_P(HostExample, RefusesAnotherContent)
{
    Write("content", Octets("f4d1b1 firmware.bin\n"));
    ExpectRefused("00000000");
}

TEST_P(HostExample, RefusesARevokedSigner)
{
    forge::RevokedCertificate revoked = {{}, PACKAGE_TIME - PACKAGE_DAY, -1};
    ASSERT_TRUE(forge::GetSerialNumber(AllParties().signer.certificate, &revoked.serialNumber).ok);
    WriteCrls({revoked});
    ExpectRefused("88200002");
    EXPECT_NE(std::string::npos, Run().output.find("\na CRL revokes the certificate\n"));
    const std::string log = Run().errors;
    EXPECT_NE(std::string::npos, log.find(GetParam().error + "CheckCrlOfCert")) << log;
    EXPECT_NE(std::string::npos, log.find("The certificate was revoked.")) << log;
}

TEST_P(HostExample, RefusesAForgedSignature)
{
    message.signerKey = AllParties().timestamp.key;
    WriteMessage();
    ExpectRefused("88200309");
}

TEST_P(HostExample, RefusesASignatureFileThatIsMissing)
{
    ASSERT_EQ(0, std::remove(directory.File("signature").c_str()));
    EXPECT_EQ(GetParam().unreadable, Run().exitStatus);
}

TEST_P(HostExample, LoadsNoModuleOrConfigurationOfTheEnvironment)
{
    const HostileEnvironment environment;
    EXPECT_EQ(0, Run(environment.settings).exitStatus);
    EXPECT_FALSE(environment.LeftMark());
    EXPECT_TRUE(environment.ReachesOpenssl()) << "the module would leave no mark anywhere";
}

INSTANTIATE_TEST_SUITE_P(Guide, HostExample, testing::ValuesIn(EXAMPLES), testing::PrintToStringParamName());

class ArenaExample : public HostExample
{
};

TEST_P(ArenaExample, LeavesNothingInTheArena)
{
    const ProcessResult result = Run();
    EXPECT_NE(std::string::npos, result.output.find(" octets at most, 0 left\n")) << result.output;
}

INSTANTIATE_TEST_SUITE_P(Guide, ArenaExample, testing::Values(EXAMPLES[1]), testing::PrintToStringParamName());

class StreamExample : public HostExample
{
};

TEST_P(StreamExample, RefusesAMessageWithoutASignerOverAnEmptyContent)
{
    message.content = {};
    message.signerInfoCount = 0;
    WriteMessage();
    Write("content", {});
    ExpectRefused("88200307");
}

TEST_P(StreamExample, AcceptsAnEmptyContentThatIsSigned)
{
    message.content = {};
    WriteMessage();
    Write("content", {});
    EXPECT_EQ(0, Run().exitStatus);
}

INSTANTIATE_TEST_SUITE_P(Guide, StreamExample, testing::Values(EXAMPLES[0]), testing::PrintToStringParamName());

} // namespace
