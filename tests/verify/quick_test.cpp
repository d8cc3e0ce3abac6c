// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Verification of files in one call.
#include <unistd.h>

#include <functional>

#include "tests/support/process.h"
#include "tests/verify/verify_fixture.h"

namespace
{

const char CONTENT[] = "f4d1b0 firmware.bin\n";

struct Quick : VerifyTest {
    TemporaryDirectory directory;
    std::string content;
    std::string signature;

    void SetUp() override
    {
        VerifyTest::SetUp();
        LoadTrust();
        content = Write("content", Octets(CONTENT));
        signature = Write("signature", MakeMessage(MessageRequest(CONTENT)));
    }

    std::string Write(const std::string &name, const forge::Bytes &bytes)
    {
        EXPECT_TRUE(forge::WriteFile(directory.File(name), bytes).ok);
        return directory.File(name);
    }

    uint32_t Verify(const std::string &contentPath, const std::string &signaturePath)
    {
        g_recordingHost.lines.clear();
        verdict = 7;
        return SigkitVerifyDetachSignatureQuick(ctx, contentPath.c_str(), signaturePath.c_str(), &verdict);
    }

    uint32_t Verify()
    {
        return Verify(content, signature);
    }
};

} // namespace

TEST_F(Quick, GivesTheVerdict)
{
    EXPECT_STATUS(SIGKIT_OK, Verify());
    EXPECT_EQ(1u, verdict);
    EXPECT_STATUS(SIGKIT_OK, Verify(Write("other", Octets("other")), signature));
    EXPECT_EQ(0u, verdict);
    EXPECT_STATUS(SIGKIT_OK, Verify()) << "one context serves any number of verifications";
    EXPECT_EQ(1u, verdict);
    EXPECT_TRUE(Lines().empty());
}

TEST_F(Quick, StreamsContentInPieces)
{
    for (const size_t size : {0u, 1u, 4095u, 4096u, 4097u, 100000u}) {
        const std::string text(size, 'x');
        const std::string path = Write("content", Octets(text));
        const std::string message = Write("message", MakeMessage(MessageRequest(text)));
        const uint32_t fed = g_recordingHost.mdUpdate.calls;
        EXPECT_STATUS(SIGKIT_OK, Verify(path, message));
        EXPECT_EQ(1u, verdict) << size;
        // The imprint and the token's content are hashed in one piece each.
        EXPECT_EQ((size + 4095) / 4096 + 2, g_recordingHost.mdUpdate.calls - fed);
    }
}

TEST_F(Quick, ContentThatChangesWhileItIsReadIsJudgedAsItWasRead)
{
    const std::string text(4 * 65536, 'x'); // more than the host reads ahead
    const std::string message = Write("message", MakeMessage(MessageRequest(text)));
    const struct {
        const char *name;
        std::function<void(const std::string &path)> change;
        uint32_t verdict;
    } rows[] = {
        {"shrinks", [](const std::string &path) { EXPECT_EQ(0, truncate(path.c_str(), 5000)); }, 0},
        {"is emptied", [](const std::string &path) { EXPECT_EQ(0, truncate(path.c_str(), 0)); }, 0},
        {"grows", [](const std::string &path) { EXPECT_EQ(0, truncate(path.c_str(), 5 * 65536)); }, 0},
        {"vanishes", [](const std::string &path) { EXPECT_EQ(0, unlink(path.c_str())); }, 1},
    };
    for (const auto &row : rows) {
        const std::string path = Write("content", Octets(text));
        uint32_t reads = 0;
        g_recordingHost.beforeFileRead = [&] {
            if (++reads == 3) { // the message, the first piece of the content, and now the second
                row.change(path);
            }
        };
        EXPECT_STATUS(SIGKIT_OK, Verify(path, message)) << row.name;
        EXPECT_EQ(row.verdict, verdict) << row.name;
    }
}

TEST_F(Quick, ASignatureFileThatChangesWhileItIsReadIsReadWholeOrNotAtAll)
{
    // The host reads 64 KiB ahead, when it asks for the size.
    const forge::Bytes message =
        Join({Pem(forge::LABEL_CMS, MakeMessage(MessageRequest(CONTENT))), Octets(std::string(65536, '\n'))});
    off_t size = static_cast<off_t>(message.size()) + 100;
    g_recordingHost.beforeFileRead = [&] { EXPECT_EQ(0, truncate(signature.c_str(), size)); };
    signature = Write("signature", message);
    EXPECT_STATUS(SIGKIT_OK, Verify());
    EXPECT_EQ(1u, verdict) << "it ends where it did when it was opened";
    size = 100;
    signature = Write("signature", message);
    EXPECT_STATUS(SIGKIT_ERR_FILE_READ, Verify());
}

TEST_F(Quick, AMissingOrEmptyPathIsLogged)
{
    EXPECT_STATUS(SIGKIT_ERR_FILE_OPEN, Verify(content, directory.File("missing")));
    EXPECT_EQ((Texts{"E InternalReadFile 88000101 Can not open file '" + directory.File("missing") + "'.",
                     "E SigkitVerifyDetachSignatureQuick 88000101 -"}),
              LineTexts());
    EXPECT_EQ(0u, verdict);
    EXPECT_STATUS(SIGKIT_ERR_FILE_OPEN, Verify(directory.File("missing"), signature));
    EXPECT_EQ((Texts{"E InternalUpdateContent 88000101 Can't open file '" + directory.File("missing") + "'.",
                     "E SigkitVerifyDetachSignatureQuick 88000101 -"}),
              LineTexts());
    EXPECT_STATUS(SIGKIT_OK, Final()) << "the check that was begun is still there";
    EXPECT_EQ(0u, verdict);
    EXPECT_STATUS(SIGKIT_ERR_PARAM, Verify("", signature));
    EXPECT_EQ(
        (Texts{"E InternalUpdateContent 88100001 Empty file path.", "E SigkitVerifyDetachSignatureQuick 88100001 -"}),
        LineTexts());
    EXPECT_STATUS(SIGKIT_OK, Final());
}

TEST_F(Quick, AnUpdateThatFailsIsLogged)
{
    forge::MessageRequest nobody = MessageRequest(CONTENT);
    nobody.signerInfoCount = 0;
    nobody.timestamp = forge::Timestamp::None;
    EXPECT_STATUS(SIGKIT_ERR_NOT_BEGUN, Verify(content, Write("nobody", MakeMessage(nobody))));
    EXPECT_EQ((Texts{"E SigkitVerifyDetachSignatureUpdate 88200307 -", "E InternalUpdateContent 88200307 -",
                     "E SigkitVerifyDetachSignatureQuick 88200307 -"}),
              LineTexts());
}

TEST_F(Quick, BeginAfterItReadsNoStaleMemory)
{
    ASSERT_STATUS(SIGKIT_OK, Verify());
    forge::MessageRequest again = MessageRequest(CONTENT);
    again.certificates = {}; // taken from the message whose buffer is gone
    again.tokenRequest.certificates = {};
    ASSERT_STATUS(SIGKIT_OK, Begin(again));
    ASSERT_STATUS(SIGKIT_OK, Update(CONTENT));
    EXPECT_STATUS(SIGKIT_OK, Final());
    EXPECT_EQ(1u, verdict);
}
