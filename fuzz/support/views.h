// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The decoder's promise about its views: they lie inside the input.
#ifndef FUZZ_VIEWS_H
#define FUZZ_VIEWS_H

#include <cstddef>
#include <cstdint>

#include "asn1/types.h"

// Fails when a view of a decoded record reaches outside the `size` octets at `data`, or carries a tag that no
// identifier octet can hold.
//
//   record  in, what `item` decodes into.
void FuzzCheckViews(const void *record, const SigkitAsnItem &item, const uint8_t *data, size_t size);

#endif
