// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/forge/keys.h"
#include "tests/forge/digest.h"
#include "tests/forge/status.h"

#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/crypto.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>

namespace forge
{
namespace
{
using PublicKeyInfo = std::unique_ptr<X509_PUBKEY, decltype(&X509_PUBKEY_free)>;
using Bio = std::unique_ptr<BIO, decltype(&BIO_free_all)>;

constexpr unsigned KEY_FILE_MODE = 0600;

Key OwnKey(EVP_PKEY *key)
{
    return Key(key, EVP_PKEY_free);
}

// Refuses to ask for a passphrase: the tools run unattended.
int NoPassphrase(char *, int, int, void *)
{
    return -1;
}

Status Generate(EVP_PKEY_CTX *context, Key *keyOut)
{
    EVP_PKEY *key = nullptr;
    if (EVP_PKEY_keygen(context, &key) <= 0) {
        return FailCrypto("cannot generate a key");
    }
    *keyOut = OwnKey(key);
    return Ok();
}

} // namespace

Status GenerateRsaKey(int bits, Key *keyOut)
{
    if (bits < 1024 || bits > 16384) {
        return Fail("an RSA key must have 1024 to 16384 bits");
    }
    // Public exponent 65537 is libcrypto's default.
    const KeyContext context(EVP_PKEY_CTX_new_id(EVP_PKEY_RSA, nullptr), EVP_PKEY_CTX_free);
    if (context == nullptr || EVP_PKEY_keygen_init(context.get()) <= 0 ||
        EVP_PKEY_CTX_set_rsa_keygen_bits(context.get(), bits) <= 0) {
        return FailCrypto("cannot prepare an RSA key");
    }
    return Generate(context.get(), keyOut);
}

Status GenerateEcKey(Key *keyOut)
{
    const KeyContext context(EVP_PKEY_CTX_new_id(EVP_PKEY_EC, nullptr), EVP_PKEY_CTX_free);
    if (context == nullptr || EVP_PKEY_keygen_init(context.get()) <= 0 ||
        EVP_PKEY_CTX_set_ec_paramgen_curve_nid(context.get(), NID_X9_62_prime256v1) <= 0 ||
        EVP_PKEY_CTX_set_ec_param_enc(context.get(), OPENSSL_EC_NAMED_CURVE) <= 0) {
        return FailCrypto("cannot prepare an elliptic curve key");
    }
    return Generate(context.get(), keyOut);
}

Status ReadPrivateKey(const std::string &path, Key *keyOut)
{
    Bytes text;
    const Status status = ReadFile(path, &text);
    if (!status.ok) {
        return status;
    }
    const Bio bio(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())), BIO_free_all);
    EVP_PKEY *key = bio == nullptr ? nullptr : PEM_read_bio_PrivateKey(bio.get(), nullptr, NoPassphrase, nullptr);
    OPENSSL_cleanse(text.data(), text.size());
    if (key == nullptr) {
        return FailCrypto("no usable private key in '" + path + "'");
    }
    *keyOut = OwnKey(key);
    return Ok();
}

Status WritePrivateKey(const std::string &path, const Key &key)
{
    const Bio bio(BIO_new(BIO_s_mem()), BIO_free_all);
    if (bio == nullptr || key == nullptr ||
        PEM_write_bio_PKCS8PrivateKey(bio.get(), key.get(), nullptr, nullptr, 0, nullptr, nullptr) != 1) {
        return FailCrypto("cannot encode the private key for '" + path + "'");
    }
    char *data = nullptr;
    const long length = BIO_get_mem_data(bio.get(), &data);
    Bytes text(data, data + length);
    const Status status = WriteFile(path, text, KEY_FILE_MODE);
    OPENSSL_cleanse(text.data(), text.size());
    return status;
}

Status EncodePublicKey(const Key &key, Bytes *publicKeyInfoOut)
{
    unsigned char *encoding = nullptr;
    const int length = key == nullptr ? 0 : i2d_PUBKEY(key.get(), &encoding);
    if (length <= 0) {
        return FailCrypto("cannot encode the public key");
    }
    publicKeyInfoOut->assign(encoding, encoding + length);
    OPENSSL_free(encoding);
    return Ok();
}

Status KeyIdentifier(const Key &key, Bytes *identifierOut)
{
    X509_PUBKEY *made = nullptr;
    if (key == nullptr || X509_PUBKEY_set(&made, key.get()) != 1) {
        return FailCrypto("cannot encode the public key");
    }
    const PublicKeyInfo info(made, X509_PUBKEY_free);
    const unsigned char *bits = nullptr;
    int length = 0;
    if (X509_PUBKEY_get0_param(nullptr, &bits, &length, nullptr, info.get()) != 1) {
        return FailCrypto("cannot encode the public key");
    }
    return Hash(Digest::Sha1, Bytes(bits, bits + length), identifierOut);
}
} // namespace forge
