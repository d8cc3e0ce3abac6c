// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// A libcrypto that fails: each call that the host callbacks make does nothing and returns 0, -1 or 2, or a null
// pointer. The linker's --wrap option puts the functions below before libcrypto's.
#include <gtest/gtest.h>

#include <openssl/evp.h>
#include <openssl/rsa.h>

#include "sigkit/sigkit.h"
#include "sigkit/sigkit_host.h"
#include "tests/faults/scenarios.h"
#include "tests/support/library_test.h"
#include "x509/oid.h"

namespace
{

struct CryptoCall {
    const char *name;
    bool returnsPointer;
    uint32_t calls;
    uint32_t failAt; // number of the call that fails, from 1; 0 for none
};

enum Function : uint32_t {
    MD_CTX_NEW,
    MD_CTX_RESET,
    DIGEST_INIT,
    DIGEST_UPDATE,
    DIGEST_FINAL,
    VERIFY_FINAL,
    PKEY_NEW,
    PKEY_ASSIGN,
    RSA_NEW,
    RSA_SET_KEY,
    BN_FROM_OCTETS,
    FUNCTIONS,
};

CryptoCall g_calls[FUNCTIONS] = {
    {"EVP_MD_CTX_new", true, 0, 0},    {"EVP_MD_CTX_reset", false, 0, 0}, {"EVP_DigestInit_ex", false, 0, 0},
    {"EVP_DigestUpdate", false, 0, 0}, {"EVP_DigestFinal", false, 0, 0},  {"EVP_VerifyFinal", false, 0, 0},
    {"EVP_PKEY_new", true, 0, 0},      {"EVP_PKEY_assign", false, 0, 0},  {"RSA_new", true, 0, 0},
    {"RSA_set0_key", false, 0, 0},     {"BN_bin2bn", true, 0, 0},
};
int g_failure = 0;

bool Fails(Function function)
{
    CryptoCall &call = g_calls[function];
    ++call.calls;
    return call.calls == call.failAt;
}

void ResetCalls()
{
    ResetRecordings();
    for (CryptoCall &call : g_calls) {
        call.calls = 0;
        call.failAt = 0;
    }
}

Outcome RunChecked(const Scenario &scenario)
{
    const Outcome outcome = scenario.run();
    EXPECT_EQ(0, LiveBlocks());
    EXPECT_EQ(0, LiveHostObjects());
    return outcome;
}

} // namespace

#pragma GCC diagnostic push
#if defined(__clang__)
#pragma GCC diagnostic ignored "-Wreserved-identifier"
#pragma GCC diagnostic ignored "-Wmissing-prototypes"
#endif

extern "C" {

EVP_MD_CTX *__real_EVP_MD_CTX_new(void);
int __real_EVP_MD_CTX_reset(EVP_MD_CTX *ctx);
int __real_EVP_DigestInit_ex(EVP_MD_CTX *ctx, const EVP_MD *type, ENGINE *engine);
int __real_EVP_DigestUpdate(EVP_MD_CTX *ctx, const void *data, size_t count);
int __real_EVP_DigestFinal(EVP_MD_CTX *ctx, unsigned char *digest, unsigned int *size);
int __real_EVP_VerifyFinal(EVP_MD_CTX *ctx, const unsigned char *signature, unsigned int size, EVP_PKEY *key);
EVP_PKEY *__real_EVP_PKEY_new(void);
int __real_EVP_PKEY_assign(EVP_PKEY *key, int type, void *value);
RSA *__real_RSA_new(void);
int __real_RSA_set0_key(RSA *rsa, BIGNUM *n, BIGNUM *e, BIGNUM *d);
BIGNUM *__real_BN_bin2bn(const unsigned char *octets, int count, BIGNUM *number);

EVP_MD_CTX *__wrap_EVP_MD_CTX_new(void);
int __wrap_EVP_MD_CTX_reset(EVP_MD_CTX *ctx);
int __wrap_EVP_DigestInit_ex(EVP_MD_CTX *ctx, const EVP_MD *type, ENGINE *engine);
int __wrap_EVP_DigestUpdate(EVP_MD_CTX *ctx, const void *data, size_t count);
int __wrap_EVP_DigestFinal(EVP_MD_CTX *ctx, unsigned char *digest, unsigned int *size);
int __wrap_EVP_VerifyFinal(EVP_MD_CTX *ctx, const unsigned char *signature, unsigned int size, EVP_PKEY *key);
EVP_PKEY *__wrap_EVP_PKEY_new(void);
int __wrap_EVP_PKEY_assign(EVP_PKEY *key, int type, void *value);
RSA *__wrap_RSA_new(void);
int __wrap_RSA_set0_key(RSA *rsa, BIGNUM *n, BIGNUM *e, BIGNUM *d);
BIGNUM *__wrap_BN_bin2bn(const unsigned char *octets, int count, BIGNUM *number);

EVP_MD_CTX *__wrap_EVP_MD_CTX_new(void)
{
    return Fails(MD_CTX_NEW) ? nullptr : __real_EVP_MD_CTX_new();
}

int __wrap_EVP_MD_CTX_reset(EVP_MD_CTX *ctx)
{
    return Fails(MD_CTX_RESET) ? g_failure : __real_EVP_MD_CTX_reset(ctx);
}

int __wrap_EVP_DigestInit_ex(EVP_MD_CTX *ctx, const EVP_MD *type, ENGINE *engine)
{
    return Fails(DIGEST_INIT) ? g_failure : __real_EVP_DigestInit_ex(ctx, type, engine);
}

int __wrap_EVP_DigestUpdate(EVP_MD_CTX *ctx, const void *data, size_t count)
{
    return Fails(DIGEST_UPDATE) ? g_failure : __real_EVP_DigestUpdate(ctx, data, count);
}

int __wrap_EVP_DigestFinal(EVP_MD_CTX *ctx, unsigned char *digest, unsigned int *size)
{
    return Fails(DIGEST_FINAL) ? g_failure : __real_EVP_DigestFinal(ctx, digest, size);
}

int __wrap_EVP_VerifyFinal(EVP_MD_CTX *ctx, const unsigned char *signature, unsigned int size, EVP_PKEY *key)
{
    return Fails(VERIFY_FINAL) ? g_failure : __real_EVP_VerifyFinal(ctx, signature, size, key);
}

EVP_PKEY *__wrap_EVP_PKEY_new(void)
{
    return Fails(PKEY_NEW) ? nullptr : __real_EVP_PKEY_new();
}

int __wrap_EVP_PKEY_assign(EVP_PKEY *key, int type, void *value)
{
    return Fails(PKEY_ASSIGN) ? g_failure : __real_EVP_PKEY_assign(key, type, value);
}

RSA *__wrap_RSA_new(void)
{
    return Fails(RSA_NEW) ? nullptr : __real_RSA_new();
}

int __wrap_RSA_set0_key(RSA *rsa, BIGNUM *n, BIGNUM *e, BIGNUM *d)
{
    return Fails(RSA_SET_KEY) ? g_failure : __real_RSA_set0_key(rsa, n, e, d);
}

BIGNUM *__wrap_BN_bin2bn(const unsigned char *octets, int count, BIGNUM *number)
{
    return Fails(BN_FROM_OCTETS) ? nullptr : __real_BN_bin2bn(octets, count, number);
}

} // extern "C"

#pragma GCC diagnostic pop

TEST(FailingLibcrypto, IsNeverReadAsAnAcceptanceButMayCostACrl)
{
    uint32_t faults = 0;
    uint32_t lostCrls = 0;
    for (const Scenario &scenario : Scenarios()) {
        ResetCalls();
        ASSERT_EQ(scenario.expected, RunChecked(scenario)) << scenario.name;
        uint32_t calls[FUNCTIONS] = {};
        for (uint32_t function = 0; function < FUNCTIONS; ++function) {
            calls[function] = g_calls[function].calls;
        }
        for (uint32_t function = 0; function < FUNCTIONS; ++function) {
            // A reset of a context that is new already changes nothing: its failure may leave an acceptance as it is.
            const bool isHarmless = function == MD_CTX_RESET;
            // libcrypto refuses or fails in one breath here: then the signature does not hold. When it is that of the
            // CRL that revokes, the older CRL decides.
            const bool mayLoseCrl = function == VERIFY_FINAL && scenario.needsEveryCrl;
            for (const int failure : {0, -1, 2}) {
                for (uint32_t n = 1; n <= calls[function]; ++n) {
                    SCOPED_TRACE(scenario.name + " " + g_calls[function].name + " " + std::to_string(n) + " " +
                                 std::to_string(failure));
                    ResetCalls();
                    g_failure = failure;
                    g_calls[function].failAt = n;
                    const Outcome outcome = RunChecked(scenario);
                    const bool isAcceptance = IsAcceptance(scenario, outcome);
                    EXPECT_TRUE(!isAcceptance || mayLoseCrl || (isHarmless && outcome == scenario.expected));
                    lostCrls += isAcceptance && mayLoseCrl ? 1 : 0;
                    ++faults;
                }
                if (g_calls[function].returnsPointer) {
                    break;
                }
            }
        }
    }
    printf("%u faults\n", faults);
    // Four scenarios and three failures; with a new key the CA's new certificate can be lost as well as its CRL.
    EXPECT_EQ(15u, lostCrls);
    EXPECT_LT(3000u, faults); // the calls are really wrapped
}

TEST(FailingLibcrypto, IsLoggedUnderTheNumbersThatFieldSupportKnows)
{
    const SigkitBigInt number = {1, {3}};
    SigkitMdCtx *digest = nullptr;
    SigkitCryptoCtx *check = nullptr;
    ASSERT_EQ(0, SigkitMdCreateCtx(&digest));
    ASSERT_EQ(0, SigkitCryptoVerifyCreateCtx(&check));
    ResetCalls();
    g_failure = 0;
    g_calls[DIGEST_INIT].failAt = 1;
    EXPECT_EQ(-1, SigkitMdInit(digest, AOID_SHA256));
    g_calls[DIGEST_INIT].failAt = 2;
    EXPECT_EQ(-1, SigkitCryptoVerifyInit(check, &number, &number, AOID_SHA256));
    EXPECT_EQ((std::vector<std::string>{"E 448 SigkitMdInit Failed to connect handler with hash algo.",
                                        "E 626 SigkitCryptoVerifyInit Failed to bind algo handler to ctx."}),
              LogTexts());
    SigkitMdDestoryCtx(digest);
    SigkitCryptoVerifyDestroyCtx(check);
}
