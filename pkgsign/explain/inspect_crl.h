// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// CRLs, described.
#ifndef PKGSIGN_EXPLAIN_INSPECT_CRL_H
#define PKGSIGN_EXPLAIN_INSPECT_CRL_H

#include "pkgsign/explain/inspect_context.h"

namespace pkgsign::inspection
{

Report DescribeCrl(InspectContext *context, const Node &crl, const NodePath &path);

} // namespace pkgsign::inspection

#endif
