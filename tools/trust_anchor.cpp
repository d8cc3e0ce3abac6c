// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// trust_anchor_embed IN.der OUT.cpp: turns the root certificate that a deployer supplies into source text, once it has
// proved to be one that the tool may trust and can use. Runs at every build.
//
// Its properties are checked over libcrypto, in the order of CHECKS. What libcrypto makes of a certificate need not be
// what the library makes of it, so in the end the library is asked. The first check that fails is reported in one line
// on standard error, the exit status is 1 and nothing is written; standard output has what the library logs. A source
// text that is there already is left alone, with its date, so that a build makes only what has changed.
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <time.h>

#include <string>
#include <vector>

#include <openssl/asn1.h>
#include <openssl/bn.h>
#include <openssl/evp.h>
#include <openssl/objects.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include "core/context.h"
#include "core/guard.h"
#include "pki/chain.h"
#include "pki/path.h"
#include "pki/store.h"
#include "qzlog.h"
#include "sigkit/sigkit.h"
#include "src/trust_anchor.h"
#include "x509/cert.h"

namespace
{

constexpr long CERTIFICATE_VERSION_3 = 2; // RFC 5280, section 4.1.2.1
constexpr int KEY_BITS = 4096;
constexpr BN_ULONG KEY_EXPONENT = 65537;
constexpr uint32_t KEY_USAGE = KU_KEY_CERT_SIGN | KU_CRL_SIGN;
constexpr int64_t NOT_BEFORE = 1444896530; // 2015-10-15 08:08:50 UTC, as BeginsIn2015 says
constexpr int64_t NOT_AFTER = 2549434130;  // 2050-10-15 08:08:50 UTC, as EndsIn2050 says
constexpr size_t OCTETS_PER_LINE = 16;

// ---- Properties of the certificate ---------------------------------------------------------------------------------

bool IsVersion3(X509 *cert)
{
    return X509_get_version(cert) == CERTIFICATE_VERSION_3;
}

// By octets: the tool compares names so.
bool IsIssuedToItself(X509 *cert)
{
    const unsigned char *issuer = nullptr;
    const unsigned char *subject = nullptr;
    size_t issuerSize = 0;
    size_t subjectSize = 0;
    return X509_NAME_get0_der(X509_get_issuer_name(cert), &issuer, &issuerSize) == 1 &&
           X509_NAME_get0_der(X509_get_subject_name(cert), &subject, &subjectSize) == 1 && issuerSize == subjectSize &&
           memcmp(issuer, subject, issuerSize) == 0;
}

bool HasOnlyCountryOrganisationAndName(X509 *cert)
{
    const X509_NAME *const subject = X509_get_subject_name(cert);
    if (X509_NAME_entry_count(subject) != 3) {
        return false;
    }
    for (const int type : {NID_countryName, NID_organizationName, NID_commonName}) {
        if (X509_NAME_get_index_by_NID(const_cast<X509_NAME *>(subject), type, -1) < 0) {
            return false;
        }
    }
    return true;
}

bool HasEqualKeyIdentifiers(X509 *cert)
{
    AUTHORITY_KEYID *const authority =
        static_cast<AUTHORITY_KEYID *>(X509_get_ext_d2i(cert, NID_authority_key_identifier, nullptr, nullptr));
    ASN1_OCTET_STRING *const subject =
        static_cast<ASN1_OCTET_STRING *>(X509_get_ext_d2i(cert, NID_subject_key_identifier, nullptr, nullptr));
    const bool equal = authority != nullptr && authority->keyid != nullptr && subject != nullptr &&
                       ASN1_OCTET_STRING_cmp(authority->keyid, subject) == 0;
    AUTHORITY_KEYID_free(authority);
    ASN1_OCTET_STRING_free(subject);
    return equal;
}

// RFC 5280, section 4.1.1.2: the algorithm stands in the signed part and again beside the signature.
bool IsSignedWithSha256Rsa(X509 *cert)
{
    const X509_ALGOR *outer = nullptr;
    X509_get0_signature(nullptr, &outer, cert);
    return OBJ_obj2nid(X509_get0_tbs_sigalg(cert)->algorithm) == NID_sha256WithRSAEncryption &&
           OBJ_obj2nid(outer->algorithm) == NID_sha256WithRSAEncryption;
}

bool HasRsa4096Key(X509 *cert)
{
    EVP_PKEY *const key = X509_get0_pubkey(cert);
    return key != nullptr && EVP_PKEY_base_id(key) == EVP_PKEY_RSA && EVP_PKEY_bits(key) == KEY_BITS;
}

bool HasExponent65537(X509 *cert)
{
    const RSA *const key = EVP_PKEY_get0_RSA(X509_get0_pubkey(cert));
    return key != nullptr && BN_is_word(RSA_get0_e(key), KEY_EXPONENT) == 1;
}

// Returns whether a time is 15 October of the year, 08:08:50 UTC.
bool IsOctober15(const ASN1_TIME *time, int year)
{
    struct tm when = {};
    return ASN1_TIME_to_tm(time, &when) == 1 && when.tm_year == year - 1900 && when.tm_mon == 9 && when.tm_mday == 15 &&
           when.tm_hour == 8 && when.tm_min == 8 && when.tm_sec == 50;
}

bool BeginsIn2015(X509 *cert)
{
    return IsOctober15(X509_get0_notBefore(cert), 2015);
}

bool EndsIn2050(X509 *cert)
{
    return IsOctober15(X509_get0_notAfter(cert), 2050);
}

bool IsCa(X509 *cert)
{
    BASIC_CONSTRAINTS *const constraints =
        static_cast<BASIC_CONSTRAINTS *>(X509_get_ext_d2i(cert, NID_basic_constraints, nullptr, nullptr));
    const bool ca = constraints != nullptr && constraints->ca != 0;
    BASIC_CONSTRAINTS_free(constraints);
    return ca;
}

// A certificate without the extension reports every bit.
bool SignsCertificatesAndCrlsOnly(X509 *cert)
{
    return X509_get_key_usage(cert) == KEY_USAGE;
}

bool SignatureHolds(X509 *cert)
{
    return X509_verify(cert, X509_get0_pubkey(cert)) == 1;
}

struct Check {
    bool (*holds)(X509 *cert);
    const char *complaint;
};

constexpr Check CHECKS[] = {
    {IsVersion3, "its version is not 3"},
    {IsIssuedToItself, "its issuer is not equal to its subject"},
    {HasOnlyCountryOrganisationAndName, "its subject is not exactly one C, one O and one CN"},
    {HasEqualKeyIdentifiers, "its authority key identifier is not equal to its subject key identifier"},
    {IsSignedWithSha256Rsa, "its signature algorithm is not sha256WithRSAEncryption"},
    {HasRsa4096Key, "its key is not an RSA key of 4096 bits"},
    {HasExponent65537, "its public exponent is not 65537"},
    {BeginsIn2015, "its notBefore is not 2015-10-15 08:08:50 UTC"},
    {EndsIn2050, "its notAfter is not 2050-10-15 08:08:50 UTC"},
    {IsCa, "its basic constraints do not say CA"},
    {SignsCertificatesAndCrlsOnly, "its key usage is not exactly keyCertSign and cRLSign"},
    {SignatureHolds, "its own signature does not hold"},
};

// ---- What the library makes of it ----------------------------------------------------------------------------------

void FreeContext(SigkitVerifyCtx *ctx)
{
    (void)SigkitVrfCtxFree(ctx);
}

using ContextGuard = InternalGuard<SigkitVerifyCtx, FreeContext>;

// The certificate as the tool's trust anchor, or null.
SigkitX509Cert *LoadTrustAnchor(const std::vector<uint8_t> &der, ContextGuard *ctx)
{
    SigkitVerifyCreateParam param = SIGKIT_VERIFY_CREATE_PARAM_INIT;
    if (SigkitVerifyCreateCtx(&ctx->held, &param) != SIGKIT_OK ||
        SigkitVerifyAddCert(ctx->held, der.data(), static_cast<uint32_t>(der.size())) != SIGKIT_OK) {
        return nullptr;
    }
    return static_cast<SigkitX509Cert *>(ctx->held->pki->certs.items[0]);
}

bool IsTrustedThroughout(SigkitVerifyCtx *ctx, SigkitX509Cert *root)
{
    for (const int64_t time : {NOT_BEFORE, NOT_AFTER}) {
        uint32_t ok = 0;
        ctx->verifyTime = time;
        if (SigkitPkiVerifyCert(ctx, root, 1, 0, &ok) != SIGKIT_OK || ok != 1) {
            return false;
        }
    }
    return true;
}

// The root's private key is elsewhere, and all that it is known to have signed is the root. So a second record of it,
// which is not in the store, stands for a certificate that the root has issued, and its signed octets for a CRL's.
bool IsFoundAsIssuer(SigkitVerifyCtx *ctx, const std::vector<uint8_t> &der, const SigkitX509Cert *root)
{
    InternalCertGuard issued;
    uint32_t consumed = 0;
    if (SigkitX509DecodeCert(der.data(), static_cast<uint32_t>(der.size()), &issued.held, &consumed) != SIGKIT_OK ||
        InternalFindCertIssuer(ctx, issued.held) != root) {
        return false;
    }
    SigkitX509Crl crl = {};
    crl.encoded = issued.held->encoded;
    crl.tbsCertList.issuer = issued.held->tbsCertificate.issuer;
    crl.signatureAlgorithm = issued.held->signatureAlgorithm;
    crl.signatureValue = issued.held->signatureValue;
    return SigkitPkiFindCrlIssuer(ctx, &crl) == root;
}

// What hinders the library from using the certificate, or null.
const char *LibraryComplaint(const std::vector<uint8_t> &der)
{
    ContextGuard ctx;
    SigkitX509Cert *const root = LoadTrustAnchor(der, &ctx);
    if (root == nullptr) {
        return "the library cannot load it";
    }
    if (!IsTrustedThroughout(ctx.held, root)) {
        return "the library does not trust it from its notBefore to its notAfter";
    }
    if (!IsFoundAsIssuer(ctx.held, der, root)) {
        return "the library does not take it as the issuer of certificates and CRLs: is its key usage one octet?";
    }
    return nullptr;
}

// ---- Files ---------------------------------------------------------------------------------------------------------

bool Complain(const char *path, const std::string &complaint)
{
    (void)fprintf(stderr, "trust anchor %s: %s\n", path, complaint.c_str());
    return false;
}

bool ReadFile(const char *path, std::vector<uint8_t> *content)
{
    FILE *const file = fopen(path, "rb");
    if (file == nullptr) {
        return false;
    }
    uint8_t piece[4096];
    for (size_t size = fread(piece, 1, sizeof(piece), file); size > 0; size = fread(piece, 1, sizeof(piece), file)) {
        content->insert(content->end(), piece, piece + size);
    }
    const bool complete = ferror(file) == 0;
    (void)fclose(file);
    return complete;
}

bool WriteFile(const char *path, const std::string &text)
{
    std::vector<uint8_t> present;
    if (ReadFile(path, &present) && std::string(present.begin(), present.end()) == text) {
        return true;
    }
    FILE *const file = fopen(path, "wb");
    if (file == nullptr) {
        return false;
    }
    const bool written = fwrite(text.data(), 1, text.size(), file) == text.size();
    const bool closed = fclose(file) == 0;
    if (!written || !closed) {
        (void)remove(path); // half a source file would be taken for a whole one by the next build
        return false;
    }
    return true;
}

// ---- Source text ---------------------------------------------------------------------------------------------------

std::string Array(const char *definition, const uint8_t *octets, size_t size)
{
    std::string text = std::string(definition) + " = {";
    for (size_t i = 0; i < size; ++i) {
        char octet[8] = {};
        (void)snprintf(octet, sizeof(octet), "0x%02X,", octets[i]);
        text += i % OCTETS_PER_LINE == 0 ? "\n    " : " ";
        text += octet;
    }
    return text + "\n};\n";
}

std::string SourceText(const std::vector<uint8_t> &der)
{
    return "// The trust anchor. Generated from a certificate file; changes are lost.\n"
           "#include \"src/trust_anchor.h\"\n\n" +
           Array("uint8_t g_rootCert0[ROOT_CERT_FIRST_SIZE]", der.data(), ROOT_CERT_FIRST_SIZE) + "\n" +
           Array("const uint8_t g_rootCert1[ROOT_CERT_SECOND_SIZE]", der.data() + ROOT_CERT_FIRST_SIZE,
                 ROOT_CERT_SECOND_SIZE);
}

// ---- The program ---------------------------------------------------------------------------------------------------

// The certificate, or null when the octets are not one, or more than one.
X509 *Parse(const std::vector<uint8_t> &der)
{
    const unsigned char *next = der.data();
    X509 *const cert = d2i_X509(nullptr, &next, static_cast<long>(der.size()));
    if (cert != nullptr && next != der.data() + der.size()) {
        X509_free(cert);
        return nullptr;
    }
    return cert;
}

bool CheckCertificate(const char *path, const std::vector<uint8_t> &der)
{
    X509 *const cert = Parse(der);
    if (cert == nullptr) {
        return Complain(path, "it is not one X.509 certificate in DER");
    }
    const char *complaint = nullptr;
    for (const Check &check : CHECKS) {
        if (!check.holds(cert)) {
            complaint = check.complaint;
            break;
        }
    }
    X509_free(cert);
    if (complaint == nullptr) {
        complaint = LibraryComplaint(der);
    }
    return complaint == nullptr || Complain(path, complaint);
}

bool Embed(const char *input, const char *output)
{
    std::vector<uint8_t> der;
    if (!ReadFile(input, &der)) {
        return Complain(input, "it cannot be read");
    }
    if (der.size() != ROOT_CERT_SIZE) {
        return Complain(input,
                        "it has " + std::to_string(der.size()) + " octets, not " + std::to_string(ROOT_CERT_SIZE));
    }
    if (!CheckCertificate(input, der)) {
        return false;
    }
    return WriteFile(output, SourceText(der)) || Complain(input, std::string("cannot write ") + output);
}

} // namespace

// The platform's log, to which the callbacks write too: a build has no business in the log of the machine it runs on.
void qzlog(uint32_t /*moduleId*/, int /*level*/, const char * /*file*/, int /*line*/, const char * /*function*/,
           int /*reserved*/, const char * /*format*/, ...)
{
}

int main(int argc, char **argv)
{
    if (argc != 3) {
        (void)fprintf(stderr, "usage: trust_anchor_embed IN.der OUT.cpp\n");
        return 1;
    }
    return Embed(argv[1], argv[2]) ? 0 : 1;
}
