// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Words for what a check has found.
#ifndef PKGSIGN_EXPLAIN_CHECK_WORDS_H
#define PKGSIGN_EXPLAIN_CHECK_WORDS_H

#include <string>

#include "pkgsign/explain/check.h"

namespace pkgsign
{

// The times whose year has four digits.
inline constexpr int64_t WRITABLE_FIRST = -30610224000; // 1000-01-01T00:00:00Z
inline constexpr int64_t WRITABLE_LAST = 253402300799;  // 9999-12-31T23:59:59Z

// "2026-01-31T12:00:00Z", or that it cannot be read.
std::string TimeText(const MaybeTime &time);

// Whether a time can be written in four digits of a year.
bool IsWritable(const MaybeTime &time);

// A CRLReason in words (RFC 5280, 5.3.1), as the library reads it: to it unspecified is no reason.
std::string ReasonText(uint32_t reason);

// ", at octet 12 (30)", or nothing.
std::string WhereItStopped(const ReadProblem &problem);

// Whether a file is text that does not begin with PEM armour.
bool StartsLikeText(const std::string &path);

// Whether the signer of a message names RSASSA-PSS, which the library does not read.
bool IsSignedWithPss(const std::string &path);

// 'text'
std::string Quoted(const std::string &text);

} // namespace pkgsign

#endif
