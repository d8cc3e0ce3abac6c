// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The check of the root certificate that is built in.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>

#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include "src/trust_anchor.h"
#include "tests/forge/forge.h"
#include "tests/support/process.h"
#include "tests/support/rsa_keys.h"

namespace
{

using Bytes = forge::Bytes;

const forge::Identity &GoodIdentity()
{
    static const forge::Identity root = [] {
        forge::PkiRequest request;
        request.rootKey = NextRsaKey(4096);
        forge::Identity identity;
        const forge::Status status = forge::MakeRoot(request, &identity);
        EXPECT_TRUE(status.ok) << status.reason;
        return identity;
    }();
    return root;
}

const Bytes &GoodRoot()
{
    return GoodIdentity().certificate;
}

struct Embedding {
    ProcessResult result;
    std::string source;
};

Embedding Embed(const Bytes &der)
{
    const TemporaryDirectory directory;
    EXPECT_TRUE(forge::WriteFile(directory.File("root.der"), der).ok);
    Embedding embedding;
    embedding.result = RunProcess({TRUST_ANCHOR_EMBED, directory.File("root.der"), directory.File("root.cpp")});
    Bytes source;
    if (forge::ReadFile(directory.File("root.cpp"), &source).ok) {
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

// Names a certificate's subject and issuer by a common name of `length` characters.
void Rename(X509 *cert, size_t length)
{
    const std::string text(length, 'R');
    X509_NAME *const name = X509_NAME_dup(X509_get_subject_name(cert));
    X509_NAME_ENTRY_free(X509_NAME_delete_entry(name, X509_NAME_get_index_by_NID(name, NID_commonName, -1)));
    EXPECT_EQ(1, X509_NAME_add_entry_by_NID(name, NID_commonName, MBSTRING_UTF8,
                                            reinterpret_cast<const unsigned char *>(text.data()),
                                            static_cast<int>(length), -1, 0));
    EXPECT_EQ(1, X509_set_subject_name(cert, name));
    EXPECT_EQ(1, X509_set_issuer_name(cert, name));
    X509_NAME_free(name);
}

// The good root after a change, signed anew. Names, which are there twice, and serial number give it a root's size.
Bytes Resigned(void (*change)(X509 *cert))
{
    for (size_t length = 1; length < 40; ++length) {
        const Bytes serialNumber(15 + length % 2, 0x11);
        const unsigned char *next = GoodRoot().data();
        X509 *const cert = d2i_X509(nullptr, &next, static_cast<long>(GoodRoot().size()));
        change(cert);
        Rename(cert, length / 2 + 1);
        EXPECT_EQ(1, ASN1_STRING_set(X509_get_serialNumber(cert), serialNumber.data(),
                                     static_cast<int>(serialNumber.size())));
        EXPECT_LT(0, X509_sign(cert, GoodIdentity().key.get(), EVP_sha256()));
        unsigned char *encoded = nullptr;
        const int size = i2d_X509(cert, &encoded);
        EXPECT_LT(0, size);
        const Bytes root(encoded, encoded + size);
        OPENSSL_free(encoded);
        X509_free(cert);
        if (root.size() == ROOT_CERT_SIZE) {
            return root;
        }
    }
    ADD_FAILURE() << "no name gives a certificate of the size";
    return {};
}

void LeaveAsItIs(X509 * /*cert*/)
{
}

void SetKeyUsage(X509 *cert, const Bytes &bits)
{
    ASN1_OCTET_STRING *const value =
        X509_EXTENSION_get_data(X509_get_ext(cert, X509_get_ext_by_NID(cert, NID_key_usage, -1)));
    EXPECT_EQ(1, ASN1_OCTET_STRING_set(value, bits.data(), static_cast<int>(bits.size())));
}

// The same two usages, in an octet more than they need. The library weighs the octets together.
void WidenKeyUsage(X509 *cert)
{
    SetKeyUsage(cert, {0x03, 0x03, 0x01, 0x06, 0x00});
}

// In two octets more; the library takes at most two.
void WidenKeyUsageTwice(X509 *cert)
{
    SetKeyUsage(cert, {0x03, 0x04, 0x01, 0x06, 0x00, 0x00});
}

// The same time in another form than RFC 5280, 4.1.2.5.1, allows.
void WriteNotBeforeWithAnOffset(X509 *cert)
{
    ASN1_TIME *const time = ASN1_TIME_new();
    time->type = V_ASN1_UTCTIME;
    EXPECT_EQ(1, ASN1_STRING_set(time, "151015080850+0000", 17));
    EXPECT_EQ(1, X509_set1_notBefore(cert, time));
    ASN1_TIME_free(time);
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
    EXPECT_EQ("", embedding.result.output);
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
        EXPECT_EQ(1, embedding.result.exitStatus) << row.complaint;
        EXPECT_NE(std::string::npos, embedding.result.errors.find(std::string(": ") + row.complaint + "\n"))
            << embedding.result.errors;
        EXPECT_EQ(1, std::count(embedding.result.errors.begin(), embedding.result.errors.end(), '\n'));
        EXPECT_EQ("", embedding.source) << "nothing is made";
    }
}

TEST(TrustAnchor, ThatTheLibraryCannotUseIsRefused)
{
    EXPECT_EQ(0, Embed(Resigned(LeaveAsItIs)).result.exitStatus) << "it is not the new signature that is refused";
    const struct {
        void (*change)(X509 *cert);
        const char *complaint;
    } rows[] = {
        {WidenKeyUsageTwice, "the library cannot load it"},
        {WriteNotBeforeWithAnOffset, "the library does not trust it from its notBefore to its notAfter"},
        {WidenKeyUsage, "the library does not take it as the issuer of certificates and CRLs"},
    };
    for (const auto &row : rows) {
        const Embedding embedding = Embed(Resigned(row.change));
        EXPECT_NE(0, embedding.result.exitStatus) << row.complaint;
        EXPECT_NE(std::string::npos, embedding.result.errors.find(std::string(": ") + row.complaint))
            << embedding.result.errors;
        EXPECT_EQ(1, std::count(embedding.result.errors.begin(), embedding.result.errors.end(), '\n'));
        EXPECT_EQ("", embedding.source) << "nothing is made";
    }
}

TEST(TrustAnchor, ThatIsBuiltInAlreadyChangesNoFile)
{
    const TemporaryDirectory directory;
    const std::string source = directory.File("root.cpp");
    EXPECT_TRUE(forge::WriteFile(directory.File("root.der"), GoodRoot()).ok);
    const std::vector<std::string> embed = {TRUST_ANCHOR_EMBED, directory.File("root.der"), source};
    struct stat first = {};
    struct stat second = {};
    ASSERT_EQ(0, RunProcess(embed).exitStatus);
    const timespec past[2] = {{1, 0}, {1, 0}};
    ASSERT_EQ(0, utimensat(AT_FDCWD, source.c_str(), past, 0));
    ASSERT_EQ(0, RunProcess(embed).exitStatus);
    ASSERT_EQ(0, stat(source.c_str(), &first));
    EXPECT_EQ(1, first.st_mtime) << "what is made of it need not be made again";
    EXPECT_TRUE(forge::WriteFile(directory.File("root.der"), Resigned(LeaveAsItIs)).ok);
    ASSERT_EQ(0, RunProcess(embed).exitStatus);
    ASSERT_EQ(0, stat(source.c_str(), &second));
    EXPECT_LT(1, second.st_mtime);
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
    EXPECT_EQ(1, result.exitStatus);
    EXPECT_NE(std::string::npos, result.errors.find("it cannot be read"));
}
