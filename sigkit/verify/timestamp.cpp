#include "verify/timestamp.h"

#include "asn1/decode.h"
#include "core/guard.h"
#include "core/log.h"
#include "pki/store.h"
#include "sigkit/sigkit.h"
#include "sigkit/sigkit_host.h"
#include "verify/admission.h"
#include "verify/content_check.h"
#include "verify/load/loading.h"
#include "verify/signer.h"
#include "x509/oid.h"
#include "x509/pkcs7.h"
#include "x509/pubkey.h"
#include "x509/time.h"

namespace
{

using RecordGuard = InternalBlockGuard<void>;

// Tells whether the imprint is the digest of the content signer's signature (RFC 3161, appendix A).
uint32_t CheckImprint(const SigkitTsMsgImprint &imprint, const SigkitAsnOcts &signature, bool *matches)
{
    const uint32_t hashAlg = SigkitGetHashAoidFromSign(&imprint.hashAlgorithm.algorithm);
    if (hashAlg == AOID_UNKNOWN) {
        return SIGKIT_ERR_TIMESTAMP_HASH;
    }
    uint8_t digest[SIGKIT_MAX_DIGEST_SIZE] = {};
    uint32_t digestLen = 0;
    const uint32_t status = InternalHashContent(signature.data, signature.len, hashAlg, digest, &digestLen);
    if (status == SIGKIT_OK) {
        *matches =
            imprint.hashedMessage.len == digestLen && SigkitMemCmp(imprint.hashedMessage.data, digest, digestLen) == 0;
    }
    return status;
}

// Checks what a token says: that it was made for this signature, and when. Sets the context's verifyTime.
uint32_t InternalVerifyTstInfo(SigkitVerifyCtx *ctx, const SigkitPkcs7SignedInfo &signer, const SigkitAsnOcts &encoded)
{
    RecordGuard record;
    uint32_t consumed = 0;
    uint32_t status =
        SigkitAsnDecode(encoded.data, encoded.len, &g_itemSigkitTimestampInfo, 0, &record.held, &consumed);
    if (status != SIGKIT_OK) {
        return SIGKIT_TRAIL(status);
    }
    const SigkitTimestampInfo &info = *static_cast<const SigkitTimestampInfo *>(record.held);
    bool matches = false;
    status = CheckImprint(info.messageImprint, signer.signature, &matches);
    if (status != SIGKIT_OK) {
        return SIGKIT_TRAIL(status);
    }
    if (!matches) {
        return SIGKIT_FAIL(SIGKIT_ERR_TIMESTAMP_IMPRINT, "the timestamp not match with target cms.");
    }
    SigkitDateTime genTime = {};
    status = SigkitConvertFromTime(&info.genTime, &genTime);
    if (status != SIGKIT_OK) {
        return SIGKIT_TRAIL(status);
    }
    ctx->verifyTime = static_cast<int64_t>(SigkitMktime(&genTime));
    return SIGKIT_OK;
}

// Checks a token signer that states a messageDigest: its signed attributes, and that they are about this TSTInfo.
uint32_t InternalVerifyAttributeSign(const SigkitPkcs7SignedInfo &tokenSigner, const SigkitX509Cert &cert,
                                     const SigkitAsnOcts &tstInfo)
{
    uint32_t status = InternalRequireSignedAttributes(tokenSigner, cert);
    if (status != SIGKIT_OK) {
        return SIGKIT_TRAIL(status);
    }
    InternalMdInfoGuard expected;
    status = InternalGetDigestFromSignerInfo(tokenSigner, &expected.held);
    if (status != SIGKIT_OK) {
        return SIGKIT_TRAIL(status);
    }
    uint8_t digest[SIGKIT_MAX_DIGEST_SIZE] = {};
    uint32_t digestLen = 0;
    status = InternalHashContent(tstInfo.data, tstInfo.len, expected.held->hashAlg, digest, &digestLen);
    if (status != SIGKIT_OK) {
        return SIGKIT_FAIL(status, "verify timestamp digest failed.");
    }
    if (!InternalDigestMatches(*expected.held, digest, digestLen)) {
        return SIGKIT_FAIL(SIGKIT_ERR_TIMESTAMP_SIGNATURE, "verify timestamp signature failed.");
    }
    return SIGKIT_OK;
}

// Checks one signer of a token.
uint32_t InternalVerifyTsSignerInfo(SigkitVerifyCtx *ctx, const SigkitPkcs7SignedInfo &tokenSigner,
                                    const SigkitAsnOcts &tstInfo)
{
    SigkitX509Cert *const cert =
        SigkitPkiFindCertByIssuerSn(ctx, &tokenSigner.sid.issuer, &tokenSigner.sid.serialNumber);
    if (cert == nullptr) {
        return SIGKIT_TRAIL(SIGKIT_ERR_TIMESTAMP_SIGNER);
    }
    uint32_t status = InternalVerifyIssuerCert(ctx, cert, SIGKIT_EXKU_TIME_STAMPING);
    if (status != SIGKIT_OK) {
        return SIGKIT_TRAIL(status);
    }
    if (InternalHasMessageDigest(tokenSigner)) {
        status = InternalVerifyAttributeSign(tokenSigner, *cert, tstInfo);
        return status == SIGKIT_OK ? status : SIGKIT_TRAIL(status);
    }
    uint32_t verified = 0;
    status = SigkitX509PubKeyVerify(tstInfo.data, tstInfo.len, tokenSigner.signature.data, tokenSigner.signature.len,
                                    &cert->tbsCertificate.subjectPublicKeyInfo.subjectPublicKey.rsaPublicKey,
                                    &tokenSigner.digestAlgorithm.algorithm, &verified);
    if (status != SIGKIT_OK) {
        return SIGKIT_TRAIL(status);
    }
    if (verified != 1) {
        return SIGKIT_FAIL(SIGKIT_ERR_TIMESTAMP_SIGNATURE, "verify timestamp signature failed.");
    }
    return SIGKIT_OK;
}

// Checks a decoded token: first what it says, then who says it.
uint32_t VerifyToken(SigkitVerifyCtx *ctx, const SigkitPkcs7SignedInfo &signer, const SigkitPkcs7SignedData &token)
{
    RecordGuard record;
    uint32_t consumed = 0;
    const SigkitAsnOcts &eContent = token.encapContentInfo.eContent;
    uint32_t status = SigkitAsnDecode(eContent.data, eContent.len, &g_itemSigkitAsnOcts, 0, &record.held, &consumed);
    if (status != SIGKIT_OK) {
        return status;
    }
    const SigkitAsnOcts &tstInfo = *static_cast<const SigkitAsnOcts *>(record.held);
    status = InternalVerifyTstInfo(ctx, signer, tstInfo);
    if (status == SIGKIT_OK && token.certificates.count != 0) {
        status = InternalAddCertToStore(ctx, token.certList, 0);
    }
    for (uint32_t i = 0; status == SIGKIT_OK && i < token.signerInfos.count; ++i) {
        status = InternalVerifyTsSignerInfo(ctx, token.signerInfos.items[i], tstInfo);
    }
    return status;
}

} // namespace

uint32_t InternalVerifyTimeStamp(SigkitVerifyCtx *ctx, const SigkitPkcs7SignedInfo &signer)
{
    const SigkitAsnOcts &encoded = signer.unsignedAttrs.timeStampToken;
    InternalMessageGuard token;
    uint32_t consumed = 0;
    uint32_t status = SigkitPkcs7DecodeSigned(encoded.data, encoded.len, &token.held, &consumed);
    if (status == SIGKIT_OK) {
        status = VerifyToken(ctx, signer, token.held->content);
    }
    return status == SIGKIT_OK ? status : SIGKIT_TRAIL(status);
}
