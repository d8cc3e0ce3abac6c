// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Times of certificates, CRLs and tokens as libcrypto reads them, for the second opinion.
#ifndef FUZZ_TIMES_H
#define FUZZ_TIMES_H

#include "fuzz/support/elements.h"

// Returns whether an element is a time by the number of its tag alone, as the verifier knows them.
bool TimeIsOne(const Element &element);

// Whether a time can be read by its digits: not one that does not exist, and none of a year below 1950 with four
// digits, which the verifier's calendar takes for another one.
bool TimeIsProper(const Element &element);

// Returns whether `first` is clearly later than `second`: false as soon as one is no proper time.
bool TimeIsClearlyLater(const Element &first, const Element &second);

#endif
