#include "tests/pkgsign/support.h"

#include <openssl/evp.h>
#include <sys/stat.h>

namespace
{
class Key : public InDirectory
{
};

TEST_F(Key, RsaHasTheLengthAskedFor)
{
    PkgsignKey key;
    ASSERT_TRUE(PkgsignGenerateRsaKey(1024, &key).ok);
    EXPECT_EQ(EVP_PKEY_RSA, EVP_PKEY_base_id(key.get()));
    EXPECT_EQ(1024, EVP_PKEY_bits(key.get()));
}

TEST_F(Key, RsaOfAnUnusableLengthIsRefused)
{
    PkgsignKey key;
    EXPECT_FALSE(PkgsignGenerateRsaKey(1023, &key).ok);
    EXPECT_FALSE(PkgsignGenerateRsaKey(16385, &key).ok);
    EXPECT_EQ(nullptr, key);
}

TEST_F(Key, EllipticCurveIsP256)
{
    PkgsignKey key;
    ASSERT_TRUE(PkgsignGenerateEcKey(&key).ok);
    EXPECT_EQ(EVP_PKEY_EC, EVP_PKEY_base_id(key.get()));
    EXPECT_EQ(256, EVP_PKEY_bits(key.get()));
}

TEST_F(Key, IsReadAsItWasWritten)
{
    PkgsignKey read;
    ASSERT_TRUE(PkgsignWritePrivateKey(Path("key"), TestKey("signer")).ok);
    ASSERT_TRUE(PkgsignReadPrivateKey(Path("key"), &read).ok);
    unsigned char *first = nullptr;
    unsigned char *second = nullptr;
    const int firstLength = i2d_PrivateKey(TestKey("signer").get(), &first);
    const int secondLength = i2d_PrivateKey(read.get(), &second);
    EXPECT_EQ(PkgsignBytes(first, first + firstLength), PkgsignBytes(second, second + secondLength));
    OPENSSL_free(first);
    OPENSSL_free(second);
}

TEST_F(Key, FileIsPrivateEvenWhenItReplacesAPublicOne)
{
    Save("key", std::string("anything"));
    ASSERT_TRUE(PkgsignWritePrivateKey(Path("key"), TestKey("signer")).ok);
    struct stat found = {};
    ASSERT_EQ(0, stat(Path("key").c_str(), &found));
    EXPECT_EQ(0600u, found.st_mode & 0777u);
}

TEST_F(Key, IsNotReadFromSomethingElse)
{
    Save("text", std::string("no key"));
    PkgsignKey key;
    EXPECT_FALSE(PkgsignReadPrivateKey(Path("text"), &key).ok);
    EXPECT_FALSE(PkgsignReadPrivateKey(Path("missing"), &key).ok);
    EXPECT_FALSE(PkgsignWritePrivateKey(Path("none"), nullptr).ok);
}

} // namespace
