// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// PEM as the device reads it, and what it does not read of it.
#ifndef PKGSIGN_EXPLAIN_INSPECT_ARMOUR_H
#define PKGSIGN_EXPLAIN_INSPECT_ARMOUR_H

#include "pkgsign/explain/inspect_rules.h"
#include "pkgsign/status.h"

namespace pkgsign::inspection
{

struct ArmourBlock {
    std::string label;
    size_t offset = 0; // of the start marker
    size_t behind = 0; // what stands behind it
    size_t body = 0;   // of the text within
    size_t bodyEnd = 0;
    size_t next = 0;       // where the next block is looked for
    bool hasEnd = false;   // the end marker of its label is the next one
    bool isClosed = false; // there is an end marker of some label
    bool hasInner = false; // a start marker stands in the text
};

// Whether the octets hold armour anywhere.
bool HasArmour(const Bytes &data);

// The next block from `from` on. Returns false when there is none.
bool FindBlock(const Bytes &data, size_t from, ArmourBlock *blockOut);

// The offset of the next start marker from `from` on that has too few dashes; the size of the octets without one.
size_t FindBrokenMarker(const Bytes &data, size_t from);

// Decodes a block's text. What the device cannot read is a finding, and is decoded as far as the alphabet goes.
Bytes DecodeArmour(const Bytes &data, const ArmourBlock &block, Findings *findings);

} // namespace pkgsign::inspection

#endif
