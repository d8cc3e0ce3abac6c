// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/asn1/decode_fixture.h"

#include "tests/support/der_records.h"
#include "x509/oid.h"

namespace
{

using namespace der;

using DecodeMap = DecodeTest;

const SigkitAsnTemplate kExtensions = EntryOf(&g_itemSigkitX509CertExts);
const SigkitAsnTemplate kAttributes = EntryOf(&g_itemSigkitX509SignedAttrs, ASN_MODE_IMPLICIT, 0);

const char KEY_USAGE[] = "2.5.29.15";

Bytes KeyUsage(uint8_t octet)
{
    return Extension(KEY_USAGE, BitString(0, {octet}));
}

} // namespace

TEST_F(DecodeMap, FillsTheFieldsOfKnownMembers)
{
    SigkitX509CertExts extensions = {};
    const Bytes list =
        Sequence({Extension("1.2.3", Null(), Boolean()), KeyUsage(0x80), BasicConstraintsExtension(true)});
    ASSERT_STATUS(SIGKIT_OK, Decode(SigkitDecodeMap, Concatenate({list, {0x05, 0x00}}), &extensions, &kExtensions));
    EXPECT_EQ(0x80u, extensions.keyUsage);
    EXPECT_EQ(1u, extensions.basicConstraints.cA);
    EXPECT_EQ(0u, extensions.extKeyUsage);
    ExpectTaken(list.size());
}

TEST_F(DecodeMap, AnEmptyListIsNoFailure)
{
    SigkitX509CertExts extensions = {};
    ASSERT_STATUS(SIGKIT_OK, Decode(SigkitDecodeMap, Concatenate({Sequence({}), Sequence({KeyUsage(1)})}), &extensions,
                                    &kExtensions));
    EXPECT_EQ(0u, extensions.keyUsage);
    ExpectTaken(2);
}

TEST_F(DecodeMap, OnlyTheFirstValueOfAnAttributeCounts)
{
    SigkitX509SignedAttrs attributes = {};
    const Bytes set = Implicit(0, true, Attribute("1.2.840.113549.1.9.4", {OctetString({7}), OctetString({8})}));
    ASSERT_STATUS(SIGKIT_OK, Decode(SigkitDecodeMap, set, &attributes, &kAttributes));
    EXPECT_EQ(Bytes{7}, OctetsOf(attributes.messageDigest));
}

TEST_F(DecodeMap, AMemberWithoutAValueIsRefused)
{
    SigkitX509CertExts extensions = {};
    for (const Bytes &member : {Sequence({Oid("1.2.3"), OctetString({})}), Sequence({Oid(KEY_USAGE), Null()})}) {
        EXPECT_STATUS(SIGKIT_ERR_ASN_SET, Decode(SigkitDecodeMap, Sequence({member}), &extensions, &kExtensions));
    }
}

TEST_F(DecodeMap, AMemberThatDoesNotDecodeEndsItWithItsOwnCode)
{
    SigkitX509CertExts extensions = {};
    const struct {
        Bytes member;
        uint32_t status;
    } rows[] = {
        {Integer(1), SIGKIT_ERR_ASN_TAG},
        {Sequence({}), SIGKIT_ERR_ASN_SEQUENCE},
        {Sequence({Oid("1.2.3")}), SIGKIT_ERR_ASN_SEQUENCE},
        {Sequence({Oid("1.2.3"), OctetString({1}), Null()}), SIGKIT_ERR_ASN_SEQUENCE},
        {Extension(KEY_USAGE, Integer(1)), SIGKIT_ERR_ASN_TAG},
        {Extension(KEY_USAGE, Tlv(BIT_STRING, {})), SIGKIT_ERR_ASN_BITS},
    };
    for (const auto &row : rows) {
        EXPECT_STATUS(row.status, Decode(SigkitDecodeMap, Sequence({row.member}), &extensions, &kExtensions));
    }
}

TEST_F(DecodeMap, AMemberThatReachesBeyondTheListIsRefused)
{
    SigkitX509CertExts extensions = {};
    const Bytes member = KeyUsage(0x80);
    const Bytes list = TlvOfLength(SEQUENCE, static_cast<uint32_t>(member.size() - 1), member);
    EXPECT_STATUS(SIGKIT_ERR_ASN_SET, Decode(SigkitDecodeMap, list, &extensions, &kExtensions));
}

TEST_F(DecodeMap, AValueNeedNotBeReadToItsEnd)
{
    SigkitX509CertExts extensions = {};
    const Bytes member = Sequence({Oid(KEY_USAGE), OctetString(Concatenate({BitString(0, {6}), {0xFF, 0xFF}}))});
    ASSERT_STATUS(SIGKIT_OK, Decode(SigkitDecodeMap, Sequence({member}), &extensions, &kExtensions));
    EXPECT_EQ(6u, extensions.keyUsage);
}

TEST_F(DecodeMap, PurposesOfRepeatedMembersAddUp)
{
    SigkitX509CertExts extensions = {};
    const Bytes codeSigning = Extension("2.5.29.37", Sequence({Oid("1.3.6.1.5.5.7.3.3")}));
    const Bytes timeStamping = Extension("2.5.29.37", Sequence({Oid("1.3.6.1.5.5.7.3.8")}));
    for (const Bytes &list : {Sequence({codeSigning, timeStamping}), Sequence({timeStamping, codeSigning})}) {
        extensions = {};
        ASSERT_STATUS(SIGKIT_OK, Decode(SigkitDecodeMap, list, &extensions, &kExtensions));
        EXPECT_EQ(0x48u, extensions.extKeyUsage);
    }
}

TEST_F(DecodeMap, AnotherHeaderIsRefused)
{
    SigkitX509CertExts extensions = {};
    SigkitX509SignedAttrs attributes = {};
    EXPECT_STATUS(SIGKIT_ERR_ASN_TAG, Decode(SigkitDecodeMap, Set({KeyUsage(1)}), &extensions, &kExtensions));
    EXPECT_STATUS(SIGKIT_ERR_ASN_TAG, Decode(SigkitDecodeMap, Set({}), &attributes, &kAttributes));
    EXPECT_STATUS(SIGKIT_ERR_ASN_LENGTH, Decode(SigkitDecodeMap, {0x30, 0x02, 0x30}, &extensions, &kExtensions));
}

TEST_F(DecodeMap, AMemberOfATypeThatNothingDecodesIsRefused)
{
    const SigkitAsnItem nothing = {nullptr, &NO_FUNCTION, 0, 0, 3, 0, sizeof(uint32_t)};
    const SigkitAsnTemplate member = {&nothing, AOID_CE_KEYUSAGE, ASN_MODE_UNIVERSAL, 0, 0, 0};
    const SigkitAsnItem map = {&member, &g_skvAsnFuncMap, 0, 1, 16, 1, sizeof(uint32_t)};
    const SigkitAsnTemplate entry = EntryOf(&map);
    uint32_t field = ANY_OUTPUT;
    EXPECT_STATUS(SIGKIT_ERR_ASN_SET, Decode(SigkitDecodeMap, Sequence({KeyUsage(0x80)}), &field, &entry));
    EXPECT_EQ(ANY_OUTPUT, field);
    EXPECT_STATUS(SIGKIT_OK, Decode(SigkitDecodeMap, Sequence({Extension("1.2.3", Null())}), &field, &entry))
        << "a member that the map does not know needs no function";
}

TEST_F(DecodeMap, MissingArgumentsAreRefused)
{
    SigkitX509CertExts extensions = {};
    input = Sequence({});
    buf = {input.data(), 2, 0};
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitDecodeMap(&buf, nullptr, &consumed, &kExtensions));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitDecodeMap(&buf, &extensions, nullptr, &kExtensions));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitDecodeMap(&buf, &extensions, &consumed, nullptr));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitOidToExku(&buf, nullptr, &consumed, &kExtensions));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitBitsToInt(&buf, nullptr, &consumed, &kExtensions));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitBitsToInt(nullptr, &extensions.keyUsage, &consumed, &kExtensions));
}
