// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/asn1/decode_fixture.h"

namespace
{

using der::Bytes;

const SigkitAsnTemplate kBits = EntryOf(&g_itemSigkitAsnBits);
const SigkitAsnTemplate kImplicitBits = EntryOf(&g_itemSigkitAsnBits, ASN_MODE_IMPLICIT, 1);
const SigkitAsnTemplate kDroppedBits = FlaggedEntry(&g_itemSigkitAsnBits, SIGKIT_ASN_FLAG_IGNORE);

struct BitsCase {
    const char *name;
    const SigkitAsnTemplate *entry;
    Bytes input;
    uint32_t status;
};

const BitsCase kRefused[] = {
    {"ConstructedIsRefused", &kBits, {0x23, 0x02, 0x00, 0xAA}, SIGKIT_ERR_ASN_TAG},
    {"OtherTypeIsRefused", &kBits, {0x04, 0x02, 0x00, 0xAA}, SIGKIT_ERR_ASN_TAG},
    {"OtherClassIsRefused", &kBits, {0x83, 0x02, 0x00, 0xAA}, SIGKIT_ERR_ASN_TAG},
    {"ImplicitWithOtherNumberIsRefused", &kImplicitBits, {0x82, 0x02, 0x00, 0xAA}, SIGKIT_ERR_ASN_TAG},
    {"ImplicitConstructedIsRefused", &kImplicitBits, {0xA1, 0x02, 0x00, 0xAA}, SIGKIT_ERR_ASN_TAG},
    {"ImplicitWithUniversalTagIsRefused", &kImplicitBits, {0x03, 0x02, 0x00, 0xAA}, SIGKIT_ERR_ASN_TAG},
    {"EmptyIsRefused", &kBits, {0x03, 0x00}, SIGKIT_ERR_ASN_BITS},
    {"EmptyBeforeOtherOctetsIsRefused", &kBits, {0x03, 0x00, 0x00, 0x00}, SIGKIT_ERR_ASN_BITS},
    {"EmptyIsRefusedEvenWhenDropped", &kDroppedBits, {0x03, 0x00}, SIGKIT_ERR_ASN_BITS},
    {"NothingToReadIsRefused", &kBits, {}, SIGKIT_ERR_BUFFER_END},
    {"MissingLengthIsRefused", &kBits, {0x03}, SIGKIT_ERR_BUFFER_END},
    {"LengthPastTheInputIsRefused", &kBits, {0x03, 0x03, 0x00, 0xAA}, SIGKIT_ERR_ASN_LENGTH},
};

class DecodeBitsRefusal : public DecodeTestWith<BitsCase>
{
};

TEST_P(DecodeBitsRefusal, LeavesTheCursor)
{
    SigkitAsnOcts view = {};
    EXPECT_STATUS(GetParam().status, Decode(SigkitDecodeBits, GetParam().input, &view, GetParam().entry));
}

INSTANTIATE_TEST_SUITE_P(Cases, DecodeBitsRefusal, ::testing::ValuesIn(kRefused), CASE_NAME);

using DecodeBits = DecodeTest;

TEST_F(DecodeBits, ShowsTheOctetsBehindTheCountOfUnusedBits)
{
    SigkitAsnOcts view = StaleView();
    ASSERT_STATUS(SIGKIT_OK, Decode(SigkitDecodeBits, {0x03, 0x03, 0x00, 0xAA, 0xBB}, &view, &kBits));
    ExpectView(view, 3, 2, 0, 0, 3);
    ExpectTaken(5);
}

TEST_F(DecodeBits, DoesNotLookAtTheCountOfUnusedBits)
{
    for (const uint8_t unused : Bytes{0x00, 0x07, 0x08, 0xFF}) {
        SigkitAsnOcts view = {};
        ASSERT_STATUS(SIGKIT_OK, Decode(SigkitDecodeBits, {0x03, 0x02, unused, 0xAA}, &view, &kBits));
        ExpectView(view, 3, 1, 0, 0, 3);
    }
}

TEST_F(DecodeBits, KeepsALeadingZeroOctet)
{
    SigkitAsnOcts view = {};
    ASSERT_STATUS(SIGKIT_OK, Decode(SigkitDecodeBits, {0x03, 0x03, 0x00, 0x00, 0xBB}, &view, &kBits));
    ExpectView(view, 3, 2, 0, 0, 3);
}

TEST_F(DecodeBits, StoresTheImplicitTagThatItRead)
{
    SigkitAsnOcts view = {};
    ASSERT_STATUS(SIGKIT_OK, Decode(SigkitDecodeBits, {0x81, 0x02, 0x00, 0xAA}, &view, &kImplicitBits));
    ExpectView(view, 3, 1, 2, 0, 1);
    ExpectTaken(4);
}

TEST_F(DecodeBits, ShowsNothingWhenThereIsOnlyTheCountOfUnusedBits)
{
    SigkitAsnOcts view = StaleView();
    ASSERT_STATUS(SIGKIT_OK, Decode(SigkitDecodeBits, {0x03, 0x01, 0x00}, &view, &kBits));
    EXPECT_EQ(0u, view.len);
    EXPECT_EQ(nullptr, view.data);
    ExpectTaken(3);
}

TEST_F(DecodeBits, DropsWithoutTouchingAnOutput)
{
    SigkitAsnOcts view = StaleView();
    ASSERT_STATUS(SIGKIT_OK, Decode(SigkitDecodeBits, {0x03, 0x03, 0x00, 0xAA, 0xBB}, &view, &kDroppedBits));
    ExpectTaken(5);
    EXPECT_EQ(9u, view.len);
    ASSERT_STATUS(SIGKIT_OK, Decode(SigkitDecodeBits, {0x03, 0x03, 0x00, 0xAA, 0xBB}, nullptr, &kDroppedBits));
    ExpectTaken(5);
}

TEST_F(DecodeBits, RefusesANullOutput)
{
    EXPECT_STATUS(SIGKIT_ERR_ASN_BITS, Decode(SigkitDecodeBits, {0x03, 0x02, 0x00, 0xAA}, nullptr, &kBits));
}

TEST_F(DecodeBits, RefusesANullEntryAndANullConsumedCount)
{
    SigkitAsnOcts view = {};
    EXPECT_STATUS(SIGKIT_ERR_PARAM, Decode(SigkitDecodeBits, {0x03, 0x02, 0x00, 0xAA}, &view, nullptr));
    buf.pos = PREFIX;
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitDecodeBits(&buf, &view, nullptr, &kBits));
    EXPECT_EQ(PREFIX, buf.pos);
}

} // namespace
