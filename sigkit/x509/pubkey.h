// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// RSA public keys and the signatures that they verify.
#ifndef X509_PUBKEY_H
#define X509_PUBKEY_H

#include <stdint.h>

#include "asn1/records.h"
#include "core/guard.h"
#include "sigkit/sigkit_host.h"

using InternalCryptoGuard = InternalGuard<SigkitCryptoCtx, SigkitCryptoVerifyDestroyCtx>;

// Copies the public key of a certificate into two numbers.
//
//   exponent, modulus  out; on failure the exponent may be written already.
//
// Returns SIGKIT_OK, SIGKIT_ERR_PARAM for a null argument, SIGKIT_ERR_KEY_TOO_LONG when a number has more than 512
// octets, or the code of memcpy_s.
//
// Logs: each failure but SIGKIT_ERR_PARAM.
[[nodiscard]] uint32_t SigkitX509ExtractPublicKey(const SigkitX509Cert *cert, SigkitBigInt *exponent,
                                                  SigkitBigInt *modulus);

// Verifies a signature over `data` as RSASSA-PKCS1-v1_5 (RFC 8017, 8.2.2), the one scheme that the library knows.
//
//   data       in, `dataLen` octets.
//   signature  in, `signatureLen` octets.
//   key        in.
//   algorithm  in, identifier of the signature algorithm or of its digest.
//   result     out, 1 when the signature holds, else 0. Not written on failure.
//
// Returns SIGKIT_OK, or the first of these that applies:
//   SIGKIT_ERR_PARAM      data, signature, key or result is null
//   SIGKIT_ERR_ALGORITHM  the algorithm is null, or has no digest that the library knows
//   SIGKIT_ERR_PARAM      a number of the key has more than 512 octets
//   the code of memcpy_s, or of the callback that failed
//
// Logs: each failure but the first, and of a key that is too long its length.
[[nodiscard]] uint32_t SigkitX509PubKeyVerify(const uint8_t *data, uint32_t dataLen, const uint8_t *signature,
                                              uint32_t signatureLen, const SigkitRsaPublicKey *key,
                                              const SigkitAsnOcts *algorithm, uint32_t *result);

#endif
