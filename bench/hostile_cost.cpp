// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What files that are made to hold the verifier up cost it, for scripts/bench.sh: a row a file, in a table of its own,
// since the log may be on standard output and on standard error. Usage: hostile_cost TABLE
#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>

#include "sigkit/sigkit.h"
#include "sigkit/sigkit_host.h"
#include "tests/forge/forge.h"

static uint32_t g_signatureChecks = 0;
static FILE *g_table = nullptr;

extern "C" int32_t __real_SigkitCryptoVerifyFinal(SigkitCryptoCtx *ctx, const uint8_t *signature, uint32_t len,
                                                  int32_t *verified);
extern "C" int32_t __wrap_SigkitCryptoVerifyFinal(SigkitCryptoCtx *ctx, const uint8_t *signature, uint32_t len,
                                                  int32_t *verified)
{
    ++g_signatureChecks;
    return __real_SigkitCryptoVerifyFinal(ctx, signature, len, verified);
}

namespace
{

using Bytes = forge::Bytes;

constexpr int64_t NOW = 1640995200;
constexpr int64_t YEAR = 365 * 86400;

void Must(const forge::Status &status)
{
    if (!status.ok) {
        std::fprintf(stderr, "hostile_cost: %s\n", status.reason.c_str());
        std::exit(1);
    }
}

forge::Key MakeKey(int bits)
{
    forge::Key key;
    Must(forge::GenerateRsaKey(bits, &key));
    return key;
}

forge::Name Name(const std::string &commonName)
{
    return {{"C", "XX"}, {"CN", commonName}};
}

// One of a set of certificates: `subject` with `subjectKey`, signed by `issuerKey`.
Bytes Cert(const forge::Name &subject, const forge::Name &issuer, const forge::Key &subjectKey,
           const forge::Key &issuerKey, uint8_t serial)
{
    forge::CertificateRequest request;
    request.serialNumber = {serial};
    request.subject = subject;
    request.issuer = issuer;
    request.notBefore = NOW - YEAR;
    request.notAfter = NOW + YEAR;
    request.basicConstraints = forge::BasicConstraints::Ca;
    request.keyUsage = forge::DIGITAL_SIGNATURE | forge::KEY_CERT_SIGN | forge::CRL_SIGN;
    request.extendedKeyUsage = {forge::PURPOSE_CODE_SIGNING};
    request.subjectKey = subjectKey;
    request.issuerKey = issuerKey;
    Bytes certificate;
    Must(forge::MakeCertificate(request, &certificate));
    return certificate;
}

forge::CrlRequest CrlRequest(const Bytes &issuer, const forge::Key &key, int64_t number)
{
    forge::CrlRequest request;
    request.issuerCertificate = issuer;
    request.issuerKey = key;
    request.thisUpdate = NOW - 1000 + number;
    request.nextUpdate = NOW + YEAR;
    request.crlNumber = number;
    return request;
}

Bytes Crl(const forge::CrlRequest &request)
{
    Bytes crl;
    Must(forge::MakeCrl(request, &crl));
    return crl;
}

// A CRL that has ended by the time that it is judged at, its own thisUpdate, and lists the serial number 1.
Bytes EndedCrl(const Bytes &issuer, const forge::Key &key, int64_t number)
{
    forge::CrlRequest request = CrlRequest(issuer, key, number);
    request.nextUpdate = NOW - YEAR;
    forge::RevokedCertificate entry;
    entry.serialNumber = {1};
    entry.revocationDate = NOW;
    entry.reasonCode = 4; // superseded (RFC 5280, 5.3.1)
    request.revoked = {entry};
    return Crl(request);
}

void Append(Bytes *file, const Bytes &part)
{
    file->insert(file->end(), part.begin(), part.end());
}

struct Input {
    std::string name;
    Bytes root;
    Bytes file;
};

// A CA whose key was rolled over, with sixteen CRLs that only their own issuer covers.
Input RolledOver(int bits)
{
    const forge::Key keys[3] = {MakeKey(bits), MakeKey(bits), MakeKey(bits)};
    const forge::Name root = Name("Root");
    const forge::Name ca = Name("CA");
    Input input;
    input.name = "16 CRLs that cover their own issuer, RSA " + std::to_string(bits);
    input.root = Cert(root, root, keys[0], keys[0], 1);
    const Bytes rolled = Cert(ca, ca, keys[2], keys[1], 3);
    Append(&input.file, Cert(ca, root, keys[1], keys[0], 2));
    Append(&input.file, rolled);
    for (int64_t i = 0; i < 16; ++i) {
        Append(&input.file, Crl(CrlRequest(rolled, keys[2], i)));
    }
    return input;
}

// A chain of eleven certificates of one name with CRLs that are tried at each of them: the last certificate signed all
// but one, which is the root's. All have ended and list every certificate, superseded later.
Input LongWalks(int bits)
{
    const forge::Name name = Name("CA");
    forge::Key key = MakeKey(bits);
    Input input;
    input.name = "11 certificates and 16 CRLs of one name, RSA " + std::to_string(bits);
    input.root = Cert(name, name, key, key, 1);
    const Bytes rootCrl = EndedCrl(input.root, key, 15);
    Bytes last;
    for (uint8_t i = 1; i < 11; ++i) {
        const forge::Key issuerKey = key;
        key = MakeKey(bits);
        last = Cert(name, name, key, issuerKey, 1);
        Append(&input.file, last);
    }
    for (int64_t i = 0; i < 15; ++i) {
        Append(&input.file, EndedCrl(last, key, i));
    }
    Append(&input.file, rootCrl);
    return input;
}

// The public half of a key with another exponent; what it signs can never be verified.
forge::Key WithExponent(const forge::Key &key, const BIGNUM *exponent)
{
    BIGNUM *modulus = nullptr;
    EVP_PKEY_get_bn_param(key.get(), OSSL_PKEY_PARAM_RSA_N, &modulus);
    OSSL_PARAM_BLD *const builder = OSSL_PARAM_BLD_new();
    OSSL_PARAM_BLD_push_BN(builder, OSSL_PKEY_PARAM_RSA_N, modulus);
    OSSL_PARAM_BLD_push_BN(builder, OSSL_PKEY_PARAM_RSA_E, exponent);
    OSSL_PARAM *const parameters = OSSL_PARAM_BLD_to_param(builder);
    EVP_PKEY_CTX *const ctx = EVP_PKEY_CTX_new_from_name(nullptr, "RSA", nullptr);
    EVP_PKEY *made = nullptr;
    EVP_PKEY_fromdata_init(ctx);
    EVP_PKEY_fromdata(ctx, &made, EVP_PKEY_PUBLIC_KEY, parameters);
    EVP_PKEY_CTX_free(ctx);
    OSSL_PARAM_free(parameters);
    OSSL_PARAM_BLD_free(builder);
    BN_free(modulus);
    return forge::Key(made, EVP_PKEY_free);
}

// Fifteen certificates and sixteen CRLs of one name, each of which might have issued each, none of which did; the
// exponents are as long as libcrypto takes.
Input EveryIssuer(int bits, int exponentBits)
{
    const forge::Key signer = MakeKey(bits);
    BIGNUM *const exponent = BN_new();
    BN_set_bit(exponent, exponentBits - 1);
    BN_set_bit(exponent, 0);
    for (int i = 1; i < exponentBits - 1; ++i) {
        BN_set_bit(exponent, i); // every bit costs a multiplication
    }
    const forge::Name name = Name("CA");
    Input input;
    input.name = "15 certificates and 16 CRLs of one name, RSA " + std::to_string(bits) + ", exponents of " +
                 std::to_string(exponentBits) + " bits";
    input.root = Cert(name, name, signer, signer, 1);
    const forge::Key stranger = MakeKey(bits);
    for (uint8_t i = 0; i < 15; ++i) {
        Append(&input.file,
               Cert(name, name, WithExponent(MakeKey(bits), exponent), stranger, static_cast<uint8_t>(i + 2)));
    }
    for (int64_t i = 0; i < 16; ++i) {
        Append(&input.file, Crl(CrlRequest(input.root, stranger, i)));
    }
    BN_free(exponent);
    return input;
}

Input Pem(const char *name, const std::string &text)
{
    Input input;
    input.name = std::string("2 MB of ") + name;
    input.file.reserve(2000000);
    while (input.file.size() + text.size() <= 2000000) {
        input.file.insert(input.file.end(), text.begin(), text.end());
    }
    return input;
}

double Seconds()
{
    struct timespec now = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// Loads the file, and summarises it, which validates the issuer of each CRL.
void Measure(const Input &input)
{
    SigkitVerifyCreateParam param = SIGKIT_VERIFY_CREATE_PARAM_INIT;
    SigkitVerifyCtx *ctx = nullptr;
    SigkitCrlBundle *bundle = nullptr;
    if (SigkitVerifyCreateCtx(&ctx, &param) != SIGKIT_OK ||
        (!input.root.empty() &&
         SigkitVerifyAddCert(ctx, input.root.data(), static_cast<uint32_t>(input.root.size())) != SIGKIT_OK)) {
        std::fprintf(stderr, "hostile_cost: %s: no context, or the root is refused\n", input.name.c_str());
        std::exit(1);
    }
    g_signatureChecks = 0;
    const double begin = Seconds();
    (void)SigkitDecodeCrl(ctx, input.file.data(), static_cast<uint32_t>(input.file.size()), &bundle);
    const double end = Seconds();
    char seconds[32] = "< 0.01";
    if (end - begin >= 0.01) {
        (void)std::snprintf(seconds, sizeof(seconds), "%.2f", end - begin);
    }
    std::fprintf(g_table, "| %s | %zu | %u | %s |\n", input.name.c_str(), input.file.size(), g_signatureChecks,
                 seconds);
    if (bundle != nullptr) {
        (void)SigkitCrlFree(ctx, bundle);
    }
    (void)SigkitVrfCtxFree(ctx);
}

} // namespace

int main(int argc, char **argv)
{
    g_table = argc == 2 ? std::fopen(argv[1], "w") : nullptr;
    if (g_table == nullptr) {
        std::fprintf(stderr, "hostile_cost: the table cannot be written\n");
        return 1;
    }
    std::fprintf(g_table, "| file | octets | RSA operations | CPU seconds |\n|---|---:|---:|---:|\n");
    Measure(RolledOver(2048));
    Measure(RolledOver(4096));
    Measure(LongWalks(2048));
    Measure(LongWalks(4096));
    Measure(EveryIssuer(2048, 17));
    Measure(EveryIssuer(4096, 64));
    Measure(EveryIssuer(3072, 3071)); // smaller than the modulus, as libcrypto insists
    Measure(Pem("start markers", "-----BEGIN CERTIFICATE-----\n"));
    Measure(Pem("start markers of CRLs and certificates", "-----BEGIN X509 CRL-----\n-----BEGIN CERTIFICATE-----\n"));
    Input blank = Pem("blank lines in a block", "\n");
    const std::string begin = "-----BEGIN CERTIFICATE-----\n";
    const std::string finish = "-----END CERTIFICATE-----\n";
    std::copy(begin.begin(), begin.end(), blank.file.begin());
    std::copy(finish.begin(), finish.end(), blank.file.end() - static_cast<ptrdiff_t>(finish.size()));
    Measure(blank);
    Measure(Pem("blocks without their own end", "-----BEGIN CERTIFICATE-----\nQUJD\n-----END OTHER-----\n"));
    Measure(Pem("nested headers", "-----BEGIN CERTIFICATE----------BEGIN X509 CRL----------END-----"));
    Measure(Pem("blocks that share an end marker",
                "-----BEGIN X509 CRL-----END----------BEGIN X509 CRL----------END X509 CRL-----"));
    Measure(Pem("blocks of four characters", "-----BEGIN X509 CRL-----\nQUJD\n-----END X509 CRL-----\n"));
    return std::fclose(g_table) == 0 ? 0 : 1;
}
