// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include <stddef.h>

#include "tests/asn1/decode_fixture.h"

namespace
{

using der::Bytes;
using der::Integer;
using der::Sequence;

enum : uint16_t {
    OPT = SIGKIT_ASN_FLAG_OPTIONAL,
    DEF = SIGKIT_ASN_FLAG_DEFAULT,
    DROP = SIGKIT_ASN_FLAG_IGNORE,
};

// A record with a field for each kind of member.
struct Record {
    uint32_t first;
    uint32_t second;
    uint32_t third;
    SigkitAsnOcts view;
};

const uint32_t kFirst = offsetof(Record, first);
const uint32_t kSecond = offsetof(Record, second);
const uint32_t kThird = offsetof(Record, third);
const uint32_t kView = offsetof(Record, view);

SigkitAsnTemplate Member(const SigkitAsnItem &item, uint32_t offset, uint16_t flags = 0,
                         uint16_t mode = ASN_MODE_UNIVERSAL, uint32_t tagNo = 0)
{
    return {&item, tagNo, mode, flags, offset, 0};
}

SigkitAsnTemplate Int(uint32_t offset, uint16_t flags = 0)
{
    return Member(g_itemSigkitAsnInt, offset, flags);
}

SigkitAsnTemplate ExplicitInt(uint32_t offset, uint32_t tagNo, uint16_t flags = 0)
{
    return Member(g_itemSigkitAsnInt, offset, flags, ASN_MODE_EXPLICIT, tagNo);
}

class DecodeSeq : public DecodeTest
{
protected:
    // Makes the item under test: a SEQUENCE, or a BIT STRING, of these members.
    void Use(const std::vector<SigkitAsnTemplate> &entries, uint32_t tag = 16)
    {
        members = entries;
        item = {members.data(), &g_skvAsnFuncSeq, 0, tag == 3 ? 0u : 1u, tag, static_cast<uint32_t>(members.size()),
                sizeof(Record)};
        entry = EntryOf(&item);
    }

    uint32_t Run(const Bytes &element)
    {
        record = {};
        return Decode(SigkitDecodeSeq, element, &record, &entry);
    }

    // Expects that the element decodes, and takes `octets`.
    void ExpectAccepted(const Bytes &element, size_t octets)
    {
        ASSERT_STATUS(SIGKIT_OK, Run(element));
        ExpectTaken(octets);
    }

    void ExpectAccepted(const Bytes &element)
    {
        ExpectAccepted(element, element.size());
    }

    std::vector<SigkitAsnTemplate> members;
    SigkitAsnItem item = {};
    SigkitAsnTemplate entry = {};
    Record record = {};
};

// ---- Members in order ----------------------------------------------------------------------------------------------

TEST_F(DecodeSeq, FillsTheFieldsOfItsMembers)
{
    Use({Int(kFirst), Int(kSecond), Member(g_itemSigkitAsnOcts, kView)});
    ExpectAccepted(Sequence({Integer(5), Integer(6), der::Utf8("ab")}));
    EXPECT_EQ(5u, record.first);
    EXPECT_EQ(6u, record.second);
    ExpectView(record.view, 10, 2, 0, 0, 12);
}

TEST_F(DecodeSeq, LeavesOctetsBehindItAlone)
{
    Use({Int(kFirst)});
    ExpectAccepted(der::Concatenate({Sequence({Integer(5)}), Integer(6)}), 5);
}

TEST_F(DecodeSeq, NestsRecords)
{
    Use({Member(g_itemSigkitX509AttrEntry, kView)}); // two views; the second lies behind Record, so give it space
    struct {
        Record head;
        SigkitAsnOcts room;
    } wide = {};
    const Bytes element = Sequence({Sequence({der::Utf8("a"), der::Utf8("bc")})});
    ASSERT_STATUS(SIGKIT_OK, Decode(SigkitDecodeSeq, element, &wide, &entry));
    ExpectView(wide.head.view, 6, 1, 0, 0, 12);
    EXPECT_EQ(2u, wide.room.len);
}

TEST_F(DecodeSeq, StoresNothingOfADroppedMember)
{
    Use({Int(kFirst, DROP), Int(kSecond)});
    ExpectAccepted(Sequence({Integer(5), Integer(6)}));
    EXPECT_EQ(0u, record.first);
    EXPECT_EQ(6u, record.second);
}

TEST_F(DecodeSeq, ReadsAnElementAgainAfterALookAhead)
{
    Use({Member(g_itemSigkitAsnOcts, kView, SIGKIT_ASN_FLAG_PEEK | SIGKIT_ASN_FLAG_RAW), Int(kFirst)});
    ExpectAccepted(Sequence({Integer(5)}));
    ExpectView(record.view, 2, 3, 0, 0, 2);
    EXPECT_EQ(5u, record.first);
}

TEST_F(DecodeSeq, IsCompleteOnlyWhenAnElementThatWasLookedAtIsConsumed)
{
    Use({Member(g_itemSigkitAsnOcts, kView, SIGKIT_ASN_FLAG_PEEK)});
    EXPECT_STATUS(SIGKIT_ERR_ASN_SEQUENCE, Run(Sequence({Integer(5)})));
}

TEST_F(DecodeSeq, TakesAnImplicitTag)
{
    Use({Int(kFirst)});
    entry = EntryOf(&item, ASN_MODE_IMPLICIT, 4);
    ExpectAccepted(der::Implicit(4, true, Integer(5)));
    EXPECT_EQ(5u, record.first);
    EXPECT_STATUS(SIGKIT_ERR_ASN_TAG, Run(Sequence({Integer(5)})));
    EXPECT_STATUS(SIGKIT_ERR_ASN_TAG, Run(der::Implicit(4, false, Integer(5))));
}

// ---- Its own header ------------------------------------------------------------------------------------------------

TEST_F(DecodeSeq, RefusesAnotherHeader)
{
    Use({Int(kFirst)});
    EXPECT_STATUS(SIGKIT_ERR_ASN_TAG, Run(der::Set({Integer(5)})));
    EXPECT_STATUS(SIGKIT_ERR_ASN_TAG, Run(der::Tlv(0x10, Integer(5))));
    EXPECT_STATUS(SIGKIT_ERR_ASN_TAG, Run(der::Tlv(0xB0, Integer(5))));
    EXPECT_STATUS(SIGKIT_ERR_ASN_TAG, Run(der::Tlv(0x3F, Integer(5))));
}

TEST_F(DecodeSeq, RefusesABadLength)
{
    Use({Int(kFirst)});
    EXPECT_STATUS(SIGKIT_ERR_ASN_LENGTH, Run(der::TlvOfLength(0x30, 4, Integer(5))));
    EXPECT_STATUS(SIGKIT_ERR_ASN_LENGTH, Run(der::TlvIndefinite(0x30, Integer(5))));
    EXPECT_STATUS(SIGKIT_ERR_BUFFER_END, Run({0x30}));
    EXPECT_STATUS(SIGKIT_ERR_BUFFER_END, Run({}));
}

TEST_F(DecodeSeq, RefusesNullArguments)
{
    Use({Int(kFirst)});
    ASSERT_STATUS(SIGKIT_OK, Run(Sequence({Integer(5)})));
    buf.pos = PREFIX;
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitDecodeSeq(nullptr, &record, &consumed, &entry));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitDecodeSeq(&buf, nullptr, &consumed, &entry));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitDecodeSeq(&buf, &record, nullptr, &entry));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitDecodeSeq(&buf, &record, &consumed, nullptr));
    EXPECT_EQ(PREFIX, buf.pos);
}

// ---- Required members ----------------------------------------------------------------------------------------------

TEST_F(DecodeSeq, PassesTheCodeOfARequiredMemberThatFails)
{
    Use({Int(kFirst), Int(kSecond)});
    EXPECT_STATUS(SIGKIT_ERR_ASN_TAG, Run(Sequence({Integer(5), der::Null()})));
    EXPECT_STATUS(SIGKIT_ERR_ASN_INTEGER, Run(Sequence({Integer(5), der::IntegerRaw(der::Fill(5, 1))})));
    EXPECT_STATUS(SIGKIT_ERR_ASN_LENGTH, Run(Sequence({Integer(5), der::TlvOfLength(0x02, 9, {0x01})})));
    EXPECT_STATUS(SIGKIT_ERR_BUFFER_END, Run(Sequence({Integer(5), {0x02}})));
}

TEST_F(DecodeSeq, PassesTheCodeOfARequiredViewThatFails)
{
    Use({Member(g_itemSigkitAsnSeq, kView)});
    EXPECT_STATUS(SIGKIT_ERR_ASN_OCTETS_TAG, Run(Sequence({Integer(5)})));
}

TEST_F(DecodeSeq, RefusesContentThatEndsBeforeARequiredMember)
{
    Use({Int(kFirst), Int(kSecond)});
    EXPECT_STATUS(SIGKIT_ERR_ASN_SEQUENCE, Run(Sequence({Integer(5)})));
}

TEST_F(DecodeSeq, DoesNotTakeARequiredMemberFromBehindItsContent)
{
    Use({Int(kFirst), Int(kSecond)});
    EXPECT_STATUS(SIGKIT_ERR_ASN_SEQUENCE, Run(der::Concatenate({Sequence({Integer(5)}), Integer(6)})));
}

TEST_F(DecodeSeq, RefusesAnUnknownMemberAtItsEnd)
{
    Use({Int(kFirst)});
    EXPECT_STATUS(SIGKIT_ERR_ASN_SEQUENCE, Run(Sequence({Integer(5), Integer(6)})));
    EXPECT_STATUS(SIGKIT_ERR_ASN_SEQUENCE, Run(Sequence({Integer(5), der::Null()})));
    EXPECT_STATUS(SIGKIT_ERR_ASN_SEQUENCE, Run(Sequence({Integer(5), {0x00}})));
}

TEST_F(DecodeSeq, RefusesAMemberThatReachesPastItsContent)
{
    Use({Int(kFirst)});
    EXPECT_STATUS(SIGKIT_ERR_ASN_SEQUENCE, Run(der::TlvOfLength(0x30, 2, Integer(5))));
    Use({Int(kFirst), Int(kSecond)});
    EXPECT_STATUS(SIGKIT_ERR_ASN_SEQUENCE, Run(der::TlvOfLength(0x30, 5, der::Concatenate({Integer(5), Integer(6)}))));
}

TEST_F(DecodeSeq, RefusesAnOptionalMemberThatReachesPastItsContent)
{
    Use({Int(kFirst, OPT)});
    EXPECT_STATUS(SIGKIT_ERR_ASN_SEQUENCE, Run(der::TlvOfLength(0x30, 2, Integer(5))));
}

// ---- Optional members ----------------------------------------------------------------------------------------------

TEST_F(DecodeSeq, SkipsAbsentMembersThatMayBeAbsent)
{
    for (const uint16_t flag : {OPT, DEF}) {
        Use({Int(kFirst), Member(g_itemSigkitAsnBool, kSecond, flag), Int(kThird)});
        ExpectAccepted(Sequence({Integer(5), Integer(6)}));
        EXPECT_EQ(5u, record.first);
        EXPECT_EQ(0u, record.second);
        EXPECT_EQ(6u, record.third);
        ExpectAccepted(Sequence({Integer(5), der::Boolean(), Integer(6)}));
        EXPECT_EQ(1u, record.second);
    }
}

TEST_F(DecodeSeq, MayEndBeforeMembersThatMayBeAbsent)
{
    Use({Int(kFirst), Int(kSecond, OPT), Int(kThird, DEF)});
    ExpectAccepted(Sequence({Integer(5)}));
    ExpectAccepted(Sequence({Integer(5), Integer(6)}));
    EXPECT_EQ(6u, record.second);
    EXPECT_EQ(0u, record.third);
}

TEST_F(DecodeSeq, DoesNotTakeAnOptionalMemberFromBehindItsContent)
{
    Use({Int(kFirst), Int(kSecond, OPT)});
    ExpectAccepted(der::Concatenate({Sequence({Integer(5)}), Integer(6)}), 5);
    EXPECT_EQ(0u, record.second);
}

TEST_F(DecodeSeq, RefusesAnEarlyEndWhenOneOfTheMembersToComeIsRequired)
{
    Use({Int(kFirst), Int(kSecond, OPT), Int(kThird)});
    EXPECT_STATUS(SIGKIT_ERR_ASN_SEQUENCE, Run(Sequence({Integer(5)})));
    Use({Int(kFirst), Int(kSecond), Int(kThird, DEF)});
    EXPECT_STATUS(SIGKIT_ERR_ASN_SEQUENCE, Run(Sequence({Integer(5)})));
}

TEST_F(DecodeSeq, OffersAMemberThatDidNotFitToTheNextOne)
{
    Use({Int(kFirst, OPT), Member(g_itemSigkitAsnBigint, kView)});
    ExpectAccepted(Sequence({der::IntegerRaw(der::Fill(5, 0x11))}));
    EXPECT_EQ(0u, record.first);
    EXPECT_EQ(5u, record.view.len);
}

TEST_F(DecodeSeq, TreatsAMalformedOptionalMemberAsAnUnknownOne)
{
    Use({Int(kFirst, OPT)});
    EXPECT_STATUS(SIGKIT_ERR_ASN_SEQUENCE, Run(Sequence({der::IntegerRaw(der::Fill(5, 0x11))})));
}

TEST_F(DecodeSeq, SkipsAnOptionalMemberWhoseTypeHasNoDecodeFunction)
{
    const SigkitAsnItem undecodable = {nullptr, &NO_FUNCTION, 0, 0, 2, 0, 4};
    Use({Member(undecodable, kFirst, OPT), Int(kSecond)});
    ExpectAccepted(Sequence({Integer(5)}));
    EXPECT_EQ(5u, record.second);
}

TEST_F(DecodeSeq, RefusesARequiredMemberWhoseTypeHasNoDecodeFunction)
{
    const SigkitAsnItem undecodable = {nullptr, &NO_FUNCTION, 0, 0, 2, 0, 4};
    Use({Member(undecodable, kFirst)});
    EXPECT_STATUS(SIGKIT_ERR_ASN_SEQUENCE, Run(Sequence({Integer(5)})));
}

// ---- No content ----------------------------------------------------------------------------------------------------

TEST_F(DecodeSeq, MayBeEmptyWhenEveryMemberMayBeAbsent)
{
    Use({Int(kFirst, OPT), Int(kSecond, DEF)});
    ExpectAccepted(Sequence({}));
}

TEST_F(DecodeSeq, TakesNothingFromBehindItWhenEmpty)
{
    Use({Int(kFirst, OPT)});
    ExpectAccepted(der::Concatenate({Sequence({}), Integer(5)}), 2);
    EXPECT_EQ(0u, record.first);
}

TEST_F(DecodeSeq, MayNotBeEmptyWhenAMemberIsRequired)
{
    Use({Int(kFirst, OPT), Int(kSecond)});
    EXPECT_STATUS(SIGKIT_ERR_ASN_SEQUENCE, Run(Sequence({})));
    EXPECT_STATUS(SIGKIT_ERR_ASN_SEQUENCE, Run(der::Concatenate({Sequence({}), Integer(5)})));
    EXPECT_STATUS(SIGKIT_ERR_ASN_SEQUENCE, Run(der::Concatenate({Sequence({}), Integer(5), Integer(6)})));
}

// ---- EXPLICIT members ----------------------------------------------------------------------------------------------

TEST_F(DecodeSeq, ReadsAMemberInsideItsExplicitWrapper)
{
    Use({ExplicitInt(kFirst, 3), Int(kSecond)});
    ExpectAccepted(Sequence({der::Explicit(3, Integer(5)), Integer(6)}));
    EXPECT_EQ(5u, record.first);
    EXPECT_EQ(6u, record.second);
}

TEST_F(DecodeSeq, RefusesAnotherWrapper)
{
    Use({ExplicitInt(kFirst, 3)});
    EXPECT_STATUS(SIGKIT_ERR_ASN_SEQUENCE, Run(Sequence({der::Explicit(2, Integer(5))})));
    EXPECT_STATUS(SIGKIT_ERR_ASN_SEQUENCE, Run(Sequence({der::Implicit(3, false, Integer(5))})));
    EXPECT_STATUS(SIGKIT_ERR_ASN_SEQUENCE, Run(Sequence({der::Tlv(0x63, Integer(5))})));
    EXPECT_STATUS(SIGKIT_ERR_ASN_SEQUENCE, Run(Sequence({Integer(5)})));
}

TEST_F(DecodeSeq, PassesTheCodeOfAWrapperThatCannotBeRead)
{
    Use({ExplicitInt(kFirst, 3)});
    EXPECT_STATUS(SIGKIT_ERR_ASN_TAG, Run(Sequence({{0xBF, 0x00}})));
    EXPECT_STATUS(SIGKIT_ERR_ASN_LENGTH, Run(Sequence({der::TlvIndefinite(0xA3, Integer(5))})));
    EXPECT_STATUS(SIGKIT_ERR_ASN_LENGTH, Run(Sequence({der::TlvOfLength(0xA3, 4, Integer(5))})));
    EXPECT_STATUS(SIGKIT_ERR_BUFFER_END, Run(Sequence({{0xA3}})));
}

TEST_F(DecodeSeq, PassesTheCodeOfAMemberThatFailsInsideItsWrapper)
{
    Use({ExplicitInt(kFirst, 3)});
    EXPECT_STATUS(SIGKIT_ERR_ASN_TAG, Run(Sequence({der::Explicit(3, der::Null())})));
    EXPECT_STATUS(SIGKIT_ERR_BUFFER_END, Run(Sequence({der::Explicit(3, {})})));
}

TEST_F(DecodeSeq, DoesNotCompareTheWrappersLengthWithItsMember)
{
    Use({ExplicitInt(kFirst, 3)});
    ExpectAccepted(Sequence({der::TlvOfLength(0xA3, 0, Integer(5))}));
    EXPECT_EQ(5u, record.first);
    ExpectAccepted(der::Concatenate({Sequence({der::TlvOfLength(0xA3, 5, Integer(5))}), {0xEE, 0xEE}}), 7);
    EXPECT_EQ(5u, record.first);
}

TEST_F(DecodeSeq, RefusesASecondMemberInAWrapper)
{
    Use({ExplicitInt(kFirst, 3)});
    EXPECT_STATUS(SIGKIT_ERR_ASN_SEQUENCE,
                  Run(Sequence({der::Explicit(3, der::Concatenate({Integer(5), Integer(6)}))})));
}

TEST_F(DecodeSeq, SkipsAnAbsentExplicitMember)
{
    Use({ExplicitInt(kFirst, 3, OPT), Int(kSecond)});
    ExpectAccepted(Sequence({Integer(6)}));
    EXPECT_EQ(0u, record.first);
    EXPECT_EQ(6u, record.second);
}

TEST_F(DecodeSeq, OffersAWrapperThatDidNotFitToTheNextMember)
{
    Use({ExplicitInt(kFirst, 3, OPT), Member(g_itemSigkitAsnOcts, kView)});
    ExpectAccepted(Sequence({der::Explicit(3, der::Null())}));
    EXPECT_EQ(0u, record.first);
    ExpectView(record.view, 4, 2, 2, 1, 3);
}

TEST_F(DecodeSeq, WantsTheWrapperOfADroppedExplicitMember)
{
    Use({ExplicitInt(kFirst, 0, DROP), Int(kSecond)});
    ExpectAccepted(Sequence({der::Explicit(0, Integer(2)), Integer(6)}));
    EXPECT_EQ(6u, record.second);
    EXPECT_STATUS(SIGKIT_ERR_ASN_SEQUENCE, Run(Sequence({Integer(6)})));
}

// ---- IMPLICIT members ----------------------------------------------------------------------------------------------

TEST_F(DecodeSeq, ReadsAnImplicitMember)
{
    Use({Member(g_itemSigkitAsnInt, kFirst, OPT, ASN_MODE_IMPLICIT, 1),
         Member(g_itemSigkitAsnInt, kSecond, OPT, ASN_MODE_IMPLICIT, 2)});
    ExpectAccepted(Sequence({der::Implicit(2, false, {0x05})}));
    EXPECT_EQ(0u, record.first);
    EXPECT_EQ(5u, record.second);
    EXPECT_STATUS(SIGKIT_ERR_ASN_SEQUENCE, Run(Sequence({Integer(5)})));
    EXPECT_STATUS(SIGKIT_ERR_ASN_SEQUENCE,
                  Run(Sequence({der::Implicit(2, false, {0x05}), der::Implicit(1, false, {0x05})})));
}

// ---- BIT STRING that holds members ---------------------------------------------------------------------------------

TEST_F(DecodeSeq, ReadsMembersInsideABitString)
{
    Use({Int(kFirst)}, 3);
    ExpectAccepted(der::BitString(0, Integer(5)));
    EXPECT_EQ(5u, record.first);
    ExpectAccepted(der::BitString(7, Integer(6)));
    EXPECT_EQ(6u, record.first);
}

TEST_F(DecodeSeq, RefusesABitStringWithoutRoomForItsMembers)
{
    Use({Int(kFirst)}, 3);
    EXPECT_STATUS(SIGKIT_ERR_ASN_SEQUENCE, Run({0x03, 0x00}));
    EXPECT_STATUS(SIGKIT_ERR_ASN_SEQUENCE, Run({0x03, 0x00, 0x00, 0x02, 0x01, 0x05}));
    EXPECT_STATUS(SIGKIT_ERR_ASN_SEQUENCE, Run({0x03, 0x01, 0x00}));
    EXPECT_STATUS(SIGKIT_ERR_ASN_SEQUENCE, Run({0x03, 0x01, 0x00, 0x02, 0x01, 0x05}));
}

TEST_F(DecodeSeq, RefusesABitStringWithOtherContent)
{
    Use({Int(kFirst)}, 3);
    EXPECT_STATUS(SIGKIT_ERR_ASN_TAG, Run(der::BitString(0, der::Null())));
    EXPECT_STATUS(SIGKIT_ERR_ASN_SEQUENCE, Run(der::BitString(0, der::Concatenate({Integer(5), Integer(6)}))));
    EXPECT_STATUS(SIGKIT_ERR_ASN_TAG, Run(der::Tlv(0x23, der::Concatenate({{0x00}, Integer(5)}))));
    EXPECT_STATUS(SIGKIT_ERR_ASN_TAG, Run(Sequence({Integer(5)})));
}

} // namespace
