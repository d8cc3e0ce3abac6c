// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/timestamp/request.h"

#include <algorithm>

#include <openssl/err.h>
#include <openssl/objects.h>
#include <openssl/rand.h>
#include <openssl/x509v3.h>

#include "pkgsign/authority/device.h"
#include "pkgsign/files/files.h"
#include "pkgsign/timestamp/failure.h"
#include "pkgsign/timestamp/token.h"

namespace pkgsign
{
namespace
{

constexpr long REQUEST_VERSION = 1;       // RFC 3161, 2.4.1
constexpr size_t NONCE_SIZE = 8;          // 2.4.1 suggests 64 bits
constexpr size_t TEXT_SIZE_MAX = 200;     // octets of an authority's text that are shown
constexpr size_t WHOLE_SECONDS_SIZE = 15; // YYYYMMDDHHMMSSZ

using TstInfoPtr = std::unique_ptr<TS_TST_INFO, Deleter<TS_TST_INFO_free>>;

Status FailToken(const std::string &reason)
{
    return Fail("token: " + reason);
}

Status FailRule(const std::string &reason)
{
    return Fail("device rule: " + reason);
}

Bytes Octets(const ASN1_STRING *string)
{
    const uint8_t *const data = ASN1_STRING_get0_data(string);
    return Bytes(data, data + ASN1_STRING_length(string));
}

std::string AlgorithmName(const X509_ALGOR *algorithm)
{
    const ASN1_OBJECT *object = nullptr;
    X509_ALGOR_get0(&object, nullptr, nullptr, algorithm);
    char text[64] = {};
    (void)OBJ_obj2txt(text, sizeof(text), object, 0);
    return text;
}

// A digest that devices take; null for another one.
const EVP_MD *DeviceDigest(const X509_ALGOR *algorithm)
{
    const ASN1_OBJECT *object = nullptr;
    X509_ALGOR_get0(&object, nullptr, nullptr, algorithm);
    for (const EVP_MD *const digest : {EVP_sha256(), EVP_sha384(), EVP_sha512()}) {
        if (EVP_MD_type(digest) == OBJ_obj2nid(object)) {
            return digest;
        }
    }
    return nullptr;
}

bool DescribeNonce(TS_REQ *encoded, const Bytes &nonce)
{
    if (nonce.empty()) {
        return true;
    }
    const BnPtr number(BN_bin2bn(nonce.data(), static_cast<int>(nonce.size()), nullptr));
    const IntegerPtr integer(number == nullptr ? nullptr : BN_to_ASN1_INTEGER(number.get(), nullptr));
    return integer != nullptr && TS_REQ_set_nonce(encoded, integer.get()) == 1;
}

// The imprint's algorithm and octets. asked: null for any algorithm that devices take.
Status CheckImprint(TS_MSG_IMPRINT *imprint, const EVP_MD *asked, const Bytes &signature)
{
    X509_ALGOR *const algorithm = TS_MSG_IMPRINT_get_algo(imprint);
    const EVP_MD *const digest = DeviceDigest(algorithm);
    if (digest == nullptr || (asked != nullptr && EVP_MD_type(digest) != EVP_MD_type(asked))) {
        return FailToken("its imprint is made with " + AlgorithmName(algorithm) + ", not with " +
                         (asked == nullptr ? "SHA-2" : OBJ_nid2ln(EVP_MD_type(asked))));
    }
    if (Octets(TS_MSG_IMPRINT_get_msg(imprint)) != Digest(digest, signature)) {
        return FailToken("it is for something else than this signature");
    }
    return {};
}

// RFC 3161, 2.4.2: the nonce of the request, or none when the request had none.
Status CheckNonce(const ASN1_INTEGER *given, const TimestampRequest &request)
{
    if (!request.isNonceKnown) {
        return {};
    }
    if (given == nullptr) {
        return request.nonce.empty() ? Status() : FailToken("the nonce of the request is missing");
    }
    if (request.nonce.empty()) {
        return FailToken("it has a nonce: give the request that it answers (--request), so that it can be compared");
    }
    const bool isNegative = ASN1_STRING_type(given) == V_ASN1_NEG_INTEGER;
    return !isNegative && Octets(given) == request.nonce ? Status() : FailToken("its nonce is not that of the request");
}

// The certificate of the one who has signed the token, among those that it carries.
Status FindSigner(PKCS7 *token, const PKCS7_SIGNER_INFO **signerOut, X509 **certificateOut)
{
    STACK_OF(PKCS7_SIGNER_INFO) *const signers = PKCS7_get_signer_info(token);
    if (sk_PKCS7_SIGNER_INFO_num(signers) != 1) { // RFC 3161, 2.4.2: the authority's signature and no other
        return FailToken("it has " + std::to_string(std::max(0, sk_PKCS7_SIGNER_INFO_num(signers))) +
                         " signers in the place of one");
    }
    const PKCS7_SIGNER_INFO *const signer = sk_PKCS7_SIGNER_INFO_value(signers, 0);
    const PKCS7_ISSUER_AND_SERIAL *const name = signer->issuer_and_serial;
    STACK_OF(X509) *const carried = token->d.sign->cert;
    X509 *const certificate =
        carried == nullptr ? nullptr : X509_find_by_issuer_and_serial(carried, name->issuer, name->serial);
    if (certificate == nullptr) {
        return FailToken("the certificate of its signer is missing");
    }
    *signerOut = signer;
    *certificateOut = certificate;
    return {};
}

Status CheckSigner(const PKCS7_SIGNER_INFO *signer, X509 *certificate)
{
    // RFC 3161, 2.3.
    if ((X509_get_extension_flags(certificate) & EXFLAG_XKUSAGE) == 0 ||
        (X509_get_extended_key_usage(certificate) & XKU_TIMESTAMP) == 0) {
        return FailRule("the certificate of its signer is not for time stamping");
    }
    const EVP_PKEY *const key = X509_get0_pubkey(certificate);
    if (key == nullptr || EVP_PKEY_base_id(key) != EVP_PKEY_RSA) {
        ERR_clear_error();
        return FailRule("the key of its signer is not RSA");
    }
    return DeviceDigest(signer->digest_alg) != nullptr
               ? Status()
               : FailRule("it is signed with " + AlgorithmName(signer->digest_alg) + ", not with SHA-2");
}

Status CheckTime(const ASN1_GENERALIZEDTIME *time)
{
    const Bytes text = Octets(time);
    if (text.size() != WHOLE_SECONDS_SIZE || ASN1_GENERALIZEDTIME_check(time) != 1) { // so the last one is Z
        return FailRule("its time '" + Printable({text.begin(), text.end()}) + "' is not in whole seconds");
    }
    return {};
}

Status CheckCertificates(const STACK_OF(X509) * carried)
{
    const int count = sk_X509_num(carried);
    return count <= static_cast<int>(DEVICE_MESSAGE_CERTIFICATES_MAX)
               ? Status()
               : FailRule("it carries " + std::to_string(count) + " certificates, and devices take " +
                          std::to_string(DEVICE_MESSAGE_CERTIFICATES_MAX));
}

Status CheckToken(PKCS7 *token, const TimestampRequest &request, CheckedToken *tokenOut)
{
    const TstInfoPtr info(PKCS7_to_TS_TST_INFO(token));
    if (info == nullptr) {
        return FailCrypto("token: it holds no TSTInfo");
    }
    const ASN1_GENERALIZEDTIME *const time = TS_TST_INFO_get_time(info.get());
    const PKCS7_SIGNER_INFO *signer = nullptr;
    X509 *certificate = nullptr;
    Status status = CheckImprint(TS_TST_INFO_get_msg_imprint(info.get()), request.digest, request.signature);
    if (status.ok) {
        status = CheckNonce(TS_TST_INFO_get_nonce(info.get()), request);
    }
    if (status.ok) {
        status = FindSigner(token, &signer, &certificate);
    }
    if (status.ok) {
        status = CheckTime(time);
    }
    if (status.ok) {
        status = CheckSigner(signer, certificate);
    }
    if (status.ok) {
        status = CheckCertificates(token->d.sign->cert);
    }
    if (status.ok) {
        *tokenOut = {EncodeDer(i2d_PKCS7, token), TimeSeconds(time)};
    }
    return status;
}

struct Named {
    int number;
    const char *text;
};

// PKIStatus, RFC 3161, 2.4.2.
constexpr Named STATUSES[] = {
    {2, "rejection"}, {3, "waiting"}, {4, "revocationWarning"}, {5, "revocationNotification"}};

std::string StatusName(long number)
{
    for (const Named &named : STATUSES) {
        if (named.number == number) {
            return named.text;
        }
    }
    return std::to_string(number);
}

std::string FailureNames(const ASN1_BIT_STRING *bits)
{
    std::string names;
    for (const FailureText &text : FAILURES) {
        if (bits != nullptr && ASN1_BIT_STRING_get_bit(bits, static_cast<int>(text.failure)) == 1) {
            names += std::string(names.empty() ? "" : ", ") + text.name + ": " + text.meaning;
        }
    }
    return names;
}

// The authority's own words.
std::string StatusText(const STACK_OF(ASN1_UTF8STRING) * texts)
{
    Bytes joined;
    for (int i = 0; i < sk_ASN1_UTF8STRING_num(texts); ++i) { // -1 of no texts
        const Bytes text = Octets(sk_ASN1_UTF8STRING_value(texts, i));
        if (i > 0) {
            joined.push_back(' ');
        }
        joined.insert(joined.end(), text.begin(), text.end());
    }
    joined.resize(std::min(joined.size(), TEXT_SIZE_MAX));
    return Printable({joined.begin(), joined.end()});
}

// RFC 3161, 2.4.2: a token is there when the status is granted or grantedWithMods. What may not be modified is checked
// in the token.
Status CheckStatus(TS_STATUS_INFO *info)
{
    const long number = ASN1_INTEGER_get(TS_STATUS_INFO_get0_status(info));
    if (number == TS_STATUS_GRANTED || number == TS_STATUS_GRANTED_WITH_MODS) {
        return {};
    }
    const std::string failures = FailureNames(TS_STATUS_INFO_get0_failure_info(info));
    const std::string text = StatusText(TS_STATUS_INFO_get0_text(info));
    return Fail("PKIStatus " + StatusName(number) + (failures.empty() ? "" : " (" + failures + ")") +
                (text.empty() ? "" : ": '" + text + "'"));
}

Status DecodeAnswer(const Bytes &answer, Pkcs7Ptr *tokenOut)
{
    const unsigned char *next = answer.data();
    const TsResponsePtr response(d2i_TS_RESP(nullptr, &next, static_cast<long>(answer.size())));
    if (response == nullptr || next != answer.data() + answer.size()) {
        return FailCrypto("token: the answer is no TimeStampResp");
    }
    const Status status = CheckStatus(TS_RESP_get_status_info(response.get()));
    if (status.ok) {
        tokenOut->reset(PKCS7_dup(TS_RESP_get_token(response.get())));
    }
    return status.ok && *tokenOut == nullptr ? FailCrypto("token: it cannot be read") : status;
}

Status DecodeTokenOrAnswer(const Bytes &given, Pkcs7Ptr *tokenOut)
{
    const unsigned char *next = given.data();
    Pkcs7Ptr token(d2i_PKCS7(nullptr, &next, static_cast<long>(given.size())));
    ERR_clear_error();
    if (token == nullptr || next != given.data() + given.size()) {
        return DecodeAnswer(given, tokenOut);
    }
    *tokenOut = std::move(token);
    return {};
}

} // namespace

Status NewTimestampRequest(const EVP_MD *digest, const Bytes &signature, TimestampRequest *requestOut)
{
    Bytes nonce(NONCE_SIZE);
    if (RAND_bytes(nonce.data(), static_cast<int>(nonce.size())) != 1) {
        return FailCrypto("cannot make a nonce");
    }
    nonce[0] = static_cast<uint8_t>((nonce[0] & 0x7F) | 0x40); // positive, and of this length
    *requestOut = {digest, signature, nonce};
    return {};
}

Status EncodeTimestampRequest(const TimestampRequest &request, Bytes *derOut)
{
    const TsRequestPtr encoded(TS_REQ_new());
    const ImprintPtr imprint = MakeImprint(request.digest, request.signature);
    if (encoded == nullptr || imprint == nullptr || TS_REQ_set_version(encoded.get(), REQUEST_VERSION) != 1 ||
        TS_REQ_set_msg_imprint(encoded.get(), imprint.get()) != 1 || !DescribeNonce(encoded.get(), request.nonce) ||
        TS_REQ_set_cert_req(encoded.get(), 1) != 1) {
        return FailCrypto("cannot make a timestamp request");
    }
    *derOut = EncodeDer(i2d_TS_REQ, encoded.get());
    return {};
}

Status DecodeTimestampRequest(const Bytes &der, const std::string &source, const Bytes &signature,
                              TimestampRequest *requestOut)
{
    const std::string quoted = "'" + Printable(source) + "'";
    const unsigned char *next = der.data();
    const TsRequestPtr encoded(d2i_TS_REQ(nullptr, &next, static_cast<long>(der.size())));
    if (encoded == nullptr || next != der.data() + der.size()) {
        return FailCrypto(quoted + " is no timestamp request");
    }
    const ASN1_INTEGER *const nonce = TS_REQ_get_nonce(encoded.get());
    if (nonce == nullptr || ASN1_STRING_type(nonce) == V_ASN1_NEG_INTEGER) {
        return Fail("the request " + quoted + " has no nonce that an answer could be compared with");
    }
    TS_MSG_IMPRINT *const imprint = TS_REQ_get_msg_imprint(encoded.get());
    if (!CheckImprint(imprint, nullptr, signature).ok) {
        return Fail("the request " + quoted + " is not for the signature of this message");
    }
    *requestOut = {DeviceDigest(TS_MSG_IMPRINT_get_algo(imprint)), signature, Octets(nonce)};
    return {};
}

Status ReadTimestampAnswer(const Bytes &answer, const TimestampRequest &request, CheckedToken *tokenOut)
{
    Pkcs7Ptr token;
    const Status status = DecodeAnswer(answer, &token);
    return status.ok ? CheckToken(token.get(), request, tokenOut) : status;
}

Status ReadTokenOrAnswer(const Bytes &given, const TimestampRequest &request, CheckedToken *tokenOut)
{
    Pkcs7Ptr token;
    const Status status = DecodeTokenOrAnswer(given, &token);
    return status.ok ? CheckToken(token.get(), request, tokenOut) : status;
}

Status TokenTime(const Bytes &given, int64_t *timeOut)
{
    Pkcs7Ptr token;
    const Status status = DecodeTokenOrAnswer(given, &token);
    if (!status.ok) {
        return status;
    }
    const TstInfoPtr info(PKCS7_to_TS_TST_INFO(token.get()));
    if (info == nullptr) {
        return FailToken("it holds no TSTInfo");
    }
    *timeOut = TimeSeconds(TS_TST_INFO_get_time(info.get()));
    return {};
}

} // namespace pkgsign
