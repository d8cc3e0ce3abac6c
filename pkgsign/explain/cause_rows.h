// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What to do about each cause.
#ifndef PKGSIGN_EXPLAIN_CAUSE_ROWS_H
#define PKGSIGN_EXPLAIN_CAUSE_ROWS_H

#include <string>

#include "pkgsign/explain/check.h"

namespace pkgsign
{

struct CauseRow {
    const char *code;
    const char *remedy; // empty: that of the likeliest cause of `status`, as explain has it (cause_list.def)
    const char *next;   // a command; %f, %r, %c, %s: content, root, CRL file, signature file; %o: the file that fits
    uint32_t status = 0;
};

// The row of a code, which must be one of the table's.
const CauseRow &FindCauseRow(const std::string &code);

// What to do about it.
std::string RemedyOf(const CauseRow &row);

// A command with the paths of a check in it, quoted for a shell.
std::string FillPaths(const std::string &command, const Check &check);

} // namespace pkgsign

#endif
