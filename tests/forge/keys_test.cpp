// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/forge/support.h"

#include <openssl/evp.h>
#include <sys/stat.h>

namespace
{
class Key : public InDirectory
{
};

TEST_F(Key, RsaHasTheLengthAskedFor)
{
    forge::Key key;
    ASSERT_TRUE(forge::GenerateRsaKey(1024, &key).ok);
    EXPECT_EQ(EVP_PKEY_RSA, EVP_PKEY_base_id(key.get()));
    EXPECT_EQ(1024, EVP_PKEY_bits(key.get()));
}

TEST_F(Key, RsaOfAnUnusableLengthIsRefused)
{
    forge::Key key;
    EXPECT_FALSE(forge::GenerateRsaKey(1023, &key).ok);
    EXPECT_FALSE(forge::GenerateRsaKey(16385, &key).ok);
    EXPECT_EQ(nullptr, key);
}

TEST_F(Key, EllipticCurveIsP256)
{
    forge::Key key;
    ASSERT_TRUE(forge::GenerateEcKey(&key).ok);
    EXPECT_EQ(EVP_PKEY_EC, EVP_PKEY_base_id(key.get()));
    EXPECT_EQ(256, EVP_PKEY_bits(key.get()));
}

TEST_F(Key, IsReadAsItWasWritten)
{
    forge::Key read;
    ASSERT_TRUE(forge::WritePrivateKey(Path("key"), TestKey("signer")).ok);
    ASSERT_TRUE(forge::ReadPrivateKey(Path("key"), &read).ok);
    unsigned char *first = nullptr;
    unsigned char *second = nullptr;
    const int firstLength = i2d_PrivateKey(TestKey("signer").get(), &first);
    const int secondLength = i2d_PrivateKey(read.get(), &second);
    EXPECT_EQ(forge::Bytes(first, first + firstLength), forge::Bytes(second, second + secondLength));
    OPENSSL_free(first);
    OPENSSL_free(second);
}

TEST_F(Key, FileIsPrivateEvenWhenItReplacesAPublicOne)
{
    Save("key", std::string("anything"));
    ASSERT_TRUE(forge::WritePrivateKey(Path("key"), TestKey("signer")).ok);
    struct stat found = {};
    ASSERT_EQ(0, stat(Path("key").c_str(), &found));
    EXPECT_EQ(0600u, found.st_mode & 0777u);
}

TEST_F(Key, IsNotReadFromSomethingElse)
{
    Save("text", std::string("no key"));
    forge::Key key;
    EXPECT_FALSE(forge::ReadPrivateKey(Path("text"), &key).ok);
    EXPECT_FALSE(forge::ReadPrivateKey(Path("missing"), &key).ok);
    EXPECT_FALSE(forge::WritePrivateKey(Path("none"), nullptr).ok);
}

} // namespace
