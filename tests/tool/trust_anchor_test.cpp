// The check of the root certificate that is built in.
#include <gtest/gtest.h>

#include <algorithm>

#include "pkgsign/pkgsign.h"
#include "src/trust_anchor.h"
#include "tests/support/process.h"

namespace
{

using Bytes = PkgsignBytes;

const Bytes &GoodRoot()
{
    static const Bytes root = [] {
        PkgsignIdentity identity;
        const PkgsignStatus status = PkgsignMakeRoot({}, &identity);
        EXPECT_TRUE(status.ok) << status.reason;
        return identity.certificate;
    }();
    return root;
}

struct Embedding {
    ProcessResult result;
    std::string source;
};

Embedding Embed(const Bytes &der)
{
    const TemporaryDirectory directory;
    EXPECT_TRUE(PkgsignWriteFile(directory.File("root.der"), der).ok);
    Embedding embedding;
    embedding.result = RunProcess({TRUST_ANCHOR_EMBED, directory.File("root.der"), directory.File("root.cpp")});
    Bytes source;
    if (PkgsignReadFile(directory.File("root.cpp"), &source).ok) {
        embedding.source.assign(source.begin(), source.end());
    }
    return embedding;
}

// The good root with the n-th occurrence of some octets replaced, from 0.
Bytes Altered(const Bytes &what, const Bytes &with, int n = 0)
{
    Bytes root = GoodRoot();
    auto place = root.begin();
    for (; n >= 0; --n) {
        place = std::search(place == root.begin() ? place : place + 1, root.end(), what.begin(), what.end());
    }
    EXPECT_NE(root.end(), place);
    std::copy(with.begin(), with.end(), place);
    return root;
}

Bytes Text(const std::string &text)
{
    return Bytes(text.begin(), text.end());
}

Bytes WithBrokenSignature()
{
    Bytes root = GoodRoot();
    root.at(root.size() - 1) ^= 1;
    return root;
}

// Another common name than the issuer's, in the subject alone.
Bytes WithAnotherSubject()
{
    return Altered(Text("Root CA"), Text("Root CB"), 1);
}

Bytes WithAnotherNameAttribute()
{
    Bytes root = Altered({0x06, 0x03, 0x55, 0x04, 0x03}, {0x06, 0x03, 0x55, 0x04, 0x0B});
    const Bytes name = {0x06, 0x03, 0x55, 0x04, 0x03};
    const auto second = std::search(root.begin(), root.end(), name.begin(), name.end());
    *(second + 4) = 0x0B;
    return root;
}

Bytes WithAnotherKeyIdentifier()
{
    // keyIdentifier [0] of the authority key identifier.
    Bytes root = GoodRoot();
    const Bytes head = {0x30, 0x16, 0x80, 0x14};
    const auto place = std::search(root.begin(), root.end(), head.begin(), head.end());
    EXPECT_NE(root.end(), place);
    *(place + 4) ^= 1;
    return root;
}

const Bytes SHA256_RSA = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x01, 0x0B};
const Bytes SHA384_RSA = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x01, 0x0C};

Bytes WithAnotherAlgorithm()
{
    Bytes root = Altered(SHA256_RSA, SHA384_RSA);
    const auto outer = std::search(root.begin(), root.end(), SHA256_RSA.begin(), SHA256_RSA.end());
    *(outer + 8) = 0x0C;
    return root;
}

} // namespace

TEST(TrustAnchor, IsSplitIntoItsTwoPieces)
{
    const Embedding embedding = Embed(GoodRoot());
    EXPECT_EQ(0, embedding.result.exitStatus) << embedding.result.errors;
    EXPECT_EQ("", embedding.result.errors);
    Bytes octets;
    for (size_t place = embedding.source.find("0x"); place != std::string::npos;
         place = embedding.source.find("0x", place + 1)) {
        octets.push_back(static_cast<uint8_t>(std::stoul(embedding.source.substr(place + 2, 2), nullptr, 16)));
    }
    EXPECT_EQ(GoodRoot(), octets);
    const size_t second = embedding.source.find("g_rootCert1");
    ASSERT_NE(std::string::npos, second);
    const std::string first = embedding.source.substr(0, second);
    size_t inFirst = 0;
    for (size_t place = first.find("0x"); place != std::string::npos; place = first.find("0x", place + 1)) {
        ++inFirst;
    }
    EXPECT_EQ(1232u, inFirst);
    EXPECT_EQ(1363u, octets.size());
}

TEST(TrustAnchor, IsRefusedForTheFirstPropertyThatFails)
{
    const struct {
        Bytes root;
        const char *complaint;
    } rows[] = {
        {Altered({0xA0, 0x03, 0x02, 0x01, 0x02}, {0xA0, 0x03, 0x02, 0x01, 0x01}), "its version is not 3"},
        {WithAnotherSubject(), "its issuer is not equal to its subject"},
        {WithAnotherNameAttribute(), "its subject is not exactly one C, one O and one CN"},
        {WithAnotherKeyIdentifier(), "its authority key identifier is not equal to its subject key identifier"},
        {WithAnotherAlgorithm(), "its signature algorithm is not sha256WithRSAEncryption"},
        {Altered({0x02, 0x03, 0x01, 0x00, 0x01}, {0x02, 0x03, 0x01, 0x00, 0x03}), "its public exponent is not 65537"},
        {Altered(Text("151015080850Z"), Text("151015080851Z")), "its notBefore is not 2015-10-15 08:08:50 UTC"},
        {Altered(Text("20501015080850Z"), Text("20501015080851Z")), "its notAfter is not 2050-10-15 08:08:50 UTC"},
        {Altered({0x30, 0x03, 0x01, 0x01, 0xFF}, {0x30, 0x03, 0x01, 0x01, 0x00}),
         "its basic constraints do not say CA"},
        {Altered({0x03, 0x02, 0x01, 0x06}, {0x03, 0x02, 0x01, 0x86}),
         "its key usage is not exactly keyCertSign and cRLSign"},
        {WithBrokenSignature(), "its own signature does not hold"},
    };
    for (const auto &row : rows) {
        const Embedding embedding = Embed(row.root);
        EXPECT_NE(0, embedding.result.exitStatus) << row.complaint;
        EXPECT_NE(std::string::npos, embedding.result.errors.find(std::string(": ") + row.complaint + "\n"))
            << embedding.result.errors;
        EXPECT_EQ(1, std::count(embedding.result.errors.begin(), embedding.result.errors.end(), '\n'));
        EXPECT_EQ("", embedding.source) << "nothing is made";
    }
}

TEST(TrustAnchor, OfAnotherKeyLengthIsRefused)
{
    // A modulus whose first octet is small has 4089 bits or fewer.
    const Bytes head = {0x02, 0x82, 0x02, 0x01, 0x00};
    Bytes root = GoodRoot();
    const auto place = std::search(root.begin(), root.end(), head.begin(), head.end());
    ASSERT_NE(root.end(), place);
    *(place + 5) = 0x01;
    EXPECT_NE(std::string::npos, Embed(root).result.errors.find("its key is not an RSA key of 4096 bits"));
}

TEST(TrustAnchor, OfAnotherSizeIsRefused)
{
    Bytes longer = GoodRoot();
    longer.push_back(0);
    EXPECT_NE(std::string::npos, Embed(longer).result.errors.find("it has 1364 octets, not 1363"));
    const Bytes garbage(1363, 0x30);
    EXPECT_NE(std::string::npos, Embed(garbage).result.errors.find("it is not one X.509 certificate in DER"));
}

TEST(TrustAnchor, ThatCannotBeReadIsRefused)
{
    const ProcessResult result = RunProcess({TRUST_ANCHOR_EMBED, "/nonexistent/root.der", "/dev/null"});
    EXPECT_NE(0, result.exitStatus);
    EXPECT_NE(std::string::npos, result.errors.find("it cannot be read"));
}
