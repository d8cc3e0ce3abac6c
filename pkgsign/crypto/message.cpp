// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/crypto/message.h"

#include <algorithm>

#include <openssl/err.h>

#include "pkgsign/files/files.h"
#include "pkgsign/files/time.h"

namespace pkgsign
{
namespace
{

constexpr unsigned FLAGS = CMS_BINARY | CMS_DETACHED | CMS_PARTIAL | CMS_NOCERTS | CMS_NOSMIMECAP;

// The one signer of a message; null when there is another number of them.
CMS_SignerInfo *OnlySigner(CMS_ContentInfo *message)
{
    STACK_OF(CMS_SignerInfo) *const signers = CMS_get0_SignerInfos(message);
    return sk_CMS_SignerInfo_num(signers) == 1 ? sk_CMS_SignerInfo_value(signers, 0) : nullptr;
}

using AttributePtr = std::unique_ptr<X509_ATTRIBUTE, Deleter<X509_ATTRIBUTE_free>>;
using TypePtr = std::unique_ptr<ASN1_TYPE, Deleter<ASN1_TYPE_free>>;

void FreeSet(ASN1_SEQUENCE_ANY *set)
{
    sk_ASN1_TYPE_pop_free(set, ASN1_TYPE_free);
}
using SetPtr = std::unique_ptr<ASN1_SEQUENCE_ANY, Deleter<FreeSet>>;

// RFC 5652, 11.1 to 11.3. libcrypto takes the content's digest from a stream; here the content was read before.
bool MakeAttributes(const MessageFields &fields, std::vector<AttributePtr> *attributes)
{
    const TimePtr time = MakeTime(fields.signingTime);
    if (time == nullptr) {
        return false;
    }
    attributes->emplace_back(
        X509_ATTRIBUTE_create_by_NID(nullptr, NID_pkcs9_contentType, V_ASN1_OBJECT, OBJ_nid2obj(NID_pkcs7_data), -1));
    attributes->emplace_back(X509_ATTRIBUTE_create_by_NID(nullptr, NID_pkcs9_messageDigest, V_ASN1_OCTET_STRING,
                                                          fields.contentDigest.data(),
                                                          static_cast<int>(fields.contentDigest.size())));
    attributes->emplace_back(
        X509_ATTRIBUTE_create_by_NID(nullptr, NID_pkcs9_signingTime, ASN1_STRING_type(time.get()), time.get(), -1));
    return std::find(attributes->begin(), attributes->end(), nullptr) == attributes->end();
}

// One of a set of encoded attributes; null when it is none.
AttributePtr AttributeAt(const ASN1_SEQUENCE_ANY *set, int place)
{
    const ASN1_TYPE *const item = sk_ASN1_TYPE_value(set, place);
    if (item->type != V_ASN1_SEQUENCE) {
        return nullptr;
    }
    const unsigned char *next = ASN1_STRING_get0_data(item->value.sequence);
    return AttributePtr(d2i_X509_ATTRIBUTE(nullptr, &next, ASN1_STRING_length(item->value.sequence)));
}

// The attribute of a kind in a set of encoded ones; null when it is not there.
AttributePtr FindAttribute(const ASN1_SEQUENCE_ANY *set, int nid)
{
    for (int i = 0; i < sk_ASN1_TYPE_num(set); ++i) {
        AttributePtr attribute = AttributeAt(set, i);
        if (attribute != nullptr && OBJ_obj2nid(X509_ATTRIBUTE_get0_object(attribute.get())) == nid) {
            return attribute;
        }
    }
    return nullptr;
}

std::string ObjectText(const ASN1_OBJECT *object)
{
    char text[64] = {};
    (void)OBJ_obj2txt(text, sizeof(text), object, 0);
    return text;
}

// The first value of an attribute: those that are signed have no other.
std::string ValueText(X509_ATTRIBUTE *attribute)
{
    const ASN1_TYPE *const value = X509_ATTRIBUTE_get0_type(attribute, 0);
    switch (value == nullptr ? V_ASN1_UNDEF : value->type) {
    case V_ASN1_OBJECT:
        return ObjectText(value->value.object);
    case V_ASN1_UTCTIME:
    case V_ASN1_GENERALIZEDTIME:
        return FormatTime(TimeSeconds(value->value.asn1_string));
    case V_ASN1_OCTET_STRING: {
        const uint8_t *const data = ASN1_STRING_get0_data(value->value.octet_string);
        return HexText(Bytes(data, data + ASN1_STRING_length(value->value.octet_string)));
    }
    default:
        return "?";
    }
}

bool RemoveTokens(CMS_SignerInfo *signer)
{
    for (;;) {
        const int index = CMS_unsigned_get_attr_by_NID(signer, NID_id_smime_aa_timeStampToken, -1);
        if (index < 0) {
            return true;
        }
        X509_ATTRIBUTE_free(CMS_unsigned_delete_attr(signer, index));
    }
}

} // namespace

Status EncodeAttributes(const MessageFields &fields, Bytes *derOut)
{
    std::vector<AttributePtr> attributes;
    const SetPtr set(sk_ASN1_TYPE_new_null());
    bool made = set != nullptr && MakeAttributes(fields, &attributes);
    for (const AttributePtr &attribute : attributes) {
        const Bytes der = made ? EncodeDer(i2d_X509_ATTRIBUTE, attribute.get()) : Bytes();
        const unsigned char *next = der.data();
        TypePtr item(made ? d2i_ASN1_TYPE(nullptr, &next, static_cast<long>(der.size())) : nullptr);
        made = item != nullptr && sk_ASN1_TYPE_push(set.get(), item.get()) > 0;
        (void)(made ? item.release() : nullptr); // the set's
    }
    Bytes encoded = made ? EncodeDer(i2d_ASN1_SET_ANY, set.get()) : Bytes();
    if (encoded.empty()) {
        return FailCrypto("cannot encode the signed attributes");
    }
    *derOut = std::move(encoded);
    return {};
}

Status DecodeAttributes(const Bytes &der, const std::string &source, MessageFields *fields)
{
    const unsigned char *next = der.data();
    const SetPtr set(d2i_ASN1_SET_ANY(nullptr, &next, static_cast<long>(der.size())));
    const AttributePtr digest = FindAttribute(set.get(), NID_pkcs9_messageDigest);
    const AttributePtr time = FindAttribute(set.get(), NID_pkcs9_signingTime);
    const void *const value = X509_ATTRIBUTE_get0_data(digest.get(), 0, V_ASN1_OCTET_STRING, nullptr);
    const void *signingTime = X509_ATTRIBUTE_get0_data(time.get(), 0, V_ASN1_UTCTIME, nullptr);
    if (signingTime == nullptr) { // from 2050 on (RFC 5652, 11.3)
        signingTime = X509_ATTRIBUTE_get0_data(time.get(), 0, V_ASN1_GENERALIZEDTIME, nullptr);
    }
    MessageFields read = *fields;
    if (value != nullptr && signingTime != nullptr) {
        const ASN1_OCTET_STRING *const octets = static_cast<const ASN1_OCTET_STRING *>(value);
        const uint8_t *const data = ASN1_STRING_get0_data(octets);
        read.contentDigest = Bytes(data, data + ASN1_STRING_length(octets));
        read.digest = FindDigestBySize(read.contentDigest.size());
        read.signingTime = TimeSeconds(static_cast<const ASN1_TIME *>(signingTime));
    }
    Bytes again;
    const bool isOwn = value != nullptr && signingTime != nullptr && read.digest != nullptr &&
                       EncodeAttributes(read, &again).ok && again == der;
    ERR_clear_error();
    if (!isOwn) {
        return Fail("'" + Printable(source) + "' is no request of pkgsign sign --request");
    }
    *fields = std::move(read);
    return {};
}

std::string DescribeAttributes(const Bytes &der)
{
    const unsigned char *next = der.data();
    const SetPtr set(d2i_ASN1_SET_ANY(nullptr, &next, static_cast<long>(der.size())));
    std::string text = "Signed attributes, messageDigest being that of the content:\n";
    for (int i = 0; i < sk_ASN1_TYPE_num(set.get()); ++i) {
        const AttributePtr attribute = AttributeAt(set.get(), i);
        if (attribute != nullptr) {
            text += "    " + ObjectText(X509_ATTRIBUTE_get0_object(attribute.get())) + ": " +
                    ValueText(attribute.get()) + "\n";
        }
    }
    return text + "SHA-256 of what is signed: " + HexText(Digest(EVP_sha256(), der)) + "\n";
}

Status MakeMessage(const MessageFields &fields, const Bytes &signature, Bytes *messageOut)
{
    std::vector<AttributePtr> attributes;
    const CmsPtr message(CMS_sign(nullptr, nullptr, nullptr, nullptr, FLAGS));
    // libcrypto asks for a private key and, as it does not sign here, uses of it what the certificate has.
    CMS_SignerInfo *const signer = message == nullptr
                                       ? nullptr
                                       : CMS_add1_signer(message.get(), fields.signer.get(),
                                                         X509_get0_pubkey(fields.signer.get()), fields.digest, FLAGS);
    bool made = signer != nullptr && MakeAttributes(fields, &attributes) &&
                ASN1_STRING_set(CMS_SignerInfo_get0_signature(signer), signature.data(),
                                static_cast<int>(signature.size())) == 1;
    for (const AttributePtr &attribute : attributes) {
        made = made && CMS_signed_add1_attr(signer, attribute.get()) == 1;
    }
    for (const Certificate &certificate : fields.certificates) {
        made = made && CMS_add1_cert(message.get(), certificate.get()) == 1;
    }
    if (!made) {
        return FailCrypto("cannot make the message");
    }
    *messageOut = EncodeDer(i2d_CMS_ContentInfo, message.get());
    return {};
}

Status SignMessage(const MessageFields &fields, const SignOctets &sign, Bytes *messageOut)
{
    Bytes attributes;
    Bytes signature;
    Status status = EncodeAttributes(fields, &attributes);
    if (status.ok) {
        status = sign(attributes, &signature);
    }
    return status.ok ? MakeMessage(fields, signature, messageOut) : status;
}

Status DecodeMessage(const Bytes &der, const std::string &source, CmsPtr *messageOut)
{
    const unsigned char *next = der.data();
    CmsPtr message(d2i_CMS_ContentInfo(nullptr, &next, static_cast<long>(der.size())));
    if (message == nullptr || next != der.data() + der.size() || OnlySigner(message.get()) == nullptr) {
        ERR_clear_error();
        return Fail("'" + Printable(source) + "' is no CMS signature of one signer");
    }
    *messageOut = std::move(message);
    return {};
}

Status SignatureValue(const Bytes &der, Bytes *signatureOut)
{
    CmsPtr message;
    const Status status = DecodeMessage(der, "the message", &message);
    if (status.ok) {
        const ASN1_OCTET_STRING *const value = CMS_SignerInfo_get0_signature(OnlySigner(message.get()));
        const uint8_t *const data = ASN1_STRING_get0_data(value);
        *signatureOut = Bytes(data, data + ASN1_STRING_length(value));
    }
    return status;
}

Status SignerIssuer(const Bytes &der, NamePtr *issuerOut)
{
    CmsPtr message;
    const Status status = DecodeMessage(der, "the message", &message);
    if (!status.ok) {
        return status;
    }
    X509_NAME *issuer = nullptr;
    const bool isNamed =
        CMS_SignerInfo_get0_signer_id(OnlySigner(message.get()), nullptr, &issuer, nullptr) == 1 && issuer != nullptr;
    NamePtr copy(isNamed ? X509_NAME_dup(issuer) : nullptr);
    if (copy == nullptr) {
        return Fail("the message does not name its signer by issuer and serial number");
    }
    *issuerOut = std::move(copy);
    return {};
}

Status CarriedCertificates(const Bytes &der, std::vector<Certificate> *certificatesOut)
{
    CmsPtr message;
    const Status status = DecodeMessage(der, "the message", &message);
    if (!status.ok) {
        return status;
    }
    STACK_OF(X509) *const carried = CMS_get1_certs(message.get());
    std::vector<Certificate> certificates;
    while (sk_X509_num(carried) > 0) {
        certificates.push_back(ShareCertificate(sk_X509_shift(carried)));
    }
    sk_X509_free(carried);
    *certificatesOut = std::move(certificates);
    return {};
}

Status FindToken(const Bytes &der, Bytes *tokenOut)
{
    CmsPtr message;
    const Status status = DecodeMessage(der, "the message", &message);
    if (!status.ok) {
        return status;
    }
    const CMS_SignerInfo *const signer = OnlySigner(message.get());
    const int index = CMS_unsigned_get_attr_by_NID(signer, NID_id_smime_aa_timeStampToken, -1);
    X509_ATTRIBUTE *const attribute = index < 0 ? nullptr : CMS_unsigned_get_attr(signer, index);
    const ASN1_STRING *const token = static_cast<ASN1_STRING *>(
        attribute == nullptr ? nullptr : X509_ATTRIBUTE_get0_data(attribute, 0, V_ASN1_SEQUENCE, nullptr));
    const uint8_t *const data = token == nullptr ? nullptr : ASN1_STRING_get0_data(token);
    *tokenOut = Bytes(data, data + (token == nullptr ? 0 : ASN1_STRING_length(token)));
    return {};
}

Status StatedDigest(const Bytes &der, Bytes *digestOut)
{
    CmsPtr message;
    const Status status = DecodeMessage(der, "the message", &message);
    if (!status.ok) {
        return status;
    }
    const ASN1_OCTET_STRING *const stated = static_cast<ASN1_OCTET_STRING *>(CMS_signed_get0_data_by_OBJ(
        OnlySigner(message.get()), OBJ_nid2obj(NID_pkcs9_messageDigest), -3, V_ASN1_OCTET_STRING));
    if (stated == nullptr) {
        return Fail("the message states no digest of its content");
    }
    const uint8_t *const data = ASN1_STRING_get0_data(stated);
    *digestOut = Bytes(data, data + ASN1_STRING_length(stated));
    return {};
}

Status AddToken(const Bytes &der, const Bytes &token, Bytes *messageOut)
{
    CmsPtr message;
    const Status status = DecodeMessage(der, "the message", &message);
    if (!status.ok) {
        return status;
    }
    CMS_SignerInfo *const signer = OnlySigner(message.get());
    ASN1_STRING *const value =
        ASN1_STRING_type_new(V_ASN1_SEQUENCE); // a parsed value: its octets are taken as they are
    const bool added =
        value != nullptr && ASN1_STRING_set(value, token.data(), static_cast<int>(token.size())) == 1 &&
        RemoveTokens(signer) &&
        CMS_unsigned_add1_attr_by_NID(signer, NID_id_smime_aa_timeStampToken, V_ASN1_SEQUENCE, value, -1) == 1;
    ASN1_STRING_free(value);
    if (!added) {
        return FailCrypto("cannot put the token into the message");
    }
    *messageOut = EncodeDer(i2d_CMS_ContentInfo, message.get());
    return {};
}

} // namespace pkgsign
