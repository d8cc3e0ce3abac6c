// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Timestamp tokens (RFC 3161): the proof of when a signature existed, and so the time at which its certificates are
// judged.
//
// RFC 3161, 2.4.2. Not checked: version, policy, serial number, accuracy, nonce, tsa and extensions of the TSTInfo, the
// content types, and which certificate the signer's attributes name. Deliberate: a token without signers is accepted.
#ifndef VERIFY_TIMESTAMP_H
#define VERIFY_TIMESTAMP_H

#include <stdint.h>

#include "asn1/records.h"
#include "core/context.h"

// Verifies the token of a content signer.
//
//   ctx     in/out; verifyTime is set to the token's genTime as soon as the imprint matches, and stays so whatever
//           follows. The token's certificates are added to the store.
//   signer  in, the content signer.
//
// Returns SIGKIT_OK, SIGKIT_ERR_PARAM when there is no token, SIGKIT_ERR_SIGNED_DATA, a decoding code,
// SIGKIT_ERR_TIMESTAMP_HASH, SIGKIT_ERR_TIMESTAMP_IMPRINT, SIGKIT_ERR_TIME_FORMAT, the codes of InternalAddCertToStore,
// SIGKIT_ERR_TIMESTAMP_SIGNER, the codes of InternalVerifyIssuerCert, of InternalRequireSignedAttributes, of
// InternalGetDigestFromSignerInfo, of SigkitX509PubKeyVerify or of a digest callback, or
// SIGKIT_ERR_TIMESTAMP_SIGNATURE.
//
// Logs: each failure.
[[nodiscard]] uint32_t InternalVerifyTimeStamp(SigkitVerifyCtx *ctx, const SigkitPkcs7SignedInfo &signer);

#endif
