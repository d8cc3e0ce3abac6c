// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "verify/timestamp.h"

#include "asn1/decode.h"
#include "core/guard.h"
#include "core/log.h"
#include "core/trace.h"
#include "pki/store.h"
#include "sigkit/sigkit.h"
#include "sigkit/sigkit_host.h"
#include "verify/admission.h"
#include "verify/content_check.h"
#include "verify/signer.h"
#include "x509/oid.h"
#include "x509/pkcs7.h"
#include "x509/pubkey.h"
#include "x509/time.h"

namespace
{

using RecordGuard = InternalBlockGuard<void>;

// Finds out whether the imprint is the digest of the content signer's signature (RFC 3161, appendix A).
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
        // RFC 3161, 2.4.1 and 2.4.2: of the algorithm's length.
        *matches =
            imprint.hashedMessage.len == digestLen && SigkitMemCmp(imprint.hashedMessage.data, digest, digestLen) == 0;
    }
    return status;
}

// Checks what a token says: that it was made for this signature, and when. The name is part of the log: it also sets
// the context's verifyTime.
//
// RFC 3161, 2.4.2. Skipped: version, policy, serialNumber, ordering, tsa, extensions; nonce, as there is no request to
// compare it with; accuracy, so that genTime counts to the second.
uint32_t InternalVerifyTstInfo(SigkitVerifyCtx *ctx, const SigkitPkcs7SignedInfo &signer, const SigkitAsnOcts &encoded)
{
    RecordGuard record;
    uint32_t consumed = 0;
    uint32_t status =
        SigkitAsnDecode(encoded.data, encoded.len, &g_itemSigkitTimestampInfo, 0, &record.held, &consumed);
    SIGKIT_TRACE(TST_INFO, record.held, nullptr, status);
    if (status != SIGKIT_OK) {
        return SIGKIT_TRAIL(status);
    }
    const SigkitTimestampInfo &info = *static_cast<const SigkitTimestampInfo *>(record.held);
    bool matches = false;
    status = CheckImprint(info.messageImprint, signer.signature, &matches);
    if (status != SIGKIT_OK) {
        SIGKIT_TRACE(IMPRINT, &info, &signer, status);
        return SIGKIT_TRAIL(status);
    }
    SIGKIT_TRACE(IMPRINT, &info, &signer, matches ? SIGKIT_OK : SIGKIT_ERR_TIMESTAMP_IMPRINT);
    if (!matches) {
        return SIGKIT_FAIL(SIGKIT_ERR_TIMESTAMP_IMPRINT, "the timestamp not match with target cms.");
    }
    // 2.4.2. Narrowed: without a fraction of a second.
    SigkitDateTime genTime = {};
    status = SigkitConvertFromTime(&info.genTime, &genTime);
    SIGKIT_TRACE(TOKEN_TIME, &info, nullptr, status);
    if (status != SIGKIT_OK) {
        return SIGKIT_TRAIL(status);
    }
    // Taken before the token is proved, because proving it needs a time at which to judge its signer's certificate, and
    // the device's clock is never asked. Nothing trusts it yet: a token that turns out bad ends the verification, and
    // the next one sets the time anew.
    ctx->verifyTime = static_cast<int64_t>(SigkitMktime(&genTime));
    SIGKIT_TRACE(VERIFY_TIME, &info, nullptr, ctx->verifyTime);
    return SIGKIT_OK;
}

// Checks a token signer that states a messageDigest: its signed attributes, and that they are about this TSTInfo. The
// name is part of the log: the attributes are signed, they do not sign.
uint32_t InternalVerifyAttributeSign(const SigkitPkcs7SignedInfo &tokenSigner, const SigkitX509Cert &cert,
                                     const SigkitAsnOcts &tstInfo)
{
    uint32_t status = InternalRequireSignedAttributes(tokenSigner, cert);
    SIGKIT_TRACE(TOKEN_ATTRIBUTES, &tokenSigner, &cert, status);
    if (status != SIGKIT_OK) {
        return SIGKIT_TRAIL(status);
    }
    InternalMdInfoGuard expected;
    status = InternalGetDigestFromSignerInfo(tokenSigner, &expected.held);
    if (status != SIGKIT_OK) {
        return SIGKIT_TRAIL(status);
    }
    // RFC 5652, 5.4 and 5.6: of the TSTInfo without the header of its OCTET STRING.
    uint8_t digest[SIGKIT_MAX_DIGEST_SIZE] = {};
    uint32_t digestLen = 0;
    status = InternalHashContent(tstInfo.data, tstInfo.len, expected.held->hashAlg, digest, &digestLen);
    if (status != SIGKIT_OK) {
        return SIGKIT_FAIL(status, "verify timestamp digest failed.");
    }
    if (!InternalDigestMatches(*expected.held, digest, digestLen)) {
        SIGKIT_TRACE(TOKEN_DIGEST, expected.held, digest, 0);
        return SIGKIT_FAIL(SIGKIT_ERR_TIMESTAMP_SIGNATURE, "verify timestamp signature failed.");
    }
    return SIGKIT_OK;
}

// Checks one signer of a token.
//
// RFC 3161, 2.4.2, and RFC 5816, 2.2.1 and 2.2.2: skipped, signingCertificate is not read, nor is tsa compared.
// Widened: each certificate with the signer's issuer and serial number will do.
uint32_t InternalVerifyTsSignerInfo(SigkitVerifyCtx *ctx, const SigkitPkcs7SignedInfo &tokenSigner,
                                    const SigkitAsnOcts &tstInfo)
{
    SigkitX509Cert *const cert =
        SigkitPkiFindCertByIssuerSn(ctx, &tokenSigner.sid.issuer, &tokenSigner.sid.serialNumber);
    if (cert == nullptr) {
        SIGKIT_TRACE(AUTHORITY, &tokenSigner, nullptr, SIGKIT_ERR_TIMESTAMP_SIGNER);
        return SIGKIT_TRAIL(SIGKIT_ERR_TIMESTAMP_SIGNER);
    }
    SIGKIT_TRACE(AUTHORITY, &tokenSigner, cert, SIGKIT_OK);
    // RFC 3161, 2.3; its certificate is judged at genTime, too. 4, item 3: skipped, a token does not age with its key.
    uint32_t status = InternalVerifyIssuerCert(ctx, cert, SIGKIT_EXKU_TIME_STAMPING);
    if (status != SIGKIT_OK) {
        return SIGKIT_TRAIL(status);
    }
    if (InternalHasMessageDigest(tokenSigner)) {
        status = InternalVerifyAttributeSign(tokenSigner, *cert, tstInfo);
        SIGKIT_TRACE(TOKEN_SIGNATURE, &tokenSigner, cert, status);
        return status == SIGKIT_OK ? status : SIGKIT_TRAIL(status);
    }
    // RFC 5652, 5.4: the signature is over the TSTInfo. Widened: 5.3 wants signed attributes, as it is not id-data.
    uint32_t verified = 0;
    status = SigkitX509PubKeyVerify(tstInfo.data, tstInfo.len, tokenSigner.signature.data, tokenSigner.signature.len,
                                    &cert->tbsCertificate.subjectPublicKeyInfo.subjectPublicKey.rsaPublicKey,
                                    &tokenSigner.digestAlgorithm.algorithm, &verified);
    if (status != SIGKIT_OK) {
        SIGKIT_TRACE(TOKEN_SIGNATURE, &tokenSigner, cert, status);
        return SIGKIT_TRAIL(status);
    }
    SIGKIT_TRACE(TOKEN_SIGNATURE, &tokenSigner, cert, verified == 1 ? SIGKIT_OK : SIGKIT_ERR_TIMESTAMP_SIGNATURE);
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
    // RFC 3161, 2.4.2: skipped, eContentType need not be id-ct-TSTInfo.
    const SigkitAsnOcts &eContent = token.encapContentInfo.eContent;
    uint32_t status = SigkitAsnDecode(eContent.data, eContent.len, &g_itemSigkitAsnOcts, 0, &record.held, &consumed);
    if (status != SIGKIT_OK) {
        SIGKIT_TRACE(TST_INFO, nullptr, nullptr, status);
        return status;
    }
    const SigkitAsnOcts &tstInfo = *static_cast<const SigkitAsnOcts *>(record.held);
    status = InternalVerifyTstInfo(ctx, signer, tstInfo);
    if (status == SIGKIT_OK && token.certificates.count != 0) {
        status = InternalAddCertToStore(ctx, token.certList, 0);
    }
    // 2.4.2: no signature but the authority's, so at most one signer. Widened: none, which leaves genTime a mere claim.
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
    SIGKIT_TRACE(TOKEN, token.held, &signer, status);
    if (status == SIGKIT_OK) {
        status = VerifyToken(ctx, signer, token.held->content);
    }
    return status == SIGKIT_OK ? status : SIGKIT_TRAIL(status);
}
