// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "x509/crl.h"

#include "tests/x509/decode_helper.h"

namespace
{

using namespace der;

using Crl = LibraryTest;

TbsCertList WithPoint(const std::vector<Bytes> &members)
{
    TbsCertList tbs;
    tbs.crlExtensions = CrlExtensions({Extension("2.5.29.28", Sequence(members), Boolean())});
    return tbs;
}

} // namespace

TEST_F(Crl, DecodesIntoItsMembers)
{
    TbsCertList tbs;
    tbs.revokedCertificates =
        Sequence({RevokedEntry(IntegerRaw({0x00, 0xFF})),
                  RevokedEntry(Integer(7), GeneralizedTime("20220202000000Z"), ReasonExtensions(4))});
    const Bytes encoding = CertificateListOf(tbs);
    const DecodedCrl crl(Concatenate({encoding, {0x30}}));
    ASSERT_STATUS(SIGKIT_OK, crl.status);
    EXPECT_EQ(encoding.size(), crl.consumed);
    EXPECT_EQ(1, crl.record->refCount);
    EXPECT_EQ(Encode(tbs), OctetsOf(crl.record->encoded));
    const SigkitX509CrlInfo &info = crl.record->tbsCertList;
    EXPECT_EQ(1u, info.version);
    EXPECT_EQ(OidContent("1.2.840.113549.1.1.11"), OctetsOf(info.signature.algorithm));
    EXPECT_EQ(Text("Test CA"), OctetsOf(info.issuer.items[2].items[0].value));
    EXPECT_EQ(Text("210101000000Z"), OctetsOf(info.thisUpdate));
    EXPECT_EQ(Text("390101000000Z"), OctetsOf(info.nextUpdate));
    ASSERT_EQ(2u, info.revokedCertificates.count);
    const SigkitX509RevokeEntry *const entries = info.revokedCertificates.items;
    EXPECT_EQ((Bytes{0xFF}), OctetsOf(entries[0].userCertificate));
    EXPECT_EQ(0u, entries[0].crlEntryExtensions.reasonCode);
    EXPECT_EQ(Text("20220202000000Z"), OctetsOf(entries[1].revocationDate));
    EXPECT_EQ(24u, entries[1].revocationDate.tag);
    EXPECT_EQ(4u, entries[1].crlEntryExtensions.reasonCode);
    EXPECT_EQ(0u, info.crlExtensions.issuingDistributionPoint.indirectCRL);
    EXPECT_EQ(Fill(256, 0x5A), OctetsOf(crl.record->signatureValue));
}

TEST_F(Crl, EachRequiredMemberIsRequired)
{
    // The member behind it is read in its place.
    const struct {
        Member TbsCertList::*member;
        uint32_t status;
    } rows[] = {{&TbsCertList::version, SIGKIT_ERR_ASN_TAG},
                {&TbsCertList::signature, SIGKIT_ERR_ASN_SEQUENCE},
                {&TbsCertList::issuer, SIGKIT_ERR_ASN_SET},
                {&TbsCertList::thisUpdate, SIGKIT_ERR_ASN_SEQUENCE}};
    for (const auto &row : rows) {
        SCOPED_TRACE(&row - rows);
        TbsCertList tbs;
        tbs.*row.member = std::nullopt;
        EXPECT_STATUS(row.status, DecodedCrl(tbs).status);
    }
}

TEST_F(Crl, WithoutNextUpdateTakesWhateverStandsThere)
{
    TbsCertList tbs;
    tbs.nextUpdate = std::nullopt;
    EXPECT_STATUS(SIGKIT_ERR_ASN_SEQUENCE, DecodedCrl(tbs).status) << "nothing stands there";
    tbs.revokedCertificates = Sequence({RevokedEntry(Integer(7))});
    const DecodedCrl crl(tbs);
    ASSERT_STATUS(SIGKIT_OK, crl.status);
    EXPECT_EQ(16u, crl.record->tbsCertList.nextUpdate.tag) << "which is no time";
    EXPECT_EQ(0u, crl.record->tbsCertList.revokedCertificates.count);
}

TEST_F(Crl, HoldsTwentyEntries)
{
    TbsCertList tbs;
    tbs.revokedCertificates = Sequence(std::vector<Bytes>(20, RevokedEntry(Integer(7))));
    const DecodedCrl crl(tbs);
    ASSERT_STATUS(SIGKIT_OK, crl.status);
    EXPECT_EQ(20u, crl.record->tbsCertList.revokedCertificates.count);
    tbs.revokedCertificates = Sequence(std::vector<Bytes>(21, RevokedEntry(Integer(7))));
    EXPECT_STATUS(SIGKIT_ERR_ASN_SEQUENCE, DecodedCrl(tbs).status) << "the list is optional, and then in the way";
    tbs.revokedCertificates = Sequence({});
    EXPECT_STATUS(SIGKIT_OK, DecodedCrl(tbs).status);
}

TEST_F(Crl, TheIssuingDistributionPointMarksAnIndirectCrl)
{
    const DecodedCrl indirect(WithPoint({Implicit(4, false, {0xFF})}));
    ASSERT_STATUS(SIGKIT_OK, indirect.status);
    EXPECT_EQ(1u, indirect.record->tbsCertList.crlExtensions.issuingDistributionPoint.indirectCRL);
    const DecodedCrl all(
        WithPoint({Implicit(0, true, Tlv(0x82, {1})), Implicit(1, false, {0xFF}), Implicit(2, false, {0xFF}),
                   Implicit(3, false, {0x00, 0x60}), Implicit(4, false, {0x00}), Implicit(5, false, {0xFF})}));
    ASSERT_STATUS(SIGKIT_OK, all.status);
    const SigkitX509IssuingDistPoint &point = all.record->tbsCertList.crlExtensions.issuingDistributionPoint;
    EXPECT_EQ(1u, point.onlyContainsUserCerts);
    EXPECT_EQ(1u, point.onlyContainsCACerts);
    EXPECT_EQ(1u, point.onlyContainsAttributeCerts);
    EXPECT_EQ(0u, point.indirectCRL);
    EXPECT_EQ((Bytes{0x60}), OctetsOf(point.onlySomeReasons));
}

TEST_F(Crl, OtherExtensionsAreSkipped)
{
    TbsCertList tbs;
    tbs.crlExtensions = CrlExtensions({Extension("2.5.29.20", Integer(5)), Extension("2.5.29.35", Sequence({}))});
    EXPECT_STATUS(SIGKIT_OK, DecodedCrl(tbs).status);
}

TEST_F(Crl, MissingArgumentsAreRefused)
{
    const Bytes encoding = CertificateListOf(TbsCertList());
    const uint32_t len = static_cast<uint32_t>(encoding.size());
    SigkitX509Crl *crl = nullptr;
    uint32_t out = 0;
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitX509DecodeCrl(nullptr, len, &crl, &out));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitX509DecodeCrl(encoding.data(), 0, &crl, &out));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitX509DecodeCrl(encoding.data(), len, nullptr, &out));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitX509DecodeCrl(encoding.data(), len, &crl, nullptr));
    ASSERT_STATUS(SIGKIT_OK, SigkitX509DecodeCrl(encoding.data(), len, &crl, &out));
    crl->refCount = 2;
    SigkitX509FreeCrl(crl);
    EXPECT_EQ(1, LiveBlocks());
    SigkitX509FreeCrl(crl);
    SigkitX509FreeCrl(nullptr);
}

TEST_F(Crl, NoTruncatedEncodingDecodes)
{
    TbsCertList tbs = WithPoint({Implicit(4, false, {0xFF})});
    tbs.revokedCertificates = Sequence({RevokedEntry(Integer(7))});
    const Bytes encoding = CertificateListOf(tbs);
    for (size_t length = 1; length < encoding.size(); ++length) {
        const Bytes truncated(encoding.begin(), encoding.begin() + static_cast<ptrdiff_t>(length));
        EXPECT_STATUS(length < HEADER_SIZE ? SIGKIT_ERR_BUFFER_END : SIGKIT_ERR_ASN_LENGTH,
                      DecodedCrl(truncated).status)
            << length;
    }
}
