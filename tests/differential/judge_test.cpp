// The comparison would notice: a decoder that reads any one field otherwise, or that accepts or refuses what it should
// not, is found out.
#include <gtest/gtest.h>

#include "tests/differential/judge.h"
#include "tests/differential/seeds.h"
#include "tests/support/der_records.h"

namespace
{

std::string g_changedField;

Facts WithChangedField(Facts facts)
{
    facts.fields[g_changedField] += "!";
    return facts;
}

Facts ChangedCertificate(const der::Bytes &input)
{
    return WithChangedField(LibraryCertificate(input));
}

Facts ChangedCrl(const der::Bytes &input)
{
    return WithChangedField(LibraryCrl(input));
}

Facts RefusedByAll(const der::Bytes &)
{
    return Facts();
}

Facts AcceptedByAll(const der::Bytes &)
{
    Facts facts;
    facts.accepted = true;
    return facts;
}

// Changes one field after the other of what the library reads.
void ExpectEachFieldToMatter(const Kind &changed, const Facts &facts, const der::Bytes &input)
{
    ASSERT_TRUE(facts.accepted);
    for (const auto &[field, value] : facts.fields) {
        g_changedField = field;
        EXPECT_NE(std::string::npos, Disagreement(changed, input).find(field + " differs without a known reason"))
            << field;
    }
}

} // namespace

TEST(Comparison, NoticesEachFieldOfACertificateThatIsReadOtherwise)
{
    const der::Bytes input = GoodCertificates().back();
    ExpectEachFieldToMatter({"certificate", ChangedCertificate, LibcryptoCertificate, SurveyCertificate},
                            LibraryCertificate(input), input);
}

TEST(Comparison, NoticesEachFieldOfACrlThatIsReadOtherwise)
{
    der::TbsCertList tbs;
    tbs.revokedCertificates = der::Sequence({der::RevokedEntry(der::Integer(5))});
    const der::Bytes input = der::CertificateListOf(tbs);
    ExpectEachFieldToMatter({"CRL", ChangedCrl, LibcryptoCrl, SurveyCrl}, LibraryCrl(input), input);
}

TEST(Comparison, NoticesARefusalWithoutReason)
{
    const der::Bytes input = der::CertificateOf(der::TbsCertificate());
    EXPECT_EQ("", Disagreement(CERTIFICATE, input));
    const Kind refusing = {"certificate", RefusedByAll, LibcryptoCertificate, SurveyCertificate};
    EXPECT_NE(std::string::npos, Disagreement(refusing, input).find("the library refuses it"));
    const Kind refused = {"certificate", LibraryCertificate, RefusedByAll, SurveyCertificate};
    EXPECT_NE(std::string::npos, Disagreement(refused, input).find("libcrypto refuses it"));
}

TEST(Comparison, NoticesAnAcceptanceInSpiteOfAReason)
{
    der::TbsCertificate tbs;
    tbs.version = std::nullopt;
    const der::Bytes input = der::CertificateOf(tbs);
    const Kind accepting = {"certificate", AcceptedByAll, LibcryptoCertificate, SurveyCertificate};
    EXPECT_NE(std::string::npos, Disagreement(accepting, input).find("in spite of"));
}

TEST(Comparison, TellsTheInputOfADisagreement)
{
    const der::Bytes input = der::CertificateOf(der::TbsCertificate());
    const Kind refusing = {"certificate", RefusedByAll, LibcryptoCertificate, SurveyCertificate};
    EXPECT_NE(std::string::npos, Disagreement(refusing, input).find(HexOf(input)));
}
