// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The packages that field refusals are explained by: the tool itself refuses each, with the status that is expected,
// and takes the good one that they are made from.
#include <gtest/gtest.h>

#include "tests/pkgsign/field_refusals.h"

namespace
{

const FieldWorkshop &Workshop()
{
    return SharedFieldWorkshop(PKGSIGN_PROGRAM, DEVELOPMENT_PKI);
}

ProcessResult Verify(const FieldPackage &package)
{
    const TemporaryDirectory directory;
    const forge::Status status = WriteFieldPackage(directory, package);
    EXPECT_TRUE(status.ok) << status.reason;
    return RunProcess({VERIFY_TOOL, "-f", "CHECK_PKG_INTEGRITY", "-h", directory.File("checksums.cms"), "-e",
                       directory.File("checksums"), "-c", directory.File("crls.der")},
                      {"QZLOG=stderr"});
}

std::string ReturnedStatus(uint32_t status)
{
    return "VERIFY_TOOL: Execute ret(" + std::to_string(static_cast<int32_t>(status)) + ").";
}

} // namespace

TEST(FieldRefusal, IsMadeFromAPackageThatTheToolTakes)
{
    const ProcessResult result = Verify(Workshop().good);
    EXPECT_EQ(0, result.exitStatus) << result.errors;
}

TEST(FieldRefusal, EndsWithTheStatusOfItsCause)
{
    EXPECT_EQ(12u, FIELD_REFUSALS.size());
    for (const FieldRefusal &refusal : FIELD_REFUSALS) {
        FieldPackage package;
        const forge::Status status = MakeFieldRefusal(Workshop(), refusal, &package);
        ASSERT_TRUE(status.ok) << refusal.name << status.reason;
        const ProcessResult result = Verify(package);
        EXPECT_EQ(refusal.exitStatus, result.exitStatus) << refusal.name << "\n" << result.errors;
        EXPECT_NE(std::string::npos, result.errors.find(ReturnedStatus(refusal.status))) << result.errors;
    }
}
