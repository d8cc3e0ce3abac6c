// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "verify/load/pem.h"

#include "core/context.h"
#include "core/guard.h"
#include "core/log.h"
#include "core/memory.h"
#include "core/trace.h"
#include "sigkit/sigkit.h"
#include "sigkit/sigkit_host.h"
#include "verify/load/armour.h"
#include "verify/load/base64.h"
#include "x509/cert.h"
#include "x509/crl.h"

namespace
{

constexpr char END[] = "-----END";
constexpr char DASHES[] = "-----";

// One kind of block.
struct BlockKind {
    const char *label; // what distinguishes it, behind "-----BEGIN "
    uint32_t labelLen;
    const char *begin; // its whole start marker
    uint32_t beginLen;
    const char *end;     // its whole end marker
    uint32_t bodyOffset; // where the body starts, from the start marker
};

constexpr char CERT_LABEL[] = "CERTIFICATE";
constexpr char CRL_LABEL[] = "X509 CRL";
constexpr char CERT_BEGIN[] = "-----BEGIN CERTIFICATE-----";
constexpr char CRL_BEGIN[] = "-----BEGIN X509 CRL-----";

// The body of a certificate starts behind the line end, that of a CRL at it; Base64 skips line ends.
constexpr BlockKind CERT_BLOCK = {CERT_LABEL,
                                  InternalTextLen(CERT_LABEL),
                                  CERT_BEGIN,
                                  InternalTextLen(CERT_BEGIN),
                                  "-----END CERTIFICATE-----",
                                  InternalTextLen(CERT_BEGIN) + 1};
constexpr BlockKind CRL_BLOCK = {CRL_LABEL,
                                 InternalTextLen(CRL_LABEL),
                                 CRL_BEGIN,
                                 InternalTextLen(CRL_BEGIN),
                                 "-----END X509 CRL-----",
                                 InternalTextLen(CRL_BEGIN)};

// The next place of one marker. Blocks are walked forwards, so a place that still lies ahead, or the knowledge that
// there is none, serves the blocks that follow: however many blocks there are, one search a marker does.
struct MarkerSearch {
    const char *found = nullptr;
    bool none = false;
};

const char *FindMarker(MarkerSearch *search, const char *from, const char *marker)
{
    if (!search->none && (search->found == nullptr || search->found < from)) {
        search->found = SigkitStrStr(from, marker);
        search->none = search->found == nullptr;
    }
    return search->none ? nullptr : search->found;
}

// A walk over the blocks of one text.
struct Walk {
    SigkitVerifyCtx *ctx;
    SigkitList *certs;
    SigkitList *crls; // may be null
    MarkerSearch certEnd;
    MarkerSearch crlEnd;
};

// Decodes the body of the block from `start` to `next` into a new block of DER.
uint32_t DecodeBody(const BlockKind &kind, MarkerSearch *ends, const char *start, const char *next, uint8_t **der,
                    uint32_t *len)
{
    const char *const body = start + kind.bodyOffset;
    const char *const end = FindMarker(ends, start, kind.end);
    if (end == nullptr || end < body || next - start < end - body) {
        return SIGKIT_ERR_ARMOUR;
    }
    return InternalBase64Decode(body, end, der, len);
}

void InternalPemDecodeCert(Walk *walk, const char *start, const char *next)
{
    InternalBytesGuard der;
    InternalCertGuard cert;
    uint32_t len = 0;
    uint32_t consumed = 0;
    uint32_t status = DecodeBody(CERT_BLOCK, &walk->certEnd, start, next, &der.held, &len);
    if (status == SIGKIT_OK) {
        status = SigkitX509DecodeCert(der.held, len, &cert.held, &consumed);
    }
    if (status == SIGKIT_OK) {
        status = SigkitListAdd(&walk->ctx->buffers, der.held);
    }
    if (status != SIGKIT_OK) {
        SIGKIT_TRACE(BLOCK_SKIPPED, start, nullptr, status);
        InternalPassOver(walk->ctx, status);
        (void)SIGKIT_TRAIL(status);
        return;
    }
    if (SigkitListAdd(walk->certs, cert.held) != SIGKIT_OK) {
        SIGKIT_TRACE(BLOCK_SKIPPED, start, nullptr, SIGKIT_ERR_LIST_FULL);
        walk->ctx->buffers.count -= 1; // a block that is dropped keeps no image
        return;
    }
    (void)der.Take();  // the context's
    (void)cert.Take(); // the list's
}

void InternalPemDecodeCrl(Walk *walk, const char *start, const char *next)
{
    InternalBytesGuard der;
    InternalCrlGuard crl;
    uint32_t len = 0;
    uint32_t consumed = 0;
    uint32_t status = DecodeBody(CRL_BLOCK, &walk->crlEnd, start, next, &der.held, &len);
    if (status == SIGKIT_OK) {
        status = SigkitX509DecodeCrl(der.held, len, &crl.held, &consumed);
    }
    if (status == SIGKIT_OK && walk->crls == nullptr) {
        return; // nobody wants it, so its image is not kept either
    }
    if (status == SIGKIT_OK) {
        status = SigkitListAdd(&walk->ctx->buffers, der.held);
    }
    if (status != SIGKIT_OK) {
        SIGKIT_TRACE(BLOCK_SKIPPED, start, nullptr, status);
        walk->ctx->skippedCrls += 1;
        InternalPassOver(walk->ctx, status);
        (void)SIGKIT_TRAIL(status);
        return;
    }
    status = SigkitListAdd(walk->crls, crl.held);
    if (status != SIGKIT_OK) {
        SIGKIT_TRACE(BLOCK_SKIPPED, start, nullptr, status);
        walk->ctx->skippedCrls += 1;
        walk->ctx->buffers.count -= 1; // a block that is dropped keeps no image
        (void)SIGKIT_TRAIL(status);
        return;
    }
    (void)der.Take(); // the context's
    (void)crl.Take(); // the list's
}

bool IsKind(const BlockKind &kind, const char *start)
{
    return SigkitStrNCmp(start + InternalTextLen(SIGKIT_PEM_BEGIN) + 1, kind.label, kind.labelLen) == 0 &&
           SigkitStrNCmp(start, kind.begin, kind.beginLen) == 0;
}

uint32_t WalkBlocks(Walk *walk, const char *text)
{
    for (const char *start = SigkitStrStr(text, SIGKIT_PEM_BEGIN); start != nullptr;) {
        const char *const end = SigkitStrStr(start, END);
        const char *const close = end == nullptr ? nullptr : SigkitStrStr(end + InternalTextLen(END), DASHES);
        if (close == nullptr) {
            return SIGKIT_ERR_ARMOUR;
        }
        const char *const next = close + InternalTextLen(DASHES);
        if (IsKind(CERT_BLOCK, start)) {
            InternalPemDecodeCert(walk, start, next);
        } else if (IsKind(CRL_BLOCK, start)) {
            InternalPemDecodeCrl(walk, start, next);
        }
        start = SigkitStrStr(next, SIGKIT_PEM_BEGIN);
    }
    return SIGKIT_OK;
}

} // namespace

uint32_t InternalDecodePemCertCrl(SigkitVerifyCtx *ctx, const uint8_t *data, uint32_t len, SigkitList *certs,
                                  SigkitList *crls)
{
    InternalBytesGuard text;
    uint32_t status = InternalCopyBytes(&text.held, data, len, 1);
    if (status == SIGKIT_OK) {
        Walk walk = {ctx, certs, crls, {}, {}};
        status = WalkBlocks(&walk, reinterpret_cast<const char *>(text.held));
    }
    return status == SIGKIT_OK ? status : SIGKIT_TRAIL(status);
}
