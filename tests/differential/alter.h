// Alters encodings: octets at random, or one element while everything around it stays well-formed. The same seed always
// makes the same alterations.
#ifndef DIFFERENTIAL_ALTER_H
#define DIFFERENTIAL_ALTER_H

#include <stdint.h>

#include "tests/support/der_writer.h"

enum class Alteration { BIT, OCTET, TAG, LENGTH, CONTENT, DELETION, DUPLICATION, SWAP };

// A stream of numbers.
struct Dice {
    uint64_t state = 0;
};

// Returns a number below `limit`, which is not 0.
size_t Throw(Dice *dice, size_t limit);

// Returns the encoding with one or, sometimes, two alterations of a kind.
der::Bytes Alter(const der::Bytes &encoding, Alteration alteration, Dice *dice);

#endif
