// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "x509/cert.h"

#include "asn1/decode.h"
#include "sigkit/sigkit.h"
#include "x509/issuer.h"

bool InternalHasDigitalSignature(uint32_t keyUsage)
{
    const bool hasTwoOctets = keyUsage > 0xFF;
    const uint32_t weight = SIGKIT_KEY_USAGE_DIGITAL_SIGNATURE << (hasTwoOctets ? 8 : 0);
    return (keyUsage & weight) != 0;
}

uint32_t SigkitX509DecodeCert(const uint8_t *data, uint32_t len, SigkitX509Cert **cert, uint32_t *consumed)
{
    if (data == nullptr || len == 0 || cert == nullptr || consumed == nullptr) {
        return SIGKIT_ERR_PARAM;
    }
    void *record = nullptr;
    const uint32_t status = SigkitAsnDecode(data, len, &g_itemSigkitX509Cert, 0, &record, consumed);
    if (status != SIGKIT_OK) {
        return status;
    }
    *cert = static_cast<SigkitX509Cert *>(record);
    (*cert)->refCount = 1;
    return SIGKIT_OK;
}

void SigkitX509FreeCert(SigkitX509Cert *cert)
{
    if (cert == nullptr) {
        return;
    }
    cert->refCount -= 1;
    if (cert->refCount <= 0) {
        SigkitAsnFree(cert, &g_itemSigkitX509Cert);
    }
}

void InternalFreeCertEntry(void *cert)
{
    SigkitX509FreeCert(static_cast<SigkitX509Cert *>(cert));
}

uint32_t SigkitX509IsSelfSigned(SigkitX509Cert *cert, uint32_t *isSelfSigned)
{
    if (cert == nullptr || isSelfSigned == nullptr) {
        return SIGKIT_ERR_PARAM;
    }
    *isSelfSigned = 0;
    if (cert->issuerCert == cert) {
        *isSelfSigned = 1;
        return SIGKIT_OK;
    }
    bool issued = false;
    const uint32_t status = InternalIsCertIssuedBy(cert, *cert, &issued);
    if (status == SIGKIT_OK && issued) {
        cert->issuerCert = cert;
        *isSelfSigned = 1;
    }
    return status;
}
