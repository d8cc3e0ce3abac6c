// Trust material from files.
#include "tests/support/process.h"
#include "tests/verify/verify_fixture.h"

namespace
{

struct FileTest : VerifyTest {
    TemporaryDirectory directory;

    std::string Write(const std::string &name, const PkgsignBytes &bytes)
    {
        EXPECT_TRUE(PkgsignWriteFile(directory.File(name), bytes).ok);
        return directory.File(name);
    }
};

constexpr size_t LARGEST = 2000000;

} // namespace

TEST_F(FileTest, CertificatesAndCrlsAreRead)
{
    EXPECT_STATUS(SIGKIT_OK, SigkitVerifyAddCertFile(ctx, Write("root", AllParties().root.certificate).c_str()));
    EXPECT_STATUS(SIGKIT_OK, SigkitVerifyAddCrlFile(ctx, Write("crls", GoodCrls()).c_str()));
    EXPECT_EQ(1u, StoredCerts());
    EXPECT_EQ(2u, StoredCrls());
}

TEST_F(FileTest, AnEmptyPathIsRefused)
{
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitVerifyAddCertFile(ctx, ""));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitVerifyAddCrlFile(ctx, ""));
    EXPECT_EQ((Texts{"E InternalReadFile 88100001 Empty file path.", "E SigkitVerifyAddCertFile 88100001 -",
                     "E InternalReadFile 88100001 Empty file path.", "E SigkitVerifyAddCrlFile 88100001 -"}),
              LineTexts());
}

TEST_F(FileTest, AMissingFileIsNamed)
{
    const std::string path = directory.File("missing");
    EXPECT_STATUS(SIGKIT_ERR_FILE_OPEN, SigkitVerifyAddCertFile(ctx, path.c_str()));
    EXPECT_EQ((Texts{"E InternalReadFile 88000101 Can not open file '" + path + "'.",
                     "E SigkitVerifyAddCertFile 88000101 -"}),
              LineTexts());
}

TEST_F(FileTest, AnEmptyFileIsRefused)
{
    EXPECT_STATUS(SIGKIT_ERR_FILE_EMPTY, SigkitVerifyAddCrlFile(ctx, Write("empty", {}).c_str()));
    EXPECT_EQ(Texts{"E SigkitVerifyAddCrlFile 88000104 -"}, LineTexts());
}

TEST_F(FileTest, TwoMillionOctetsAreReadAndNotOneMore)
{
    PkgsignBytes pem = Pem(PKGSIGN_LABEL_CERTIFICATE, AllParties().root.certificate);
    pem.resize(LARGEST, '\n');
    EXPECT_STATUS(SIGKIT_OK, SigkitVerifyAddCertFile(ctx, Write("largest", pem).c_str()));
    pem.push_back('\n');
    EXPECT_STATUS(SIGKIT_ERR_FILE_TOO_BIG, SigkitVerifyAddCertFile(ctx, Write("larger", pem).c_str()));
    EXPECT_EQ(Texts{"E SigkitVerifyAddCertFile 88000106 -"}, LineTexts());
}

TEST_F(FileTest, AShortReadIsAFailure)
{
    const std::string path = Write("root", AllParties().root.certificate);
    g_recordingHost.toldFileSize = AllParties().root.certificate.size() + 1;
    EXPECT_STATUS(SIGKIT_ERR_FILE_READ, SigkitVerifyAddCertFile(ctx, path.c_str()));
    EXPECT_EQ(Texts{"E SigkitVerifyAddCertFile 88000102 -"}, LineTexts());
}

TEST_F(FileTest, AFailedCloseIsOnlyAWarning)
{
    g_recordingHost.fileClose.failAt = 1;
    const std::string path = Write("root", AllParties().root.certificate);
    EXPECT_STATUS(SIGKIT_OK, SigkitVerifyAddCertFile(ctx, path.c_str()));
    EXPECT_EQ(Texts{"W InternalCloseFile ffffffff -"}, LineTexts());
}

TEST_F(FileTest, WithoutMemoryNothingIsRead)
{
    const std::string path = Write("root", AllParties().root.certificate);
    FailAllocation(1);
    EXPECT_STATUS(SIGKIT_ERR_NO_MEMORY, SigkitVerifyAddCertFile(ctx, path.c_str()));
    EXPECT_EQ(0u, g_recordingHost.fileRead.calls);
}
