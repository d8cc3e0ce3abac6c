#include "tests/pkgsign/support.h"

#include <sys/stat.h>

#include <filesystem>

namespace
{
class File : public InDirectory
{
};

TEST_F(File, IsReplacedWholeAndLeavesNothingBeside)
{
    Save("file", std::string("a longer text than the next"));
    ASSERT_TRUE(PkgsignWriteFile(Path("file"), std::string("short")).ok);
    PkgsignBytes data;
    ASSERT_TRUE(PkgsignReadFile(Path("file"), &data).ok);
    EXPECT_EQ(Octets("short"), data);
    size_t files = 0;
    for (const auto &entry : std::filesystem::directory_iterator(directory.path)) {
        files += entry.path().filename().string().rfind("file", 0) == 0 ? 1 : 0;
    }
    EXPECT_EQ(1u, files);
}

TEST_F(File, CannotReplaceADirectoryOrAPipe)
{
    EXPECT_FALSE(PkgsignWriteFile(directory.path, std::string("text")).ok);
    ASSERT_EQ(0, mkfifo(Path("pipe").c_str(), 0600)); // stands for every file that is not a regular one
    EXPECT_FALSE(PkgsignWriteFile(Path("pipe"), std::string("text")).ok);
    EXPECT_TRUE(std::filesystem::is_fifo(Path("pipe")));
    EXPECT_FALSE(PkgsignWriteFile(Path("missing/file"), std::string("text")).ok);
}

TEST_F(File, ThatIsMissingOrADirectoryIsNotRead)
{
    PkgsignBytes data;
    const PkgsignStatus status = PkgsignReadFile(Path("missing"), &data);
    EXPECT_FALSE(status.ok);
    EXPECT_NE(std::string::npos, status.reason.find("missing"));
    EXPECT_FALSE(PkgsignReadFile(directory.path, &data).ok);
}

TEST(Armour, HasLinesOf64Characters)
{
    const std::string text = PkgsignArmour(PKGSIGN_LABEL_CMS, PkgsignBytes(49, 0));
    EXPECT_EQ("-----BEGIN CMS-----\n" + std::string(64, 'A') + "\nAA==\n-----END CMS-----\n", text);
}

TEST(Armour, MayEndItsLinesWithCrLf)
{
    EXPECT_EQ("-----BEGIN X509 CRL-----\r\nAQID\r\n-----END X509 CRL-----\r\n",
              PkgsignArmour(PKGSIGN_LABEL_CRL, {1, 2, 3}, PkgsignLineEnd::CrLf));
}

TEST(Armour, ComesOffInEitherLineEnd)
{
    const PkgsignBytes data(1000, 0x5A);
    for (const PkgsignLineEnd lineEnd : {PkgsignLineEnd::Lf, PkgsignLineEnd::CrLf}) {
        PkgsignBytes plain;
        ASSERT_TRUE(PkgsignUnarmour(Octets(PkgsignArmour(PKGSIGN_LABEL_PKCS7, data, lineEnd)), &plain).ok);
        EXPECT_EQ(data, plain);
    }
}

TEST(Armour, AbsentMeansDer)
{
    PkgsignBytes plain;
    ASSERT_TRUE(PkgsignUnarmour({0x30, 0x00}, &plain).ok);
    EXPECT_EQ((PkgsignBytes{0x30, 0x00}), plain);
}

TEST(Armour, BrokenIsRefused)
{
    PkgsignBytes plain;
    EXPECT_FALSE(PkgsignUnarmour(Octets("-----BEGIN CMS-----\nAQID\n"), &plain).ok);
    EXPECT_FALSE(PkgsignUnarmour(Octets("-----BEGIN CMS-----\n!!!!\n-----END CMS-----\n"), &plain).ok);
}

} // namespace
