// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What to do about each cause.
#ifndef PKGSIGN_EXPLAIN_CAUSE_ROWS_H
#define PKGSIGN_EXPLAIN_CAUSE_ROWS_H

#include <string>

#include "pkgsign/explain/check.h"

namespace pkgsign
{

// A command with the paths of a check in it, quoted for a shell.
std::string FillPaths(const std::string &command, const Check &check);

// Sets the cause of a refusal: the row of `code`, and `text` in one sentence.
void SetCause(Check *check, const char *code, const std::string &text);

} // namespace pkgsign

#endif
