#include "verify/detached.h"

#include "asn1/decode.h"
#include "core/guard.h"
#include "core/log.h"
#include "pki/store.h"
#include "sigkit/sigkit.h"
#include "sigkit/sigkit_host.h"
#include "verify/admission.h"
#include "verify/content_check.h"
#include "verify/load/image.h"
#include "verify/load/loading.h"
#include "verify/load/message.h"
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

// Ends a digest check.
uint32_t FinishDigestCheck(SigkitMdInfo *check, bool *matches)
{
    uint8_t digest[SIGKIT_MAX_DIGEST_SIZE] = {};
    uint32_t digestLen = 0;
    const int32_t status = SigkitMdFinal(check->md, digest, &digestLen, check);
    *matches = status == 0 && InternalDigestMatches(*check, digest, digestLen);
    return static_cast<uint32_t>(status);
}

// Ends a signature check.
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

// Ends the checks in order. A digest that does not match settles the verdict; that of a signature check stands only when
// no other signature check follows it.
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
        return SIGKIT_ERR_CMS_DECODE; // whatever the cause was
    }
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
    const InternalImage *const imagesBefore = ctx->images;
    const uint32_t certsBefore = ctx->pki->certs.count;
    status = JudgeMessage(ctx, data, len);
    if (ctx->pki->certs.count == certsBefore) {
        InternalFreeImages(ctx, imagesBefore); // no certificate points into the message
    }
    return status == SIGKIT_OK ? status : SIGKIT_TRAIL(status);
}

uint32_t InternalVerifyCms(SigkitVerifyCtx *ctx, const SigkitPkcs7SignedInfo &signer)
{
    uint32_t status = InternalVerifyTimeStamp(ctx, signer);
    if (status != SIGKIT_OK) {
        return SIGKIT_TRAIL(status);
    }
    SigkitX509Cert *const cert = SigkitPkiFindCertByIssuerSn(ctx, &signer.sid.issuer, &signer.sid.serialNumber);
    if (cert == nullptr) {
        return SIGKIT_TRAIL(SIGKIT_ERR_SIGNER_NOT_FOUND);
    }
    status = InternalVerifyIssuerCert(ctx, cert, SIGKIT_EXKU_CODE_SIGNING);
    if (status != SIGKIT_OK) {
        return SIGKIT_TRAIL(status);
    }
    if (!InternalHasMessageDigest(signer)) {
        status = InternalCreateVerifyHandle(ctx, signer, *cert);
        return status == SIGKIT_OK ? status : SIGKIT_TRAIL(status);
    }
    status = InternalRequireSignedAttributes(signer, *cert);
    if (status == SIGKIT_OK) {
        status = InternalAddSignerInfoToVerifyProcess(ctx, signer);
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
