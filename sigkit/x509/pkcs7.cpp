// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "x509/pkcs7.h"

#include "asn1/decode.h"
#include "core/log.h"
#include "core/trace.h"
#include "sigkit/sigkit.h"
#include "x509/cert.h"

namespace
{

bool IsCertShaped(const SigkitAsnOcts &view)
{
    return view.cls == g_itemSigkitX509Cert.cls && view.constructed == g_itemSigkitX509Cert.constructed &&
           view.tag == g_itemSigkitX509Cert.tag;
}

// Decodes one captured certificate and appends it to `certs`.
uint32_t InternalDecodeCert(const SigkitAsnOcts &encoded, SigkitList *certs)
{
    InternalCertGuard cert;
    uint32_t consumed = 0;
    if (!IsCertShaped(encoded) || SigkitX509DecodeCert(encoded.data, encoded.len, &cert.held, &consumed) != SIGKIT_OK ||
        SigkitListAdd(certs, cert.held) != SIGKIT_OK) {
        SIGKIT_TRACE(MESSAGE_CERT, &encoded, nullptr, SIGKIT_ERR_SIGNED_DATA);
        return SIGKIT_TRAIL(SIGKIT_ERR_SIGNED_DATA);
    }
    (void)cert.Take(); // the list's
    return SIGKIT_OK;
}

} // namespace

uint32_t SigkitPkcs7DecodeSigned(const uint8_t *data, uint32_t len, SigkitPkcs7Content **message, uint32_t *consumed)
{
    if (data == nullptr || len == 0 || message == nullptr || consumed == nullptr) {
        return SIGKIT_TRAIL(SIGKIT_ERR_PARAM); // the one answer about a signer without a token, so it is logged
    }
    void *record = nullptr;
    if (SigkitAsnDecode(data, len, &g_itemSigkitPkcs7Content, 0, &record, consumed) != SIGKIT_OK) {
        return SIGKIT_TRAIL(SIGKIT_ERR_SIGNED_DATA);
    }
    InternalMessageGuard decoded(static_cast<SigkitPkcs7Content *>(record));
    SigkitPkcs7SignedData &signedData = decoded.held->content;
    for (uint32_t i = 0; i < signedData.certificates.count; ++i) {
        const uint32_t status = InternalDecodeCert(signedData.certificates.items[i], &signedData.certList);
        if (status != SIGKIT_OK) {
            return SIGKIT_TRAIL(status);
        }
    }
    *message = decoded.Take();
    return SIGKIT_OK;
}

void SigkitPkcs7FreeSigned(SigkitPkcs7Content *message)
{
    if (message == nullptr) {
        return;
    }
    SigkitListFree(&message->content.certList, InternalFreeCertEntry);
    SigkitAsnFree(message, &g_itemSigkitPkcs7Content);
}
