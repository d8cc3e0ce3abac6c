// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Changes that keep the shape of certificates, CRLs and messages and change what they say.
#ifndef FUZZ_MUTATE_MEANING_H
#define FUZZ_MUTATE_MEANING_H

#include "fuzz/support/random.h"
#include "fuzz/support/tlv.h"

// Makes one change to a certificate or CRL somewhere in a forest: a name, a key, a serial number, a date, a digest, an
// extension, a revoked certificate.
void FuzzMutateObject(TlvForest *forest, FuzzRandom *random);

// Makes one change to the objects of a CRL file: one more, one fewer, another order.
void FuzzMutateCollection(TlvForest *file, FuzzRandom *random);

// Makes one change to a message: its certificates, its signers, their attributes, algorithms and tokens.
void FuzzMutateMessage(TlvForest *message, FuzzRandom *random);

#endif
