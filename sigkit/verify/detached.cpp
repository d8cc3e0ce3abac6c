#include "verify/detached.h"

#include "asn1/decode.h"
#include "core/guard.h"
#include "core/log.h"
#include "core/memory.h"
#include "pki/store.h"
#include "sigkit/sigkit.h"
#include "sigkit/sigkit_host.h"
#include "verify/base64.h"
#include "verify/content_check.h"
#include "verify/image.h"
#include "verify/load.h"
#include "verify/signer.h"
#include "verify/timestamp.h"
#include "x509/pkcs7.h"

namespace
{

constexpr char PEM_START[] = "-----BEGIN";

// One kind of armour of a signature message.
struct Armour {
    const char *begin;
    uint32_t beginLen;
    const char *end;
    uint32_t endMissing; // what is logged when the end marker is missing
};

// Deliberate: the two tell a missing end marker by different codes.
constexpr Armour ARMOURS[] = {
    {"-----BEGIN CMS-----", 19, "-----END CMS-----", SIGKIT_ERR_ARMOUR},
    {"-----BEGIN PKCS7-----", 21, "-----END PKCS7-----", SIGKIT_ERR_UNKNOWN},
};

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

const Armour *FindArmour(const char *text)
{
    for (const Armour &armour : ARMOURS) {
        if (SigkitStrNCmp(text, armour.begin, armour.beginLen) == 0) {
            return &armour;
        }
    }
    return nullptr;
}

// Decodes an armoured message. The context keeps the DER that its certificates point into.
uint32_t InternalPemDecodeCms(SigkitVerifyCtx *ctx, const uint8_t *data, uint32_t len, SigkitPkcs7Content **message)
{
    InternalBytesGuard text;
    uint32_t status = InternalCopyBytes(&text.held, data, len, 1);
    if (status != SIGKIT_OK) {
        return SIGKIT_TRAIL(status);
    }
    const char *const start = reinterpret_cast<const char *>(text.held);
    const Armour *const armour = FindArmour(start);
    if (armour == nullptr) {
        return SIGKIT_TRAIL(SIGKIT_ERR_ARMOUR);
    }
    const char *const body = start + armour->beginLen;
    const char *const end = SigkitStrStr(body, armour->end);
    if (end == nullptr) {
        return SIGKIT_TRAIL(armour->endMissing);
    }
    InternalBytesGuard der;
    InternalMessageGuard decoded;
    uint32_t derLen = 0;
    uint32_t consumed = 0;
    status = InternalBase64Decode(body, end, &der.held, &derLen);
    if (status == SIGKIT_OK) {
        status = SigkitPkcs7DecodeSigned(der.held, derLen, &decoded.held, &consumed);
    }
    if (status == SIGKIT_OK) {
        status = SigkitListAdd(&ctx->buffers, der.held);
    }
    if (status != SIGKIT_OK) {
        return SIGKIT_TRAIL(status);
    }
    (void)der.Take(); // the context's
    *message = decoded.Take();
    return SIGKIT_OK;
}

// Decodes a DER message from a copy that the context keeps.
uint32_t DecodeDerMessage(SigkitVerifyCtx *ctx, const uint8_t *data, uint32_t len, SigkitPkcs7Content **message)
{
    InternalImage *image = nullptr;
    uint32_t status = InternalNewImage(data, len, &image);
    if (status != SIGKIT_OK) {
        return status;
    }
    uint32_t consumed = 0;
    status = SigkitPkcs7DecodeSigned(InternalImageBytes(image), len, message, &consumed);
    if (status != SIGKIT_OK) {
        SigkitFree(image);
        return status;
    }
    InternalKeepImage(ctx, image);
    return SIGKIT_OK;
}

uint32_t DecodeMessage(SigkitVerifyCtx *ctx, const uint8_t *data, uint32_t len, SigkitPkcs7Content **message)
{
    const bool isPem = SigkitStrNCmp(reinterpret_cast<const char *>(data), PEM_START, sizeof(PEM_START) - 1) == 0;
    return isPem ? InternalPemDecodeCms(ctx, data, len, message) : DecodeDerMessage(ctx, data, len, message);
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
    InternalMessageGuard message;
    if (DecodeMessage(ctx, data, len, &message.held) != SIGKIT_OK || message.held == nullptr) {
        return SIGKIT_TRAIL(SIGKIT_ERR_CMS_DECODE); // whatever the cause was
    }
    const SigkitPkcs7SignedData &signedData = message.held->content;
    if (signedData.certificates.count != 0) {
        status = InternalAddCertToStore(ctx, signedData.certList, 0);
        if (status != SIGKIT_OK) {
            return SIGKIT_TRAIL(status);
        }
    }
    for (uint32_t i = 0; i < signedData.signerInfos.count; ++i) {
        status = InternalVerifyCms(ctx, signedData.signerInfos.items[i]);
        if (status != SIGKIT_OK) {
            return SIGKIT_TRAIL(status);
        }
    }
    return SIGKIT_OK;
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
