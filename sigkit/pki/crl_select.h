// The choice of a CRL for a certificate: each CRL of the store is scored, and the best whose issuer validates is taken.
#ifndef PKI_CRL_SELECT_H
#define PKI_CRL_SELECT_H

#include <stdint.h>

#include "asn1/records.h"
#include "core/context.h"
#include "core/list.h"

// Bits of a score. A CRL that lists the certificate outranks every one that does not; then a current one outranks an
// expired one; then one of the certificate's own issuer outranks an indirect one of another.
enum : uint32_t {
    SIGKIT_CRL_SCORE_OTHER_ISSUER = 0x10, // indirect CRL; with SAME_ISSUER: the own issuer's CRL is marked indirect
    SIGKIT_CRL_SCORE_SAME_ISSUER = 0x20,
    SIGKIT_CRL_SCORE_CURRENT = 0x40,
    SIGKIT_CRL_SCORE_LISTS_CERT = 0x80,
};

// A usable CRL.
struct SigkitCrlCandidate {
    uint32_t score;
    SigkitX509Crl *crl; // the store's
};

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
// Returns SIGKIT_OK, SIGKIT_ERR_NO_CRL, the code of the last issuer that did not validate, SIGKIT_ERR_CRL_UNVERIFIED, or
// SIGKIT_ERR_NO_MEMORY.
[[nodiscard]] uint32_t InternalSelectCrl(SigkitVerifyCtx *ctx, const SigkitX509Cert &cert, const SigkitX509Cert *root,
                                         uint32_t strictRevocation, InternalCrlChoice *best);

// Scores one CRL for a certificate at `verifyTime`. Returns the sum of the bits, or 0 when the CRL cannot be used: of
// another issuer without being indirect, without a readable nextUpdate, or expired without listing the certificate. An
// expired CRL still proves a revocation, never a clean record.
[[nodiscard]] uint32_t InternalCrlGetScore(const SigkitX509Crl &crl, const SigkitX509Cert &cert, int64_t verifyTime);

// Takes the first candidate, in order, whose CRL has an issuer that validates.
//
//   candidates  in, SigkitCrlCandidate, best first.
//
// Returns SIGKIT_OK, SIGKIT_ERR_NO_CRL for an empty list, the code of the last issuer that did not validate, or
// SIGKIT_ERR_CRL_UNVERIFIED; failures are logged.
[[nodiscard]] uint32_t InternalFindBestCrlOfCert(SigkitVerifyCtx *ctx, const SigkitList &candidates,
                                                 uint32_t strictRevocation, InternalCrlChoice *best);

// Orders two SigkitCrlCandidate, the higher score first: -1, 0 or 1.
[[nodiscard]] int32_t InternalCrlScoreSortDesc(const void *first, const void *second);

#endif
