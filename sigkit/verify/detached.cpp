// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "verify/detached.h"

#include "asn1/decode.h"
#include "core/log.h"
#include "core/trace.h"
#include "pki/store.h"
#include "sigkit/sigkit.h"
#include "sigkit/sigkit_host.h"
#include "verify/admission.h"
#include "verify/content_check.h"
#include "verify/load/loading.h"
#include "verify/load/message.h"
#include "verify/load/message_copy.h"
#include "verify/signer.h"
#include "verify/timestamp.h"
#include "x509/pkcs7.h"

namespace
{

uint32_t InternalCheckParamVerifyDetachSignatureBegin(const SigkitVerifyCtx *ctx, const uint8_t *data, uint32_t len)
{
    const uint32_t status = InternalCheckContext(ctx);
    if (status == SIGKIT_OK && (data == nullptr || len == 0)) {
        return SIGKIT_TRAIL(SIGKIT_ERR_PARAM);
    }
    return status;
}

// The name is part of the log, its spelling too.
uint32_t InternalCheckParmVerifyDetachSignatureUpdate(const SigkitVerifyCtx *ctx, const uint8_t *data)
{
    const uint32_t status = InternalCheckContext(ctx);
    if (status == SIGKIT_OK && data == nullptr) {
        return SIGKIT_TRAIL(SIGKIT_ERR_PARAM);
    }
    return status;
}

uint32_t InternalCheckParamVerifyDetachSignatureFinal(const SigkitVerifyCtx *ctx, const uint32_t *verdict)
{
    const uint32_t status = InternalCheckContext(ctx);
    if (status == SIGKIT_OK && verdict == nullptr) {
        return SIGKIT_TRAIL(SIGKIT_ERR_PARAM);
    }
    return status;
}

// Feeds a piece of content to one check.
uint32_t FeedCheck(SigkitMdInfo *check, const uint8_t *data, uint32_t len)
{
    if (check->md != nullptr) {
        return static_cast<uint32_t>(SigkitMdUpdate(check->md, data, len));
    }
    if (check->verify != nullptr) {
        return static_cast<uint32_t>(SigkitCryptoVerifyUpdate(check->verify, data, len));
    }
    return SIGKIT_ERR_NOT_BEGUN;
}

// Ends a digest check: RFC 5652, 5.6, the digest of the content is the messageDigest.
uint32_t FinishDigestCheck(SigkitMdInfo *check, bool *matches)
{
    uint8_t digest[SIGKIT_MAX_DIGEST_SIZE] = {};
    uint32_t digestLen = 0;
    const int32_t status = SigkitMdFinal(check->md, digest, &digestLen, check);
    *matches = status == 0 && InternalDigestMatches(*check, digest, digestLen);
    SIGKIT_TRACE(CONTENT_DIGEST, check, digest, status == 0 ? digestLen : 0);
    return static_cast<uint32_t>(status);
}

// Ends a signature check: RFC 5652, 5.4 and 5.6, the signature over the content itself.
uint32_t FinishSignatureCheck(SigkitMdInfo *check, bool *matches)
{
    if (check->verify == nullptr) {
        return SIGKIT_ERR_SIGNATURE;
    }
    int32_t verified = 0;
    const int32_t status = SigkitCryptoVerifyFinal(check->verify, check->signature, check->signatureLen, &verified);
    *matches = status == 0 && verified == 1;
    return static_cast<uint32_t>(status);
}

// Ends the checks in order. A digest that does not match settles the verdict; that of a signature check stands only
// when no other signature check follows it. One follows after a second Begin only: a message has at most one signer.
uint32_t FinishChecks(const SigkitList &handles, uint32_t *verdict)
{
    *verdict = 1;
    for (uint32_t i = 0; i < handles.count; ++i) {
        SigkitMdInfo *const check = static_cast<SigkitMdInfo *>(handles.items[i]);
        const bool isDigestCheck = check->md != nullptr;
        bool matches = false;
        const uint32_t status =
            isDigestCheck ? FinishDigestCheck(check, &matches) : FinishSignatureCheck(check, &matches);
        if (status != SIGKIT_OK) {
            *verdict = 0;
            return status;
        }
        SIGKIT_TRACE(CONTENT_MATCHES, check, nullptr, matches ? 1 : 0);
        if (isDigestCheck && !matches) {
            *verdict = 0;
            return SIGKIT_OK;
        }
        if (!isDigestCheck) {
            *verdict = matches ? 1 : 0;
        }
    }
    return SIGKIT_OK;
}

// Decodes a message, takes its certificates and judges its signers.
uint32_t JudgeMessage(SigkitVerifyCtx *ctx, const uint8_t *data, uint32_t len)
{
    InternalMessageGuard message;
    if (InternalDecodeMessage(ctx, data, len, &message.held) != SIGKIT_OK || message.held == nullptr) {
        SIGKIT_TRACE(MESSAGE, nullptr, nullptr, SIGKIT_ERR_CMS_DECODE);
        return SIGKIT_ERR_CMS_DECODE; // whatever the cause was
    }
    // RFC 5652, 5.1. Skipped: crls, which come from the CRL file alone, and versions. 5.2: skipped, the content type,
    // and content inside the message. Without a signer (5.2, last paragraph) nothing is judged, and no check is opened.
    SIGKIT_TRACE(MESSAGE, message.held, nullptr, SIGKIT_OK);
    const SigkitPkcs7SignedData &signedData = message.held->content;
    uint32_t status = SIGKIT_OK;
    if (signedData.certificates.count != 0) {
        status = InternalAddCertToStore(ctx, signedData.certList, 0);
    }
    for (uint32_t i = 0; status == SIGKIT_OK && i < signedData.signerInfos.count; ++i) {
        status = InternalVerifyCms(ctx, signedData.signerInfos.items[i]);
    }
    return status;
}

} // namespace

uint32_t SigkitVerifyDetachSignatureBegin(SigkitVerifyCtx *ctx, const uint8_t *data, uint32_t len)
{
    uint32_t status = InternalCheckParamVerifyDetachSignatureBegin(ctx, data, len);
    if (status != SIGKIT_OK) {
        return status;
    }
    if (len < SIGKIT_MIN_DATA_SIZE) {
        return SIGKIT_ERR_ARMOUR;
    }
    InternalRenewTrail(ctx);
    const InternalMessageCopy *const copiesBefore = ctx->messageCopies;
    const uint32_t certsBefore = ctx->pki->certs.count;
    status = JudgeMessage(ctx, data, len);
    if (ctx->pki->certs.count == certsBefore) {
        InternalFreeMessageCopies(ctx, copiesBefore); // no certificate points into the message
    }
    return status == SIGKIT_OK ? status : SIGKIT_TRAIL(status);
}

uint32_t InternalVerifyCms(SigkitVerifyCtx *ctx, const SigkitPkcs7SignedInfo &signer)
{
    // RFC 3161, appendix B, B (1) and (2): the token first, as its time is the one at which the rest is judged.
    // Narrowed: to RFC 5652 the token is optional.
    uint32_t status = InternalVerifyTimeStamp(ctx, signer);
    if (status != SIGKIT_OK) {
        return SIGKIT_TRAIL(status);
    }
    // RFC 5652, 5.3. Narrowed: by issuerAndSerialNumber alone.
    SigkitX509Cert *const cert = SigkitPkiFindCertByIssuerSn(ctx, &signer.sid.issuer, &signer.sid.serialNumber);
    if (cert == nullptr) {
        SIGKIT_TRACE(SIGNER, &signer, nullptr, SIGKIT_ERR_SIGNER_NOT_FOUND);
        return SIGKIT_TRAIL(SIGKIT_ERR_SIGNER_NOT_FOUND);
    }
    SIGKIT_TRACE(SIGNER, &signer, cert, SIGKIT_OK);
    // 5.6 leaves to us what makes the key trustworthy: the path, and RFC 3161, appendix B, B (4) to (6).
    status = InternalVerifyIssuerCert(ctx, cert, SIGKIT_EXKU_CODE_SIGNING);
    if (status != SIGKIT_OK) {
        return SIGKIT_TRAIL(status);
    }
    // 5.4: without signed attributes the signature is over the content. Widened: so it is where they lack the
    // messageDigest that 5.3 asks of them, and then they are not covered.
    if (!InternalHasMessageDigest(signer)) {
        status = InternalCreateVerifyHandle(ctx, signer, *cert);
        SIGKIT_TRACE(CHECK_OPENED, &signer, nullptr, status);
        return status == SIGKIT_OK ? status : SIGKIT_TRAIL(status);
    }
    status = InternalRequireSignedAttributes(signer, *cert);
    SIGKIT_TRACE(CONTENT_ATTRIBUTES, &signer, cert, status);
    if (status == SIGKIT_OK) {
        status = InternalAddSignerInfoToVerifyProcess(ctx, signer);
        SIGKIT_TRACE(CHECK_OPENED, &signer, nullptr, status);
    }
    return status == SIGKIT_OK ? status : SIGKIT_TRAIL(status);
}

uint32_t SigkitVerifyDetachSignatureUpdate(SigkitVerifyCtx *ctx, const uint8_t *data, uint32_t len)
{
    uint32_t status = InternalCheckParmVerifyDetachSignatureUpdate(ctx, data);
    if (status != SIGKIT_OK) {
        return status;
    }
    if (ctx->handles.count == 0) {
        return SIGKIT_TRAIL(SIGKIT_ERR_NOT_BEGUN);
    }
    for (uint32_t i = 0; i < ctx->handles.count; ++i) {
        status = FeedCheck(static_cast<SigkitMdInfo *>(ctx->handles.items[i]), data, len);
        if (status != SIGKIT_OK) {
            return SIGKIT_TRAIL(status);
        }
    }
    return SIGKIT_OK;
}

uint32_t SigkitVerifyDetachSignatureFinal(SigkitVerifyCtx *ctx, uint32_t *verdict)
{
    uint32_t status = InternalCheckParamVerifyDetachSignatureFinal(ctx, verdict);
    if (status != SIGKIT_OK) {
        return status;
    }
    status = FinishChecks(ctx->handles, verdict);
    SigkitListFree(&ctx->handles, InternalFreeMdInfoEntry);
    if (status != SIGKIT_OK) {
        return SIGKIT_FAIL(status, "Verify Signature Content failed.");
    }
    return SIGKIT_OK;
}
