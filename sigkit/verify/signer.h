// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What content signers and timestamp signers have in common: the certificate that may sign, and the signature over the
// signed attributes.
#ifndef VERIFY_SIGNER_H
#define VERIFY_SIGNER_H

#include <stdint.h>

#include "asn1/records.h"
#include "core/context.h"

// Checks that a certificate may sign for a purpose and is valid at the context's verifyTime. The name is part of the
// log: it checks the signer's certificate, not its issuer's.
//
//   usage  in, SIGKIT_EXKU_CODE_SIGNING or SIGKIT_EXKU_TIME_STAMPING.
//
// Returns SIGKIT_OK, SIGKIT_ERR_CERT_USAGE, the code of SigkitPkiVerifyCert or SIGKIT_ERR_CERT_UNTRUSTED.
//
// Logs: each failure.
[[nodiscard]] uint32_t InternalVerifyIssuerCert(SigkitVerifyCtx *ctx, SigkitX509Cert *cert, uint32_t usage);

// Verifies a signer's signature over its signed attributes (RFC 5652, 5.4 and 5.6). The name is part of the log: the
// content that is detached is not asked for, and the format is CMS rather than PKCS #7.
//
//   signer   in, with signed attributes.
//   cert     in, the signer's certificate.
//   verdict  out, 1 when the signature holds, else 0. Not written for a bad argument, algorithm or key.
//
// Returns SIGKIT_OK, SIGKIT_ERR_PARAM for a null argument and for a signer without signed attributes,
// SIGKIT_ERR_ALGORITHM, SIGKIT_ERR_KEY_TOO_LONG, or the code of a signature callback.
//
// Logs: each failure; a verdict of 0 is none.
[[nodiscard]] uint32_t SigkitPkcs7DetachedSignatureVerify(const SigkitPkcs7SignedInfo *signer,
                                                          const SigkitX509Cert *cert, uint32_t *verdict);

// Demands that the signed attributes are there and signed.
//
// Returns SIGKIT_OK, SIGKIT_ERR_SIGNED_DATA when there are none, or SIGKIT_ERR_SIGNATURE when the signature does not
// hold or could not be checked.
//
// Logs: nothing.
[[nodiscard]] uint32_t InternalRequireSignedAttributes(const SigkitPkcs7SignedInfo &signer, const SigkitX509Cert &cert);

// Returns whether a signer states a messageDigest (RFC 5652, 11.2). One that is empty counts as absent.
[[nodiscard]] bool InternalHasMessageDigest(const SigkitPkcs7SignedInfo &signer);

#endif
