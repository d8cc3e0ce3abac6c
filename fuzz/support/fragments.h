// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Small elements that mean something to the verifier: identifiers, times, numbers, names, keys, extensions, entries,
// attributes.
#ifndef FUZZ_FRAGMENTS_H
#define FUZZ_FRAGMENTS_H

#include "fuzz/support/random.h"
#include "fuzz/support/tlv.h"

// Returns any of them.
TlvNode FuzzFragment(FuzzRandom *random);

// Return one of a kind.
TlvNode FuzzTime(FuzzRandom *random);
TlvNode FuzzSerial(FuzzRandom *random);
TlvNode FuzzOddKey(FuzzRandom *random);    // a SubjectPublicKeyInfo that no signature can be made for
TlvNode FuzzAlgorithm(FuzzRandom *random); // of a digest or of a signature
TlvNode FuzzExtension(FuzzRandom *random); // of a certificate or of a CRL
TlvNode FuzzRevokedEntry(const TlvNode &serial, FuzzRandom *random);

#endif
