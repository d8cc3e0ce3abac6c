// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "x509/oid.h"

#include <string.h>

#include "tests/support/der_writer.h"
#include "tests/support/library_test.h"
#include "x509/oid_schema.h"

namespace
{

using Oid = LibraryTest;

SigkitAsnOcts View(const der::Bytes &octets, uint32_t tag = 6)
{
    return {static_cast<uint32_t>(octets.size()), 0, 0, tag, octets.data()};
}

struct Row {
    uint32_t aoid;
    const char *name;
    const char *dotted;
};

const Row ROWS[] = {
    {43, "AOID_SHA256", "2.16.840.1.101.3.4.2.1"},
    {44, "AOID_SHA384", "2.16.840.1.101.3.4.2.2"},
    {45, "AOID_SHA512", "2.16.840.1.101.3.4.2.3"},
    {63, "AOID_SHA256WITHRSAENCRYPTION", "1.2.840.113549.1.1.11"},
    {64, "AOID_SHA384WITHRSAENCRYPTION", "1.2.840.113549.1.1.12"},
    {65, "AOID_SHA512WITHRSAENCRYPTION", "1.2.840.113549.1.1.13"},
    {161, "AOID_AT_COMMONNAME", "2.5.4.3"},
    {162, "AOID_AT_LOCALITYNAME", "2.5.4.7"},
    {163, "AOID_AT_STATEORPROVINCENAME", "2.5.4.8"},
    {164, "AOID_AT_ORGANIZATIONNAME", "2.5.4.10"},
    {165, "AOID_AT_ORGANIZATIONALUNITNAME", "2.5.4.11"},
    {168, "AOID_AT_COUNTRYNAME", "2.5.4.6"},
    {172, "AOID_PKCS9_AT_EMAILADDRESS", "1.2.840.113549.1.9.1"},
    {176, "AOID_CE_KEYUSAGE", "2.5.29.15"},
    {184, "AOID_CE_BASICCONSTRAINTS", "2.5.29.19"},
    {188, "AOID_CE_EXTKEYUSAGE", "2.5.29.37"},
    {192, "AOID_KP_CODESIGNING", "1.3.6.1.5.5.7.3.3"},
    {193, "AOID_KP_TIMESTAMPING", "1.3.6.1.5.5.7.3.8"},
    {202, "AOID_CE_ISSUINGDISTRIBUTIONPOINT", "2.5.29.28"},
    {204, "AOID_CE_CRLREASONS", "2.5.29.21"},
    {264, "AOID_PKCS7_SIGNEDDATA", "1.2.840.113549.1.7.2"},
    {271, "AOID_PKCS9_AT_MESSAGEDIGEST", "1.2.840.113549.1.9.4"},
    {307, "AOID_PKCS9_AT_TIMESTAMP_TOKEN", "1.2.840.113549.1.9.16.2.14"},
};

} // namespace

TEST_F(Oid, TheTableHoldsEveryIdentifierUnderItsNumberAndName)
{
    ASSERT_EQ(static_cast<int32_t>(std::size(ROWS)) + 1, g_skvOidCount);
    for (size_t i = 0; i < std::size(ROWS); ++i) {
        const SigkitOidInfo &info = g_skvOIDTable[i + 1];
        const der::Bytes octets = der::OidContent(ROWS[i].dotted);
        EXPECT_EQ(ROWS[i].aoid, info.aoid);
        EXPECT_STREQ(ROWS[i].name, info.name);
        EXPECT_EQ(octets, der::Bytes(info.oid.data, info.oid.data + info.oid.len));
        EXPECT_EQ(0u, info.oid.cls);
        EXPECT_EQ(0u, info.oid.constructed);
        EXPECT_EQ(6u, info.oid.tag);
        EXPECT_EQ(&info.oid, SigkitFindOid(ROWS[i].aoid));
        const SigkitAsnOcts view = View(octets, 31);
        EXPECT_EQ(ROWS[i].aoid, SigkitFindAoid(&view)) << "whatever the tag";
    }
}

TEST_F(Oid, TheFirstRowIsNoIdentifier)
{
    EXPECT_EQ(0u, g_skvOIDTable[0].aoid);
    EXPECT_STREQ("AOID_UNKNOWN", g_skvOIDTable[0].name);
    EXPECT_EQ(1u, g_skvOIDTable[0].oid.len);
    EXPECT_EQ(0xFF, g_skvOIDTable[0].oid.data[0]);
    EXPECT_EQ(&g_skvOIDTable[0].oid, SigkitFindOid(0));
}

TEST_F(Oid, WhatIsNotInTheTableIsUnknown)
{
    const der::Bytes sha1 = der::OidContent("1.3.14.3.2.26");
    const der::Bytes longer = der::OidContent("2.5.4.3.1");
    const der::Bytes shorter = {0x55, 0x04};
    for (const der::Bytes *const octets : {&sha1, &longer, &shorter}) {
        const SigkitAsnOcts view = View(*octets);
        EXPECT_EQ(0u, SigkitFindAoid(&view));
    }
    const SigkitAsnOcts empty = {};
    EXPECT_EQ(0u, SigkitFindAoid(&empty));
    EXPECT_EQ(0u, SigkitFindAoid(nullptr));
    EXPECT_EQ(nullptr, SigkitFindOid(1));
    EXPECT_EQ(nullptr, SigkitFindOid(308));
}

TEST_F(Oid, ViewsAreComparedByTheirOctetsAlone)
{
    const der::Bytes one = {1, 2, 3};
    const der::Bytes same = {1, 2, 3};
    const der::Bytes other = {1, 2, 4};
    const SigkitAsnOcts a = View(one);
    const SigkitAsnOcts b = View(same, 30);
    const SigkitAsnOcts c = View(other);
    const SigkitAsnOcts shorter = {2, 0, 0, 6, one.data()};
    const SigkitAsnOcts empty = {};
    EXPECT_EQ(0, SigkitCompareAsnOcts(&a, &a));
    EXPECT_EQ(0, SigkitCompareAsnOcts(&a, &b));
    EXPECT_NE(0, SigkitCompareAsnOcts(&a, &c));
    EXPECT_EQ(-1, SigkitCompareAsnOcts(&a, &shorter));
    EXPECT_EQ(-1, SigkitCompareAsnOcts(nullptr, &a));
    EXPECT_EQ(-1, SigkitCompareAsnOcts(&a, nullptr));
    EXPECT_EQ(0, SigkitCompareAsnOcts(&empty, &empty));
}

TEST_F(Oid, DigestAndSignatureAlgorithmsGiveTheirDigest)
{
    const struct {
        const char *dotted;
        uint32_t digest;
    } rows[] = {{"2.16.840.1.101.3.4.2.1", 43}, {"1.2.840.113549.1.1.11", 43},
                {"2.16.840.1.101.3.4.2.2", 44}, {"1.2.840.113549.1.1.12", 44},
                {"2.16.840.1.101.3.4.2.3", 45}, {"1.2.840.113549.1.1.13", 45},
                {"1.2.840.113549.1.1.5", 0},    {"1.2.840.113549.1.1.1", 0},
                {"1.2.840.10045.4.3.2", 0},     {"2.5.4.3", 0}};
    for (const auto &row : rows) {
        const der::Bytes octets = der::OidContent(row.dotted);
        const SigkitAsnOcts view = View(octets);
        EXPECT_EQ(row.digest, SigkitGetHashAoidFromSign(&view)) << row.dotted;
    }
    EXPECT_EQ(0u, SigkitGetHashAoidFromSign(nullptr));
}

TEST_F(Oid, DottedTextBecomesItsContentOctets)
{
    const char *const texts[] = {"0.0",
                                 "0.39",
                                 "1.0",
                                 "1.39.1",
                                 "2.0",
                                 "2.39",
                                 "2.40",
                                 "2.47.127",
                                 "2.48.128",
                                 "2.999.16383",
                                 "2.999.16384",
                                 "1.2.840.113549",
                                 "2.5.4.268435455",
                                 "2.5.4.268435456",
                                 "2.5.4.4294967295",
                                 "2.4294967295",
                                 "1.2.3.4.5.6.7.8.9.10.11.12.13.14.15.16.17"};
    for (const char *const text : texts) {
        const InternalOidOctets compiled = InternalOidFromDotted(text);
        EXPECT_EQ(der::OidContent(text), der::Bytes(compiled.octets, compiled.octets + compiled.len)) << text;
    }
}

TEST_F(Oid, OtherTextBecomesNoOctets)
{
    const char *const texts[] = {"",
                                 ".",
                                 "2",
                                 "2.",
                                 ".2",
                                 "2.5.",
                                 ".2.5",
                                 "2..5",
                                 "2.5..4",
                                 "2.5.4a",
                                 "2.5.a",
                                 "a.5.4",
                                 "2.5.4 ",
                                 " 2.5.4",
                                 "2.5. 4",
                                 "2,5,4",
                                 "2.5.-4",
                                 "2.5.+4",
                                 "2.05.4",
                                 "02.5.4",
                                 "2.5.00",
                                 "3.5.4",
                                 "4294967296.1",
                                 "0.40",
                                 "1.40.1",
                                 "2.5.4294967296",
                                 "2.4294967296",
                                 "2.5.18446744073709551620",
                                 "2.5.99999999999999999999999999999999999999",
                                 "1.2.3.4.5.6.7.8.9.10.11.12.13.14.15.16.17.18",
                                 "2.5.4.1.1.1.1.1.1.1.1.1.1.1.1.128.1"};
    for (const char *const text : texts) {
        EXPECT_EQ(0u, InternalOidFromDotted(text).len) << text;
    }
}

TEST_F(Oid, RowsThatShareANumberOrAnIdentifierAreFound)
{
    const uint8_t octets[] = {0x55, 0x04, 0x03, 0x07};
    const SigkitAsnOcts both = {2, 0, 0, 6, octets};
    const SigkitAsnOcts first = {3, 0, 0, 6, octets};
    const SigkitAsnOcts last = {3, 0, 0, 6, octets + 1};
    const uint8_t copyOctets[] = {0x55, 0x04, 0x03};
    const SigkitAsnOcts copy = {3, 0, 0, 6, copyOctets};
    const SigkitOidInfo right[] = {{1, both, ""}, {2, first, ""}, {3, last, ""}};
    EXPECT_TRUE(InternalOidsAscend(right));
    EXPECT_TRUE(InternalOidsDiffer(right));
    const SigkitOidInfo sameNumber[] = {{1, both, ""}, {2, first, ""}, {2, last, ""}};
    EXPECT_FALSE(InternalOidsAscend(sameNumber));
    const SigkitOidInfo fallingNumber[] = {{2, both, ""}, {1, first, ""}, {3, last, ""}};
    EXPECT_FALSE(InternalOidsAscend(fallingNumber));
    const SigkitOidInfo sameIdentifier[] = {{1, first, ""}, {2, last, ""}, {3, copy, ""}};
    EXPECT_FALSE(InternalOidsDiffer(sameIdentifier));
}
