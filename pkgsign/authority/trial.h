// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Trying released packages before a change reaches devices.
#ifndef PKGSIGN_AUTHORITY_TRIAL_H
#define PKGSIGN_AUTHORITY_TRIAL_H

#include <string>

#include "pkgsign/authority/device.h"

namespace pkgsign
{

// The answers of all packages in a directory ("X.cms" with "X" beside it), for those that `after` answers differently
// than `before`: one line each. An empty `before` lists those that `after` refuses.
Status TryPackages(const std::string &directory, const Setting *before, const Setting &after, std::string *reportOut);

} // namespace pkgsign

#endif
