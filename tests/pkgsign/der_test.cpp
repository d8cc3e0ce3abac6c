#include "pkgsign/der.h"

#include "tests/pkgsign/support.h"

namespace
{
TEST(DerWriter, LengthsTakeTheFewestOctets)
{
    EXPECT_EQ((PkgsignBytes{0x04, 0x7F}), [] {
        PkgsignBytes element = PkgsignDerOctetString(PkgsignBytes(127));
        element.resize(2);
        return element;
    }());
    const PkgsignBytes middle = PkgsignDerOctetString(PkgsignBytes(128));
    EXPECT_EQ((PkgsignBytes{0x04, 0x81, 0x80}), PkgsignBytes(middle.begin(), middle.begin() + 3));
    const PkgsignBytes large = PkgsignDerOctetString(PkgsignBytes(65536));
    EXPECT_EQ((PkgsignBytes{0x04, 0x83, 0x01, 0x00, 0x00}), PkgsignBytes(large.begin(), large.begin() + 5));
}

TEST(DerWriter, IntegersAreShortestAndPositive)
{
    EXPECT_EQ((PkgsignBytes{0x02, 0x01, 0x00}), PkgsignDerInteger(0));
    EXPECT_EQ((PkgsignBytes{0x02, 0x01, 0x7F}), PkgsignDerInteger(127));
    EXPECT_EQ((PkgsignBytes{0x02, 0x02, 0x00, 0x80}), PkgsignDerInteger(128));
    EXPECT_EQ((PkgsignBytes{0x02, 0x02, 0x01, 0x00}), PkgsignDerInteger(256));
    EXPECT_EQ((PkgsignBytes{0x02, 0x01, 0x01}), PkgsignDerUnsigned({0x00, 0x00, 0x01}));
    EXPECT_EQ((PkgsignBytes{0x02, 0x01, 0x00}), PkgsignDerUnsigned({}));
}

TEST(DerWriter, NamedBitsDropZeroBitsAtTheEnd)
{
    EXPECT_EQ((PkgsignBytes{0x03, 0x01, 0x00}), PkgsignDerNamedBits(0));
    EXPECT_EQ((PkgsignBytes{0x03, 0x02, 0x07, 0x80}), PkgsignDerNamedBits(PKGSIGN_DIGITAL_SIGNATURE));
    EXPECT_EQ((PkgsignBytes{0x03, 0x02, 0x01, 0x06}), PkgsignDerNamedBits(PKGSIGN_KEY_CERT_SIGN | PKGSIGN_CRL_SIGN));
    EXPECT_EQ((PkgsignBytes{0x03, 0x03, 0x07, 0x00, 0x80}), PkgsignDerNamedBits(PKGSIGN_DECIPHER_ONLY));
}

TEST(DerWriter, SetsAreSortedByEncoding)
{
    EXPECT_EQ((PkgsignBytes{0x31, 0x07, 0x02, 0x01, 0x01, 0x02, 0x02, 0x01, 0x00}),
              PkgsignDerSetOf({{0x02, 0x02, 0x01, 0x00}, {0x02, 0x01, 0x01}}));
}

TEST(DerWriter, TimesBefore1950AreGeneralizedTime)
{
    PkgsignBytes time;
    ASSERT_TRUE(PkgsignDerTime(-631152001, &time).ok);
    EXPECT_EQ(Octets("\x18\x0F"
                     "19491231235959Z"),
              time);
    ASSERT_TRUE(PkgsignDerTime(-631152000, &time).ok);
    EXPECT_EQ(Octets("\x17\x0D"
                     "500101000000Z"),
              time);
}

TEST(DerWriter, IdentifiersAreDottedOrNamed)
{
    PkgsignBytes identifier;
    ASSERT_TRUE(PkgsignDerObjectIdentifier("2.5.4.3", &identifier).ok);
    EXPECT_EQ((PkgsignBytes{0x06, 0x03, 0x55, 0x04, 0x03}), identifier);
    ASSERT_TRUE(PkgsignDerObjectIdentifier("CN", &identifier).ok);
    EXPECT_EQ((PkgsignBytes{0x06, 0x03, 0x55, 0x04, 0x03}), identifier);
    EXPECT_FALSE(PkgsignDerObjectIdentifier("9.9.9", &identifier).ok);
    EXPECT_FALSE(PkgsignDerObjectIdentifier("", &identifier).ok);
}

} // namespace
