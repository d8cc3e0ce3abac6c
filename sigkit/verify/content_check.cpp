// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "verify/content_check.h"

#include "annexk.h"
#include "core/log.h"
#include "core/memory.h"
#include "sigkit/sigkit.h"
#include "x509/oid.h"
#include "x509/pubkey.h"

namespace
{

using MdGuard = InternalGuard<SigkitMdCtx, SigkitMdDestoryCtx>;

// Copies a value that fits its area. An empty one is a length of 0.
uint32_t CopyValue(const SigkitAsnOcts &value, uint8_t *area, uint32_t areaSize, uint32_t *len)
{
    *len = value.len;
    return value.len == 0 ? SIGKIT_OK : static_cast<uint32_t>(memcpy_s(area, areaSize, value.data, value.len));
}

// Finds the open digest check of an algorithm; signature checks have none.
const SigkitMdInfo *FindDigestCheck(const SigkitList &handles, uint32_t hashAlg)
{
    for (uint32_t i = 0; i < handles.count; ++i) {
        const SigkitMdInfo *const open = static_cast<const SigkitMdInfo *>(handles.items[i]);
        if (open->hashAlg == hashAlg) {
            return open;
        }
    }
    return nullptr;
}

uint32_t StartDigestCheck(SigkitMdInfo *info)
{
    int32_t status = SigkitMdCreateCtx(&info->md);
    if (status == 0) {
        status = SigkitMdInit(info->md, info->hashAlg);
    }
    return static_cast<uint32_t>(status);
}

// Arms a signature check with the signer's key and keeps the signature.
uint32_t StartSignatureCheck(SigkitMdInfo *info, const SigkitPkcs7SignedInfo &signer, const SigkitX509Cert &cert)
{
    // RFC 5652, 5.3. Widened: digestAlgorithm stands for both algorithms, as where attributes are signed (signer.cpp).
    const uint32_t hashAlg = SigkitGetHashAoidFromSign(&signer.digestAlgorithm.algorithm);
    if (hashAlg == AOID_UNKNOWN) {
        return SIGKIT_ERR_ALGORITHM;
    }
    SigkitBigInt exponent = {};
    SigkitBigInt modulus = {};
    uint32_t status = SigkitX509ExtractPublicKey(&cert, &exponent, &modulus);
    if (status != SIGKIT_OK) {
        return status;
    }
    int32_t result = SigkitCryptoVerifyCreateCtx(&info->verify);
    if (result == 0) {
        result = SigkitCryptoVerifyInit(info->verify, &exponent, &modulus, hashAlg);
    }
    if (result != 0) {
        return static_cast<uint32_t>(result);
    }
    if (signer.signature.len > SIGKIT_MAX_SIGNATURE_SIZE) {
        return SIGKIT_ERR_SIGNATURE_TOO_LONG;
    }
    return CopyValue(signer.signature, info->signature, sizeof(info->signature), &info->signatureLen);
}

} // namespace

void InternalFreeMdInfo(SigkitMdInfo *info)
{
    if (info == nullptr) {
        return;
    }
    if (info->md != nullptr) {
        SigkitMdDestoryCtx(info->md);
    }
    if (info->verify != nullptr) {
        SigkitCryptoVerifyDestroyCtx(info->verify);
    }
    SigkitFree(info);
}

void InternalFreeMdInfoEntry(void *info)
{
    InternalFreeMdInfo(static_cast<SigkitMdInfo *>(info));
}

uint32_t InternalGetDigestFromSignerInfo(const SigkitPkcs7SignedInfo &signer, SigkitMdInfo **info)
{
    InternalMdInfoGuard record;
    uint32_t status = InternalNewRecord(&record.held);
    if (status != SIGKIT_OK) {
        return SIGKIT_TRAIL(status);
    }
    // RFC 5652, 5.3, lets a verifier ask that the message lists it among its digestAlgorithms: skipped.
    record.held->hashAlg = SigkitGetHashAoidFromSign(&signer.digestAlgorithm.algorithm);
    if (record.held->hashAlg == AOID_UNKNOWN) {
        return SIGKIT_TRAIL(SIGKIT_ERR_DIGEST_ALGORITHM);
    }
    const SigkitAsnOcts &digest = signer.signedAttrs.messageDigest;
    if (digest.len > SIGKIT_MAX_DIGEST_SIZE) {
        return SIGKIT_TRAIL(SIGKIT_ERR_VALUE_TOO_LONG);
    }
    status = CopyValue(digest, record.held->expectedDigest, SIGKIT_MAX_DIGEST_SIZE, &record.held->expectedDigestLen);
    if (status != SIGKIT_OK) {
        return SIGKIT_TRAIL(status);
    }
    *info = record.Take();
    return SIGKIT_OK;
}

uint32_t InternalAddSignerInfoToVerifyProcess(SigkitVerifyCtx *ctx, const SigkitPkcs7SignedInfo &signer)
{
    InternalMdInfoGuard info;
    uint32_t status = InternalGetDigestFromSignerInfo(signer, &info.held);
    if (status != SIGKIT_OK) {
        return SIGKIT_TRAIL(status);
    }
    const SigkitMdInfo *const open = FindDigestCheck(ctx->handles, info.held->hashAlg);
    if (open != nullptr) {
        // Narrowed: RFC 5652, 5.6, judges signers one by one. Of two digests of one content at most one is its digest.
        if (!InternalDigestMatches(*open, info.held->expectedDigest, info.held->expectedDigestLen)) {
            return SIGKIT_TRAIL(SIGKIT_ERR_DIGEST_CONFLICT);
        }
        return SIGKIT_OK; // one digest serves both signers
    }
    status = StartDigestCheck(info.held);
    if (status == SIGKIT_OK) {
        status = SigkitListAdd(&ctx->handles, info.held);
    }
    if (status != SIGKIT_OK) {
        return SIGKIT_TRAIL(status);
    }
    (void)info.Take(); // the context's
    return SIGKIT_OK;
}

uint32_t InternalCreateVerifyHandle(SigkitVerifyCtx *ctx, const SigkitPkcs7SignedInfo &signer,
                                    const SigkitX509Cert &cert)
{
    InternalMdInfoGuard info;
    uint32_t status = InternalNewRecord(&info.held);
    if (status == SIGKIT_OK) {
        status = StartSignatureCheck(info.held, signer, cert);
    }
    if (status == SIGKIT_OK) {
        status = SigkitListAdd(&ctx->handles, info.held);
    }
    if (status != SIGKIT_OK) {
        return SIGKIT_TRAIL(status);
    }
    (void)info.Take(); // the context's
    return SIGKIT_OK;
}

uint32_t InternalHashContent(const uint8_t *data, uint32_t len, uint32_t hashAlg, uint8_t *digest, uint32_t *digestLen)
{
    MdGuard md;
    int32_t status = SigkitMdCreateCtx(&md.held);
    if (status == 0) {
        status = SigkitMdInit(md.held, hashAlg);
    }
    if (status == 0) {
        status = SigkitMdUpdate(md.held, data, len);
    }
    if (status == 0) {
        status = SigkitMdFinal(md.held, digest, digestLen, digestLen);
    }
    return status == 0 ? SIGKIT_OK : SIGKIT_TRAIL(static_cast<uint32_t>(status));
}

bool InternalDigestMatches(const SigkitMdInfo &info, const uint8_t *digest, uint32_t digestLen)
{
    return digestLen == info.expectedDigestLen && SigkitMemCmp(digest, info.expectedDigest, digestLen) == 0;
}
