// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// One signer of a detached signature message.
#ifndef VERIFY_DETACHED_H
#define VERIFY_DETACHED_H

#include <stdint.h>

#include "asn1/records.h"
#include "core/context.h"

// Judges one signer of a message: its timestamp token, its certificate, its signature over the signed attributes; then
// opens the check of the content. The name is part of the log: it is called for each signer.
//
// Returns SIGKIT_OK, the codes of InternalVerifyTimeStamp, SIGKIT_ERR_SIGNER_NOT_FOUND, or the codes of
// InternalVerifyIssuerCert, of InternalCreateVerifyHandle for a signer without a messageDigest, and otherwise of
// InternalRequireSignedAttributes and InternalAddSignerInfoToVerifyProcess.
//
// Logs: each failure.
[[nodiscard]] uint32_t InternalVerifyCms(SigkitVerifyCtx *ctx, const SigkitPkcs7SignedInfo &signer);

#endif
