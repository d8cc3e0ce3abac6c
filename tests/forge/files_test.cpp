// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/forge/support.h"

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
    ASSERT_TRUE(forge::WriteFile(Path("file"), std::string("short")).ok);
    forge::Bytes data;
    ASSERT_TRUE(forge::ReadFile(Path("file"), &data).ok);
    EXPECT_EQ(Octets("short"), data);
    size_t files = 0;
    for (const auto &entry : std::filesystem::directory_iterator(directory.path)) {
        files += entry.path().filename().string().rfind("file", 0) == 0 ? 1 : 0;
    }
    EXPECT_EQ(1u, files);
}

TEST_F(File, CannotReplaceADirectoryOrAPipe)
{
    EXPECT_FALSE(forge::WriteFile(directory.path, std::string("text")).ok);
    ASSERT_EQ(0, mkfifo(Path("pipe").c_str(), 0600)); // stands for every file that is not a regular one
    EXPECT_FALSE(forge::WriteFile(Path("pipe"), std::string("text")).ok);
    EXPECT_TRUE(std::filesystem::is_fifo(Path("pipe")));
    EXPECT_FALSE(forge::WriteFile(Path("missing/file"), std::string("text")).ok);
}

TEST_F(File, ThatIsMissingOrADirectoryIsNotRead)
{
    forge::Bytes data;
    const forge::Status status = forge::ReadFile(Path("missing"), &data);
    EXPECT_FALSE(status.ok);
    EXPECT_NE(std::string::npos, status.reason.find("missing"));
    EXPECT_FALSE(forge::ReadFile(directory.path, &data).ok);
}

TEST(Armour, HasLinesOf64Characters)
{
    const std::string text = forge::Armour(forge::LABEL_CMS, forge::Bytes(49, 0));
    EXPECT_EQ("-----BEGIN CMS-----\n" + std::string(64, 'A') + "\nAA==\n-----END CMS-----\n", text);
}

TEST(Armour, MayEndItsLinesWithCrLf)
{
    EXPECT_EQ("-----BEGIN X509 CRL-----\r\nAQID\r\n-----END X509 CRL-----\r\n",
              forge::Armour(forge::LABEL_CRL, {1, 2, 3}, forge::LineEnd::CrLf));
}

TEST(Armour, ComesOffInEitherLineEnd)
{
    const forge::Bytes data(1000, 0x5A);
    for (const forge::LineEnd lineEnd : {forge::LineEnd::Lf, forge::LineEnd::CrLf}) {
        forge::Bytes plain;
        ASSERT_TRUE(forge::Unarmour(Octets(forge::Armour(forge::LABEL_PKCS7, data, lineEnd)), &plain).ok);
        EXPECT_EQ(data, plain);
    }
}

TEST(Armour, AbsentMeansDer)
{
    forge::Bytes plain;
    ASSERT_TRUE(forge::Unarmour({0x30, 0x00}, &plain).ok);
    EXPECT_EQ((forge::Bytes{0x30, 0x00}), plain);
}

TEST(Armour, BrokenIsRefused)
{
    forge::Bytes plain;
    EXPECT_FALSE(forge::Unarmour(Octets("-----BEGIN CMS-----\nAQID\n"), &plain).ok);
    EXPECT_FALSE(forge::Unarmour(Octets("-----BEGIN CMS-----\n!!!!\n-----END CMS-----\n"), &plain).ok);
}

} // namespace
