// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/timestamp/token.h"

#include <openssl/objects.h>
#include <openssl/pkcs7.h>

#include "pkgsign/crypto/digest.h"

namespace pkgsign
{
namespace
{

constexpr size_t SERIAL_SIZE = 16;
constexpr long TST_INFO_VERSION = 1;    // RFC 3161, 2.4.2
constexpr long SIGNED_DATA_VERSION = 3; // RFC 5652, 5.1: the content is no plain data

using InfoPtr = std::unique_ptr<TS_TST_INFO, Deleter<TS_TST_INFO_free>>;
using StringPtr = std::unique_ptr<ASN1_STRING, Deleter<ASN1_STRING_free>>;

// RFC 3161, 2.4.2.
InfoPtr MakeInfo(const TokenFields &fields)
{
    InfoPtr info(TS_TST_INFO_new());
    const ImprintPtr imprint = MakeImprint(fields.digest, fields.signature);
    const std::unique_ptr<ASN1_OBJECT, Deleter<ASN1_OBJECT_free>> policy(OBJ_txt2obj(fields.policy.c_str(), 1));
    const BnPtr number(BN_bin2bn(fields.serial.data(), static_cast<int>(fields.serial.size()), nullptr));
    const IntegerPtr serial(number == nullptr ? nullptr : BN_to_ASN1_INTEGER(number.get(), nullptr));
    const TimePtr time = MakeGeneralizedTime(fields.genTime);
    const bool made = info != nullptr && imprint != nullptr && policy != nullptr && serial != nullptr &&
                      time != nullptr && TS_TST_INFO_set_version(info.get(), TST_INFO_VERSION) == 1 &&
                      TS_TST_INFO_set_policy_id(info.get(), policy.get()) == 1 &&
                      TS_TST_INFO_set_msg_imprint(info.get(), imprint.get()) == 1 &&
                      TS_TST_INFO_set_serial(info.get(), serial.get()) == 1 &&
                      TS_TST_INFO_set_time(info.get(), time.get()) == 1;
    return made ? std::move(info) : nullptr;
}

// SigningCertificateV2 (RFC 5035, 3) of one certificate by its SHA-256 digest, which is the algorithm's default.
StringPtr MakeSigningCertificate(const X509 *certificate)
{
    Bytes der = {0x30, 0x26, 0x30, 0x24, 0x30, 0x22, 0x04, 0x20};
    const Bytes hash = Digest(EVP_sha256(), EncodeCertificate(certificate));
    der.insert(der.end(), hash.begin(), hash.end());
    StringPtr value(ASN1_STRING_type_new(V_ASN1_SEQUENCE)); // a parsed value: its octets are taken as they are
    const bool made = value != nullptr && ASN1_STRING_set(value.get(), der.data(), static_cast<int>(der.size())) == 1;
    return made ? std::move(value) : nullptr;
}

// The attribute takes over its value.
bool AddAttribute(PKCS7_SIGNER_INFO *signer, int nid, int type, StringPtr value)
{
    if (value == nullptr || PKCS7_add_signed_attribute(signer, nid, type, value.get()) != 1) {
        return false;
    }
    (void)value.release();
    return true;
}

// RFC 3161, 2.4.2, and the signing time: libcrypto would add the machine's own, and no token could be made again.
bool AddAttributes(PKCS7_SIGNER_INFO *signer, const TokenFields &fields)
{
    StringPtr time(MakeTime(fields.genTime).release());
    const int type = time == nullptr ? V_ASN1_UNDEF : ASN1_STRING_type(time.get());
    return PKCS7_add_signed_attribute(signer, NID_pkcs9_contentType, V_ASN1_OBJECT,
                                      OBJ_nid2obj(NID_id_smime_ct_TSTInfo)) == 1 &&
           AddAttribute(signer, NID_pkcs9_signingTime, type, std::move(time)) &&
           AddAttribute(signer, NID_id_smime_aa_signingCertificateV2, V_ASN1_SEQUENCE,
                        MakeSigningCertificate(fields.authority.get()));
}

// The content of a message is a message of its own in libcrypto's PKCS #7.
bool AddContent(PKCS7 *token)
{
    Pkcs7Ptr content(PKCS7_new());
    StringPtr octets(ASN1_OCTET_STRING_new());
    ASN1_TYPE *const value = ASN1_TYPE_new();
    if (content == nullptr || octets == nullptr || value == nullptr) {
        ASN1_TYPE_free(value);
        return false;
    }
    content->type = OBJ_nid2obj(NID_id_smime_ct_TSTInfo);
    content->d.other = value;
    ASN1_TYPE_set(value, V_ASN1_OCTET_STRING, octets.release());
    if (PKCS7_set_content(token, content.get()) != 1) {
        return false;
    }
    (void)content.release();
    return true;
}

} // namespace

ImprintPtr MakeImprint(const EVP_MD *digest, const Bytes &data)
{
    Bytes hash = Digest(digest, data);
    ImprintPtr imprint(TS_MSG_IMPRINT_new());
    const std::unique_ptr<X509_ALGOR, Deleter<X509_ALGOR_free>> algorithm(X509_ALGOR_new());
    const bool made = imprint != nullptr && algorithm != nullptr &&
                      X509_ALGOR_set0(algorithm.get(), OBJ_nid2obj(EVP_MD_type(digest)), V_ASN1_NULL, nullptr) == 1 &&
                      TS_MSG_IMPRINT_set_algo(imprint.get(), algorithm.get()) == 1 &&
                      TS_MSG_IMPRINT_set_msg(imprint.get(), hash.data(), static_cast<int>(hash.size())) == 1;
    return made ? std::move(imprint) : nullptr;
}

Status MakeToken(const TokenFields &fields, const Key &key, Bytes *tokenOut)
{
    const InfoPtr info = MakeInfo(fields);
    const Pkcs7Ptr token(PKCS7_new());
    bool made = info != nullptr && token != nullptr && PKCS7_set_type(token.get(), NID_pkcs7_signed) == 1 &&
                ASN1_INTEGER_set(token->d.sign->version, SIGNED_DATA_VERSION) == 1;
    for (const Certificate &certificate : fields.certificates) {
        made = made && PKCS7_add_certificate(token.get(), certificate.get()) == 1;
    }
    PKCS7_SIGNER_INFO *const signer =
        made ? PKCS7_add_signature(token.get(), fields.authority.get(), key.get(), fields.digest) : nullptr;
    made = signer != nullptr && AddAttributes(signer, fields) && AddContent(token.get());
    const BioPtr stream(made ? PKCS7_dataInit(token.get(), nullptr) : nullptr);
    if (stream == nullptr || i2d_TS_TST_INFO_bio(stream.get(), info.get()) != 1 ||
        PKCS7_dataFinal(token.get(), stream.get()) != 1) {
        return FailCrypto("cannot make a timestamp token");
    }
    *tokenOut = EncodeDer(i2d_PKCS7, token.get());
    return {};
}

std::string DescribeToken(const Bytes &der)
{
    const unsigned char *next = der.data();
    const Pkcs7Ptr token(d2i_PKCS7(nullptr, &next, static_cast<long>(der.size())));
    const InfoPtr info(token == nullptr ? nullptr : PKCS7_to_TS_TST_INFO(token.get()));
    const BioPtr text(BIO_new(BIO_s_mem()));
    if (info == nullptr || TS_TST_INFO_print_bio(text.get(), info.get()) != 1) {
        return {};
    }
    PKCS7_SIGNER_INFO *const signer = sk_PKCS7_SIGNER_INFO_value(PKCS7_get_signer_info(token.get()), 0);
    unsigned char *encoded = nullptr; // RFC 5652, 5.4: under the tag of a SET OF
    const int size =
        ASN1_item_i2d(reinterpret_cast<ASN1_VALUE *>(signer->auth_attr), &encoded, ASN1_ITEM_rptr(PKCS7_ATTR_SIGN));
    const Bytes attributes(encoded, encoded + (size > 0 ? size : 0));
    OPENSSL_free(encoded);
    const Bytes shown = TakeMemory(text.get());
    return std::string(shown.begin(), shown.end()) +
           "SHA-256 of what is signed: " + HexText(Digest(EVP_sha256(), attributes)) + "\n";
}

Bytes TokenSerial(const Bytes &signature, int64_t genTime)
{
    Bytes input = signature;
    for (int shift = 0; shift < 64; shift += 8) {
        input.push_back(static_cast<uint8_t>(genTime >> shift));
    }
    Bytes serial = Digest(EVP_sha256(), input);
    serial.resize(SERIAL_SIZE);
    serial[0] = static_cast<uint8_t>((serial[0] & 0x7F) | 0x40); // positive, and of this length
    return serial;
}

} // namespace pkgsign
