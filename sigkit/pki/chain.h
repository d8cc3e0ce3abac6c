// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Who issued whom: the issuer of a certificate, the issuer of a CRL, and the root above a certificate.
#ifndef PKI_CHAIN_H
#define PKI_CHAIN_H

#include <stdint.h>

#include "asn1/records.h"
#include "core/context.h"

// Returns the first stored certificate that issued `cert`, or null: a CA that bears its issuer name, may sign
// certificates and verifies it. The issuer is remembered, and later searches find that record only: how a path is built
// is left open by RFC 5280, 6.1, and one that fails is not built anew through another certificate.
//
// Logs: nothing.
[[nodiscard]] SigkitX509Cert *InternalFindCertIssuer(SigkitVerifyCtx *ctx, SigkitX509Cert *cert);

// Returns the first certificate that bears the CRL's issuer name, may sign CRLs and verifies this CRL, or null. Not
// checked: its dates, its path and whether it is a CA. The store keeps its share.
//
// Logs: nothing.
[[nodiscard]] SigkitX509Cert *SigkitPkiFindCrlIssuer(SigkitVerifyCtx *ctx, SigkitX509Crl *crl);

// Returns the self-signed certificate at the end of the chain above `cert`, `cert` itself when it is self-signed, or
// null. `depth` is 0 for the first step; it bounds the recursion.
//
// Logs: a chain that is too deep, no other null.
[[nodiscard]] SigkitX509Cert *InternalFindCertRoot(SigkitVerifyCtx *ctx, SigkitX509Cert *cert, uint32_t depth);

#endif
