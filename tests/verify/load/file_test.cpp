// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Files that are read whole, through a host whose files fail, and trust material from files.
#include "verify/load/file.h"

#include "tests/support/process.h"
#include "tests/verify/verify_fixture.h"

namespace
{

class FileReading : public LibraryTest
{
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        ASSERT_TRUE(forge::WriteFile(path, Octets("four")).ok);
    }

    void TearDown() override
    {
        EXPECT_EQ(g_recordingHost.fileOpen.calls - failedOpens, g_recordingHost.fileClose.calls);
        LibraryTest::TearDown();
    }

    // Reads, expecting a failure that leaves the outputs alone.
    uint32_t FailToRead()
    {
        uint8_t *data = nullptr;
        uint32_t len = 99;
        const uint32_t status = InternalReadFile(path.c_str(), &data, &len);
        EXPECT_EQ(nullptr, data);
        EXPECT_EQ(99u, len);
        return status;
    }

    const TemporaryDirectory directory;
    const std::string path = directory.File("file");
    uint32_t failedOpens = 0;
};

struct TrustFile : VerifyTest {
    TemporaryDirectory directory;

    std::string Write(const std::string &name, const forge::Bytes &bytes)
    {
        EXPECT_TRUE(forge::WriteFile(directory.File(name), bytes).ok);
        return directory.File(name);
    }
};

constexpr size_t LARGEST = 2000000;

} // namespace

TEST_F(FileReading, GivesTheOctetsInABlockOfTheirSize)
{
    uint8_t *data = nullptr;
    uint32_t len = 0;
    ASSERT_STATUS(SIGKIT_OK, InternalReadFile(path.c_str(), &data, &len));
    const InternalBytesGuard guard(data);
    EXPECT_EQ(4u, LastAllocationSize());
    ASSERT_EQ(4u, len);
    EXPECT_EQ("four", std::string(data, data + len));
    EXPECT_EQ(1u, g_recordingHost.fileRead.calls);
}

TEST_F(FileReading, AFileThatDoesNotOpenIsNamed)
{
    g_recordingHost.fileOpen.failAt = 1;
    failedOpens = 1;
    EXPECT_STATUS(SIGKIT_ERR_FILE_OPEN, FailToRead());
    EXPECT_EQ(Texts{"E InternalReadFile 88000101 Can not open file '" + path + "'."}, LineTexts());
}

TEST_F(FileReading, AnUnknownSizeIsNoSize)
{
    g_recordingHost.fileGetSize.failAt = 1;
    EXPECT_STATUS(SIGKIT_ERR_FILE_EMPTY, FailToRead());
    EXPECT_EQ(0u, g_recordingHost.fileRead.calls);
    EXPECT_EQ(Texts{"E InternalReadFile 88000104 -"}, LineTexts());
}

TEST_F(FileReading, SizesAreComparedBeforeAnythingIsAllocated)
{
    const size_t beyond32Bits = sizeof(size_t) == 8 ? static_cast<size_t>(UINT64_C(0x100000004)) : SIZE_MAX - 1;
    for (const size_t size : {size_t{2000001}, size_t{0x80000000}, beyond32Bits, SIZE_MAX}) {
        ResetRecordings();
        g_recordingHost.claimedFileSize = size;
        EXPECT_STATUS(SIGKIT_ERR_FILE_TOO_BIG, FailToRead());
        EXPECT_EQ(1u, AllocationCalls()) << "the log line's alone";
        EXPECT_EQ(0u, g_recordingHost.fileRead.calls);
        EXPECT_EQ(Texts{"E InternalReadFile 88000106 -"}, LineTexts());
    }
    ResetRecordings();
    g_recordingHost.claimedFileSize = 2000000;
    EXPECT_STATUS(SIGKIT_ERR_FILE_READ, FailToRead()) << "not too big, but shorter than reported";
}

TEST_F(FileReading, FewerOctetsThanReportedAreAFailure)
{
    g_recordingHost.claimedFileSize = 5;
    EXPECT_STATUS(SIGKIT_ERR_FILE_READ, FailToRead());
    g_recordingHost.claimedFileSize = std::nullopt;
    g_recordingHost.fileRead.failAt = g_recordingHost.fileRead.calls + 1;
    EXPECT_STATUS(SIGKIT_ERR_FILE_READ, FailToRead());
    EXPECT_EQ((Texts{"E InternalReadFile 88000102 -", "E InternalReadFile 88000102 -"}), LineTexts());
    EXPECT_EQ(0, LiveBlocks());
}

TEST_F(FileReading, AFileThatDoesNotCloseIsLoggedAndChangesNothing)
{
    g_recordingHost.fileClose.failAt = 1;
    g_recordingHost.fileGetSize.failAt = 1;
    EXPECT_STATUS(SIGKIT_ERR_FILE_EMPTY, FailToRead());
    EXPECT_EQ((Texts{"E InternalReadFile 88000104 -", "W InternalCloseFile ffffffff -"}), LineTexts());
}

TEST_F(FileReading, WithoutMemoryTheFileIsClosed)
{
    FailAllocation(1);
    EXPECT_STATUS(SIGKIT_ERR_NO_MEMORY, FailToRead());
    EXPECT_EQ(1u, g_recordingHost.fileClose.calls);
    EXPECT_EQ(Texts{"E InternalReadFile 88000001 -"}, LineTexts());
}

// ---- Trust material ------------------------------------------------------------------------------------------------

TEST_F(TrustFile, CertificatesAndCrlsAreRead)
{
    EXPECT_STATUS(SIGKIT_OK, SigkitVerifyAddCertFile(ctx, Write("root", AllParties().root.certificate).c_str()));
    EXPECT_STATUS(SIGKIT_OK, SigkitVerifyAddCrlFile(ctx, Write("crls", GoodCrls()).c_str()));
    EXPECT_EQ(1u, StoredCerts());
    EXPECT_EQ(2u, StoredCrls());
}

TEST_F(TrustFile, AnEmptyPathIsRefused)
{
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitVerifyAddCertFile(ctx, ""));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitVerifyAddCrlFile(ctx, ""));
    EXPECT_EQ((Texts{"E InternalReadFile 88100001 Empty file path.", "E SigkitVerifyAddCertFile 88100001 -",
                     "E InternalReadFile 88100001 Empty file path.", "E SigkitVerifyAddCrlFile 88100001 -"}),
              LineTexts());
}

TEST_F(TrustFile, AMissingFileIsNamed)
{
    const std::string path = directory.File("missing");
    EXPECT_STATUS(SIGKIT_ERR_FILE_OPEN, SigkitVerifyAddCertFile(ctx, path.c_str()));
    EXPECT_EQ((Texts{"E InternalReadFile 88000101 Can not open file '" + path + "'.",
                     "E SigkitVerifyAddCertFile 88000101 -"}),
              LineTexts());
}

TEST_F(TrustFile, AnEmptyFileIsRefused)
{
    EXPECT_STATUS(SIGKIT_ERR_FILE_EMPTY, SigkitVerifyAddCrlFile(ctx, Write("empty", {}).c_str()));
    EXPECT_EQ((Texts{"E InternalReadFile 88000104 -", "E SigkitVerifyAddCrlFile 88000104 -"}), LineTexts());
}

TEST_F(TrustFile, TwoMillionOctetsAreReadAndNotOneMore)
{
    forge::Bytes pem = Pem(forge::LABEL_CERTIFICATE, AllParties().root.certificate);
    pem.resize(LARGEST, '\n');
    EXPECT_STATUS(SIGKIT_OK, SigkitVerifyAddCertFile(ctx, Write("largest", pem).c_str()));
    pem.push_back('\n');
    EXPECT_STATUS(SIGKIT_ERR_FILE_TOO_BIG, SigkitVerifyAddCertFile(ctx, Write("larger", pem).c_str()));
    EXPECT_EQ((Texts{"E InternalReadFile 88000106 -", "E SigkitVerifyAddCertFile 88000106 -"}), LineTexts());
}

TEST_F(TrustFile, AShortReadIsAFailure)
{
    const std::string path = Write("root", AllParties().root.certificate);
    g_recordingHost.claimedFileSize = AllParties().root.certificate.size() + 1;
    EXPECT_STATUS(SIGKIT_ERR_FILE_READ, SigkitVerifyAddCertFile(ctx, path.c_str()));
    EXPECT_EQ((Texts{"E InternalReadFile 88000102 -", "E SigkitVerifyAddCertFile 88000102 -"}), LineTexts());
}

TEST_F(TrustFile, AFailedCloseIsOnlyAWarning)
{
    g_recordingHost.fileClose.failAt = 1;
    const std::string path = Write("root", AllParties().root.certificate);
    EXPECT_STATUS(SIGKIT_OK, SigkitVerifyAddCertFile(ctx, path.c_str()));
    EXPECT_EQ(Texts{"W InternalCloseFile ffffffff -"}, LineTexts());
}

TEST_F(TrustFile, WithoutMemoryNothingIsRead)
{
    const std::string path = Write("root", AllParties().root.certificate);
    FailAllocation(1);
    EXPECT_STATUS(SIGKIT_ERR_NO_MEMORY, SigkitVerifyAddCertFile(ctx, path.c_str()));
    EXPECT_EQ(0u, g_recordingHost.fileRead.calls);
    EXPECT_EQ((Texts{"E InternalReadFile 88000001 -", "E SigkitVerifyAddCertFile 88000001 -"}), LineTexts());
}
