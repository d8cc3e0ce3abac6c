// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Checks a package as a device does, and explains the answer.
#ifndef PKGSIGN_EXPLAIN_CHECK_RUN_H
#define PKGSIGN_EXPLAIN_CHECK_RUN_H

#include "pkgsign/explain/check_order.h"

namespace pkgsign
{

// Asks the device's library about the package. The content is read in pieces, whatever its size. What cannot be read is
// the library's to refuse, so that the answer is the device's in each case.
void RunCheck(const CheckOrder &order, Check *check);

} // namespace pkgsign

#endif
