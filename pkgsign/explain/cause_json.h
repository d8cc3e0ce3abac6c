// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The same for scripts: one JSON document each.
#ifndef PKGSIGN_EXPLAIN_CAUSE_JSON_H
#define PKGSIGN_EXPLAIN_CAUSE_JSON_H

#include <string>

#include "pkgsign/explain/cause.h"
#include "pkgsign/explain/log_trail.h"

namespace pkgsign
{

std::string ExplainStatusJson(const StatusEntry &status);
std::string ExplainExitJson(int exitStatus);
std::string ExplainRunJson(const LogFindings &findings, const Trail &trail);
std::string ListStatusesJson();

} // namespace pkgsign

#endif
