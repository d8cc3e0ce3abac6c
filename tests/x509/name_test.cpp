// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "x509/name.h"

#include "asn1/decode.h"
#include "sigkit/sigkit.h"
#include "sigkit/sigkit_host.h"
#include "tests/support/der_records.h"
#include "tests/support/library_test.h"

namespace
{

using namespace der;

const char CN[] = "2.5.4.3";
const char O[] = "2.5.4.10";

class NameTest : public LibraryTest
{
protected:
    void TearDown() override
    {
        for (SigkitX509Name *const name : names) {
            SigkitAsnFree(name, &g_itemSigkitX509Name);
        }
        LibraryTest::TearDown();
    }

    // Decodes a name; null when it does not decode.
    SigkitX509Name *Decode(const std::vector<Bytes> &relativeNames)
    {
        inputs.push_back(Name(relativeNames));
        void *record = nullptr;
        uint32_t consumed = 0;
        const Bytes &input = inputs.back();
        if (SigkitAsnDecode(input.data(), static_cast<uint32_t>(input.size()), &g_itemSigkitX509Name, 0, &record,
                            &consumed) != SIGKIT_OK) {
            return nullptr;
        }
        names.push_back(static_cast<SigkitX509Name *>(record));
        return names.back();
    }

    // Prints a name; the status' name when that fails.
    std::string Print(const SigkitX509Name *name)
    {
        char *text = nullptr;
        uint32_t len = 0;
        const uint32_t status = SigkitConvertFromX509Name(name, &text, &len);
        if (status != SIGKIT_OK) {
            return StatusName(status);
        }
        const std::string printed = text;
        EXPECT_EQ(printed.size(), len);
        SigkitFree(text);
        return printed;
    }

    std::vector<Bytes> inputs = [] {
        std::vector<Bytes> reserved;
        reserved.reserve(64); // names point into their inputs
        return reserved;
    }();
    std::vector<SigkitX509Name *> names;
};

Bytes Rdn(const std::string &type, const std::string &value)
{
    return RelativeName({NameAttribute(type, Utf8(value))});
}

} // namespace

TEST_F(NameTest, IsPrintedInTheOrderOfItsEncoding)
{
    const SigkitX509Name *const name =
        Decode({Rdn("2.5.4.6", "XX"), Rdn("2.5.4.8", "st"), Rdn("2.5.4.7", "l"), Rdn(O, "o"), Rdn("2.5.4.11", "ou"),
                Rdn(CN, "cn"), Rdn("1.2.840.113549.1.9.1", "e")});
    EXPECT_EQ("C=XX,S=st,L=l,O=o,OU=ou,CN=cn,E=e", Print(name));
    EXPECT_EQ("", Print(Decode({})));
    EXPECT_EQ("CN=", Print(Decode({Rdn(CN, "")}))) << "an empty value prints as its prefix";
    EXPECT_EQ("X=odd", Print(Decode({Rdn("2.5.29.15", "odd")}))) << "known, but no attribute";
    EXPECT_EQ("CN=a,O=b", Print(Decode({RelativeName({NameAttribute(CN, Utf8("a")), NameAttribute(O, Utf8("b"))})})));
}

TEST_F(NameTest, WithAnUnknownAttributeCannotBePrinted)
{
    EXPECT_EQ("SIGKIT_ERR_NAME_ATTRIBUTE", Print(Decode({Rdn(CN, "cn"), Rdn("2.5.4.5", "1")})));
    EXPECT_EQ(std::vector<std::string>{"E SigkitConvertFromX509Name 88200008 -"}, LineTexts());
}

TEST_F(NameTest, ALongAttributeIsCutWithAWarning)
{
    const std::string warning = "W InternalGetMaxAttrLen 880004ff attribute name too long, which is invalid.";
    EXPECT_EQ("CN=" + std::string(124, 'x'), Print(Decode({Rdn(CN, std::string(124, 'x'))})));
    EXPECT_TRUE(Lines().empty());
    for (const size_t length : {125u, 200u}) {
        EXPECT_EQ("CN=" + std::string(124, 'x'), Print(Decode({Rdn(CN, std::string(length, 'x'))})));
        EXPECT_TRUE(HasLine(warning));
    }
}

TEST_F(NameTest, WhatDoesNotFitIsLeftOutAndWhatDoesFollows)
{
    const std::string half(124, 'x');
    const std::string piece = "CN=" + half;
    EXPECT_EQ(piece + "," + piece, Print(Decode({Rdn(CN, half), Rdn(CN, half)}))) << "255 characters";
    EXPECT_EQ(piece + "," + piece, Print(Decode({Rdn(CN, half), Rdn(CN, half), Rdn(O, "")})));
    EXPECT_EQ("C=XX," + piece + ",O=z",
              Print(Decode({Rdn("2.5.4.6", "XX"), Rdn(CN, half), Rdn(CN, half), Rdn(O, "z")})));
    const Bytes two = RelativeName({NameAttribute(CN, Utf8(half)), NameAttribute(O, Utf8("lost"))});
    EXPECT_EQ("C=XX," + piece + ",O=z", Print(Decode({Rdn("2.5.4.6", "XX"), Rdn(CN, half), two, Rdn(O, "z")})))
        << "the rest of that RDN is left out too";
}

TEST_F(NameTest, IsPrintedAsItIs)
{
    EXPECT_EQ("CN=a,b=\x01\xff", Print(Decode({Rdn(CN, "a,b=\x01\xff")})));
    EXPECT_EQ("CN=a,O=b", Print(Decode({Rdn(CN, std::string("a\0c", 3)), Rdn(O, "b")})))
        << "lengths are those of strings";
}

TEST_F(NameTest, NullCannotBePrinted)
{
    const SigkitX509Name *const name = Decode({Rdn(CN, "cn")});
    char *text = nullptr;
    uint32_t len = 0;
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitConvertFromX509Name(nullptr, &text, &len));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitConvertFromX509Name(name, nullptr, &len));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitConvertFromX509Name(name, &text, nullptr));
    EXPECT_TRUE(Lines().empty());
    FailAllocation(1);
    EXPECT_STATUS(SIGKIT_ERR_NO_MEMORY, SigkitConvertFromX509Name(name, &text, &len));
    EXPECT_EQ(std::vector<std::string>{"E SigkitConvertFromX509Name 88000001 -"}, LineTexts());
    EXPECT_EQ(nullptr, text);
}

TEST_F(NameTest, AFailedCopyIsPassedOn)
{
    const SigkitX509Name *const name = Decode({Rdn(CN, "a"), Rdn(O, "b")});
    g_recordingHost.strcatS.failAt = 2;
    EXPECT_EQ("SIGKIT_ERR_UNKNOWN", Print(name));
    g_recordingHost.memcpyS.failAt = g_recordingHost.memcpyS.calls + 1;
    EXPECT_EQ("SIGKIT_ERR_UNKNOWN", Print(name));
}

TEST_F(NameTest, EqualNamesAreEqual)
{
    const SigkitX509Name *const one = Decode({Rdn(CN, "a"), Rdn(O, "b")});
    EXPECT_EQ(0, SigkitCompareX509Name(one, one));
    EXPECT_EQ(0, SigkitCompareX509Name(one, Decode({Rdn(CN, "a"), Rdn(O, "b")})));
    EXPECT_EQ(0, SigkitCompareX509Name(Decode({}), Decode({})));
    EXPECT_EQ(static_cast<int32_t>(SIGKIT_ERR_PARAM), SigkitCompareX509Name(nullptr, one));
    EXPECT_EQ(static_cast<int32_t>(SIGKIT_ERR_PARAM), SigkitCompareX509Name(one, nullptr));
}

TEST_F(NameTest, NamesThatDifferAnywhereElseAreDifferent)
{
    const SigkitX509Name *const one = Decode({Rdn(CN, "a"), Rdn(O, "b")});
    for (const SigkitX509Name *const other :
         {Decode({Rdn(CN, "a")}), Decode({Rdn(CN, "a"), Rdn(O, "B")}), Decode({Rdn(CN, "a"), Rdn(CN, "b")}),
          Decode({Rdn(O, "b"), Rdn(CN, "a")}), Decode({Rdn(CN, "a "), Rdn(O, "b")}), Decode({})}) {
        EXPECT_EQ(-1, SigkitCompareX509Name(one, other));
    }
}

TEST_F(NameTest, OnlyTheFirstAttributeOfAnRdnAndNoStringTypeCounts)
{
    const SigkitX509Name *const one = Decode({Rdn(CN, "a"), Rdn(O, "b")});
    const Bytes two = RelativeName({NameAttribute(CN, Utf8("a")), NameAttribute("2.5.4.11", Utf8("x"))});
    EXPECT_EQ(0, SigkitCompareX509Name(one, Decode({two, Rdn(O, "b")})));
    const Bytes printable = RelativeName({NameAttribute(CN, Printable("a"))});
    EXPECT_EQ(0, SigkitCompareX509Name(one, Decode({printable, Rdn(O, "b")})));
}

TEST_F(NameTest, HoldsTenRdnsOfTenAttributes)
{
    const std::vector<Bytes> ten(10, Rdn(CN, "a"));
    const std::vector<Bytes> eleven(11, Rdn(CN, "a"));
    ASSERT_NE(nullptr, Decode(ten));
    EXPECT_EQ(10u, names.back()->count);
    EXPECT_EQ(nullptr, Decode(eleven));
    EXPECT_NE(nullptr, Decode({RelativeName(std::vector<Bytes>(10, NameAttribute(CN, Utf8("a"))))}));
    EXPECT_EQ(nullptr, Decode({RelativeName(std::vector<Bytes>(11, NameAttribute(CN, Utf8("a"))))}));
}
