// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "fuzz/support/keys.h"

#include <cstdlib>
#include <string>
#include <unordered_map>

#include <openssl/bn.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>

#include "fuzz/support/host.h"
#include "tests/forge/digest.h"
#include "tests/forge/keys.h"
#include "tests/forge/signature.h"

namespace
{

constexpr int PRIME_OCTETS = 64;
constexpr BN_ULONG EXPONENT = 65537;
constexpr size_t CACHE_ENTRIES = 20000;

void Require(bool condition, const char *what)
{
    if (!condition) {
        FuzzFail("test keys: %s", what);
    }
}

// A prime candidate from a text: hashes of the text and a counter, with the two highest bits and the lowest one set.
BIGNUM *MakeCandidate(const std::string &text)
{
    forge::Bytes octets;
    for (char counter = '0'; octets.size() < PRIME_OCTETS; ++counter) {
        const std::string block = text + counter;
        const forge::Bytes hash = FuzzHash(forge::Digest::Sha256, forge::Bytes(block.begin(), block.end()));
        octets.insert(octets.end(), hash.begin(), hash.end());
    }
    octets.front() |= 0xC0;
    octets.back() |= 0x01;
    return BN_bin2bn(octets.data(), PRIME_OCTETS, nullptr);
}

bool IsPrime(const BIGNUM *number, BN_CTX *scratch)
{
#if OPENSSL_VERSION_NUMBER < 0x30000000L
    return BN_is_prime_ex(number, BN_prime_checks, scratch, nullptr) == 1;
#else
    return BN_check_prime(number, scratch, nullptr) == 1;
#endif
}

// The first prime from the candidate on that the public exponent can go with.
BIGNUM *MakePrime(const std::string &text, BN_CTX *scratch)
{
    BIGNUM *const prime = MakeCandidate(text);
    while (BN_mod_word(prime, EXPONENT) == 1 || !IsPrime(prime, scratch)) {
        Require(BN_add_word(prime, 2) == 1, "no prime");
    }
    return prime;
}

// The numbers of RFC 8017, 3.2 from two primes, which the key takes over.
RSA *AssembleRsa(BIGNUM *p, BIGNUM *q, BN_CTX *scratch)
{
    BIGNUM *const one = BN_new();
    BIGNUM *const pLess = BN_new();
    BIGNUM *const qLess = BN_new();
    BIGNUM *const order = BN_new();
    BIGNUM *const n = BN_new();
    BIGNUM *const e = BN_new();
    BIGNUM *const dP = BN_new();
    BIGNUM *const dQ = BN_new();
    const bool prepared = BN_one(one) == 1 && BN_set_word(e, EXPONENT) == 1 && BN_mul(n, p, q, scratch) == 1 &&
                          BN_sub(pLess, p, one) == 1 && BN_sub(qLess, q, one) == 1 &&
                          BN_mul(order, pLess, qLess, scratch) == 1;
    Require(prepared, "arithmetic");
    BIGNUM *const d = BN_mod_inverse(nullptr, e, order, scratch);
    BIGNUM *const coefficient = BN_mod_inverse(nullptr, q, p, scratch);
    RSA *const rsa = RSA_new();
    Require(BN_mod(dP, d, pLess, scratch) == 1 && BN_mod(dQ, d, qLess, scratch) == 1, "arithmetic");
    Require(RSA_set0_key(rsa, n, e, d) == 1 && RSA_set0_factors(rsa, p, q) == 1 &&
                RSA_set0_crt_params(rsa, dP, dQ, coefficient) == 1,
            "assembly");
    for (BIGNUM *const number : {one, pLess, qLess, order}) {
        BN_free(number);
    }
    return rsa;
}

forge::Key DeriveKey(size_t index)
{
    const std::string text = "Sigkit fuzz key " + std::to_string(index);
    BN_CTX *const scratch = BN_CTX_new();
    RSA *const rsa = AssembleRsa(MakePrime(text + " p", scratch), MakePrime(text + " q", scratch), scratch);
    BN_CTX_free(scratch);
    EVP_PKEY *const key = EVP_PKEY_new();
    Require(EVP_PKEY_assign_RSA(key, rsa) == 1, "assignment");
    return forge::Key(key, EVP_PKEY_free);
}

struct KeyRing {
    forge::Key keys[FUZZ_KEY_COUNT];
    forge::Bytes publicKeys[FUZZ_KEY_COUNT];
};

const KeyRing &Ring()
{
    static const KeyRing *const ring = [] {
        KeyRing *const fresh = new KeyRing();
        for (size_t i = 0; i < FUZZ_KEY_COUNT; ++i) {
            fresh->keys[i] = DeriveKey(i);
            Require(forge::EncodePublicKey(fresh->keys[i], &fresh->publicKeys[i]).ok, "encoding");
        }
        return fresh;
    }();
    return *ring;
}

bool Verifies(size_t key, forge::Digest digest, const forge::Bytes &data, const forge::Bytes &signature)
{
    EVP_MD_CTX *const context = EVP_MD_CTX_new();
    const bool verified =
        EVP_DigestVerifyInit(context, nullptr, forge::DigestMethod(digest), nullptr, FuzzKey(key).get()) == 1 &&
        EVP_DigestVerify(context, signature.data(), signature.size(), data.data(), data.size()) == 1;
    EVP_MD_CTX_free(context);
    return verified;
}

std::string CacheName(size_t key, forge::Digest digest, const forge::Bytes &data)
{
    const forge::Bytes hash = FuzzHash(forge::Digest::Sha256, data);
    std::string name(hash.begin(), hash.end());
    name += static_cast<char>(key);
    name += static_cast<char>(digest);
    return name;
}

} // namespace

const forge::Key &FuzzKey(size_t index)
{
    return Ring().keys[index];
}

const forge::Bytes &FuzzPublicKey(size_t index)
{
    return Ring().publicKeys[index];
}

size_t FuzzFindPublicKey(const forge::Bytes &publicKeyInfo)
{
    size_t index = 0;
    while (index < FUZZ_KEY_COUNT && FuzzPublicKey(index) != publicKeyInfo) {
        ++index;
    }
    return index;
}

forge::Bytes FuzzSign(size_t key, forge::Digest digest, const forge::Bytes &data)
{
    static std::unordered_map<std::string, forge::Bytes> cache;
    const std::string name = CacheName(key, digest, data);
    const auto known = cache.find(name);
    if (known != cache.end()) {
        return known->second;
    }
    forge::Bytes signature;
    Require(forge::SignOctets(FuzzKey(key), digest, data, &signature).ok, "signing");
    if (cache.size() >= CACHE_ENTRIES) {
        cache.clear();
    }
    cache[name] = signature;
    return signature;
}

size_t FuzzFindSigner(forge::Digest digest, const forge::Bytes &data, const forge::Bytes &signature)
{
    static std::unordered_map<std::string, size_t> cache;
    std::string name = CacheName(0, digest, data);
    name.append(signature.begin(), signature.end());
    const auto known = cache.find(name);
    if (known != cache.end()) {
        return known->second;
    }
    size_t key = 0;
    while (key < FUZZ_KEY_COUNT && !Verifies(key, digest, data, signature)) {
        ++key;
    }
    if (cache.size() >= CACHE_ENTRIES) {
        cache.clear();
    }
    cache[name] = key;
    return key;
}

forge::Bytes FuzzHash(forge::Digest digest, const forge::Bytes &data)
{
    forge::Bytes hash;
    if (!forge::Hash(digest, data, &hash).ok) {
        FuzzFail("test keys: digest");
    }
    return hash;
}
