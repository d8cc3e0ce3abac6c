// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The cause of a refusal that a certificate's path came to.
#ifndef PKGSIGN_EXPLAIN_CHECK_CAUSE_PATH_H
#define PKGSIGN_EXPLAIN_CHECK_CAUSE_PATH_H

#include "pkgsign/explain/check.h"

namespace pkgsign
{

// Fills in the cause when the path of the signer, or of the authority, has failed.
void CauseOfPath(Check *check, bool isAuthority);

} // namespace pkgsign

#endif
