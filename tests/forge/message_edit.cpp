// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Work on messages that exist already, perhaps made by other tools.
#include "tests/forge/status.h"

#include <openssl/cms.h>
#include <openssl/objects.h>

namespace forge
{
namespace
{
using Message = std::unique_ptr<CMS_ContentInfo, decltype(&CMS_ContentInfo_free)>;
using Attribute = std::unique_ptr<X509_ATTRIBUTE, decltype(&X509_ATTRIBUTE_free)>;

// Decodes a message and yields its first signer, which belongs to the message.
Status Decode(const Bytes &encoding, Message *messageOut, CMS_SignerInfo **signerOut)
{
    const unsigned char *cursor = encoding.data();
    messageOut->reset(d2i_CMS_ContentInfo(nullptr, &cursor, static_cast<long>(encoding.size())));
    if (*messageOut == nullptr) {
        return FailCrypto("not a CMS message");
    }
    STACK_OF(CMS_SignerInfo) *signers = CMS_get0_SignerInfos(messageOut->get());
    if (signers == nullptr || sk_CMS_SignerInfo_num(signers) < 1) {
        return Fail("the CMS message has no signer");
    }
    *signerOut = sk_CMS_SignerInfo_value(signers, 0);
    return Ok();
}

void RemoveTokens(CMS_SignerInfo *signer)
{
    int position = -1;
    while ((position = CMS_unsigned_get_attr_by_NID(signer, NID_id_smime_aa_timeStampToken, -1)) >= 0) {
        const Attribute removed(CMS_unsigned_delete_attr(signer, position), X509_ATTRIBUTE_free);
    }
}

Status Encode(CMS_ContentInfo *message, Bytes *encodingOut)
{
    unsigned char *octets = nullptr;
    const int length = i2d_CMS_ContentInfo(message, &octets);
    if (length <= 0) {
        return FailCrypto("cannot encode the CMS message");
    }
    encodingOut->assign(octets, octets + length);
    OPENSSL_free(octets);
    return Ok();
}

} // namespace

Status GetSignatureValue(const Bytes &message, Bytes *signatureOut)
{
    Message decoded(nullptr, CMS_ContentInfo_free);
    CMS_SignerInfo *signer = nullptr;
    const Status status = Decode(message, &decoded, &signer);
    if (status.ok) {
        const ASN1_OCTET_STRING *value = CMS_SignerInfo_get0_signature(signer);
        const unsigned char *octets = ASN1_STRING_get0_data(value);
        signatureOut->assign(octets, octets + ASN1_STRING_length(value));
    }
    return status;
}

Status EmbedToken(const Bytes &message, const Bytes &token, Bytes *messageOut)
{
    Message decoded(nullptr, CMS_ContentInfo_free);
    CMS_SignerInfo *signer = nullptr;
    const Status status = Decode(message, &decoded, &signer);
    if (!status.ok) {
        return status;
    }
    RemoveTokens(signer);
    if (CMS_unsigned_add1_attr_by_NID(signer, NID_id_smime_aa_timeStampToken, V_ASN1_SEQUENCE, token.data(),
                                      static_cast<int>(token.size())) != 1) {
        return FailCrypto("cannot add the timestamp token");
    }
    return Encode(decoded.get(), messageOut);
}
} // namespace forge
