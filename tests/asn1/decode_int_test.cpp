// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/asn1/decode_fixture.h"

namespace
{

using der::Bytes;

const SigkitAsnTemplate kInt = EntryOf(&g_itemSigkitAsnInt);
const SigkitAsnTemplate kEnum = EntryOf(&g_itemSigkitAsnEnum);
const SigkitAsnTemplate kBool = EntryOf(&g_itemSigkitAsnBool);
const SigkitAsnTemplate kImplicitBool = EntryOf(&g_itemSigkitAsnBool, ASN_MODE_IMPLICIT, 2);
const SigkitAsnTemplate kImplicitInt = EntryOf(&g_itemSigkitAsnInt, ASN_MODE_IMPLICIT, 5);
const SigkitAsnTemplate kNoItem = EntryOf(nullptr);
const SigkitAsnTemplate kDroppedInt = FlaggedEntry(&g_itemSigkitAsnInt, SIGKIT_ASN_FLAG_IGNORE);
const SigkitAsnTemplate kDroppedBool = FlaggedEntry(&g_itemSigkitAsnBool, SIGKIT_ASN_FLAG_IGNORE);

// ---- Values --------------------------------------------------------------------------------------------------------

struct ValueCase {
    const char *name;
    const SigkitAsnTemplate *entry;
    Bytes input;
    uint32_t value;
};

const ValueCase kValueCases[] = {
    {"Zero", &kInt, {0x02, 0x01, 0x00}, 0},
    {"One", &kInt, {0x02, 0x01, 0x01}, 1},
    {"LargestOfOneOctet", &kInt, {0x02, 0x01, 0x7F}, 127},
    {"MinusOne", &kInt, {0x02, 0x01, 0xFF}, 0xFFFFFFFF},
    {"SmallestOfOneOctet", &kInt, {0x02, 0x01, 0x80}, 0xFFFFFF80},
    {"LeadingZeroMakesItPositive", &kInt, {0x02, 0x02, 0x00, 0xFF}, 255},
    {"TwoOctets", &kInt, {0x02, 0x02, 0x01, 0x02}, 0x0102},
    {"TwoNegativeOctets", &kInt, {0x02, 0x02, 0x80, 0x01}, 0xFFFF8001},
    {"ThreeOctets", &kInt, {0x02, 0x03, 0x01, 0x02, 0x03}, 0x010203},
    {"ThreeNegativeOctets", &kInt, {0x02, 0x03, 0xFE, 0x00, 0x00}, 0xFFFE0000},
    {"LargestOfFourOctets", &kInt, {0x02, 0x04, 0x7F, 0xFF, 0xFF, 0xFF}, 0x7FFFFFFF},
    {"SmallestOfFourOctets", &kInt, {0x02, 0x04, 0x80, 0x00, 0x00, 0x00}, 0x80000000},
    {"MinusOneInFourOctets", &kInt, {0x02, 0x04, 0xFF, 0xFF, 0xFF, 0xFF}, 0xFFFFFFFF},
    {"NeedlessLeadingZeros", &kInt, {0x02, 0x04, 0x00, 0x00, 0x00, 0x05}, 5},
    {"LongFormOfLength", &kInt, {0x02, 0x84, 0x00, 0x00, 0x00, 0x01, 0x05}, 5},
    {"ImplicitInteger", &kImplicitInt, {0x85, 0x01, 0x07}, 7},
    {"Enumerated", &kEnum, {0x0A, 0x01, 0x05}, 5},
    {"EnumeratedOfTwoOctets", &kEnum, {0x0A, 0x02, 0x01, 0x00}, 256},
    {"EnumeratedNegative", &kEnum, {0x0A, 0x01, 0xFF}, 0xFFFFFFFF},
    {"BooleanTrue", &kBool, {0x01, 0x01, 0xFF}, 1},
    {"BooleanFalse", &kBool, {0x01, 0x01, 0x00}, 0},
    {"BooleanOneIsFalse", &kBool, {0x01, 0x01, 0x01}, 0},
    {"BooleanFeIsFalse", &kBool, {0x01, 0x01, 0xFE}, 0},
    {"BooleanHighBitIsFalse", &kBool, {0x01, 0x01, 0x80}, 0},
    {"ImplicitBooleanTrue", &kImplicitBool, {0x82, 0x01, 0xFF}, 1},
    {"ImplicitBooleanOneIsFalse", &kImplicitBool, {0x82, 0x01, 0x01}, 0},
};

class DecodeIntValue : public DecodeTestWith<ValueCase>
{
};

TEST_P(DecodeIntValue, IsTheContentAsATwosComplement)
{
    uint32_t value = ANY_OUTPUT;
    ASSERT_STATUS(SIGKIT_OK, Decode(SigkitDecodeInt, GetParam().input, &value, GetParam().entry));
    EXPECT_EQ(GetParam().value, value);
    ExpectTaken(GetParam().input.size());
}

INSTANTIATE_TEST_SUITE_P(Cases, DecodeIntValue, ::testing::ValuesIn(kValueCases), CASE_NAME);

// ---- Refusals ------------------------------------------------------------------------------------------------------

struct IntRefusal {
    const char *name;
    const SigkitAsnTemplate *entry;
    Bytes input;
    uint32_t status;
};

const IntRefusal kRefused[] = {
    {"FiveOctetsAreRefused", &kInt, {0x02, 0x05, 0x00, 0x00, 0x00, 0x00, 0x01}, SIGKIT_ERR_ASN_INTEGER},
    {"FiveOctetsOfEnumeratedAreRefused", &kEnum, {0x0A, 0x05, 0x00, 0x00, 0x00, 0x00, 0x01}, SIGKIT_ERR_ASN_INTEGER},
    {"FiveOctetsOfBooleanAreTooLongFirst", &kBool, {0x01, 0x05, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}, SIGKIT_ERR_ASN_INTEGER},
    {"NoContentIsRefused", &kInt, {0x02, 0x00}, SIGKIT_ERR_ASN_INTEGER},
    {"NoContentBeforeOtherOctetsIsRefused", &kInt, {0x02, 0x00, 0x05}, SIGKIT_ERR_ASN_INTEGER},
    {"NoContentOfEnumeratedIsRefused", &kEnum, {0x0A, 0x00, 0x05}, SIGKIT_ERR_ASN_INTEGER},
    {"TwoOctetsOfBooleanAreRefused", &kBool, {0x01, 0x02, 0xFF, 0xFF}, SIGKIT_ERR_ASN_BOOLEAN},
    {"FourOctetsOfBooleanAreRefused", &kBool, {0x01, 0x04, 0xFF, 0xFF, 0xFF, 0xFF}, SIGKIT_ERR_ASN_BOOLEAN},
    {"NoContentOfBooleanBeforeOtherOctetsIsRefused", &kBool, {0x01, 0x00, 0xFF}, SIGKIT_ERR_ASN_BOOLEAN},
    {"OtherTypeIsRefused", &kInt, {0x0A, 0x01, 0x05}, SIGKIT_ERR_ASN_TAG},
    {"IntegerForEnumeratedIsRefused", &kEnum, {0x02, 0x01, 0x05}, SIGKIT_ERR_ASN_TAG},
    {"IntegerForBooleanIsRefused", &kBool, {0x02, 0x01, 0xFF}, SIGKIT_ERR_ASN_TAG},
    {"ConstructedIsRefused", &kInt, {0x22, 0x01, 0x05}, SIGKIT_ERR_ASN_TAG},
    {"OtherClassIsRefused", &kInt, {0x82, 0x01, 0x05}, SIGKIT_ERR_ASN_TAG},
    {"ImplicitWithOtherNumberIsRefused", &kImplicitBool, {0x81, 0x01, 0xFF}, SIGKIT_ERR_ASN_TAG},
    {"ImplicitWithUniversalTagIsRefused", &kImplicitBool, {0x01, 0x01, 0xFF}, SIGKIT_ERR_ASN_TAG},
    {"WithoutItemNothingMatches", &kNoItem, {0x02, 0x01, 0x05}, SIGKIT_ERR_ASN_TAG},
    {"WithoutItemNothingMatchesEvenDropped", &kNoItem, {0x05, 0x00}, SIGKIT_ERR_ASN_TAG},
    {"NothingToReadIsRefused", &kInt, {}, SIGKIT_ERR_BUFFER_END},
    {"MissingLengthIsRefused", &kInt, {0x02}, SIGKIT_ERR_BUFFER_END},
    {"LengthPastTheInputIsRefused", &kInt, {0x02, 0x02, 0x05}, SIGKIT_ERR_ASN_LENGTH},
    {"DroppedWithOtherTypeIsRefused", &kDroppedInt, {0x04, 0x01, 0x05}, SIGKIT_ERR_ASN_TAG},
    {"DroppedWithLengthPastTheInputIsRefused", &kDroppedInt, {0x02, 0x02, 0x05}, SIGKIT_ERR_ASN_LENGTH},
};

class DecodeIntRefusal : public DecodeTestWith<IntRefusal>
{
};

TEST_P(DecodeIntRefusal, LeavesTheCursor)
{
    uint32_t value = ANY_OUTPUT;
    EXPECT_STATUS(GetParam().status, Decode(SigkitDecodeInt, GetParam().input, &value, GetParam().entry));
    EXPECT_EQ(ANY_OUTPUT, value);
}

INSTANTIATE_TEST_SUITE_P(Cases, DecodeIntRefusal, ::testing::ValuesIn(kRefused), CASE_NAME);

using DecodeInt = DecodeTest;

TEST_F(DecodeInt, RefusesAnEmptyBooleanAtTheEndOfTheInput)
{
    uint32_t value = ANY_OUTPUT;
    EXPECT_STATUS(SIGKIT_ERR_ASN_INTEGER, Decode(SigkitDecodeInt, {0x01, 0x00}, &value, &kBool));
    EXPECT_EQ(ANY_OUTPUT, value);
}

TEST_F(DecodeInt, LogsItsCodeAloneWhenThereIsNoOutput)
{
    EXPECT_STATUS(SIGKIT_ERR_ASN_INTEGER, Decode(SigkitDecodeInt, {0x02, 0x01, 0x05}, nullptr, &kInt));
    EXPECT_EQ(std::vector<std::string>{"E SigkitDecodeInt 88300601 -"}, LineTexts());
    EXPECT_EQ(std::optional<std::string>(""), Lines().at(0).message);
}

TEST_F(DecodeInt, LogsNothingAboutAnIntegerThatIsTooLong)
{
    uint32_t value = 0;
    EXPECT_STATUS(SIGKIT_ERR_ASN_INTEGER, Decode(SigkitDecodeInt, {0x02, 0x05, 1, 2, 3, 4, 5}, &value, &kInt));
    EXPECT_TRUE(Lines().empty());
}

TEST_F(DecodeInt, DropsAnyContent)
{
    uint32_t value = ANY_OUTPUT;
    for (const Bytes &content : {Bytes{}, Bytes{0x05}, der::Fill(5, 0xFF), der::Fill(200, 0x11)}) {
        const Bytes element = der::IntegerRaw(content);
        ASSERT_STATUS(SIGKIT_OK, Decode(SigkitDecodeInt, element, &value, &kDroppedInt));
        ExpectTaken(element.size());
        ASSERT_STATUS(SIGKIT_OK, Decode(SigkitDecodeInt, element, nullptr, &kDroppedInt));
        ExpectTaken(element.size());
    }
    EXPECT_EQ(ANY_OUTPUT, value);
    EXPECT_TRUE(Lines().empty());
}

TEST_F(DecodeInt, DropsABooleanOfAnyLength)
{
    ASSERT_STATUS(SIGKIT_OK, Decode(SigkitDecodeInt, {0x01, 0x02, 0xAA, 0xBB}, nullptr, &kDroppedBool));
    ExpectTaken(4);
}

TEST_F(DecodeInt, RefusesANullEntryAndANullConsumedCount)
{
    uint32_t value = ANY_OUTPUT;
    EXPECT_STATUS(SIGKIT_ERR_PARAM, Decode(SigkitDecodeInt, {0x02, 0x01, 0x05}, &value, nullptr));
    buf.pos = PREFIX;
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitDecodeInt(&buf, &value, nullptr, &kInt));
    EXPECT_EQ(PREFIX, buf.pos);
    EXPECT_EQ(ANY_OUTPUT, value);
}

} // namespace
