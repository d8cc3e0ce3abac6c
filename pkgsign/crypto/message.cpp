#include "pkgsign/crypto/message.h"

#include "pkgsign/files/files.h"

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

// The signed attributes of RFC 5652, 11. libcrypto takes the content for them from a stream; here it was read before.
bool AddSignedAttributes(CMS_SignerInfo *signer, const MessageFields &fields)
{
    const TimePtr signingTime(ASN1_TIME_set(nullptr, static_cast<time_t>(fields.signingTime)));
    return signingTime != nullptr &&
           CMS_signed_add1_attr_by_NID(signer, NID_pkcs9_contentType, V_ASN1_OBJECT, OBJ_nid2obj(NID_pkcs7_data), -1) ==
               1 &&
           CMS_signed_add1_attr_by_NID(signer, NID_pkcs9_messageDigest, V_ASN1_OCTET_STRING,
                                       fields.contentDigest.data(),
                                       static_cast<int>(fields.contentDigest.size())) == 1 &&
           CMS_signed_add1_attr_by_NID(signer, NID_pkcs9_signingTime, ASN1_STRING_type(signingTime.get()),
                                       signingTime.get(), -1) == 1;
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

Status CertificateForKey(const Certificate &certificate, const Key &key, Certificate *out)
{
    if (SamePublicKey(X509_get0_pubkey(certificate.get()), key.get())) {
        *out = certificate;
        return {};
    }
    Certificate other = ShareCertificate(X509_dup(certificate.get()));
    if (other == nullptr || X509_set_pubkey(other.get(), key.get()) != 1) {
        return FailCrypto("cannot try a throwaway key");
    }
    *out = std::move(other);
    return {};
}

Status MakeMessage(const MessageFields &fields, const Key &key, Bytes *messageOut)
{
    Certificate signerCertificate;
    const Status status = CertificateForKey(fields.signer, key, &signerCertificate);
    if (!status.ok) {
        return status;
    }
    const CmsPtr message(CMS_sign(nullptr, nullptr, nullptr, nullptr, FLAGS));
    CMS_SignerInfo *const signer =
        message == nullptr ? nullptr
                           : CMS_add1_signer(message.get(), signerCertificate.get(), key.get(), fields.digest, FLAGS);
    bool made = signer != nullptr && AddSignedAttributes(signer, fields);
    for (const Certificate &certificate : fields.certificates) {
        made = made && CMS_add1_cert(message.get(), certificate.get()) == 1;
    }
    if (!made || CMS_SignerInfo_sign(signer) != 1) {
        return FailCrypto("cannot sign");
    }
    *messageOut = EncodeDer(i2d_CMS_ContentInfo, message.get());
    return {};
}

Status DecodeMessage(const Bytes &der, const std::string &source, CmsPtr *messageOut)
{
    const unsigned char *next = der.data();
    CmsPtr message(d2i_CMS_ContentInfo(nullptr, &next, static_cast<long>(der.size())));
    if (message == nullptr || next != der.data() + der.size() || OnlySigner(message.get()) == nullptr) {
        return FailCrypto("'" + Printable(source) + "' is no CMS signature of one signer");
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

Status FindDigest(const std::string &name, const EVP_MD **digestOut)
{
    const EVP_MD *const digest = name == "sha256"   ? EVP_sha256()
                                 : name == "sha384" ? EVP_sha384()
                                 : name == "sha512" ? EVP_sha512()
                                                    : nullptr;
    if (digest == nullptr) {
        return Fail("'" + Printable(name) + "' is none of sha256, sha384 and sha512, which devices take");
    }
    *digestOut = digest;
    return {};
}

} // namespace pkgsign
