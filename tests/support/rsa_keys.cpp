// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/support/rsa_keys.h"

#include <stdio.h>
#include <stdlib.h>

#include <map>

#include <openssl/evp.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>

#ifndef TEST_KEY_DIRECTORY
#define TEST_KEY_DIRECTORY "" // no set: every key is generated
#endif

namespace
{

// Null when there is no such file, or no key in it.
RsaKey ReadKey(const std::string &path)
{
    FILE *const file = fopen(path.c_str(), "rb");
    if (file == nullptr) {
        return nullptr;
    }
    EVP_PKEY *const key = d2i_PrivateKey_fp(file, nullptr);
    (void)fclose(file);
    return RsaKey(key, EVP_PKEY_free);
}

} // namespace

RsaKey GenerateTestKey(int bits)
{
    EVP_PKEY_CTX *const context = EVP_PKEY_CTX_new_id(EVP_PKEY_RSA, nullptr);
    EVP_PKEY *key = nullptr;
    if (context != nullptr && EVP_PKEY_keygen_init(context) > 0 &&
        EVP_PKEY_CTX_set_rsa_keygen_bits(context, bits) > 0) {
        (void)EVP_PKEY_keygen(context, &key);
    }
    EVP_PKEY_CTX_free(context);
    return RsaKey(key, EVP_PKEY_free);
}

std::string TestKeyPath(const std::string &directory, int bits, unsigned n)
{
    return directory + "/" + std::to_string(bits) + "-" + std::to_string(n) + ".der";
}

RsaKey NextRsaKey(int bits)
{
    static std::map<int, unsigned> given;
    RsaKey key = ReadKey(TestKeyPath(TEST_KEY_DIRECTORY, bits, given[bits]++));
    if (key == nullptr) {
        key = GenerateTestKey(bits);
    }
    if (key == nullptr) {
        (void)fprintf(stderr, "no RSA key of %d bits can be made\n", bits);
        abort();
    }
    return key;
}
