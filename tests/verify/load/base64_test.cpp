// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Base64 text: what is decoded, what is refused, and the edges of what is let through.
#include "verify/load/base64.h"

#include <string>
#include <vector>

#include "core/guard.h"
#include "sigkit/sigkit.h"
#include "tests/support/library_test.h"

namespace
{

using Bytes = std::vector<uint8_t>;
using Base64 = LibraryTest;
using Base64Lenience = LibraryTest;

uint32_t DecodeInto(uint8_t *output, uint32_t *len, const std::string &text)
{
    const std::vector<char> exact(text.begin(), text.end()); // no NUL behind it: a sanitizer sees who reads on
    return SigkitBase64Decode(exact.data(), static_cast<int32_t>(exact.size()), output, len);
}

struct Decoded {
    uint32_t status = 0;
    Bytes bytes;
};

Decoded Decode(const std::string &text, uint32_t room = 4096)
{
    Decoded decoded;
    Bytes output(room, 0xEE);
    uint32_t len = room;
    decoded.status = DecodeInto(output.data(), &len, text);
    if (decoded.status == SIGKIT_OK) {
        output.resize(len);
        decoded.bytes = output;
    }
    return decoded;
}

uint32_t NeededSpace(const std::string &text)
{
    uint32_t len = 0;
    EXPECT_STATUS(SIGKIT_OK, DecodeInto(nullptr, &len, text));
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

struct Row {
    const char *name;
    std::string text;
    uint32_t room; // that is asked for
    Bytes bytes;   // that are written
};

void ExpectDecoded(const Row &row)
{
    SCOPED_TRACE(row.name);
    uint32_t room = 99;
    EXPECT_STATUS(SIGKIT_OK, DecodeInto(nullptr, &room, row.text));
    EXPECT_EQ(row.room, room);
    Bytes output(row.room + 1, 0xEE);
    uint32_t len = row.room;
    EXPECT_STATUS(SIGKIT_OK, DecodeInto(output.data(), &len, row.text));
    EXPECT_EQ(row.bytes, Bytes(output.begin(), output.begin() + static_cast<ptrdiff_t>(row.bytes.size())));
    EXPECT_EQ(row.bytes.size(), len);
    EXPECT_EQ(0xEE, output[row.room]) << "nothing beyond the space";
}

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

TEST_F(Base64, ReturnsTheSpaceThatIsNeeded)
{
    EXPECT_EQ(1u, NeededSpace("QQ=="));
    EXPECT_EQ(2u, NeededSpace("QUI="));
    EXPECT_EQ(3u, NeededSpace("QUJD"));
    EXPECT_EQ(2u, NeededSpace("QQ")); // six bits more than an octet count as one
    EXPECT_EQ(6u, NeededSpace("QUJD\r\nREVG\r\n"));
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

TEST_F(Base64, ABlockOfNothingIsRefused)
{
    const std::string text = "====";
    uint8_t *data = nullptr;
    uint32_t len = 0;
    EXPECT_STATUS(SIGKIT_ERR_BASE64, InternalBase64Decode(text.data(), text.data() + 4, &data, &len));
    EXPECT_STATUS(SIGKIT_ERR_ARMOUR, InternalBase64Decode(text.data(), text.data() + 2, &data, &len));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, InternalBase64Decode(text.data(), text.data(), &data, &len));
    EXPECT_EQ(nullptr, data);
}

// ---- At the edges ---------------------------------------------------------------------------------------------------

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
        {"a carriage return at the end counts for the space", "QUJD\r", 4, abc},
        {"two carriage returns before a line feed", "QU\r\r\nJD", 4, abc},
        {"a carriage return inside a group", "QU\rJD", 4, abc},
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
        EXPECT_STATUS(SIGKIT_ERR_BASE64, DecodeInto(output, &len, row.text));
        EXPECT_STATUS(SIGKIT_ERR_BASE64, DecodeInto(nullptr, &len, row.text));
        EXPECT_EQ(sizeof(output), len) << "the length is left alone";
    }
}

TEST_F(Base64Lenience, SpaceIsComparedToTheOctet)
{
    uint8_t output[4] = {0xEE, 0xEE, 0xEE, 0xEE};
    for (const uint32_t tooSmall : {0u, 1u, 2u}) {
        uint32_t len = tooSmall;
        EXPECT_STATUS(SIGKIT_OK, DecodeInto(output, &len, "QUJD"));
        EXPECT_EQ(3u, len);
        EXPECT_EQ(0xEE, output[0]);
    }
    uint32_t len = 3;
    EXPECT_STATUS(SIGKIT_OK, DecodeInto(output, &len, "QUJD"));
    EXPECT_EQ((Bytes{0x41, 0x42, 0x43, 0xEE}), Bytes(output, output + 4));
}

TEST_F(Base64Lenience, OnlyTheGivenLengthIsRead)
{
    uint8_t output[8] = {};
    uint32_t len = sizeof(output);
    EXPECT_STATUS(SIGKIT_OK, SigkitBase64Decode("QUJD\x80", 4, output, &len));
    EXPECT_EQ(3u, len);
}

TEST_F(Base64Lenience, ABlockHoldsWhatWasWritten)
{
    const struct {
        std::string text;
        Bytes bytes;
    } rows[] = {{"QUJDRA==", {0x41, 0x42, 0x43, 0x44}}, {"QQ==****", {0x41, 0xFF}}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.text);
        uint8_t *data = nullptr;
        uint32_t len = 0;
        ASSERT_STATUS(SIGKIT_OK, InternalBase64Decode(row.text.data(), row.text.data() + row.text.size(), &data, &len));
        const InternalBytesGuard guard(data);
        EXPECT_EQ(4u, LastAllocationSize()) << "the space that is asked for";
        EXPECT_EQ(row.bytes, Bytes(data, data + len));
    }
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
    EXPECT_EQ(std::vector<std::string>{"E InternalBase64Decode 88000001 -"}, LineTexts());
}
