// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Content checks: what remains to be done with the content once its signers have been judged.
#ifndef VERIFY_CONTENT_CHECK_H
#define VERIFY_CONTENT_CHECK_H

#include <stdint.h>

#include "asn1/records.h"
#include "core/context.h"
#include "core/guard.h"
#include "sigkit/sigkit_host.h"

// Octets of the longest digest.
inline constexpr uint32_t SIGKIT_MAX_DIGEST_SIZE = 64;

// Octets of the longest signature that is kept for a signature check.
inline constexpr uint32_t SIGKIT_MAX_SIGNATURE_SIZE = 516;

// One pending check. A digest check, for a signer with signed attributes, hashes the content and compares; it uses
// `md`, `hashAlg` and the expected digest. A signature check, for a signer without a messageDigest, feeds the content
// to the signature itself; it uses `verify` and the signature, and leaves hashAlg 0: no digest check is shared with it.
struct SigkitMdInfo {
    SigkitMdCtx *md; // owned
    uint32_t hashAlg;
    uint8_t expectedDigest[SIGKIT_MAX_DIGEST_SIZE];
    uint32_t expectedDigestLen;
    SigkitCryptoCtx *verify; // owned
    uint8_t signature[SIGKIT_MAX_SIGNATURE_SIZE];
    uint32_t signatureLen;
};

// Frees a check and the host's contexts in it. Null is ignored.
void InternalFreeMdInfo(SigkitMdInfo *info);

// Releases a list entry that is a check: a SigkitListDestructor.
void InternalFreeMdInfoEntry(void *info);

using InternalMdInfoGuard = InternalGuard<SigkitMdInfo, InternalFreeMdInfo>;

// Makes the record of a signer's messageDigest (RFC 5652, 11.2); no digest is started. The name is part of the log:
// what comes out is a check, of which the digest is a part.
//
//   info  out, owned by the caller until InternalFreeMdInfo. Not written on failure.
//
// Returns SIGKIT_OK, the code of the allocation, SIGKIT_ERR_DIGEST_ALGORITHM, SIGKIT_ERR_VALUE_TOO_LONG, or the code of
// the copy.
//
// Logs: each failure.
[[nodiscard]] uint32_t InternalGetDigestFromSignerInfo(const SigkitPkcs7SignedInfo &signer, SigkitMdInfo **info);

// Opens the digest check of a signer, or shares the one of an earlier signer with the same algorithm and digest. The
// name is part of the log: the process is the context's list of open checks.
//
// Returns SIGKIT_OK, the codes of InternalGetDigestFromSignerInfo, SIGKIT_ERR_DIGEST_CONFLICT when an earlier signer
// states another digest, SIGKIT_ERR_LIST_FULL, or the code of a digest callback.
//
// Logs: each failure.
[[nodiscard]] uint32_t InternalAddSignerInfoToVerifyProcess(SigkitVerifyCtx *ctx, const SigkitPkcs7SignedInfo &signer);

// Opens the signature check of a signer. The name is part of the log: the handle is an open check, and none is made for
// a signer whose content is compared by digest.
//
// Returns SIGKIT_OK, SIGKIT_ERR_ALGORITHM, SIGKIT_ERR_KEY_TOO_LONG, SIGKIT_ERR_SIGNATURE_TOO_LONG,
// SIGKIT_ERR_LIST_FULL, or the code of the allocation, of a copy or of a signature callback.
//
// Logs: each failure.
[[nodiscard]] uint32_t InternalCreateVerifyHandle(SigkitVerifyCtx *ctx, const SigkitPkcs7SignedInfo &signer,
                                                  const SigkitX509Cert &cert);

// Hashes `data` in one go. The name is part of the log: the content of a package goes through checks that are open, and
// what comes here is a signature value or a TSTInfo.
//
//   digest     out, an area of SIGKIT_MAX_DIGEST_SIZE octets.
//   digestLen  out, octets written.
//
// Returns SIGKIT_OK, or the code of the digest callback that failed.
//
// Logs: each failure.
[[nodiscard]] uint32_t InternalHashContent(const uint8_t *data, uint32_t len, uint32_t hashAlg, uint8_t *digest,
                                           uint32_t *digestLen);

// Returns whether a digest is the one that a check expects (RFC 5652, 5.6).
[[nodiscard]] bool InternalDigestMatches(const SigkitMdInfo &info, const uint8_t *digest, uint32_t digestLen);

#endif
