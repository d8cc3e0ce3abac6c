// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Path validation, led by CRLs: the best CRL for a certificate is chosen and the CRL's issuer is validated in the same
// way. Where that issuer is the very certificate that issued the one in hand, as in the ordinary case, this covers the
// chain above; else the walk goes on to the certificate's issuer.
//
// RFC 5280, 6.1 and 6.3, walked from the certificate up. Each check has its step beside it, here and in chain.cpp,
// crl_select.cpp and revocation.cpp: done as the RFC has it, "Narrowed" where the check refuses what the RFC allows,
// "Widened" in the reverse case. Skipped, so that more is accepted: path length, policies, name constraints, critical
// extensions that are unknown, delta CRLs, the scope of a CRL. Its thisUpdate is compared neither there nor here.
#ifndef PKI_PATH_H
#define PKI_PATH_H

#include <stdint.h>

#include "asn1/records.h"
#include "core/context.h"
#include "core/list.h"

// Validates a certificate at the context's verifyTime.
//
//   ctx               in/out; its pathDepth is 0 again after a top-level call, and pathError keeps the last failed
//                     choice of a CRL.
//   cert              in/out, in the store; verified issuers are remembered in the certificates.
//   isTopLevel        in, not 0 for a new validation, 0 for the issuer of a CRL inside one.
//   strictRevocation  in, 1 when the certificate signs timestamps: a compromise then revokes whatever its date.
//   ok                out, 1 when the certificate is valid, else 0.
//
// Returns SIGKIT_OK (together with ok 1), or the first of these that applies: SIGKIT_ERR_PARAM,
// SIGKIT_ERR_PATH_TOO_DEEP, SIGKIT_ERR_TIME_FORMAT, SIGKIT_ERR_CERT_NOT_YET_VALID, SIGKIT_ERR_CERT_EXPIRED,
// SIGKIT_ERR_NO_ROOT, SIGKIT_ERR_NO_CRL, the code of the CRL issuer's validation, SIGKIT_ERR_CRL_UNVERIFIED,
// SIGKIT_ERR_CERT_REVOKED. The ranking of CRLs adds the code of an allocation, the self-signed test the codes of
// SigkitX509PubKeyVerify. At top level a failure of the host that was passed over (see InternalPassOver), now or
// earlier on this context, stands in place of SIGKIT_OK.
//
// Logs: SIGKIT_ERR_PATH_TOO_DEEP, in a line without the code. For other failures only the caller's line is sure: not
// every step logs its own.
[[nodiscard]] uint32_t SigkitPkiVerifyCert(SigkitVerifyCtx *ctx, SigkitX509Cert *cert, int32_t isTopLevel,
                                           uint32_t strictRevocation, uint32_t *ok);

// Checks the validity period of a certificate, both ends included, at `verifyTime`. The name is part of the log: it
// looks at nothing but the two dates.
//
// Returns SIGKIT_OK, SIGKIT_ERR_TIME_FORMAT, SIGKIT_ERR_CERT_NOT_YET_VALID or SIGKIT_ERR_CERT_EXPIRED.
//
// Logs: each failure, as a warning.
[[nodiscard]] uint32_t InternalVerifyCertificate(const SigkitX509Cert &cert, int64_t verifyTime);

// The CRL that decides about a certificate, and the certificate that signed it: both the store's.
struct InternalCrlChoice {
    SigkitX509Crl *crl;
    SigkitX509Cert *issuer; // has been validated
};

// Chooses the CRL that decides about `cert`.
//
//   ctx               in/out; after a failure its pathError holds the code.
//   root              in, the root of the certificate's chain; CRLs of other roots are left out.
//   strictRevocation  in, handed on to the validation of the CRL's issuer.
//   best              out.
//
// Returns SIGKIT_OK, SIGKIT_ERR_NO_CRL, the code of the last issuer that did not validate, SIGKIT_ERR_CRL_UNVERIFIED,
// or the code of an allocation.
//
// Logs: nothing.
[[nodiscard]] uint32_t InternalSelectCrl(SigkitVerifyCtx *ctx, const SigkitX509Cert &cert, const SigkitX509Cert *root,
                                         uint32_t strictRevocation, InternalCrlChoice *best);

// Takes the first candidate, in order, whose CRL has an issuer that validates. The name is part of the log: which CRL
// is the best is settled by InternalRankCrls.
//
//   candidates  in, SigkitCrlCandidate, best first.
//
// Returns SIGKIT_OK, SIGKIT_ERR_NO_CRL for an empty list, the code of the last issuer that did not validate, or
// SIGKIT_ERR_CRL_UNVERIFIED.
//
// Logs: each failure; SIGKIT_ERR_NO_CRL and SIGKIT_ERR_CRL_UNVERIFIED in lines without the code.
[[nodiscard]] uint32_t InternalFindBestCrlOfCert(SigkitVerifyCtx *ctx, const SigkitList &candidates,
                                                 uint32_t strictRevocation, InternalCrlChoice *best);

#endif
