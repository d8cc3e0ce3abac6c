// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Text in lines for a terminal. All texts are valid UTF-8: see Printable.
#ifndef PKGSIGN_EXPLAIN_WRAP_H
#define PKGSIGN_EXPLAIN_WRAP_H

#include <cstddef>
#include <string>

namespace pkgsign
{

inline constexpr size_t TEXT_COLUMNS = 100;

// Breaks lines between words at TEXT_COLUMNS; `indent` columns stand before each, of the first already written.
std::string Wrap(const std::string &text, size_t indent);

// At most `columns` characters, at least three: the last three are dots where the text has more.
std::string Cut(const std::string &text, size_t columns);

} // namespace pkgsign

#endif
