// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include <gtest/gtest.h>

#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include "sigkit/sigkit_host.h"
#include "tests/forge/forge.h"
#include "tests/support/process.h"

namespace
{

struct Files : testing::Test {
    TemporaryDirectory directory;

    std::string Write(const std::string &name, size_t size)
    {
        EXPECT_TRUE(forge::WriteFile(directory.File(name), forge::Bytes(size, 'x')).ok);
        return directory.File(name);
    }
};

} // namespace

TEST_F(Files, AreReadFromBeginningToEnd)
{
    void *const file = SigkitFileOpen(Write("file", 100).c_str(), "rb");
    ASSERT_NE(nullptr, file);
    char buffer[128] = {};
    EXPECT_EQ(64u, SigkitFileRead(buffer, 64, file));
    EXPECT_EQ(36u, SigkitFileRead(buffer, 64, file));
    EXPECT_EQ(0u, SigkitFileRead(buffer, 64, file));
    EXPECT_EQ('x', buffer[63]);
    EXPECT_EQ(0, SigkitFileClose(file));
}

TEST_F(Files, OpenAtTheSameTimeKeepTheirOwnOctets)
{
    // Larger than every buffer, so that each is filled again and again. Whichever of two goes, a third one comes.
    for (size_t i = 0; i < 3; ++i) {
        const forge::Bytes octets(100000, static_cast<uint8_t>('a' + i));
        ASSERT_TRUE(forge::WriteFile(directory.File(std::to_string(i)), octets).ok);
    }
    for (const size_t leaving : {size_t{0}, size_t{1}}) {
        void *files[3] = {};
        for (size_t i = 0; i < 2; ++i) {
            files[i] = SigkitFileOpen(directory.File(std::to_string(i)).c_str(), "rb");
        }
        char buffer[1000] = {};
        for (int round = 0; round < 100; ++round) {
            if (round == 50) {
                EXPECT_EQ(0, SigkitFileClose(files[leaving]));
                files[leaving] = nullptr;
                files[2] = SigkitFileOpen(directory.File("2").c_str(), "rb");
            }
            for (size_t i = 0; i < 3; ++i) {
                if (files[i] != nullptr) {
                    ASSERT_EQ(sizeof(buffer), SigkitFileRead(buffer, sizeof(buffer), files[i])) << round;
                    EXPECT_EQ(std::string(sizeof(buffer), static_cast<char>('a' + i)),
                              std::string(buffer, sizeof(buffer)))
                        << round;
                }
            }
        }
        EXPECT_EQ(0, SigkitFileClose(files[1 - leaving]));
        EXPECT_EQ(0, SigkitFileClose(files[2]));
    }
}

TEST_F(Files, ReportTheirSizeFromAnyPosition)
{
    void *const file = SigkitFileOpen(Write("file", 100).c_str(), "rb");
    ASSERT_NE(nullptr, file);
    char buffer[10] = {};
    ASSERT_EQ(10u, SigkitFileRead(buffer, 10, file));
    EXPECT_EQ(100u, SigkitFileGetSize(file));
    EXPECT_EQ(10, ftell(static_cast<FILE *>(file)));
    EXPECT_EQ(0, SigkitFileClose(file));
}

TEST_F(Files, OfTwoGigabytesAndMoreReportASizeThatIsRefused)
{
    const std::string path = Write("large", 1);
    const struct {
        off_t size;
        size_t reported;
    } rows[] = {{0x7FFFFFFF, 0x7FFFFFFF}, {0x80000000, SIZE_MAX - 0x7FFFFFFF}, {0x100000005, 5}};
    for (const auto &row : rows) {
        ASSERT_EQ(0, truncate(path.c_str(), row.size));
        void *const file = SigkitFileOpen(path.c_str(), "rb");
        ASSERT_NE(nullptr, file);
        EXPECT_EQ(row.reported, SigkitFileGetSize(file)) << "the position is kept in 32 bits";
        EXPECT_EQ(0, SigkitFileClose(file));
    }
}

TEST_F(Files, BehindTwoGigabytesReportNoSize)
{
    const std::string path = Write("large", 1);
    ASSERT_EQ(0, truncate(path.c_str(), 0x80000001));
    void *const file = SigkitFileOpen(path.c_str(), "rb");
    ASSERT_EQ(0, fseeko(static_cast<FILE *>(file), 0x80000000, SEEK_SET));
    EXPECT_EQ(0u, SigkitFileGetSize(file));
    EXPECT_EQ(0, SigkitFileClose(file));
}

TEST_F(Files, AreReadBeyondTwoGigabytes)
{
    const std::string path = Write("large", 1);
    ASSERT_EQ(0, truncate(path.c_str(), 0x80000010));
    void *const file = SigkitFileOpen(path.c_str(), "rb");
    ASSERT_NE(nullptr, file);
    ASSERT_EQ(0, fseeko(static_cast<FILE *>(file), 0x7FFFFFF0, SEEK_SET));
    char buffer[64];
    EXPECT_EQ(32u, SigkitFileRead(buffer, sizeof(buffer), file));
    EXPECT_EQ(0, SigkitFileClose(file));
}

TEST_F(Files, NullIsNoFile)
{
    EXPECT_EQ(0u, SigkitFileGetSize(nullptr));
    EXPECT_EQ(-1, SigkitFileClose(nullptr));
}

TEST_F(Files, ThatAreNotThereAreNotOpened)
{
    (void)Write("file", 1);
    EXPECT_EQ(nullptr, SigkitFileOpen(directory.File("missing").c_str(), "rb"));
    EXPECT_EQ(nullptr, SigkitFileOpen(directory.File("missing/../file").c_str(), "rb"));
    EXPECT_EQ(nullptr, SigkitFileOpen("", "rb"));
    EXPECT_EQ(nullptr, SigkitFileOpen(directory.File("missing").c_str(), "wb")) << "nothing is made";
}

TEST_F(Files, AreOpenedThroughALink)
{
    const std::string path = Write("file", 7);
    ASSERT_EQ(0, symlink(path.c_str(), directory.File("link").c_str()));
    void *const file = SigkitFileOpen(directory.File("link").c_str(), "rb");
    ASSERT_NE(nullptr, file);
    EXPECT_EQ(7u, SigkitFileGetSize(file));
    EXPECT_EQ(0, SigkitFileClose(file));
    ASSERT_EQ(0, symlink("loop", directory.File("loop").c_str()));
    EXPECT_EQ(nullptr, SigkitFileOpen(directory.File("loop").c_str(), "rb"));
}

TEST_F(Files, OfPathsOfMoreThan4095CharactersAreRefused)
{
    // The system itself takes no path of more than 4095 characters, so it cannot be seen who refuses these; neither may
    // write past an area.
    const std::string path = Write("file", 7);
    const std::string slashes(4096 - path.size(), '/');
    EXPECT_EQ(nullptr, SigkitFileOpen((slashes + path).c_str(), "rb"));
    EXPECT_EQ(nullptr, SigkitFileOpen(("/" + slashes + path).c_str(), "rb"));
    void *const file = SigkitFileOpen((slashes.substr(1) + path).c_str(), "rb");
    ASSERT_NE(nullptr, file);
    EXPECT_EQ(0, SigkitFileClose(file));
}
