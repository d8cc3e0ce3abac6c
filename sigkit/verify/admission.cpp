// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "verify/admission.h"

#include "core/log.h"
#include "core/trace.h"
#include "pki/store.h"
#include "sigkit/sigkit.h"
#include "x509/cert.h"

uint32_t InternalAddCertToStore(SigkitVerifyCtx *ctx, const SigkitList &certs, uint32_t allowRoot)
{
    for (uint32_t i = 0; i < certs.count; ++i) {
        SigkitX509Cert *const cert = static_cast<SigkitX509Cert *>(certs.items[i]);
        if (cert == nullptr) {
            continue;
        }
        // RFC 5280, 6.1.1 (d): a trust anchor is trusted because it came by a way of its own, so never with what it is
        // to vouch for.
        if (allowRoot == 0) {
            uint32_t isSelfSigned = 0;
            const uint32_t status = SigkitX509IsSelfSigned(cert, &isSelfSigned);
            if (status != SIGKIT_OK) {
                SIGKIT_TRACE(CERT_ADMITTED, cert, nullptr, status);
                return SIGKIT_FAIL(status, "Failed to check self sign for certificate.");
            }
            if (isSelfSigned == 1) {
                SIGKIT_TRACE(CERT_SELF_SIGNED, cert, nullptr, 0);
                SIGKIT_WARN(SIGKIT_OK, "There is a root certificate, which is not allowed when add crl or cms.");
                continue;
            }
        }
        const uint32_t status = SigkitPkiStoreAddCert(ctx, cert);
        SIGKIT_TRACE(CERT_ADMITTED, cert, nullptr, status);
        if (status != SIGKIT_OK && status != SIGKIT_ERR_CERT_DUPLICATE) {
            return SIGKIT_FAIL(status, "Failed to add certificate into PKI context.");
        }
    }
    return SIGKIT_OK;
}

uint32_t InternalAddCrlToStore(SigkitVerifyCtx *ctx, const SigkitList &crls)
{
    for (uint32_t i = 0; i < crls.count; ++i) {
        const uint32_t status = SigkitPkiStoreAddCrl(ctx, static_cast<SigkitX509Crl *>(crls.items[i]));
        SIGKIT_TRACE(CRL_ADMITTED, crls.items[i], nullptr, status);
        if (status != SIGKIT_OK && status != SIGKIT_ERR_CRL_DUPLICATE) {
            return SIGKIT_TRAIL(status);
        }
    }
    return SIGKIT_OK;
}
