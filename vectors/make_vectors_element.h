// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Elements inside an encoding, by their places: {0, 3} is the fourth member of the first member. A step into an OCTET
// STRING or a BIT STRING goes to what is encoded in it.
#ifndef VECTORS_ELEMENT_H
#define VECTORS_ELEMENT_H

#include "vectors/make_vectors_package.h"

namespace vectors
{
using Place = std::vector<size_t>;

// The element at a place. Ends the process where there is none.
Bytes ElementAt(const Bytes &element, const Place &place);

// The encoding with what `edit` makes of the element at a place: nothing, one element or several, well formed or not.
// The lengths around it are written anew.
Bytes EditAt(const Bytes &element, const Place &place, const Edit &edit);

// The same as an Edit.
Edit At(Place place, Edit edit);

// The content of an element.
Bytes ContentOf(const Bytes &element);
} // namespace vectors

#endif
