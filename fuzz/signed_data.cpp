// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// One signature message: decoding, with its certificates and the token inside it.
#include "fuzz/target.h"

#include "asn1/decode.h"
#include "asn1/records.h"
#include "fuzz/support/mutate.h"
#include "fuzz/support/views.h"
#include "x509/pkcs7.h"

namespace
{

void CheckMessage(const SigkitPkcs7Content &message, const uint8_t *data, size_t size)
{
    FuzzCheckViews(&message, g_itemSigkitPkcs7Content, data, size);
    const SigkitPkcs7SignedData &signedData = message.content;
    if (signedData.certList.count != signedData.certificates.count) {
        FuzzFail("%u of %u certificates are decoded", signedData.certList.count, signedData.certificates.count);
    }
    for (uint32_t i = 0; i < signedData.certList.count; ++i) {
        FuzzCheckViews(signedData.certList.items[i], g_itemSigkitX509Cert, data, size);
    }
}

void DecodeToken(const SigkitPkcs7Content &message)
{
    for (uint32_t i = 0; i < message.content.signerInfos.count; ++i) {
        const SigkitAsnOcts &encoded = message.content.signerInfos.items[i].unsignedAttrs.timeStampToken;
        SigkitPkcs7Content *token = nullptr;
        uint32_t consumed = 0;
        if (SigkitPkcs7DecodeSigned(encoded.data, encoded.len, &token, &consumed) == SIGKIT_OK) {
            CheckMessage(*token, encoded.data, encoded.len);
            SigkitPkcs7FreeSigned(token);
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzBegin();
    SigkitPkcs7Content *message = nullptr;
    uint32_t consumed = 0;
    const uint32_t status = SigkitPkcs7DecodeSigned(data, static_cast<uint32_t>(size), &message, &consumed);
    if (status == SIGKIT_OK) {
        if (consumed == 0 || consumed > size) {
            FuzzFail("%u of %zu octets are consumed", consumed, size);
        }
        CheckMessage(*message, data, size);
        DecodeToken(*message);
        SigkitPkcs7FreeSigned(message);
    } else if (message != nullptr) {
        FuzzFail("a message together with %08x", status);
    }
    FuzzTally(status);
    FuzzEnd();
    return 0;
}

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t maxSize, unsigned int seed)
{
    return FuzzMutateObjects(data, size, maxSize, seed);
}
