// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The same packages under clocks that are wrong: that of a device whose battery is empty, and that of one far ahead.
#include "tests/package/package_fixture.h"

namespace
{

const char *const CLOCKS[] = {"1970-01-02 00:00:00", "2026-01-15 12:00:00", "2100-01-01 00:00:00"};

struct Clock : Package {
    ProcessResult RunAt(const std::string &clock, std::vector<std::string> command)
    {
        command.insert(command.begin(), {FAKETIME, clock});
        return RunProcess(command, {"QZLOG=" + directory.File("log"), "TZ=UTC"});
    }

    ProcessResult VerifyAt(const std::string &clock)
    {
        return RunAt(clock, {VERIFY_TOOL, "-f", "CHECK_PKG_INTEGRITY", "-h", directory.File("signature"), "-e",
                             directory.File("checksums"), "-c", directory.File("crls")});
    }

    void ExpectEverywhere(int exitStatus)
    {
        const std::string output = VerifyAt(CLOCKS[0]).output;
        for (const char *const clock : CLOCKS) {
            const ProcessResult result = VerifyAt(clock);
            EXPECT_EQ(exitStatus, result.exitStatus) << clock;
            EXPECT_EQ(output, result.output) << clock;
        }
    }

    ProcessResult VerifyWithOpensslAt(const std::string &clock)
    {
        Write("root.pem", Bytes(forge::Armour(forge::LABEL_CERTIFICATE, Pki().root.certificate)));
        return RunAt(clock, {"openssl", "cms", "-verify", "-binary", "-inform", "DER", "-purpose", "any", "-in",
                             directory.File("signature"), "-content", directory.File("checksums"), "-CAfile",
                             directory.File("root.pem"), "-out", directory.File("verified")});
    }
};

} // namespace

TEST_F(Clock, IsAnotherOneForTheProgramsOfTheseTests)
{
    for (const char *const clock : CLOCKS) {
        EXPECT_EQ(std::string(clock).substr(0, 10) + "\n", RunAt(clock, {"date", "+%Y-%m-%d"}).output);
    }
}

TEST_F(Clock, ChangesNoAnswerOfTheTool)
{
    Make();
    ExpectEverywhere(0);
    Write("checksums", Bytes("f4d1b1 firmware.bin\n"));
    ExpectEverywhere(255);
}

TEST_F(Clock, ChangesNoRefusalForATime)
{
    crlRequests[1].nextUpdate = SIGNING_TIME - 1;
    Make();
    ExpectEverywhere(0x12);
    forge::RevokedCertificate entry;
    ASSERT_TRUE(forge::GetSerialNumber(Pki().signer.certificate, &entry.serialNumber).ok);
    entry.revocationDate = SIGNING_TIME - 1;
    crlRequests[1].nextUpdate = SIGNING_TIME + DAY;
    crlRequests[1].revoked = {entry};
    Make();
    ExpectEverywhere(0x02);
}

TEST_F(Clock, ChangesTheAnswerOfOpenssl)
{
    Make();
    const ProcessResult before = VerifyWithOpensslAt(CLOCKS[0]);
    EXPECT_NE(0, before.exitStatus);
    EXPECT_TRUE(Contains(before.errors, "certificate is not yet valid")) << before.errors;
    const ProcessResult then = VerifyWithOpensslAt(CLOCKS[1]);
    EXPECT_EQ(0, then.exitStatus) << then.errors;
    const ProcessResult after = VerifyWithOpensslAt(CLOCKS[2]);
    EXPECT_NE(0, after.exitStatus);
    EXPECT_TRUE(Contains(after.errors, "certificate has expired")) << after.errors;
}
