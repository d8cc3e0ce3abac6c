#include "verify/base64.h"

#include <string>
#include <vector>

#include "core/guard.h"
#include "sigkit/sigkit.h"
#include "tests/support/library_test.h"

namespace
{

using Bytes = std::vector<uint8_t>;
using Base64 = LibraryTest;

struct Decoded {
    uint32_t status = 0;
    Bytes bytes;
};

Decoded Decode(const std::string &text, uint32_t room = 4096)
{
    Decoded decoded;
    Bytes output(room, 0xEE);
    uint32_t len = room;
    decoded.status = SigkitBase64Decode(text.data(), static_cast<int32_t>(text.size()), output.data(), &len);
    if (decoded.status == SIGKIT_OK) {
        output.resize(len);
        decoded.bytes = output;
    }
    return decoded;
}

uint32_t NeededRoom(const std::string &text)
{
    uint32_t len = 0;
    EXPECT_STATUS(SIGKIT_OK, SigkitBase64Decode(text.data(), static_cast<int32_t>(text.size()), nullptr, &len));
    return len;
}

struct Valid {
    const char *text;
    Bytes bytes;
};

struct Invalid {
    const char *name;
    std::string text;
};

} // namespace

TEST_F(Base64, DecodesWhatItShould)
{
    const Valid rows[] = {
        {"QQ==", {0x41}},
        {"QUI=", {0x41, 0x42}},
        {"QUJD", {0x41, 0x42, 0x43}},
        {"QUJDREVG", {0x41, 0x42, 0x43, 0x44, 0x45, 0x46}},
        {"AAECAwQF", {0, 1, 2, 3, 4, 5}},
        {"+/+/", {0xFB, 0xFF, 0xBF}},
        {"QUJD\r\nREVG", {0x41, 0x42, 0x43, 0x44, 0x45, 0x46}},
        {"QUJD\nREVG\n", {0x41, 0x42, 0x43, 0x44, 0x45, 0x46}},
        {"\r\nQUJD\r\n", {0x41, 0x42, 0x43}},
        {"QUJD   ", {0x41, 0x42, 0x43}},                        // blanks at the end
        {"QUJD  \nREVG", {0x41, 0x42, 0x43, 0x44, 0x45, 0x46}}, // blanks before a line end
        {"QUJD  \r\nREVG", {0x41, 0x42, 0x43, 0x44, 0x45, 0x46}},
        {"Q*==", {0x43}}, // outside the alphabet: the digit 63
    };
    for (const Valid &row : rows) {
        SCOPED_TRACE(row.text);
        const Decoded decoded = Decode(row.text);
        EXPECT_STATUS(SIGKIT_OK, decoded.status);
        EXPECT_EQ(row.bytes, decoded.bytes);
    }
}

TEST_F(Base64, RefusesWhatItShould)
{
    const Invalid rows[] = {
        {"three paddings", "QQ==="},
        {"a blank inside", "Q Q=="},
        {"a digit behind a padding", "QQ=Q"},
        {"an octet above 127", "QQ\x80="},
        {"only line ends", "\n\n"},
        {"only blanks", "   "},
        {"a carriage return behind a blank", "QUJD \rQUJD"},
    };
    for (const Invalid &row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_STATUS(SIGKIT_ERR_BASE64, Decode(row.text).status);
    }
}

TEST_F(Base64, RefusesMissingArguments)
{
    uint8_t output[8] = {};
    uint32_t len = sizeof(output);
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitBase64Decode(nullptr, 4, output, &len));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitBase64Decode("QQ==", 0, output, &len));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitBase64Decode("QQ==", 4, output, nullptr));
    EXPECT_STATUS(SIGKIT_ERR_BASE64, SigkitBase64Decode("QQ==", -1, output, &len));
}

TEST_F(Base64, TellsTheRoomThatIsNeeded)
{
    EXPECT_EQ(1u, NeededRoom("QQ=="));
    EXPECT_EQ(2u, NeededRoom("QUI="));
    EXPECT_EQ(3u, NeededRoom("QUJD"));
    EXPECT_EQ(2u, NeededRoom("QQ")); // six bits more than an octet count as one
    EXPECT_EQ(6u, NeededRoom("QUJD\r\nREVG\r\n"));
}

TEST_F(Base64, ATooSmallAreaIsAskedForRoomAsWell)
{
    uint8_t output[3] = {0xEE, 0xEE, 0xEE};
    uint32_t len = 2;
    EXPECT_STATUS(SIGKIT_OK, SigkitBase64Decode("QUJD", 4, output, &len));
    EXPECT_EQ(3u, len);
    EXPECT_EQ(0xEE, output[0]);
    EXPECT_STATUS(SIGKIT_OK, SigkitBase64Decode("QUJD", 4, output, &len));
    EXPECT_EQ(0x41, output[0]);
}

TEST_F(Base64, ACarriageReturnAloneCountsForTheRoomAndIsSkipped)
{
    EXPECT_EQ(4u, NeededRoom("QU\rJD"));
    EXPECT_EQ((Bytes{0x41, 0x42, 0x43}), Decode("QU\rJD").bytes);
}

TEST_F(Base64, TheTableIsTheAlphabet)
{
    const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=";
    for (uint32_t character = 0; character < 128; ++character) {
        const size_t place = alphabet.find(static_cast<char>(character));
        EXPECT_EQ(place == std::string::npos || character == 0 ? 127u : place, g_skvBase64DecMap[character])
            << character;
    }
}

TEST_F(Base64, ABlockIsAllocatedAsLongAsWhatIsWritten)
{
    const std::string text = "QUJDRA==";
    uint8_t *data = nullptr;
    uint32_t len = 0;
    ASSERT_STATUS(SIGKIT_OK, InternalBase64Decode(text.data(), text.data() + text.size(), &data, &len));
    const InternalBytesGuard guard(data);
    EXPECT_EQ(4u, len);
    EXPECT_EQ(0x44, data[3]);
}

TEST_F(Base64, ABlockOfNothingIsRefused)
{
    const std::string text = "====";
    uint8_t *data = nullptr;
    uint32_t len = 0;
    EXPECT_STATUS(SIGKIT_ERR_BASE64, InternalBase64Decode(text.data(), text.data() + 4, &data, &len));
    EXPECT_STATUS(SIGKIT_ERR_ARMOUR, InternalBase64Decode("==", &("=="[2]), &data, &len));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, InternalBase64Decode(text.data(), text.data(), &data, &len));
    EXPECT_EQ(nullptr, data);
}
