// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "verify/signer.h"

#include "asn1/decode.h"
#include "core/log.h"
#include "core/trace.h"
#include "pki/path.h"
#include "sigkit/sigkit.h"
#include "sigkit/sigkit_host.h"
#include "x509/cert.h"
#include "x509/oid.h"
#include "x509/pubkey.h"

namespace
{

// Feeds the signed attributes as RFC 5652, 5.4, has them signed: with the identifier octet of a SET in place of the
// IMPLICIT [0] that they bear in the message. Widened: they are taken as they stand, in DER or not.
int32_t FeedSignedAttributes(SigkitCryptoCtx *check, const SigkitAsnOcts &raw)
{
    const uint8_t identifier = static_cast<uint8_t>((raw.cls << 6) | (raw.constructed << 5) | raw.tag);
    const int32_t status = SigkitCryptoVerifyUpdate(check, &identifier, 1);
    return status == 0 ? SigkitCryptoVerifyUpdate(check, raw.data + 1, raw.len - 1) : status;
}

int32_t RunCheck(SigkitCryptoCtx *check, const SigkitBigInt &exponent, const SigkitBigInt &modulus, uint32_t hashAlg,
                 const SigkitPkcs7SignedInfo &signer, uint32_t *verdict)
{
    int32_t status = SigkitCryptoVerifyInit(check, &exponent, &modulus, hashAlg);
    if (status == 0) {
        status = FeedSignedAttributes(check, signer.signedAttrsRaw);
    }
    int32_t verified = 0;
    if (status == 0) {
        status = SigkitCryptoVerifyFinal(check, signer.signature.data, signer.signature.len, &verified);
    }
    if (status == 0) {
        *verdict = verified == 1 ? 1 : 0;
    }
    return status;
}

} // namespace

uint32_t InternalVerifyIssuerCert(SigkitVerifyCtx *ctx, SigkitX509Cert *cert, uint32_t usage)
{
    // RFC 5280, 4.2.1.3. Narrowed: the key usage must be there, and nonRepudiation alone will not do. 4.2.1.12 lets us
    // ask for a purpose. Narrowed: it must be the first. Widened: RFC 3161, 2.3, wants timeStamping alone.
    const SigkitX509CertExts &extensions = cert->tbsCertificate.extensions;
    if (!InternalHasDigitalSignature(extensions.keyUsage) || (extensions.extKeyUsage & usage) == 0) {
        SIGKIT_TRACE(USAGE, cert, nullptr, SIGKIT_ERR_CERT_USAGE);
        return SIGKIT_TRAIL(SIGKIT_ERR_CERT_USAGE);
    }
    SIGKIT_TRACE(USAGE, cert, nullptr, SIGKIT_OK);
    // RFC 3161, 4, items 1 and 2: what a stolen timestamp key signs can bear any date.
    const uint32_t strictRevocation = usage == SIGKIT_EXKU_TIME_STAMPING ? 1 : 0;
    uint32_t ok = 0;
    const uint32_t status = SigkitPkiVerifyCert(ctx, cert, 1, strictRevocation, &ok);
    SIGKIT_TRACE(PATH, cert, nullptr, status);
    if (status != SIGKIT_OK) {
        return SIGKIT_TRAIL(status);
    }
    return ok == 1 ? SIGKIT_OK : SIGKIT_TRAIL(SIGKIT_ERR_CERT_UNTRUSTED);
}

uint32_t SigkitPkcs7DetachedSignatureVerify(const SigkitPkcs7SignedInfo *signer, const SigkitX509Cert *cert,
                                            uint32_t *verdict)
{
    if (signer == nullptr || cert == nullptr || verdict == nullptr || signer->signedAttrsRaw.len == 0) {
        return SIGKIT_TRAIL(SIGKIT_ERR_PARAM);
    }
    // RFC 5652, 5.3. Widened: signatureAlgorithm is not read, so digestAlgorithm stands for it.
    const uint32_t hashAlg = SigkitGetHashAoidFromSign(&signer->digestAlgorithm.algorithm);
    if (hashAlg == AOID_UNKNOWN) {
        return SIGKIT_TRAIL(SIGKIT_ERR_ALGORITHM);
    }
    SigkitBigInt exponent = {};
    SigkitBigInt modulus = {};
    const uint32_t status = SigkitX509ExtractPublicKey(cert, &exponent, &modulus);
    if (status != SIGKIT_OK) {
        return SIGKIT_TRAIL(status);
    }
    InternalCryptoGuard check;
    int32_t result = SigkitCryptoVerifyCreateCtx(&check.held);
    if (result != 0) {
        return SIGKIT_TRAIL(static_cast<uint32_t>(result));
    }
    *verdict = 0;
    result = RunCheck(check.held, exponent, modulus, hashAlg, *signer, verdict);
    if (result != 0) {
        return SIGKIT_FAIL(static_cast<uint32_t>(result), "Failed to init verify context.");
    }
    return SIGKIT_OK;
}

uint32_t InternalRequireSignedAttributes(const SigkitPkcs7SignedInfo &signer, const SigkitX509Cert &cert)
{
    if (signer.signedAttrsRaw.data == nullptr || signer.signedAttrsRaw.len == 0) {
        return SIGKIT_ERR_SIGNED_DATA;
    }
    // RFC 5652, 5.6, last paragraph, and 11.1: skipped, contentType is not compared and need not be there.
    uint32_t verdict = 0;
    const uint32_t status = SigkitPkcs7DetachedSignatureVerify(&signer, &cert, &verdict);
    return status == SIGKIT_OK && verdict == 1 ? SIGKIT_OK : SIGKIT_ERR_SIGNATURE;
}

bool InternalHasMessageDigest(const SigkitPkcs7SignedInfo &signer)
{
    return signer.signedAttrs.messageDigest.data != nullptr && signer.signedAttrs.messageDigest.len != 0;
}
