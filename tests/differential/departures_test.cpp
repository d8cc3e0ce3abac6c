// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Every known way in which the library and libcrypto read a certificate or a CRL differently: an example of each, named
// after it, which shows nothing else.
#include <gtest/gtest.h>

#include <set>

#include "tests/differential/facts.h"
#include "tests/support/der_records.h"

using der::Bytes;

namespace
{

struct Example {
    std::string name;
    const Kind *kind;
    Bytes input;
    std::set<std::string> fields = {}; // that are read differently
};

// ---- Makers of inputs ----------------------------------------------------------------------------------------------

template <typename Change>
Bytes CertificateWith(Change change)
{
    der::TbsCertificate tbs;
    change(&tbs);
    return der::CertificateOf(tbs);
}

template <typename Change>
Bytes CrlWith(Change change)
{
    der::TbsCertList tbs;
    change(&tbs);
    return der::CertificateListOf(tbs);
}

Bytes WithExtensions(const std::vector<Bytes> &extensions)
{
    return CertificateWith([&](der::TbsCertificate *tbs) { tbs->extensions = der::CertExtensions(extensions); });
}

Bytes WithCrlExtensions(const std::vector<Bytes> &extensions)
{
    return CrlWith([&](der::TbsCertList *tbs) { tbs->crlExtensions = der::CrlExtensions(extensions); });
}

Bytes WithIssuer(const Bytes &issuer)
{
    return CertificateWith([&](der::TbsCertificate *tbs) { tbs->issuer = issuer; });
}

Bytes WithNotBefore(const Bytes &notBefore)
{
    return CertificateWith([&](der::TbsCertificate *tbs) { tbs->validity = der::Validity(notBefore); });
}

Bytes WithSerialNumber(const Bytes &serialNumber)
{
    return CertificateWith([&](der::TbsCertificate *tbs) { tbs->serialNumber = serialNumber; });
}

Bytes WithSignatureValue(const Bytes &signatureValue)
{
    der::Certificate certificate;
    certificate.tbsCertificate = der::Encode(der::TbsCertificate());
    certificate.signatureValue = signatureValue;
    return der::Encode(certificate);
}

Bytes WithKey(const Bytes &subjectPublicKeyInfo)
{
    return CertificateWith([&](der::TbsCertificate *tbs) { tbs->subjectPublicKeyInfo = subjectPublicKeyInfo; });
}

Bytes WithRevoked(const Bytes &entries)
{
    return CrlWith([&](der::TbsCertList *tbs) { tbs->revokedCertificates = der::Tlv(der::SEQUENCE, entries); });
}

Bytes WithoutNextUpdate(const der::Member &revoked)
{
    return CrlWith([&](der::TbsCertList *tbs) {
        tbs->nextUpdate = std::nullopt;
        tbs->revokedCertificates = revoked;
    });
}

// A name of one attribute, a commonName.
Bytes CommonName(const Bytes &value)
{
    return der::Name({der::RelativeName({der::NameAttribute("2.5.4.3", value)})});
}

Bytes Constraints(const Bytes &value)
{
    return der::Extension("2.5.29.19", value);
}

Bytes Point(const Bytes &member)
{
    return der::Extension("2.5.29.28", der::Sequence({member}));
}

Bytes EntryWithReason(const Bytes &reason)
{
    return der::RevokedEntry(der::Integer(1), der::UtcTime("220101000000Z"),
                             der::Sequence({der::Extension("2.5.29.21", reason)}));
}

// ---- The examples --------------------------------------------------------------------------------------------------

const Bytes ATTRIBUTE = der::NameAttribute("2.5.4.3", der::Utf8("CA"));
const Bytes RELATIVE_NAME = der::RelativeName({ATTRIBUTE});

std::vector<Example> Narrowings()
{
    const Bytes ecKey =
        der::SubjectPublicKeyInfo(der::AlgorithmIdentifier("1.2.840.10045.2.1", der::Oid("1.2.840.10045.3.1.7")),
                                  der::BitString(0, der::Concatenate({{0x04}, der::Fill(64, 0x11)})));
    const std::vector<std::string> purposes(11, "1.3.6.1.5.5.7.3.3");
    return {
        {"AnIndefiniteLength", &CERTIFICATE, WithIssuer(der::TlvIndefinite(der::SEQUENCE, RELATIVE_NAME))},
        {"ALengthOfFiveOctets", &CERTIFICATE, WithIssuer(der::TlvLong(der::SEQUENCE, RELATIVE_NAME, 5))},
        {"ATagInTwoOctets", &CERTIFICATE, WithSerialNumber({0x1F, 0x02, 0x01, 0x05})},
        {"AListMarkedPrimitive", &CERTIFICATE, WithIssuer(der::Retag(0x10, der::NameOf("CA")))},
        {"ABitStringInSegments", &CERTIFICATE,
         WithSignatureValue(der::Tlv(0x23, der::BitString(0, der::Fill(8, 0x5A))))},
        {"ACertificateOfVersion1", &CERTIFICATE,
         CertificateWith([](der::TbsCertificate *tbs) { tbs->version = std::nullopt; })},
        {"ACrlOfVersion1", &CRL, CrlWith([](der::TbsCertList *tbs) { tbs->version = std::nullopt; })},
        {"ACrlVersionOfFiveOctets", &CRL, CrlWith([](der::TbsCertList *tbs) {
             tbs->version = der::IntegerRaw({0x01, 0x00, 0x00, 0x00, 0x00});
         })},
        {"ACrlThatEndsWithThisUpdate", &CRL, WithoutNextUpdate(std::nullopt)},
        {"AKeyThatIsNotRsa", &CERTIFICATE, WithKey(ecKey)},
        {"ElevenRelativeNames", &CERTIFICATE, WithIssuer(der::Name(std::vector<Bytes>(11, RELATIVE_NAME)))},
        {"ElevenAttributes", &CERTIFICATE,
         WithIssuer(der::Name({der::RelativeName(std::vector<Bytes>(11, ATTRIBUTE))}))},
        {"TwentyOneRevokedCertificates", &CRL, WithRevoked(der::Repeat(21, der::RevokedEntry(der::Integer(5))))},
        {"ElevenPurposes", &CERTIFICATE, WithExtensions({der::ExtKeyUsageExtension(purposes)})},
        {"AKeyUsageOfThreeOctets", &CERTIFICATE,
         WithExtensions({der::KeyUsageExtension(der::BitString(0, {0x80, 0x00, 0x01}))})},
        {"AReasonOfFiveOctets", &CRL,
         WithRevoked(EntryWithReason(der::Tlv(der::ENUMERATED, {0x01, 0x00, 0x00, 0x00, 0x00})))},
        {"AnEmptyExtensionThatIsNotKnown", &CERTIFICATE, WithExtensions({der::Extension("1.2.3", {})})},
        {"AKnownExtensionOfAnotherType", &CERTIFICATE, WithExtensions({Constraints(der::Integer(1))})},
    };
}

std::vector<Example> Leniencies()
{
    const Bytes wrongWrapper = {0xA0, 0x04, 0x02, 0x01, 0x02}; // [0] one octet longer than its INTEGER
    const Bytes aString = der::Sequence({der::Oid("1.2.3"), der::Utf8("value")});
    return {
        {"ASerialNumberWithANeedlessZero", &CERTIFICATE, WithSerialNumber(der::IntegerRaw({0x00, 0x01}))},
        {"AnIdentifierOfAnotherType", &CERTIFICATE,
         WithIssuer(der::Name({der::RelativeName({der::Sequence({der::Utf8("type"), der::Utf8("CA")})})}))},
        {"ParametersThatAreANullWithContent", &CRL, CrlWith([](der::TbsCertList *tbs) {
             tbs->signature = der::AlgorithmIdentifier("1.2.3", der::Tlv(der::NULL_VALUE, {0x00}));
         })},
        {"AnInnerAlgorithmThatIsEmpty", &CERTIFICATE,
         CertificateWith([](der::TbsCertificate *tbs) { tbs->signature = der::Sequence({}); })},
        {"ANameThatIsNoText", &CERTIFICATE, WithIssuer(CommonName(der::Tlv(der::UTF8_STRING, {0xFF})))},
        {"ATimeThatIsAString", &CERTIFICATE, WithNotBefore(der::Utf8("200101000000Z"))},
        {"ASignatureWithEightUnusedBits", &CERTIFICATE, WithSignatureValue(der::BitString(8, der::Fill(8, 0x00)))},
        {"AnExtensionThatIsAString", &CERTIFICATE, WithExtensions({aString})},
        {"AVersionInAWrapperThatIsTooLong", &CERTIFICATE,
         CertificateWith([&](der::TbsCertificate *tbs) { tbs->version = wrongWrapper; })},
        {"AMalformedListInThePlaceOfNextUpdate", &CRL, WithoutNextUpdate(der::Sequence({der::Integer(1)}))},
    };
}

std::vector<Example> Divergences()
{
    const Bytes onlyUsers = der::Implicit(1, false, {0xFF});
    const Bytes onlyCas = der::Implicit(2, false, {0xFF});
    return {
        {"ATimeInTheThirteenthMonth", &CERTIFICATE, WithNotBefore(der::UtcTime("201301000000Z")), {"notBefore"}},
        {"ATimeWithoutSeconds", &CERTIFICATE, WithNotBefore(der::UtcTime("2001010000Z")), {"notBefore"}},
        {"AYearBefore1901", &CERTIFICATE, WithNotBefore(der::GeneralizedTime("19000101000000Z")), {"notBefore"}},
        {"PaddingThatIsNotZero", &CERTIFICATE, WithSignatureValue(der::BitString(4, {0x5F})), {"signatureValue"}},
        {"ANameInSegments", &CERTIFICATE, WithIssuer(CommonName(der::Tlv(0x2C, der::Utf8("CA")))), {"issuer"}},
        {"ABooleanThatIsOne",
         &CERTIFICATE,
         WithExtensions({Constraints(der::Sequence({der::Boolean(0x01)}))}),
         {"basicConstraints"}},
        {"APathLengthThatIsAString",
         &CERTIFICATE,
         WithExtensions({Constraints(der::Sequence({der::Boolean(), der::Utf8("x")}))}),
         {"basicConstraints"}},
        {"TwoDistributionPoints",
         &CRL,
         WithCrlExtensions({Point(onlyUsers), Point(onlyCas)}),
         {"issuingDistributionPoint"}},
        {"AListInThePlaceOfNextUpdate",
         &CRL,
         WithoutNextUpdate(der::Sequence({der::RevokedEntry(der::Integer(5))})),
         {"nextUpdate", "entries", "entry 0 serialNumber", "entry 0 date", "entry 0 reason"}},
    };
}

std::set<std::string> DifferingFields(const Facts &library, const Facts &libcrypto)
{
    std::set<std::string> differing;
    for (const auto &[field, value] : library.fields) {
        const auto found = libcrypto.fields.find(field);
        if (found == libcrypto.fields.end() || found->second != value) {
            differing.insert(field);
        }
    }
    for (const auto &[field, value] : libcrypto.fields) {
        if (library.fields.count(field) == 0) {
            differing.insert(field);
        }
    }
    return differing;
}

std::string NameOf(const ::testing::TestParamInfo<Example> &example)
{
    return example.param.name;
}

void PrintTo(const Example &example, std::ostream *stream)
{
    *stream << example.name;
}

class TheLibraryRefuses : public ::testing::TestWithParam<Example>
{
};

class TheLibraryAccepts : public ::testing::TestWithParam<Example>
{
};

class TheDecodersReadDifferently : public ::testing::TestWithParam<Example>
{
};

} // namespace

TEST_P(TheLibraryRefuses, WhatLibcryptoAccepts)
{
    const Example &example = GetParam();
    EXPECT_FALSE(example.kind->library(example.input).accepted);
    EXPECT_TRUE(example.kind->libcrypto(example.input).accepted);
}

TEST_P(TheLibraryAccepts, WhatLibcryptoRefuses)
{
    const Example &example = GetParam();
    EXPECT_TRUE(example.kind->library(example.input).accepted);
    EXPECT_FALSE(example.kind->libcrypto(example.input).accepted);
}

TEST_P(TheDecodersReadDifferently, WhatBothAccept)
{
    const Example &example = GetParam();
    const Facts library = example.kind->library(example.input);
    const Facts libcrypto = example.kind->libcrypto(example.input);
    ASSERT_TRUE(library.accepted);
    ASSERT_TRUE(libcrypto.accepted);
    EXPECT_EQ(example.fields, DifferingFields(library, libcrypto));
}

INSTANTIATE_TEST_SUITE_P(Narrowings, TheLibraryRefuses, ::testing::ValuesIn(Narrowings()), NameOf);
INSTANTIATE_TEST_SUITE_P(Leniencies, TheLibraryAccepts, ::testing::ValuesIn(Leniencies()), NameOf);
INSTANTIATE_TEST_SUITE_P(Divergences, TheDecodersReadDifferently, ::testing::ValuesIn(Divergences()), NameOf);

// What libcrypto does with this is not asserted: its release 3.0.19 refuses it, 3.0.22 does not.
TEST(AnEmptyElementAtTheEndWithALongLength, IsReadByTheLibraryWhateverLibcryptoDoes)
{
    const Bytes input = CrlWith([](der::TbsCertList *tbs) {
        tbs->signature = der::AlgorithmIdentifier("1.2.3", Bytes{0x05, 0x81, 0x00});
    });
    EXPECT_TRUE(LibraryCrl(input).accepted);
}
