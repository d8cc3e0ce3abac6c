// Work on messages that exist already, perhaps made by other tools.
#include "pkgsign/status.h"

#include <openssl/cms.h>
#include <openssl/objects.h>

namespace
{
using Message = std::unique_ptr<CMS_ContentInfo, decltype(&CMS_ContentInfo_free)>;
using Attribute = std::unique_ptr<X509_ATTRIBUTE, decltype(&X509_ATTRIBUTE_free)>;

// Decodes a message and yields its first signer, which belongs to the message.
PkgsignStatus Decode(const PkgsignBytes &encoding, Message *messageOut, CMS_SignerInfo **signerOut)
{
    const unsigned char *cursor = encoding.data();
    messageOut->reset(d2i_CMS_ContentInfo(nullptr, &cursor, static_cast<long>(encoding.size())));
    if (*messageOut == nullptr) {
        return PkgsignFailCrypto("not a CMS message");
    }
    STACK_OF(CMS_SignerInfo) *signers = CMS_get0_SignerInfos(messageOut->get());
    if (signers == nullptr || sk_CMS_SignerInfo_num(signers) < 1) {
        return PkgsignFail("the CMS message has no signer");
    }
    *signerOut = sk_CMS_SignerInfo_value(signers, 0);
    return PkgsignOk();
}

void RemoveTokens(CMS_SignerInfo *signer)
{
    int position = -1;
    while ((position = CMS_unsigned_get_attr_by_NID(signer, NID_id_smime_aa_timeStampToken, -1)) >= 0) {
        const Attribute removed(CMS_unsigned_delete_attr(signer, position), X509_ATTRIBUTE_free);
    }
}

PkgsignStatus Encode(CMS_ContentInfo *message, PkgsignBytes *encodingOut)
{
    unsigned char *octets = nullptr;
    const int length = i2d_CMS_ContentInfo(message, &octets);
    if (length <= 0) {
        return PkgsignFailCrypto("cannot encode the CMS message");
    }
    encodingOut->assign(octets, octets + length);
    OPENSSL_free(octets);
    return PkgsignOk();
}

} // namespace

PkgsignStatus PkgsignGetSignatureValue(const PkgsignBytes &message, PkgsignBytes *signatureOut)
{
    Message decoded(nullptr, CMS_ContentInfo_free);
    CMS_SignerInfo *signer = nullptr;
    const PkgsignStatus status = Decode(message, &decoded, &signer);
    if (status.ok) {
        const ASN1_OCTET_STRING *value = CMS_SignerInfo_get0_signature(signer);
        const unsigned char *octets = ASN1_STRING_get0_data(value);
        signatureOut->assign(octets, octets + ASN1_STRING_length(value));
    }
    return status;
}

PkgsignStatus PkgsignEmbedToken(const PkgsignBytes &message, const PkgsignBytes &token, PkgsignBytes *messageOut)
{
    Message decoded(nullptr, CMS_ContentInfo_free);
    CMS_SignerInfo *signer = nullptr;
    const PkgsignStatus status = Decode(message, &decoded, &signer);
    if (!status.ok) {
        return status;
    }
    RemoveTokens(signer);
    if (CMS_unsigned_add1_attr_by_NID(signer, NID_id_smime_aa_timeStampToken, V_ASN1_SEQUENCE, token.data(),
                                      static_cast<int>(token.size())) != 1) {
        return PkgsignFailCrypto("cannot add the timestamp token");
    }
    return Encode(decoded.get(), messageOut);
}
