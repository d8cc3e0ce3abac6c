// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Changes of single elements, whatever they mean.
#ifndef FUZZ_MUTATE_ELEMENT_H
#define FUZZ_MUTATE_ELEMENT_H

#include "fuzz/support/random.h"
#include "fuzz/support/tlv.h"

// Makes one change somewhere in a forest: an identifier, a length, content, or an element more, fewer or elsewhere.
// `donor` is where elements may be copied from; it may be the forest itself.
void FuzzMutateElement(TlvForest *forest, const TlvForest &donor, FuzzRandom *random);

#endif
