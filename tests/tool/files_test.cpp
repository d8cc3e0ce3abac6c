#include <gtest/gtest.h>

#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include "pkgsign/pkgsign.h"
#include "sigkit/sigkit_host.h"
#include "tests/support/process.h"

namespace
{

struct Files : testing::Test {
    TemporaryDirectory directory;

    std::string Write(const std::string &name, size_t size)
    {
        EXPECT_TRUE(PkgsignWriteFile(directory.File(name), PkgsignBytes(size, 'x')).ok);
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
    // Larger than every buffer, so that each is filled again and again.
    std::string paths[3];
    for (int i = 0; i < 3; ++i) {
        paths[i] = directory.File(std::to_string(i));
        ASSERT_TRUE(PkgsignWriteFile(paths[i], PkgsignBytes(100000, static_cast<uint8_t>('a' + i))).ok);
    }
    void *files[3] = {SigkitFileOpen(paths[0].c_str(), "rb"), SigkitFileOpen(paths[1].c_str(), "rb"), nullptr};
    char buffer[1000] = {};
    for (int round = 0; round < 150; ++round) {
        if (round == 50) { // the first one goes, and the third comes
            EXPECT_EQ(0, SigkitFileClose(files[0]));
            files[0] = nullptr;
            files[2] = SigkitFileOpen(paths[2].c_str(), "rb");
        }
        for (int i = 0; i < 3; ++i) {
            if (files[i] != nullptr) {
                const size_t size = SigkitFileRead(buffer, sizeof(buffer), files[i]);
                EXPECT_EQ(std::string(size, static_cast<char>('a' + i)), std::string(buffer, size)) << round;
                EXPECT_EQ(i == 1 && round >= 100 ? 0u : sizeof(buffer), size) << round;
            }
        }
    }
    EXPECT_EQ(0, SigkitFileClose(files[1]));
    EXPECT_EQ(0, SigkitFileClose(files[2]));
}

TEST_F(Files, TellTheirSizeFromAnyPosition)
{
    void *const file = SigkitFileOpen(Write("file", 100).c_str(), "rb");
    ASSERT_NE(nullptr, file);
    char buffer[10] = {};
    ASSERT_EQ(10u, SigkitFileRead(buffer, 10, file));
    EXPECT_EQ(100u, SigkitFileGetSize(file));
    EXPECT_EQ(10, ftell(static_cast<FILE *>(file)));
    EXPECT_EQ(0, SigkitFileClose(file));
}

TEST_F(Files, OfTwoGigabytesAndMoreTellASizeThatIsRefused)
{
    const std::string path = Write("large", 1);
    const struct {
        off_t size;
        size_t told;
    } rows[] = {{0x7FFFFFFF, 0x7FFFFFFF}, {0x80000000, SIZE_MAX - 0x7FFFFFFF}, {0x100000005, 5}};
    for (const auto &row : rows) {
        ASSERT_EQ(0, truncate(path.c_str(), row.size));
        void *const file = SigkitFileOpen(path.c_str(), "rb");
        ASSERT_NE(nullptr, file);
        EXPECT_EQ(row.told, SigkitFileGetSize(file)) << "the position is kept in 32 bits";
        EXPECT_EQ(0, SigkitFileClose(file));
    }
}

TEST_F(Files, BehindTwoGigabytesTellNoSize)
{
    const std::string path = Write("large", 1);
    ASSERT_EQ(0, truncate(path.c_str(), 0x80000001));
    void *const file = SigkitFileOpen(path.c_str(), "rb");
    ASSERT_EQ(0, fseek(static_cast<FILE *>(file), 0x80000000, SEEK_SET));
    EXPECT_EQ(0u, SigkitFileGetSize(file));
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
    // The system itself takes no path of more than 4095 characters, so it cannot be seen who refuses these; neither may write past an area.
    const std::string path = Write("file", 7);
    const std::string slashes(4096 - path.size(), '/');
    EXPECT_EQ(nullptr, SigkitFileOpen((slashes + path).c_str(), "rb"));
    EXPECT_EQ(nullptr, SigkitFileOpen(("/" + slashes + path).c_str(), "rb"));
    void *const file = SigkitFileOpen((slashes.substr(1) + path).c_str(), "rb");
    ASSERT_NE(nullptr, file);
    EXPECT_EQ(0, SigkitFileClose(file));
}
