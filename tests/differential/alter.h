// Alters encodings: octets at random, or one element while everything around it stays well-formed. The same seed always
// makes the same alterations.
#ifndef DIFFERENTIAL_ALTER_H
#define DIFFERENTIAL_ALTER_H

#include "fuzz/support/random.h"
#include "tests/support/der_writer.h"

enum class Alteration { BIT, OCTET, TAG, LENGTH, CONTENT, DELETION, DUPLICATION, SWAP };

// A stream of numbers, the same for the same seed.
using Dice = FuzzRandom;

// Returns a number below `limit`, which is not 0.
size_t Throw(Dice *dice, size_t limit);

// Returns the encoding with one or, sometimes, two alterations of a kind.
der::Bytes Alter(const der::Bytes &encoding, Alteration alteration, Dice *dice);

#endif
