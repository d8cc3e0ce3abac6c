// Base64 text at the edges of what is let through.
#include "verify/base64.h"

#include <string>
#include <vector>

#include "core/guard.h"
#include "sigkit/sigkit.h"
#include "tests/support/library_test.h"

namespace
{

using Bytes = std::vector<uint8_t>;
using Base64Lenience = LibraryTest;

struct Row {
    const char *name;
    std::string text;
    uint32_t room; // that is asked for
    Bytes bytes;   // that are written
};

uint32_t Decode(const std::string &text, uint8_t *output, uint32_t *len)
{
    return SigkitBase64Decode(text.data(), static_cast<int32_t>(text.size()), output, len);
}

void ExpectDecoded(const Row &row)
{
    SCOPED_TRACE(row.name);
    uint32_t room = 99;
    EXPECT_STATUS(SIGKIT_OK, Decode(row.text, nullptr, &room));
    EXPECT_EQ(row.room, room);
    Bytes output(row.room + 1, 0xEE);
    uint32_t len = row.room;
    EXPECT_STATUS(SIGKIT_OK, Decode(row.text, output.data(), &len));
    EXPECT_EQ(row.bytes, Bytes(output.begin(), output.begin() + static_cast<ptrdiff_t>(row.bytes.size())));
    EXPECT_EQ(row.bytes.size(), len);
    EXPECT_EQ(0xEE, output[row.room]) << "nothing beyond the room";
}

} // namespace

TEST_F(Base64Lenience, TextIsDecodedInGroupsOfFour)
{
    const Row rows[] = {
        {"no whole group", "Q", 1, {}},
        {"no whole group of two", "QU", 2, {}},
        {"no whole group of three", "QUI", 3, {}},
        {"a group and a half", "QUJDRE", 5, {0x41, 0x42, 0x43}},
        {"one padding alone", "=", 0, {}},
        {"two paddings alone", "==", 0, {}},
        {"one digit, one padding", "Q=", 1, {}},
        {"the smallest digits", "AAAA", 3, {0, 0, 0}},
        {"the largest digits", "////", 3, {0xFF, 0xFF, 0xFF}},
        {"the last digits of each range", "Zz9+", 3, {0x67, 0x3F, 0x7E}},
        {"the first digits of each range", "Aa0/", 3, {0x01, 0xAD, 0x3F}},
    };
    for (const Row &row : rows) {
        ExpectDecoded(row);
    }
}

TEST_F(Base64Lenience, LineEndsAndBlanksAreSkippedWhereTheyMayStand)
{
    const Bytes abc = {0x41, 0x42, 0x43};
    const Row rows[] = {
        {"a carriage return at the end counts for the room", "QUJD\r", 4, abc},
        {"two carriage returns before a line feed", "QU\r\r\nJD", 4, abc},
        {"a carriage return before whole groups", "\rQUJD", 4, abc},
        {"carriage returns before and between whole groups", "\r\rQUJD\rQUJD", 9, {0x41, 0x42, 0x43, 0x41, 0x42, 0x43}},
        {"a carriage return and a line feed at the end", "QUJD\r\n", 3, abc},
        {"a line feed first", "\nQUJD", 3, abc},
        {"line feeds in a row", "QU\n\n\nJD", 3, abc},
        {"blanks at the end of every line", "QU  \nJD  \r\n  ", 3, abc},
        {"a line end between paddings", "QQ=\n=", 1, {0x41}},
        {"blanks behind paddings", "QQ==   ", 1, {0x41}},
    };
    for (const Row &row : rows) {
        ExpectDecoded(row);
    }
}

TEST_F(Base64Lenience, CharactersOutsideTheAlphabetAreTheDigit63)
{
    const Row rows[] = {
        {"a tab", "Q\t==", 1, {0x43}},
        {"a minus sign", "Q-==", 1, {0x43}},
        {"a null character", std::string("Q\0==", 4), 1, {0x43}},
        {"the last character of seven bits", "Q\x7f==", 1, {0x43}},
        {"behind a padding", "QQ=*", 2, {0x41, 0x00}},
        {"a group behind the paddings, whose count is never forgotten", "QQ==****", 4, {0x41, 0xFF}},
        {"a group behind one padding", "QUI=****", 5, {0x41, 0x42, 0xFF, 0xFF}},
    };
    for (const Row &row : rows) {
        ExpectDecoded(row);
    }
}

TEST_F(Base64Lenience, WhatIsLeftIsRefused)
{
    const struct {
        const char *name;
        std::string text;
    } rows[] = {
        {"a blank first", " QUJD"},
        {"a blank at the beginning of a line", "QU\n JD"},
        {"a blank before a padding", "QQ =="},
        {"a blank between paddings", "QQ= ="},
        {"a blank before a character outside the alphabet", "QQ *="},
        {"a carriage return behind blanks at the end", "QUJD  \r"},
        {"a digit behind two paddings", "QQ==Q"},
        {"the digit 0 behind a padding", "QQ=A"},
        {"the digit 63 behind a padding", "QQ=/"},
        {"three paddings with a line end between", "QQ==\n="},
        {"the first octet of eight bits", "QQ=\x80"},
        {"the last octet of eight bits", "\xff"},
        {"a line end of two characters alone", "\r\n"},
        {"one blank", " "},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        uint8_t output[16] = {};
        uint32_t len = sizeof(output);
        EXPECT_STATUS(SIGKIT_ERR_BASE64, Decode(row.text, output, &len));
        EXPECT_STATUS(SIGKIT_ERR_BASE64, Decode(row.text, nullptr, &len));
        EXPECT_EQ(sizeof(output), len) << "the length is left alone";
    }
}

TEST_F(Base64Lenience, RoomIsComparedToTheOctet)
{
    uint8_t output[4] = {0xEE, 0xEE, 0xEE, 0xEE};
    for (const uint32_t tooSmall : {0u, 1u, 2u}) {
        uint32_t len = tooSmall;
        EXPECT_STATUS(SIGKIT_OK, Decode("QUJD", output, &len));
        EXPECT_EQ(3u, len);
        EXPECT_EQ(0xEE, output[0]);
    }
    uint32_t len = 3;
    EXPECT_STATUS(SIGKIT_OK, Decode("QUJD", output, &len));
    EXPECT_EQ((Bytes{0x41, 0x42, 0x43, 0xEE}), Bytes(output, output + 4));
}

TEST_F(Base64Lenience, OnlyTheGivenLengthIsRead)
{
    uint8_t output[8] = {};
    uint32_t len = sizeof(output);
    EXPECT_STATUS(SIGKIT_OK, SigkitBase64Decode("QUJD\x80", 4, output, &len));
    EXPECT_EQ(3u, len);
}

TEST_F(Base64Lenience, ABlockTellsWhatWasWritten)
{
    const std::string text = "QQ==****";
    uint8_t *data = nullptr;
    uint32_t len = 0;
    ASSERT_STATUS(SIGKIT_OK, InternalBase64Decode(text.data(), text.data() + text.size(), &data, &len));
    const InternalBytesGuard guard(data);
    EXPECT_EQ(4u, LastAllocationSize());
    ASSERT_EQ(2u, len);
    EXPECT_EQ(0x41, data[0]);
    EXPECT_EQ(0xFF, data[1]);
}

TEST_F(Base64Lenience, ABlockNeedsMemory)
{
    const std::string text = "QUJD";
    uint8_t *data = nullptr;
    uint32_t len = 7;
    FailAllocation(1);
    EXPECT_STATUS(SIGKIT_ERR_NO_MEMORY, InternalBase64Decode(text.data(), text.data() + text.size(), &data, &len));
    EXPECT_EQ(nullptr, data);
    EXPECT_EQ(7u, len);
    EXPECT_TRUE(Lines().empty());
}
