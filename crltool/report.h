// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The answer, for people and for programs.
#ifndef CRLTOOL_REPORT_H
#define CRLTOOL_REPORT_H

#include <stdio.h>

#include <initializer_list>

#include "crltool/comparison.h"

// What the tool ends with: 0 the first file is newer or equally new, 1 the second is newer, 2 they cannot be compared.
int ExitStatus(const Comparison &comparison);

// Writes a table for each file, the warnings and one line that says which file is newer, or why neither is. Control
// characters of names and paths are escaped.
void WriteTextReport(FILE *file, const Comparison &comparison);

// The same as one JSON document (RFC 8259) in ASCII. Octets that are not UTF-8 are replaced.
void WriteJsonReport(FILE *file, const Comparison &comparison);

// The JSON document of a comparison that did not come about, with the parts of the sentence that says why.
void WriteJsonError(FILE *file, std::initializer_list<const char *> parts);

#endif
