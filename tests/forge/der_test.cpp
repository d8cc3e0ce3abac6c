// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/forge/der.h"

#include "tests/forge/support.h"

namespace
{
TEST(DerWriter, LengthsTakeTheFewestOctets)
{
    EXPECT_EQ((forge::Bytes{0x04, 0x7F}), [] {
        forge::Bytes element = forge::DerOctetString(forge::Bytes(127));
        element.resize(2);
        return element;
    }());
    const forge::Bytes middle = forge::DerOctetString(forge::Bytes(128));
    EXPECT_EQ((forge::Bytes{0x04, 0x81, 0x80}), forge::Bytes(middle.begin(), middle.begin() + 3));
    const forge::Bytes large = forge::DerOctetString(forge::Bytes(65536));
    EXPECT_EQ((forge::Bytes{0x04, 0x83, 0x01, 0x00, 0x00}), forge::Bytes(large.begin(), large.begin() + 5));
}

TEST(DerWriter, IntegersAreShortestAndPositive)
{
    EXPECT_EQ((forge::Bytes{0x02, 0x01, 0x00}), forge::DerInteger(0));
    EXPECT_EQ((forge::Bytes{0x02, 0x01, 0x7F}), forge::DerInteger(127));
    EXPECT_EQ((forge::Bytes{0x02, 0x02, 0x00, 0x80}), forge::DerInteger(128));
    EXPECT_EQ((forge::Bytes{0x02, 0x02, 0x01, 0x00}), forge::DerInteger(256));
    EXPECT_EQ((forge::Bytes{0x02, 0x01, 0x01}), forge::DerUnsigned({0x00, 0x00, 0x01}));
    EXPECT_EQ((forge::Bytes{0x02, 0x01, 0x00}), forge::DerUnsigned({}));
}

TEST(DerWriter, NamedBitsDropZeroBitsAtTheEnd)
{
    EXPECT_EQ((forge::Bytes{0x03, 0x01, 0x00}), forge::DerNamedBits(0));
    EXPECT_EQ((forge::Bytes{0x03, 0x02, 0x07, 0x80}), forge::DerNamedBits(forge::DIGITAL_SIGNATURE));
    EXPECT_EQ((forge::Bytes{0x03, 0x02, 0x01, 0x06}), forge::DerNamedBits(forge::KEY_CERT_SIGN | forge::CRL_SIGN));
    EXPECT_EQ((forge::Bytes{0x03, 0x03, 0x07, 0x00, 0x80}), forge::DerNamedBits(forge::DECIPHER_ONLY));
}

TEST(DerWriter, SetsAreSortedByEncoding)
{
    EXPECT_EQ((forge::Bytes{0x31, 0x07, 0x02, 0x01, 0x01, 0x02, 0x02, 0x01, 0x00}),
              forge::DerSetOf({{0x02, 0x02, 0x01, 0x00}, {0x02, 0x01, 0x01}}));
}

TEST(DerWriter, TimesBefore1950AreGeneralizedTime)
{
    forge::Bytes time;
    ASSERT_TRUE(forge::DerTime(-631152001, &time).ok);
    EXPECT_EQ(Octets("\x18\x0F"
                     "19491231235959Z"),
              time);
    ASSERT_TRUE(forge::DerTime(-631152000, &time).ok);
    EXPECT_EQ(Octets("\x17\x0D"
                     "500101000000Z"),
              time);
}

TEST(DerWriter, IdentifiersAreDottedOrNamed)
{
    forge::Bytes identifier;
    ASSERT_TRUE(forge::DerObjectIdentifier("2.5.4.3", &identifier).ok);
    EXPECT_EQ((forge::Bytes{0x06, 0x03, 0x55, 0x04, 0x03}), identifier);
    ASSERT_TRUE(forge::DerObjectIdentifier("CN", &identifier).ok);
    EXPECT_EQ((forge::Bytes{0x06, 0x03, 0x55, 0x04, 0x03}), identifier);
    EXPECT_FALSE(forge::DerObjectIdentifier("9.9.9", &identifier).ok);
    EXPECT_FALSE(forge::DerObjectIdentifier("", &identifier).ok);
}

} // namespace
