// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What the functions that log are about.
#ifndef PKGSIGN_EXPLAIN_LOG_STEP_H
#define PKGSIGN_EXPLAIN_LOG_STEP_H

#include <string>

namespace pkgsign
{

inline constexpr int OPERATION_DEPTH = 5; // of the library's operations, which nothing of the library calls

// How deep in a verification a function stands, as in log_step_list.def; 0: not known.
int StepDepth(const std::string &function);

// What a function does; empty: not known.
std::string StepWords(const std::string &function);

} // namespace pkgsign

#endif
