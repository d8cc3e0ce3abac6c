// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include <stddef.h>

#include "tests/asn1/decode_fixture.h"

namespace
{

using der::Bytes;
using der::Integer;

constexpr uint32_t kCapacity = 4;

// A record whose list does not stand at its start.
struct Record {
    uint64_t before;
    uint32_t count;
    uint32_t items[kCapacity + 2]; // the decoder's first is one pointer behind the count's position
};

// Records of the list's elements.
struct Views {
    uint32_t count;
    SigkitAsnOcts items[3];
};

// A sequence of `count` INTEGERs 1, 2, 3 ... as content.
Bytes Numbers(uint32_t count)
{
    Bytes content;
    for (uint32_t value = 1; value <= count; ++value) {
        content = der::Concatenate({content, Integer(value)});
    }
    return content;
}

class DecodeSetof : public DecodeTest
{
protected:
    void SetUp() override
    {
        DecodeTest::SetUp();
        Use(g_itemSigkitAsnInt, 3);
    }

    void Use(const SigkitAsnItem &elementItem, uint32_t maxCount, uint16_t flags = 0, uint32_t tag = 17,
             uint32_t entries = 1)
    {
        element[0] = {&elementItem, 0, ASN_MODE_UNIVERSAL, flags, offsetof(Record, count), maxCount};
        element[1] = element[0];
        item = {element, &g_skvAsnFuncSetOf, 0, 1, tag, entries, sizeof(Record)};
        entry = EntryOf(&item);
    }

    uint32_t Run(const Bytes &input_)
    {
        record = {};
        record.count = 77;
        record.before = 0x1122334455667788;
        return Decode(SigkitDecodeSetof, input_, &record, &entry);
    }

    // The element `index` of the record: elements begin one pointer behind the position of the count.
    uint32_t Stored(uint32_t index) const
    {
        const auto *start =
            reinterpret_cast<const uint8_t *>(&record.count) + sizeof(void *) + index * sizeof(uint32_t);
        uint32_t value = 0;
        for (size_t octet = 0; octet < sizeof(value); ++octet) {
            reinterpret_cast<uint8_t *>(&value)[octet] = start[octet];
        }
        return value;
    }

    void ExpectCount(uint32_t count, const Bytes &input_)
    {
        ASSERT_STATUS(SIGKIT_OK, Run(input_));
        ExpectTaken(input_.size());
        EXPECT_EQ(count, record.count);
        for (uint32_t index = 0; index < count; ++index) {
            EXPECT_EQ(index + 1, Stored(index));
        }
        EXPECT_EQ(0x1122334455667788u, record.before);
    }

    SigkitAsnTemplate element[2] = {};
    SigkitAsnItem item = {};
    SigkitAsnTemplate entry = {};
    Record record = {};
};

TEST_F(DecodeSetof, HoldsNoElementsWhenEmpty)
{
    ExpectCount(0, der::Set({}));
}

TEST_F(DecodeSetof, HoldsAsManyElementsAsItMay)
{
    ExpectCount(1, der::Tlv(0x31, Numbers(1)));
    ExpectCount(2, der::Tlv(0x31, Numbers(2)));
    ExpectCount(3, der::Tlv(0x31, Numbers(3)));
}

TEST_F(DecodeSetof, RefusesOneElementTooMany)
{
    EXPECT_STATUS(SIGKIT_ERR_ASN_SET, Run(der::Tlv(0x31, Numbers(4))));
    EXPECT_STATUS(SIGKIT_ERR_ASN_SET, Run(der::Concatenate({der::Tlv(0x31, Numbers(4)), Numbers(2)})));
}

TEST_F(DecodeSetof, StoresNoElementBeyondTheGreatestNumber)
{
    EXPECT_STATUS(SIGKIT_ERR_ASN_SET, Run(der::Tlv(0x31, Numbers(4))));
    EXPECT_EQ(0u, Stored(3));
}

TEST_F(DecodeSetof, TakesOctetsOfItsContentOnly)
{
    ASSERT_STATUS(SIGKIT_OK, Run(der::Concatenate({der::Tlv(0x31, Numbers(2)), Integer(9)})));
    EXPECT_EQ(2u, record.count);
    ExpectTaken(8);
}

TEST_F(DecodeSetof, RefusesAnElementThatFails)
{
    EXPECT_STATUS(SIGKIT_ERR_ASN_SET, Run(der::Set({der::Null()})));
    EXPECT_STATUS(SIGKIT_ERR_ASN_SET, Run(der::Set({Integer(1), der::Null()})));
    EXPECT_STATUS(SIGKIT_ERR_ASN_SET, Run(der::Set({der::IntegerRaw(der::Fill(5, 1))})));
    EXPECT_STATUS(SIGKIT_ERR_ASN_SET, Run(der::Set({Integer(1), {0x02}})));
}

TEST_F(DecodeSetof, RefusesAnElementThatReachesPastTheContent)
{
    EXPECT_STATUS(SIGKIT_ERR_ASN_SET, Run(der::TlvOfLength(0x31, 5, Numbers(2))));
    EXPECT_STATUS(SIGKIT_ERR_ASN_SET, Run(der::TlvOfLength(0x31, 1, Numbers(1))));
}

TEST_F(DecodeSetof, RefusesAnotherHeaderWithItsOwnCode)
{
    EXPECT_STATUS(SIGKIT_ERR_ASN_SET, Run(der::Tlv(0x30, Numbers(1))));
    EXPECT_STATUS(SIGKIT_ERR_ASN_SET, Run(der::Tlv(0x11, Numbers(1))));
    EXPECT_STATUS(SIGKIT_ERR_ASN_SET, Run(der::Tlv(0xB1, Numbers(1))));
    EXPECT_STATUS(SIGKIT_ERR_ASN_SET, Run(der::Tlv(0x3F, Numbers(1))));
    EXPECT_STATUS(SIGKIT_ERR_ASN_SET, Run(der::TlvOfLength(0x31, 4, Numbers(1))));
    EXPECT_STATUS(SIGKIT_ERR_ASN_SET, Run(der::TlvIndefinite(0x31, Numbers(1))));
    EXPECT_STATUS(SIGKIT_ERR_ASN_SET, Run({0x31}));
    EXPECT_STATUS(SIGKIT_ERR_ASN_SET, Run({}));
}

TEST_F(DecodeSetof, IsASequenceOfWhenItsItemSaysSo)
{
    Use(g_itemSigkitAsnInt, 3, 0, 16);
    ExpectCount(2, der::Tlv(0x30, Numbers(2)));
    EXPECT_STATUS(SIGKIT_ERR_ASN_SET, Run(der::Tlv(0x31, Numbers(2))));
}

TEST_F(DecodeSetof, TakesAnImplicitTag)
{
    entry = EntryOf(&item, ASN_MODE_IMPLICIT, 0);
    ExpectCount(2, der::Tlv(0xA0, Numbers(2)));
    EXPECT_STATUS(SIGKIT_ERR_ASN_SET, Run(der::Tlv(0xA1, Numbers(2))));
    EXPECT_STATUS(SIGKIT_ERR_ASN_SET, Run(der::Tlv(0x80, Numbers(2))));
    EXPECT_STATUS(SIGKIT_ERR_ASN_SET, Run(der::Tlv(0x31, Numbers(2))));
}

TEST_F(DecodeSetof, MayBeOfNoElementsAtAll)
{
    Use(g_itemSigkitAsnInt, 0);
    ExpectCount(0, der::Set({}));
    EXPECT_STATUS(SIGKIT_ERR_ASN_SET, Run(der::Tlv(0x31, Numbers(1))));
}

TEST_F(DecodeSetof, RefusesElementsWithoutADecodeFunction)
{
    const SigkitAsnItem undecodable = {nullptr, &NO_FUNCTION, 0, 0, 2, 0, 4};
    Use(undecodable, 3);
    EXPECT_STATUS(SIGKIT_ERR_ASN_SET, Run(der::Tlv(0x31, Numbers(1))));
    ExpectCount(0, der::Set({}));
}

TEST_F(DecodeSetof, RefusesAnItemWithOtherThanOneEntry)
{
    Use(g_itemSigkitAsnInt, 3, 0, 17, 0);
    EXPECT_STATUS(SIGKIT_ERR_PARAM, Run(der::Tlv(0x31, Numbers(1))));
    Use(g_itemSigkitAsnInt, 3, 0, 17, 2);
    EXPECT_STATUS(SIGKIT_ERR_PARAM, Run(der::Tlv(0x31, Numbers(1))));
}

TEST_F(DecodeSetof, RefusesNullArguments)
{
    ASSERT_STATUS(SIGKIT_OK, Run(der::Tlv(0x31, Numbers(1))));
    buf.pos = PREFIX;
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitDecodeSetof(&buf, nullptr, &consumed, &entry));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitDecodeSetof(&buf, &record, nullptr, &entry));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitDecodeSetof(&buf, &record, &consumed, nullptr));
    EXPECT_EQ(PREFIX, buf.pos);
}

// ---- Elements that are records -------------------------------------------------------------------------------------

class DecodeSetofViews : public DecodeTest
{
protected:
    // Decodes three elements into views with these flags on each element.
    void Run(uint16_t flags)
    {
        const SigkitAsnTemplate elementEntry = {&g_itemSigkitAsnOcts,   0, ASN_MODE_UNIVERSAL, flags,
                                                offsetof(Views, count), 3};
        const SigkitAsnItem item = {&elementEntry, &g_skvAsnFuncSetOf, 0, 1, 17, 1, sizeof(Views)};
        const SigkitAsnTemplate entry = EntryOf(&item);
        const Bytes element = der::Set({der::Utf8("a"), Integer(5), der::Utf8("bc")});
        ASSERT_STATUS(SIGKIT_OK, Decode(SigkitDecodeSetof, element, &views, &entry));
        ASSERT_EQ(3u, views.count);
    }

    Views views = {};
};

TEST_F(DecodeSetofViews, StandOneRecordSizeApart)
{
    Run(0);
    ExpectView(views.items[0], 4, 1, 0, 0, 12);
    ExpectView(views.items[1], 7, 1, 0, 0, 2);
    ExpectView(views.items[2], 10, 2, 0, 0, 12);
}

TEST_F(DecodeSetofViews, AreWholeEncodingsWhenCapturedRaw)
{
    Run(SIGKIT_ASN_FLAG_RAW);
    ExpectView(views.items[0], 2, 3, 0, 0, 12);
    ExpectView(views.items[1], 5, 3, 0, 0, 2);
    ExpectView(views.items[2], 8, 4, 0, 0, 12);
}

} // namespace
