// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include <openssl/dh.h>
#include <openssl/rsa.h>

#include "pkgsign/crypto/keys.h"

namespace pkgsign
{
namespace
{

using DhPtr = std::unique_ptr<DH, Deleter<DH_free>>;
using RsaPtr = std::unique_ptr<RSA, Deleter<RSA_free>>;
using BnCtxPtr = std::unique_ptr<BN_CTX, Deleter<BN_CTX_free>>;

constexpr unsigned long EXPONENT = 65537;

BnPtr PrimeOf(DH *group)
{
    const DhPtr owned(group);
    return BnPtr(group == nullptr ? nullptr : BN_dup(DH_get0_p(group)));
}

// Two known primes whose product has this length: of RFC 2409, 6.2; RFC 3526, 3; RFC 5114, 2.1 and 2.3.
bool ChoosePrimes(int bits, BnPtr *p, BnPtr *q)
{
    switch (bits) {
    case 2048:
        p->reset(BN_get_rfc2409_prime_1024(nullptr));
        *q = PrimeOf(DH_get_1024_160());
        return true;
    case 3072:
        p->reset(BN_get_rfc3526_prime_2048(nullptr));
        q->reset(BN_get_rfc2409_prime_1024(nullptr));
        return true;
    case 4096:
        p->reset(BN_get_rfc3526_prime_2048(nullptr));
        *q = PrimeOf(DH_get_2048_256());
        return true;
    default:
        return false;
    }
}

// The numbers of an RSA key (RFC 8017, 3.2) from its primes. Null without memory.
RsaPtr Assemble(const BIGNUM *p, const BIGNUM *q)
{
    const BnCtxPtr scratch(BN_CTX_new());
    BnPtr e(BN_new()), n(BN_new()), d(BN_new()), phi(BN_new()), dp(BN_new()), dq(BN_new()), inverse(BN_new());
    BnPtr pLess(BN_dup(p)), qLess(BN_dup(q)), pOwn(BN_dup(p)), qOwn(BN_dup(q));
    RsaPtr rsa(RSA_new());
    const bool computed = rsa != nullptr && BN_set_word(e.get(), EXPONENT) == 1 &&
                          BN_mul(n.get(), p, q, scratch.get()) == 1 && BN_sub_word(pLess.get(), 1) == 1 &&
                          BN_sub_word(qLess.get(), 1) == 1 &&
                          BN_mul(phi.get(), pLess.get(), qLess.get(), scratch.get()) == 1 &&
                          BN_mod_inverse(d.get(), e.get(), phi.get(), scratch.get()) != nullptr &&
                          BN_mod(dp.get(), d.get(), pLess.get(), scratch.get()) == 1 &&
                          BN_mod(dq.get(), d.get(), qLess.get(), scratch.get()) == 1 &&
                          BN_mod_inverse(inverse.get(), q, p, scratch.get()) != nullptr;
    if (!computed || RSA_set0_key(rsa.get(), n.get(), e.get(), d.get()) != 1) {
        return nullptr;
    }
    (void)n.release(), (void)e.release(), (void)d.release(); // the key's from here on, as below
    if (RSA_set0_factors(rsa.get(), pOwn.get(), qOwn.get()) != 1) {
        return nullptr;
    }
    (void)pOwn.release(), (void)qOwn.release();
    if (RSA_set0_crt_params(rsa.get(), dp.get(), dq.get(), inverse.get()) != 1) {
        return nullptr;
    }
    (void)dp.release(), (void)dq.release(), (void)inverse.release();
    return rsa;
}

} // namespace

Status ThrowawayKey(int bits, Key *keyOut)
{
    BnPtr p;
    BnPtr q;
    if (!ChoosePrimes(bits, &p, &q)) {
        return GenerateKey(bits, keyOut);
    }
    RsaPtr rsa = p == nullptr || q == nullptr ? nullptr : Assemble(p.get(), q.get());
    Key key = ShareKey(EVP_PKEY_new());
    if (rsa == nullptr || key == nullptr || EVP_PKEY_assign_RSA(key.get(), rsa.get()) != 1) {
        return FailCrypto("cannot make a throwaway key");
    }
    (void)rsa.release();
    *keyOut = std::move(key);
    return {};
}

} // namespace pkgsign
