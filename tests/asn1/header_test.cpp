// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "asn1/header.h"

#include "tests/asn1/decode_fixture.h"

namespace
{

using der::Bytes;

// ---- Identifier octet ----------------------------------------------------------------------------------------------

struct TagCase {
    const char *name;
    uint8_t octet;
    uint32_t status;
    SigkitAsnTag tag;
};

const TagCase kTagCases[] = {
    {"Zero", 0x00, SIGKIT_OK, {0, 0, 0}},
    {"UniversalPrimitive", 0x02, SIGKIT_OK, {0, 0, 2}},
    {"UniversalConstructed", 0x30, SIGKIT_OK, {0, 1, 16}},
    {"Application", 0x41, SIGKIT_OK, {1, 0, 1}},
    {"ApplicationConstructed", 0x7E, SIGKIT_OK, {1, 1, 30}},
    {"ContextPrimitive", 0x81, SIGKIT_OK, {2, 0, 1}},
    {"ContextConstructed", 0xA3, SIGKIT_OK, {2, 1, 3}},
    {"Private", 0xC5, SIGKIT_OK, {3, 0, 5}},
    {"LargestNumber", 0x1E, SIGKIT_OK, {0, 0, 30}},
    {"LargestOfAll", 0xFE, SIGKIT_OK, {3, 1, 30}},
    {"HighTagNumberIsRefused", 0x1F, SIGKIT_ERR_ASN_TAG, {}},
    {"HighTagNumberConstructedIsRefused", 0x3F, SIGKIT_ERR_ASN_TAG, {}},
    {"HighTagNumberApplicationIsRefused", 0x5F, SIGKIT_ERR_ASN_TAG, {}},
    {"HighTagNumberContextIsRefused", 0xBF, SIGKIT_ERR_ASN_TAG, {}},
    {"HighTagNumberPrivateIsRefused", 0xFF, SIGKIT_ERR_ASN_TAG, {}},
};

class DecodeTag : public LibraryTestWith<TagCase>
{
};

TEST_P(DecodeTag, YieldsClassFlagAndNumber)
{
    const TagCase &c = GetParam();
    SigkitDecodeBuf buf = {&c.octet, 1, 0};
    SigkitAsnTag tag = {};
    EXPECT_STATUS(c.status, InternalDecTag(&buf, &tag));
    if (c.status == SIGKIT_OK) {
        EXPECT_EQ(c.tag.cls, tag.cls);
        EXPECT_EQ(c.tag.constructed, tag.constructed);
        EXPECT_EQ(c.tag.number, tag.number);
        EXPECT_EQ(1u, buf.pos);
    }
}

INSTANTIATE_TEST_SUITE_P(Cases, DecodeTag, ::testing::ValuesIn(kTagCases), CASE_NAME);

using DecodeTagAtTheEnd = LibraryTest;

TEST_F(DecodeTagAtTheEnd, ReportsTheEndOfTheInput)
{
    const uint8_t octet = 0x02;
    SigkitDecodeBuf buf = {&octet, 1, 1};
    SigkitAsnTag tag = {};
    EXPECT_STATUS(SIGKIT_ERR_BUFFER_END, InternalDecTag(&buf, &tag));
}

// ---- Length octets -------------------------------------------------------------------------------------------------

const char *const kNotSupported = "W InternalDecLen 88300101 indefinit length not supported.";
const char *const kOverflow = "E InternalDecLen 88300101 overflow length.";

struct LengthCase {
    const char *name;
    Bytes octets;
    size_t behind; // octets behind the length
    uint32_t status;
    uint32_t length;
    const char *line; // what is logged, or null
};

const LengthCase kLengthCases[] = {
    {"ShortFormZero", {0x00}, 0, SIGKIT_OK, 0, nullptr},
    {"ShortFormZeroBeforeOthers", {0x00}, 5, SIGKIT_OK, 0, nullptr},
    {"ShortForm", {0x05}, 5, SIGKIT_OK, 5, nullptr},
    {"ShortFormBeforeOthers", {0x05}, 6, SIGKIT_OK, 5, nullptr},
    {"LargestShortForm", {0x7F}, 127, SIGKIT_OK, 127, nullptr},
    {"LongFormOfOneOctet", {0x81, 0x80}, 128, SIGKIT_OK, 128, nullptr},
    {"LongFormOfTwoOctets", {0x82, 0x01, 0x02}, 258, SIGKIT_OK, 258, nullptr},
    {"LongFormOfThreeOctets", {0x83, 0x01, 0x00, 0x01}, 65537, SIGKIT_OK, 65537, nullptr},
    {"LongFormOfFourOctets", {0x84, 0x00, 0x01, 0x00, 0x00}, 65536, SIGKIT_OK, 65536, nullptr},
    {"LongFormWithLeadingZeros", {0x84, 0x00, 0x00, 0x00, 0x05}, 5, SIGKIT_OK, 5, nullptr},
    {"LongFormWhereTheShortWouldDo", {0x81, 0x05}, 5, SIGKIT_OK, 5, nullptr},
    {"LongFormOfZero", {0x81, 0x00}, 0, SIGKIT_OK, 0, nullptr},
    {"IndefiniteFormIsRefused", {0x80}, 5, SIGKIT_ERR_ASN_LENGTH, 0, kNotSupported},
    {"IndefiniteFormAtTheEndIsRefused", {0x80}, 0, SIGKIT_ERR_ASN_LENGTH, 0, kNotSupported},
    {"FiveLengthOctetsAreRefused", {0x85, 0x00, 0x00, 0x00, 0x00, 0x05}, 5, SIGKIT_ERR_ASN_LENGTH, 0, kNotSupported},
    {"MostLengthOctetsAreRefused", {0xFF}, 127, SIGKIT_ERR_ASN_LENGTH, 0, kNotSupported},
    {"OneMoreThanRemainsIsRefused", {0x06}, 5, SIGKIT_ERR_ASN_LENGTH, 0, kOverflow},
    {"OneWhereNothingRemainsIsRefused", {0x01}, 0, SIGKIT_ERR_ASN_LENGTH, 0, kOverflow},
    {"OneMoreThanRemainsInTheLongFormIsRefused", {0x82, 0x01, 0x01}, 256, SIGKIT_ERR_ASN_LENGTH, 0, kOverflow},
    {"LargestLengthIsRefused", {0x84, 0xFF, 0xFF, 0xFF, 0xFF}, 10, SIGKIT_ERR_ASN_LENGTH, 0, kOverflow},
    {"LengthThatWouldWrapToTheStartIsRefused", {0x84, 0xFF, 0xFF, 0xFF, 0xFA}, 5, SIGKIT_ERR_ASN_LENGTH, 0, kOverflow},
    {"SignBitOfTheLengthIsRefused", {0x84, 0x80, 0x00, 0x00, 0x00}, 5, SIGKIT_ERR_ASN_LENGTH, 0, kOverflow},
    {"NoLengthOctet", {}, 0, SIGKIT_ERR_BUFFER_END, 0, nullptr},
    {"FirstOfOneOctetIsMissing", {0x81}, 0, SIGKIT_ERR_BUFFER_END, 0, nullptr},
    {"LastOfTwoOctetsIsMissing", {0x82, 0x00}, 0, SIGKIT_ERR_BUFFER_END, 0, nullptr},
    {"LastOfFourOctetsIsMissing", {0x84, 0x00, 0x00, 0x00}, 0, SIGKIT_ERR_BUFFER_END, 0, nullptr},
};

class DecodeLength : public LibraryTestWith<LengthCase>
{
};

TEST_P(DecodeLength, YieldsTheLengthOrSaysWhyNot)
{
    const LengthCase &c = GetParam();
    const Bytes input = der::Concatenate({{0x04}, c.octets, der::Fill(c.behind, 0xAA)});
    SigkitDecodeBuf buf = {input.data(), static_cast<uint32_t>(input.size()), 1};
    uint32_t length = 0;
    EXPECT_STATUS(c.status, InternalDecLen(&buf, &length));
    if (c.status == SIGKIT_OK) {
        EXPECT_EQ(c.length, length);
        EXPECT_EQ(1 + c.octets.size(), buf.pos);
    }
    const std::vector<std::string> lines =
        c.line == nullptr ? std::vector<std::string>() : std::vector{std::string(c.line)};
    EXPECT_EQ(lines, LineTexts());
}

INSTANTIATE_TEST_SUITE_P(Cases, DecodeLength, ::testing::ValuesIn(kLengthCases), CASE_NAME);

// ---- Expected header -----------------------------------------------------------------------------------------------

struct HeaderCase {
    const char *name;
    Bytes input;
    uint16_t mode;
    uint32_t tagNo;
    uint32_t constructed;
    uint32_t tag;
    uint32_t status;
    uint32_t length;
};

const HeaderCase kHeaderCases[] = {
    {"Universal", {0x30, 0x01, 0xAA}, 0, 0, 1, 16, SIGKIT_OK, 1},
    {"UniversalIgnoresTheTagNumberOfTheEntry", {0x30, 0x00}, 0, 7, 1, 16, SIGKIT_OK, 0},
    {"InsideAnExplicitWrapperTheTagIsUniversal", {0x02, 0x01, 0xAA}, 1, 0, 0, 2, SIGKIT_OK, 1},
    {"Implicit", {0xA1, 0x02, 0xAA, 0xAA}, 2, 1, 1, 16, SIGKIT_OK, 2},
    {"ImplicitPrimitive", {0x81, 0x01, 0xAA}, 2, 1, 0, 3, SIGKIT_OK, 1},
    {"OtherNumberIsRefused", {0x31, 0x00}, 0, 0, 1, 16, SIGKIT_ERR_ASN_TAG, 0},
    {"OtherClassIsRefused", {0xB0, 0x00}, 0, 0, 1, 16, SIGKIT_ERR_ASN_TAG, 0},
    {"PrimitiveForConstructedIsRefused", {0x10, 0x00}, 0, 0, 1, 16, SIGKIT_ERR_ASN_TAG, 0},
    {"ConstructedForPrimitiveIsRefused", {0x22, 0x00}, 0, 0, 0, 2, SIGKIT_ERR_ASN_TAG, 0},
    {"ImplicitWithOtherNumberIsRefused", {0xA2, 0x00}, 2, 1, 1, 16, SIGKIT_ERR_ASN_TAG, 0},
    {"ImplicitWithUniversalClassIsRefused", {0x30, 0x00}, 2, 16, 1, 16, SIGKIT_ERR_ASN_TAG, 0},
    {"ImplicitWithApplicationClassIsRefused", {0x61, 0x00}, 2, 1, 1, 16, SIGKIT_ERR_ASN_TAG, 0},
    {"ImplicitPrimitiveForConstructedIsRefused", {0x81, 0x00}, 2, 1, 1, 16, SIGKIT_ERR_ASN_TAG, 0},
    {"NoTagNumberIsEverTheUnknownOne", {0x05, 0x00}, 0, 0, 0, SIGKIT_ASN_TAG_NONE, SIGKIT_ERR_ASN_TAG, 0},
    {"HighTagNumberIsRefused", {0x3F, 0x10, 0x00}, 0, 0, 1, 16, SIGKIT_ERR_ASN_TAG, 0},
    {"LengthPastTheInputIsRefused", {0x30, 0x02, 0xAA}, 0, 0, 1, 16, SIGKIT_ERR_ASN_LENGTH, 0},
    {"IndefiniteLengthIsRefused", {0x30, 0x80, 0x00, 0x00}, 0, 0, 1, 16, SIGKIT_ERR_ASN_LENGTH, 0},
    {"MissingLengthIsRefused", {0x30}, 0, 0, 1, 16, SIGKIT_ERR_BUFFER_END, 0},
};

class ParseContent : public LibraryTestWith<HeaderCase>
{
};

TEST_P(ParseContent, WantsExactlyTheExpectedIdentifier)
{
    const HeaderCase &c = GetParam();
    const SigkitAsnTemplate entry = EntryOf(&g_itemSigkitAsnOcts, c.mode, c.tagNo);
    SigkitDecodeBuf buf = {c.input.data(), static_cast<uint32_t>(c.input.size()), 0};
    uint32_t length = 0;
    EXPECT_STATUS(c.status, InternalAsn1ParseContent(&buf, entry, c.constructed, c.tag, &length));
    if (c.status == SIGKIT_OK) {
        EXPECT_EQ(c.length, length);
        EXPECT_EQ(2u, buf.pos);
    }
}

INSTANTIATE_TEST_SUITE_P(Cases, ParseContent, ::testing::ValuesIn(kHeaderCases), CASE_NAME);

} // namespace
