// One input, at least, for every known departure, which shows nothing but that departure.
#include <gtest/gtest.h>

#include <set>

#include "tests/differential/judge.h"
#include "tests/support/der_records.h"

using der::Bytes;

namespace
{

// What shows a departure. `field` is where a divergence shows.
struct Example {
    std::string name;
    Departure departure;
    const Kind *kind;
    Bytes input;
    std::string field = "";
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
const Bytes RSA = der::AlgorithmIdentifier("1.2.840.113549.1.1.1");

std::vector<Example> Narrowings()
{
    const Bytes ecKey =
        der::SubjectPublicKeyInfo(der::AlgorithmIdentifier("1.2.840.10045.2.1", der::Oid("1.2.840.10045.3.1.7")),
                                  der::BitString(0, der::Concatenate({{0x04}, der::Fill(64, 0x11)})));
    const Bytes tail = der::SubjectPublicKeyInfo(
        RSA, der::BitString(0, der::Concatenate({der::RsaPublicKey(der::Integer(77), der::Integer(3)), {0x05, 0x00}})));
    const std::vector<std::string> purposes(11, "1.3.6.1.5.5.7.3.3");
    return {
        {"AnIndefiniteLength", Departure::INDEFINITE_LENGTH, &CERTIFICATE,
         WithIssuer(der::TlvIndefinite(der::SEQUENCE, RELATIVE_NAME))},
        {"ALengthOfFiveOctets", Departure::LONG_LENGTH, &CERTIFICATE,
         WithIssuer(der::TlvLong(der::SEQUENCE, RELATIVE_NAME, 5))},
        {"ATagInTwoOctets", Departure::HIGH_TAG, &CERTIFICATE, WithSerialNumber({0x1F, 0x02, 0x01, 0x05})},
        {"ANameMarkedPrimitive", Departure::PRIMITIVE_LIST, &CERTIFICATE,
         WithIssuer(der::Retag(0x10, der::NameOf("CA")))},
        {"ARelativeNameMarkedPrimitive", Departure::PRIMITIVE_LIST, &CERTIFICATE,
         WithIssuer(der::Name({der::Retag(0x11, RELATIVE_NAME)}))},
        {"ASignatureInSegments", Departure::SEGMENTED_BITS, &CERTIFICATE,
         WithSignatureValue(der::Tlv(0x23, der::BitString(0, der::Fill(8, 0x5A))))},
        {"ACertificateOfVersion1", Departure::VERSION_1_CERTIFICATE, &CERTIFICATE,
         CertificateWith([](der::TbsCertificate *tbs) { tbs->version = std::nullopt; })},
        {"ACrlOfVersion1", Departure::VERSION_1_CRL, &CRL,
         CrlWith([](der::TbsCertList *tbs) { tbs->version = std::nullopt; })},
        {"ACrlVersionOfFiveOctets", Departure::LARGE_VERSION, &CRL, CrlWith([](der::TbsCertList *tbs) {
             tbs->version = der::IntegerRaw({0x01, 0x00, 0x00, 0x00, 0x00});
         })},
        {"ACrlThatEndsWithThisUpdate", Departure::NO_NEXT_UPDATE, &CRL, WithoutNextUpdate(std::nullopt)},
        {"AKeyOfAnEllipticCurve", Departure::KEY_NOT_RSA, &CERTIFICATE, WithKey(ecKey)},
        {"AnRsaKeyWithATail", Departure::KEY_NOT_RSA, &CERTIFICATE, WithKey(tail)},
        {"ElevenRelativeNames", Departure::MANY_RELATIVE_NAMES, &CERTIFICATE,
         WithIssuer(der::Name(std::vector<Bytes>(11, RELATIVE_NAME)))},
        {"ElevenAttributes", Departure::MANY_ATTRIBUTES, &CERTIFICATE,
         WithIssuer(der::Name({der::RelativeName(std::vector<Bytes>(11, ATTRIBUTE))}))},
        {"TwentyOneRevokedCertificates", Departure::MANY_REVOKED, &CRL,
         WithRevoked(der::Repeat(21, der::RevokedEntry(der::Integer(5))))},
        {"ElevenPurposes", Departure::MANY_PURPOSES, &CERTIFICATE,
         WithExtensions({der::ExtKeyUsageExtension(purposes)})},
        {"AKeyUsageOfThreeOctets", Departure::KEY_USAGE_LENGTH, &CERTIFICATE,
         WithExtensions({der::KeyUsageExtension(der::BitString(0, {0x80, 0x00, 0x01}))})},
        {"AKeyUsageWithoutBits", Departure::KEY_USAGE_LENGTH, &CERTIFICATE,
         WithExtensions({der::KeyUsageExtension(der::BitString(0, {}))})},
        {"AReasonOfFiveOctets", Departure::REASON_LENGTH, &CRL,
         WithRevoked(EntryWithReason(der::Tlv(der::ENUMERATED, {0x01, 0x00, 0x00, 0x00, 0x00})))},
        {"AnEmptyExtensionThatNobodyKnows", Departure::EMPTY_EXTENSION, &CERTIFICATE,
         WithExtensions({der::Extension("1.2.3", {})})},
        {"ConstraintsThatAreAnInteger", Departure::MALFORMED_EXTENSION, &CERTIFICATE,
         WithExtensions({Constraints(der::Integer(1))})},
        {"AReasonThatIsAnInteger", Departure::MALFORMED_EXTENSION, &CRL, WithRevoked(EntryWithReason(der::Integer(1)))},
        {"ADistributionPointThatIsASet", Departure::MALFORMED_EXTENSION, &CRL,
         WithCrlExtensions({der::Extension("2.5.29.28", der::Set({}))})},
    };
}

std::vector<Example> Leniencies()
{
    const Bytes wrongWrapper = {0xA0, 0x04, 0x02, 0x01, 0x02}; // [0] tells one octet more than its INTEGER takes
    const Bytes aString = der::Sequence({der::Oid("1.2.3"), der::Utf8("value")});
    return {
        {"ASerialNumberWithANeedlessZero", Departure::INTEGER_FORM, &CERTIFICATE,
         WithSerialNumber(der::IntegerRaw({0x00, 0x01}))},
        {"ASerialNumberWithoutOctets", Departure::INTEGER_FORM, &CERTIFICATE, WithSerialNumber(der::IntegerRaw({}))},
        {"ARevokedSerialNumberWithANeedlessZero", Departure::INTEGER_FORM, &CRL,
         WithRevoked(der::RevokedEntry(der::IntegerRaw({0x00, 0x01})))},
        {"AnIdentifierOfAnotherType", Departure::IDENTIFIER_FORM, &CERTIFICATE,
         WithIssuer(der::Name({der::RelativeName({der::Sequence({der::Utf8("type"), der::Utf8("CA")})})}))},
        {"AnIdentifierThatIsCut", Departure::IDENTIFIER_FORM, &CERTIFICATE,
         WithIssuer(der::Name(
             {der::RelativeName({der::Sequence({der::Tlv(der::OBJECT_IDENTIFIER, {0x55, 0x84}), der::Utf8("CA")})})}))},
        {"ParametersThatAreANullWithContent", Departure::PARAMETERS_FORM, &CRL, CrlWith([](der::TbsCertList *tbs) {
             tbs->signature = der::AlgorithmIdentifier("1.2.3", der::Tlv(der::NULL_VALUE, {0x00}));
         })},
        {"AnInnerAlgorithmThatIsEmpty", Departure::UNREAD_ALGORITHM, &CERTIFICATE,
         CertificateWith([](der::TbsCertificate *tbs) { tbs->signature = der::Sequence({}); })},
        {"ANameThatIsNoUtf8", Departure::NAME_VALUE_FORM, &CERTIFICATE,
         WithIssuer(CommonName(der::Tlv(der::UTF8_STRING, {0xFF})))},
        {"ANameThatIsAnInteger", Departure::NAME_VALUE_FORM, &CRL,
         CrlWith([](der::TbsCertList *tbs) { tbs->issuer = CommonName(der::Integer(1)); })},
        {"ATimeThatIsAString", Departure::TIME_TYPE, &CERTIFICATE, WithNotBefore(der::Utf8("200101000000Z"))},
        {"ASignatureWithEightUnusedBits", Departure::UNUSED_BITS, &CERTIFICATE,
         WithSignatureValue(der::BitString(8, der::Fill(8, 0x00)))},
        {"AnExtensionThatIsAString", Departure::EXTENSION_VALUE_TYPE, &CERTIFICATE, WithExtensions({aString})},
        {"AVersionInAWrapperThatIsTooLong", Departure::WRAPPER_LENGTH, &CERTIFICATE,
         CertificateWith([&](der::TbsCertificate *tbs) { tbs->version = wrongWrapper; })},
        {"AMalformedListInThePlaceOfNextUpdate", Departure::UNREAD_REVOKED, &CRL,
         WithoutNextUpdate(der::Sequence({der::Integer(1)}))},
        {"TwoListsInThePlaceOfNextUpdate", Departure::UNREAD_REVOKED, &CRL,
         WithoutNextUpdate(der::Repeat(2, der::Sequence({der::RevokedEntry(der::Integer(5))})))},
    };
}

std::vector<Example> Divergences()
{
    const Bytes onlyUsers = der::Implicit(1, false, {0xFF});
    const Bytes onlyCas = der::Implicit(2, false, {0xFF});
    return {
        {"ATimeInTheThirteenthMonth", Departure::TIME_UNCHECKED, &CERTIFICATE,
         WithNotBefore(der::UtcTime("201301000000Z")), "notBefore"},
        {"ATimeThatEndsInADigit", Departure::TIME_UNCHECKED, &CERTIFICATE, WithNotBefore(der::UtcTime("2001010000000")),
         "notBefore"},
        {"ATimeOfLetters", Departure::TIME_UNCHECKED, &CRL,
         WithRevoked(der::RevokedEntry(der::Integer(1), der::UtcTime("ABCDEFGHIJKLM"))), "entry 0 date"},
        {"ATimeWithoutSeconds", Departure::TIME_OTHER_FORM, &CERTIFICATE, WithNotBefore(der::UtcTime("2001010000Z")),
         "notBefore"},
        {"ATimeWithAnOffset", Departure::TIME_OTHER_FORM, &CERTIFICATE,
         WithNotBefore(der::UtcTime("200101000000+0100")), "notBefore"},
        {"ATimeWithAFraction", Departure::TIME_OTHER_FORM, &CERTIFICATE,
         WithNotBefore(der::GeneralizedTime("20200101000000.5Z")), "notBefore"},
        {"AYearBefore1901", Departure::OLD_YEAR, &CERTIFICATE, WithNotBefore(der::GeneralizedTime("19000101000000Z")),
         "notBefore"},
        {"ASignatureWhosePaddingIsNotZero", Departure::PADDING_BITS, &CERTIFICATE,
         WithSignatureValue(der::BitString(4, {0x5F})), "signatureValue"},
        {"AKeyUsageWhosePaddingIsNotZero", Departure::PADDING_BITS, &CERTIFICATE,
         WithExtensions({der::KeyUsageExtension(der::BitString(5, {0x86}))}), "keyUsage"},
        {"AKeyWhosePaddingIsNotZero", Departure::PADDING_BITS, &CERTIFICATE,
         WithKey(der::SubjectPublicKeyInfo(
             RSA, der::BitString(1, der::RsaPublicKey(der::Integer(77), der::Integer(65537))))),
         "publicExponent"},
        {"ANameInSegments", Departure::SEGMENTED_STRING, &CERTIFICATE,
         WithIssuer(CommonName(der::Tlv(0x2C, der::Utf8("CA")))), "issuer"},
        {"ACaThatIsOne", Departure::TRUE_NOT_FF, &CERTIFICATE,
         WithExtensions({Constraints(der::Sequence({der::Boolean(0x01)}))}), "basicConstraints"},
        {"AnIndirectCrlThatIsOne", Departure::TRUE_NOT_FF, &CRL,
         WithCrlExtensions({Point(der::Implicit(4, false, {0x01}))}), "issuingDistributionPoint"},
        {"APathLengthThatIsAString", Departure::EXTENSION_FORM, &CERTIFICATE,
         WithExtensions({Constraints(der::Sequence({der::Boolean(), der::Utf8("x")}))}), "basicConstraints"},
        {"APurposeThatIsAString", Departure::EXTENSION_FORM, &CERTIFICATE,
         WithExtensions({der::Extension("2.5.29.37", der::Sequence({der::Utf8("x")}))}), "extKeyUsage"},
        {"TwoDistributionPoints", Departure::REPEATED_EXTENSION, &CRL,
         WithCrlExtensions({Point(onlyUsers), Point(onlyCas)}), "issuingDistributionPoint"},
        {"AListInThePlaceOfNextUpdate", Departure::MISSING_NEXT_UPDATE, &CRL,
         WithoutNextUpdate(der::Sequence({der::RevokedEntry(der::Integer(5))})), "nextUpdate"},
    };
}

std::vector<Example> AllExamples()
{
    std::vector<Example> examples = Narrowings();
    for (const Example &example : Leniencies()) {
        examples.push_back(example);
    }
    for (const Example &example : Divergences()) {
        examples.push_back(example);
    }
    return examples;
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
    EXPECT_EQ(std::set<Departure>{example.departure}, example.kind->survey(example.input).library);
    EXPECT_EQ("", Disagreement(*example.kind, example.input));
}

TEST_P(TheLibraryAccepts, WhatLibcryptoRefuses)
{
    const Example &example = GetParam();
    EXPECT_TRUE(example.kind->library(example.input).accepted);
    EXPECT_FALSE(example.kind->libcrypto(example.input).accepted);
    EXPECT_EQ(std::set<Departure>{example.departure}, example.kind->survey(example.input).libcrypto);
    EXPECT_EQ("", Disagreement(*example.kind, example.input));
}

TEST_P(TheDecodersReadDifferently, WhatBothAccept)
{
    const Example &example = GetParam();
    const Facts library = example.kind->library(example.input);
    const Facts libcrypto = example.kind->libcrypto(example.input);
    ASSERT_TRUE(library.accepted);
    ASSERT_TRUE(libcrypto.accepted);
    EXPECT_NE(library.fields.at(example.field), libcrypto.fields.at(example.field));
    Survey survey = example.kind->survey(example.input);
    survey.differing.merge(survey.mayDiffer);
    ASSERT_EQ(1U, survey.differing.count(example.field));
    EXPECT_EQ(example.departure, survey.differing.at(example.field));
    EXPECT_EQ("", Disagreement(*example.kind, example.input));
}

INSTANTIATE_TEST_SUITE_P(Narrowings, TheLibraryRefuses, ::testing::ValuesIn(Narrowings()), NameOf);
INSTANTIATE_TEST_SUITE_P(Leniencies, TheLibraryAccepts, ::testing::ValuesIn(Leniencies()), NameOf);
INSTANTIATE_TEST_SUITE_P(Divergences, TheDecodersReadDifferently, ::testing::ValuesIn(Divergences()), NameOf);

// What libcrypto does with these is not asserted: its releases differ, 3.0.19 from 3.0.22 among them.

TEST(AnEmptyElementAtTheEndWithALongLength, IsReadByTheLibraryWhateverLibcryptoDoes)
{
    const Bytes input = CrlWith([](der::TbsCertList *tbs) {
        tbs->signature = der::AlgorithmIdentifier("1.2.3", Bytes{0x05, 0x81, 0x00});
    });
    EXPECT_TRUE(LibraryCrl(input).accepted);
    EXPECT_EQ(std::set<Departure>{Departure::LENGTH_AT_END}, SurveyCrl(input).libcrypto);
    EXPECT_EQ("", Disagreement(CRL, input));
}

TEST(AKeyThatEndsInALongLength, IsReadByTheLibraryWhateverLibcryptoDoes)
{
    const Bytes input = WithKey(
        der::SubjectPublicKeyInfo(RSA, der::BitString(0, der::RsaPublicKey(der::Integer(77), {0x02, 0x81, 0x00}))));
    const Facts library = LibraryCertificate(input);
    ASSERT_TRUE(library.accepted);
    EXPECT_EQ("4d", library.fields.at("modulus"));
    EXPECT_EQ("", library.fields.at("publicExponent"));
    EXPECT_EQ("", Disagreement(CERTIFICATE, input));
}

TEST(Departures, EachHasAnExample)
{
    std::set<Departure> shown;
    for (const Example &example : AllExamples()) {
        shown.insert(example.departure);
    }
#define ROW(name, text) EXPECT_EQ(1U, shown.count(Departure::name)) << DepartureText(Departure::name);
    NARROWING_LIST(ROW)
    LENIENCY_LIST(ROW)
    DIVERGENCE_LIST(ROW)
#undef ROW
}
