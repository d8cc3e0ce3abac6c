// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "verify/load/loading.h"

#include "core/guard.h"
#include "core/log.h"
#include "core/memory.h"
#include "sigkit/sigkit.h"
#include "verify/load/armour.h"
#include "verify/load/pem.h"
#include "x509/cert.h"
#include "x509/crl.h"

namespace
{

// Shorter tails behind the last object of a DER stream are padding, not a broken object.
constexpr uint32_t MIN_OBJECT_SIZE = 33;

// Tries for a certificate, then for a CRL, at `data`. `consumed` stays 0 when neither is there; the status is then the
// CRL decoder's.
uint32_t DecodeObject(const uint8_t *data, uint32_t len, InternalCertGuard *cert, InternalCrlGuard *crl,
                      uint32_t *consumed)
{
    if (SigkitX509DecodeCert(data, len, &cert->held, consumed) == SIGKIT_OK) {
        return SIGKIT_OK;
    }
    return SigkitX509DecodeCrl(data, len, &crl->held, consumed);
}

// Appends what was decoded to its list, or drops it when there is no list for it.
uint32_t AppendObject(InternalCertGuard *cert, InternalCrlGuard *crl, SigkitList *certs, SigkitList *crls)
{
    uint32_t status = SIGKIT_OK;
    if (cert->held != nullptr) {
        status = SigkitListAdd(certs, cert->held);
        if (status == SIGKIT_OK) {
            (void)cert->Take();
        }
    } else if (crls != nullptr) {
        status = SigkitListAdd(crls, crl->held);
        if (status == SIGKIT_OK) {
            (void)crl->Take();
        }
    }
    return status;
}

// Copies `data` into an image of the context's.
uint32_t CopyToImage(SigkitVerifyCtx *ctx, const uint8_t *data, uint32_t len, const uint8_t **image)
{
    InternalBytesGuard copy;
    uint32_t status = InternalCopyBytes(&copy.held, data, len, 0);
    if (status == SIGKIT_OK) {
        status = SigkitListAdd(&ctx->buffers, copy.held);
    }
    if (status == SIGKIT_OK) {
        *image = copy.Take();
    }
    return status;
}

} // namespace

uint32_t InternalDecodeCertCrl(SigkitVerifyCtx *ctx, const uint8_t *data, uint32_t len, SigkitList *certs,
                               SigkitList *crls)
{
    if (len < SIGKIT_MIN_DATA_SIZE) {
        return SIGKIT_ERR_ARMOUR; // the caller's line is enough for data that are nothing at all
    }
    const uint32_t status = InternalIsPem(data) ? InternalDecodePemCertCrl(ctx, data, len, certs, crls)
                                                : InternalDecodeStreamCertCrl(ctx, data, len, certs, crls);
    return status == SIGKIT_OK ? status : SIGKIT_TRAIL(status);
}

uint32_t InternalDecodeStreamCertCrl(SigkitVerifyCtx *ctx, const uint8_t *data, uint32_t len, SigkitList *certs,
                                     SigkitList *crls)
{
    const uint8_t *image = nullptr;
    uint32_t status = CopyToImage(ctx, data, len, &image);
    if (status != SIGKIT_OK) {
        return SIGKIT_TRAIL(status);
    }
    uint32_t remaining = len;
    while (remaining != 0) {
        InternalCertGuard cert;
        InternalCrlGuard crl;
        uint32_t consumed = 0;
        status = DecodeObject(image, remaining, &cert, &crl, &consumed);
        if (status != SIGKIT_OK) {
            return remaining < MIN_OBJECT_SIZE ? SIGKIT_OK : SIGKIT_TRAIL(status);
        }
        status = AppendObject(&cert, &crl, certs, crls);
        if (status != SIGKIT_OK) {
            return SIGKIT_TRAIL(status);
        }
        image += consumed;
        remaining -= consumed;
    }
    return SIGKIT_OK;
}
