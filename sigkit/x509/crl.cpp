// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "x509/crl.h"

#include "asn1/decode.h"
#include "sigkit/sigkit.h"

uint32_t SigkitX509DecodeCrl(const uint8_t *data, uint32_t len, SigkitX509Crl **crl, uint32_t *consumed)
{
    if (data == nullptr || len == 0 || crl == nullptr || consumed == nullptr) {
        return SIGKIT_ERR_PARAM;
    }
    void *record = nullptr;
    const uint32_t status = SigkitAsnDecode(data, len, &g_itemSigkitX509Crl, 0, &record, consumed);
    if (status != SIGKIT_OK) {
        return status;
    }
    *crl = static_cast<SigkitX509Crl *>(record);
    (*crl)->refCount = 1;
    return SIGKIT_OK;
}

void SigkitX509FreeCrl(SigkitX509Crl *crl)
{
    if (crl == nullptr) {
        return;
    }
    crl->refCount -= 1;
    if (crl->refCount <= 0) {
        SigkitAsnFree(crl, &g_itemSigkitX509Crl);
    }
}

void InternalFreeCrlEntry(void *crl)
{
    SigkitX509FreeCrl(static_cast<SigkitX509Crl *>(crl));
}
