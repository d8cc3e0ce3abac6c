// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// A text as programs change it by the way: line ends, byte order mark, last newline.
#ifndef PKGSIGN_EXPLAIN_TEXT_VARIANT_H
#define PKGSIGN_EXPLAIN_TEXT_VARIANT_H

#include <string>
#include <vector>

#include "pkgsign/status.h"

namespace pkgsign
{

enum class LineEnds { AsIs, Lf, CrLf };
enum class Presence { AsIs, With, Without };

// Converts a text that comes in pieces.
struct TextVariant {
    LineEnds lineEnds = LineEnds::AsIs;
    Presence mark = Presence::AsIs;
    Presence lastNewline = Presence::AsIs;

    Bytes Convert(const uint8_t *data, size_t size);
    Bytes Finish();               // what is left at the end
    std::string Describe() const; // "with LF line ends and without its last newline"

    // Of a text that is being read.
    Bytes start;            // octets that may be a byte order mark
    bool isStarted = false; // what was said about the start is done
    int before = -1;        // the octet before
    Bytes held;             // a carriage return or a line end that the next octet decides about
};

// Every one but the text itself, those with the fewest changes first.
std::vector<TextVariant> TextVariants();

} // namespace pkgsign

#endif
