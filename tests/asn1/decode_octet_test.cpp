// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/asn1/decode_fixture.h"

namespace
{

using der::Bytes;

const SigkitAsnTemplate kAny = EntryOf(&g_itemSigkitAsnOcts);

// ---- Which elements match ------------------------------------------------------------------------------------------

struct MatchCase {
    const char *name;
    const SigkitAsnItem *item;
    uint16_t mode;
    uint32_t tagNo;
    Bytes input;
    uint32_t status;
};

const MatchCase kMatchCases[] = {
    {"AnyItemTakesAPrimitive", &g_itemSigkitAsnOcts, 0, 0, {0x04, 0x01, 0xAA}, SIGKIT_OK},
    {"AnyItemTakesAConstructed", &g_itemSigkitAsnOcts, 0, 0, {0x30, 0x01, 0xAA}, SIGKIT_OK},
    {"AnyItemTakesContextClass", &g_itemSigkitAsnOcts, 0, 0, {0xA0, 0x01, 0xAA}, SIGKIT_OK},
    {"AnyItemTakesPrivateClass", &g_itemSigkitAsnOcts, 0, 0, {0xFE, 0x01, 0xAA}, SIGKIT_OK},
    {"SequenceItemTakesASequence", &g_itemSigkitAsnSeq, 0, 0, {0x30, 0x01, 0xAA}, SIGKIT_OK},
    {"SetItemTakesASet", &g_itemSigkitAsnSet, 0, 0, {0x31, 0x01, 0xAA}, SIGKIT_OK},
    {"IntegerItemTakesAnInteger", &g_itemSigkitAsnBigint, 0, 0, {0x02, 0x01, 0xAA}, SIGKIT_OK},
    {"NoItemTakesAnything", nullptr, 0, 0, {0xE5, 0x01, 0xAA}, SIGKIT_OK},
    {"NoItemTakesAnythingEvenImplicit", nullptr, 2, 3, {0xE5, 0x01, 0xAA}, SIGKIT_OK},
    {"ImplicitAnyItemTakesItsNumber", &g_itemSigkitAsnOcts, 2, 3, {0x83, 0x01, 0xAA}, SIGKIT_OK},
    {"ImplicitAnyItemTakesItsNumberConstructed", &g_itemSigkitAsnOcts, 2, 3, {0xA3, 0x01, 0xAA}, SIGKIT_OK},
    {"ImplicitSequenceItemTakesItsNumber", &g_itemSigkitAsnSeq, 2, 1, {0xA1, 0x01, 0xAA}, SIGKIT_OK},
    {"ExplicitEntryTakesTheItemsOwnTag", &g_itemSigkitAsnSeq, 1, 1, {0x30, 0x01, 0xAA}, SIGKIT_OK},
    {"OtherNumberIsRefused", &g_itemSigkitAsnSeq, 0, 0, {0x31, 0x01, 0xAA}, SIGKIT_ERR_ASN_OCTETS_TAG},
    {"OtherClassIsRefused", &g_itemSigkitAsnSeq, 0, 0, {0xB0, 0x01, 0xAA}, SIGKIT_ERR_ASN_OCTETS_TAG},
    {"PrimitiveForConstructedIsRefused", &g_itemSigkitAsnSeq, 0, 0, {0x10, 0x01, 0xAA}, SIGKIT_ERR_ASN_OCTETS_TAG},
    {"ConstructedForPrimitiveIsRefused", &g_itemSigkitAsnBigint, 0, 0, {0x22, 0x01, 0xAA}, SIGKIT_ERR_ASN_OCTETS_TAG},
    {"ImplicitAnyItemStillWantsContextClass",
     &g_itemSigkitAsnOcts,
     2,
     3,
     {0x03, 0x01, 0xAA},
     SIGKIT_ERR_ASN_OCTETS_TAG},
    {"ImplicitAnyItemStillWantsItsNumber", &g_itemSigkitAsnOcts, 2, 3, {0x84, 0x01, 0xAA}, SIGKIT_ERR_ASN_OCTETS_TAG},
    {"ImplicitWithApplicationClassIsRefused",
     &g_itemSigkitAsnOcts,
     2,
     3,
     {0x43, 0x01, 0xAA},
     SIGKIT_ERR_ASN_OCTETS_TAG},
    {"ImplicitSequenceMustBeConstructed", &g_itemSigkitAsnSeq, 2, 1, {0x81, 0x01, 0xAA}, SIGKIT_ERR_ASN_OCTETS_TAG},
    {"ImplicitSequenceDoesNotTakeASequence", &g_itemSigkitAsnSeq, 2, 1, {0x30, 0x01, 0xAA}, SIGKIT_ERR_ASN_OCTETS_TAG},
    {"HighTagNumberIsRefused", &g_itemSigkitAsnOcts, 0, 0, {0x1F, 0x01, 0xAA}, SIGKIT_ERR_ASN_TAG},
    {"NothingToReadIsRefused", &g_itemSigkitAsnOcts, 0, 0, {}, SIGKIT_ERR_BUFFER_END},
    {"MissingLengthIsRefused", &g_itemSigkitAsnOcts, 0, 0, {0x04}, SIGKIT_ERR_BUFFER_END},
    {"LengthPastTheInputIsRefused", &g_itemSigkitAsnOcts, 0, 0, {0x04, 0x02, 0xAA}, SIGKIT_ERR_ASN_LENGTH},
    {"IndefiniteLengthIsRefused", &g_itemSigkitAsnOcts, 0, 0, {0x24, 0x80, 0x00, 0x00}, SIGKIT_ERR_ASN_LENGTH},
    {"TagIsCheckedBeforeTheLength", &g_itemSigkitAsnSeq, 0, 0, {0x31, 0x80}, SIGKIT_ERR_ASN_OCTETS_TAG},
};

class DecodeOctetMatch : public DecodeTestWith<MatchCase>
{
};

TEST_P(DecodeOctetMatch, TakesTheElementsOfItsItem)
{
    const MatchCase &c = GetParam();
    const SigkitAsnTemplate entry = EntryOf(c.item, c.mode, c.tagNo);
    SigkitAsnOcts view = {};
    EXPECT_STATUS(c.status, Decode(SigkitDecodeOctet, c.input, &view, &entry));
    if (c.status == SIGKIT_OK) {
        ExpectTaken(3);
        EXPECT_EQ(Bytes{0xAA}, OctetsOf(view));
    }
}

INSTANTIATE_TEST_SUITE_P(Cases, DecodeOctetMatch, ::testing::ValuesIn(kMatchCases), CASE_NAME);

// ---- What the view shows -------------------------------------------------------------------------------------------

struct ViewCase {
    const char *name;
    Bytes input;
    int flags;
    size_t index; // of the first octet shown
    uint32_t len;
    uint32_t cls;
    uint32_t constructed;
    uint32_t tag;
    size_t taken;
};

const int kRaw = SIGKIT_ASN_FLAG_RAW;

const ViewCase kViewCases[] = {
    {"Content", {0x04, 0x02, 0xAA, 0xBB}, 0, 2, 2, 0, 0, 4, 4},
    {"ContentBehindALongLength", {0x04, 0x82, 0x00, 0x02, 0xAA, 0xBB}, 0, 4, 2, 0, 0, 4, 6},
    {"ContentBeforeOtherOctets", {0x30, 0x01, 0xAA, 0xBB}, 0, 2, 1, 0, 1, 16, 3},
    {"ContextTagIsKept", {0xA3, 0x01, 0xAA}, 0, 2, 1, 2, 1, 3, 3},
    {"RawIsTheWholeEncoding", {0x04, 0x02, 0xAA, 0xBB}, kRaw, 0, 4, 0, 0, 4, 4},
    {"RawWithALongLengthIsTheWholeEncoding", {0x30, 0x81, 0x01, 0xAA, 0xBB}, kRaw, 0, 4, 0, 1, 16, 4},
    {"IntegerDropsItsLeadingZero", {0x02, 0x02, 0x00, 0xFF}, 0, 3, 1, 0, 0, 2, 4},
    {"IntegerDropsOneLeadingZeroOnly", {0x02, 0x03, 0x00, 0x00, 0x01}, 0, 3, 2, 0, 0, 2, 5},
    {"IntegerDropsAZeroThatDerWouldNotHave", {0x02, 0x02, 0x00, 0x01}, 0, 3, 1, 0, 0, 2, 4},
    {"IntegerKeepsASignOctet", {0x02, 0x02, 0xFF, 0x01}, 0, 2, 2, 0, 0, 2, 4},
    {"IntegerKeepsAZeroFurtherOn", {0x02, 0x02, 0x01, 0x00}, 0, 2, 2, 0, 0, 2, 4},
    {"RawIntegerKeepsItsLeadingZero", {0x02, 0x02, 0x00, 0xFF}, kRaw, 0, 4, 0, 0, 2, 4},
    {"NumberTwoOfAnotherClassDropsItsLeadingZeroToo", {0x82, 0x02, 0x00, 0xFF}, 0, 3, 1, 2, 0, 2, 4},
    {"OtherTypesKeepALeadingZero", {0x04, 0x02, 0x00, 0xFF}, 0, 2, 2, 0, 0, 4, 4},
    {"EnumeratedKeepsALeadingZero", {0x0A, 0x02, 0x00, 0xFF}, 0, 2, 2, 0, 0, 10, 4},
};

class DecodeOctetView : public DecodeTestWith<ViewCase>
{
};

TEST_P(DecodeOctetView, ShowsTheInputItself)
{
    const ViewCase &c = GetParam();
    const SigkitAsnTemplate entry = FlaggedEntry(&g_itemSigkitAsnOcts, c.flags);
    SigkitAsnOcts view = StaleView();
    ASSERT_STATUS(SIGKIT_OK, Decode(SigkitDecodeOctet, c.input, &view, &entry));
    ExpectView(view, c.index, c.len, c.cls, c.constructed, c.tag);
    ExpectTaken(c.taken);
}

TEST_P(DecodeOctetView, TakesAsMuchWhenItIsDropped)
{
    const ViewCase &c = GetParam();
    const SigkitAsnTemplate entry = FlaggedEntry(&g_itemSigkitAsnOcts, c.flags | SIGKIT_ASN_FLAG_IGNORE);
    ASSERT_STATUS(SIGKIT_OK, Decode(SigkitDecodeOctet, c.input, nullptr, &entry));
    ExpectTaken(c.taken);
}

TEST_P(DecodeOctetView, IsTheSameWhenItIsOnlyLookedAt)
{
    const ViewCase &c = GetParam();
    const SigkitAsnTemplate entry = FlaggedEntry(&g_itemSigkitAsnOcts, c.flags | SIGKIT_ASN_FLAG_PEEK);
    SigkitAsnOcts view = StaleView();
    ASSERT_STATUS(SIGKIT_OK, Decode(SigkitDecodeOctet, c.input, &view, &entry));
    ExpectView(view, c.index, c.len, c.cls, c.constructed, c.tag);
    ExpectTaken(0);
}

INSTANTIATE_TEST_SUITE_P(Cases, DecodeOctetView, ::testing::ValuesIn(kViewCases), CASE_NAME);

using DecodeOctet = DecodeTest;

TEST_F(DecodeOctet, ShowsTheIntegerZeroAsNoOctets)
{
    SigkitAsnOcts view = StaleView();
    ASSERT_STATUS(SIGKIT_OK, Decode(SigkitDecodeOctet, der::Integer(0), &view, &kAny));
    EXPECT_EQ(0u, view.len);
    EXPECT_EQ(2u, view.tag);
    ExpectTaken(3);
}

TEST_F(DecodeOctet, ZeroesTheWholeViewOfAnEmptyElement)
{
    for (const uint8_t identifier : Bytes{0x05, 0x02, 0x30, 0xA0}) {
        SigkitAsnOcts view = StaleView();
        ASSERT_STATUS(SIGKIT_OK, Decode(SigkitDecodeOctet, {identifier, 0x00, 0xAA}, &view, &kAny));
        ExpectZero(view);
        ExpectTaken(2);
    }
}

TEST_F(DecodeOctet, ZeroesTheWholeViewOfAnEmptyElementThatIsCapturedRaw)
{
    const SigkitAsnTemplate entry = FlaggedEntry(&g_itemSigkitAsnOcts, kRaw);
    SigkitAsnOcts view = StaleView();
    ASSERT_STATUS(SIGKIT_OK, Decode(SigkitDecodeOctet, {0x30, 0x00}, &view, &entry));
    ExpectZero(view);
    ExpectTaken(2);
}

TEST_F(DecodeOctet, KeepsTheImplicitTagOfAnElementThatIsConsumed)
{
    const SigkitAsnTemplate entry = EntryOf(&g_itemSigkitAsnSeq, ASN_MODE_IMPLICIT, 1);
    SigkitAsnOcts view = {};
    ASSERT_STATUS(SIGKIT_OK, Decode(SigkitDecodeOctet, {0xA1, 0x01, 0xAA}, &view, &entry));
    ExpectView(view, 2, 1, 2, 1, 1);
}

TEST_F(DecodeOctet, ReportsAnImplicitElementThatIsOnlyLookedAtAsItsItem)
{
    const SigkitAsnTemplate entry =
        EntryOf(&g_itemSigkitAttrBundleRaw, ASN_MODE_IMPLICIT, 0, SIGKIT_ASN_FLAG_PEEK | SIGKIT_ASN_FLAG_RAW);
    SigkitAsnOcts view = {};
    ASSERT_STATUS(SIGKIT_OK, Decode(SigkitDecodeOctet, {0xA0, 0x02, 0xAA, 0xBB}, &view, &entry));
    ExpectView(view, 0, 4, 0, 1, 17);
    ExpectTaken(0);
}

TEST_F(DecodeOctet, LooksAtAnEmptyElementWithoutConsumingIt)
{
    const SigkitAsnTemplate entry = FlaggedEntry(&g_itemSigkitAsnOcts, SIGKIT_ASN_FLAG_PEEK | SIGKIT_ASN_FLAG_RAW);
    SigkitAsnOcts view = StaleView();
    ASSERT_STATUS(SIGKIT_OK, Decode(SigkitDecodeOctet, {0x30, 0x00}, &view, &entry));
    EXPECT_EQ(0u, view.len);
    EXPECT_EQ(nullptr, view.data);
    ExpectTaken(0);
}

TEST_F(DecodeOctet, DropsWithoutTouchingAnOutput)
{
    const SigkitAsnTemplate entry = FlaggedEntry(&g_itemSigkitAsnOcts, SIGKIT_ASN_FLAG_IGNORE);
    SigkitAsnOcts view = StaleView();
    ASSERT_STATUS(SIGKIT_OK, Decode(SigkitDecodeOctet, {0x04, 0x02, 0xAA, 0xBB}, &view, &entry));
    ExpectTaken(4);
    EXPECT_EQ(9u, view.len);
    EXPECT_EQ(29u, view.tag);
    EXPECT_EQ(StaleView().data, view.data);
}

TEST_F(DecodeOctet, DropsAnEmptyElement)
{
    const SigkitAsnTemplate entry = FlaggedEntry(&g_itemSigkitAsnOcts, SIGKIT_ASN_FLAG_IGNORE);
    ASSERT_STATUS(SIGKIT_OK, Decode(SigkitDecodeOctet, {0x30, 0x00}, nullptr, &entry));
    ExpectTaken(2);
}

TEST_F(DecodeOctet, DropsTheIntegerZeroAtTheEndOfTheInput)
{
    const SigkitAsnTemplate entry = FlaggedEntry(&g_itemSigkitAsnBigint, SIGKIT_ASN_FLAG_IGNORE);
    ASSERT_STATUS(SIGKIT_OK, Decode(SigkitDecodeOctet, der::Integer(0), nullptr, &entry));
    ExpectTaken(3);
}

TEST_F(DecodeOctet, RefusesANullOutput)
{
    EXPECT_STATUS(SIGKIT_ERR_PARAM, Decode(SigkitDecodeOctet, {0x04, 0x01, 0xAA}, nullptr, &kAny));
}

TEST_F(DecodeOctet, RefusesANullConsumedCount)
{
    const Bytes element = {0x04, 0x01, 0xAA};
    buf = {element.data(), 3, 0};
    SigkitAsnOcts view = {};
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitDecodeOctet(&buf, &view, nullptr, &kAny));
    EXPECT_EQ(0u, buf.pos);
}

TEST_F(DecodeOctet, RefusesALookAheadWithoutOutput)
{
    const SigkitAsnTemplate entry = FlaggedEntry(&g_itemSigkitAsnOcts, SIGKIT_ASN_FLAG_PEEK | SIGKIT_ASN_FLAG_IGNORE);
    SigkitAsnOcts view = {};
    EXPECT_STATUS(SIGKIT_ERR_ASN_PEEK, Decode(SigkitDecodeOctet, {0x04, 0x01, 0xAA}, &view, &entry));
    EXPECT_STATUS(SIGKIT_ERR_ASN_PEEK, Decode(SigkitDecodeOctet, {0x04, 0x01, 0xAA}, nullptr, &entry));
}

TEST_F(DecodeOctet, RefusesAnImplicitLookAheadWithoutItem)
{
    const SigkitAsnTemplate entry = EntryOf(nullptr, ASN_MODE_IMPLICIT, 0, SIGKIT_ASN_FLAG_PEEK);
    SigkitAsnOcts view = {};
    EXPECT_STATUS(SIGKIT_ERR_ASN_PEEK, Decode(SigkitDecodeOctet, {0xA0, 0x01, 0xAA}, &view, &entry));
}

TEST_F(DecodeOctet, AllowsAUniversalLookAheadWithoutItem)
{
    const SigkitAsnTemplate entry = FlaggedEntry(nullptr, SIGKIT_ASN_FLAG_PEEK);
    SigkitAsnOcts view = {};
    EXPECT_STATUS(SIGKIT_OK, Decode(SigkitDecodeOctet, {0xA0, 0x01, 0xAA}, &view, &entry));
    ExpectView(view, 2, 1, 2, 1, 0);
    ExpectTaken(0);
}

} // namespace
