// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "x509/pubkey.h"

#include "annexk.h"
#include "core/log.h"
#include "sigkit/sigkit.h"
#include "x509/oid.h"

namespace
{

struct PublicKey {
    SigkitBigInt exponent;
    SigkitBigInt modulus;
};

// Copies a number of at most SIGKIT_MAX_KEY_SIZE octets. An empty one is a length of 0.
uint32_t CopyNumber(const SigkitAsnOcts &number, SigkitBigInt *out)
{
    out->len = number.len;
    return number.len == 0 ? SIGKIT_OK
                           : static_cast<uint32_t>(memcpy_s(out->data, sizeof(out->data), number.data, number.len));
}

// Runs the host's callbacks over all of the data.
uint32_t CheckSignature(const PublicKey &key, uint32_t hashAoid, const SigkitAsnOcts &data,
                        const SigkitAsnOcts &signature, uint32_t *result)
{
    InternalCryptoGuard check;
    int32_t status = SigkitCryptoVerifyCreateCtx(&check.held);
    if (status == 0) {
        status = SigkitCryptoVerifyInit(check.held, &key.exponent, &key.modulus, hashAoid);
    }
    if (status == 0) {
        status = SigkitCryptoVerifyUpdate(check.held, data.data, data.len);
    }
    int32_t verified = 0;
    if (status == 0) {
        status = SigkitCryptoVerifyFinal(check.held, signature.data, signature.len, &verified);
    }
    if (status == 0) {
        *result = verified == 1 ? 1 : 0;
    }
    return static_cast<uint32_t>(status);
}

uint32_t ExtractNumber(const SigkitAsnOcts &number, SigkitBigInt *out)
{
    return number.len > SIGKIT_MAX_KEY_SIZE ? SIGKIT_ERR_KEY_TOO_LONG : CopyNumber(number, out);
}

} // namespace

uint32_t SigkitX509ExtractPublicKey(const SigkitX509Cert *cert, SigkitBigInt *exponent, SigkitBigInt *modulus)
{
    if (cert == nullptr || exponent == nullptr || modulus == nullptr) {
        return SIGKIT_ERR_PARAM;
    }
    const SigkitRsaPublicKey &key = cert->tbsCertificate.subjectPublicKeyInfo.subjectPublicKey.rsaPublicKey;
    uint32_t status = ExtractNumber(key.publicExponent, exponent);
    if (status == SIGKIT_OK) {
        status = ExtractNumber(key.modulus, modulus);
    }
    return status == SIGKIT_OK ? status : SIGKIT_TRAIL(status);
}

uint32_t SigkitX509PubKeyVerify(const uint8_t *data, uint32_t dataLen, const uint8_t *signature, uint32_t signatureLen,
                                const SigkitRsaPublicKey *key, const SigkitAsnOcts *algorithm, uint32_t *result)
{
    if (data == nullptr || signature == nullptr || key == nullptr || result == nullptr) {
        return SIGKIT_ERR_PARAM;
    }
    const uint32_t hashAoid = SigkitGetHashAoidFromSign(algorithm);
    if (hashAoid == AOID_UNKNOWN) {
        return SIGKIT_TRAIL(SIGKIT_ERR_ALGORITHM);
    }
    PublicKey numbers = {};
    const struct {
        const SigkitAsnOcts &from;
        SigkitBigInt &to;
    } copies[] = {{key->publicExponent, numbers.exponent}, {key->modulus, numbers.modulus}};
    for (const auto &copy : copies) {
        if (copy.from.len > SIGKIT_MAX_KEY_SIZE) {
            return SIGKIT_FAIL(SIGKIT_ERR_PARAM, "Unsupported key length %d", static_cast<int>(copy.from.len * 8));
        }
        const uint32_t status = CopyNumber(copy.from, &copy.to);
        if (status != SIGKIT_OK) {
            return SIGKIT_TRAIL(status);
        }
    }
    const SigkitAsnOcts dataView = {dataLen, 0, 0, 0, data};
    const SigkitAsnOcts signatureView = {signatureLen, 0, 0, 0, signature};
    const uint32_t status = CheckSignature(numbers, hashAoid, dataView, signatureView, result);
    return status == SIGKIT_OK ? status : SIGKIT_TRAIL(status);
}
