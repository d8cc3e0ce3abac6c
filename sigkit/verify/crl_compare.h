// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Comparison of CRL files by their summaries.
//
// Logs: nothing, in any function of this header; SigkitCrlCompare logs what they make it refuse.
#ifndef VERIFY_CRL_COMPARE_H
#define VERIFY_CRL_COMPARE_H

#include "sigkit/sigkit.h"

// Returns whether `newer` accounts for every issuer of `older`: by a CRL of the issuer, or by its first root CRL with
// revoked certificates, which must list the issuer's certificate. An empty slot that is met in either one means that it
// does not.
[[nodiscard]] bool InternalCheckNewCrl(const SigkitCrlBundle &newer, const SigkitCrlBundle &older);

// Returns whether two summaries of a bundle, none of whose slots below `count` is empty, bear one issuer name.
[[nodiscard]] bool InternalFindDuplicateCrlIssuer(const SigkitCrlBundle &bundle);

#endif
