// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The cause of a refusal in one sentence, and what to do about it: by the step that failed and by what it came to.
#ifndef PKGSIGN_EXPLAIN_CHECK_CAUSE_H
#define PKGSIGN_EXPLAIN_CHECK_CAUSE_H

#include "pkgsign/explain/check.h"

namespace pkgsign
{

// Fills in the cause; nothing for a package that is authentic.
void FindCause(Check *check);

} // namespace pkgsign

#endif
