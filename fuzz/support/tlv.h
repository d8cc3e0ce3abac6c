// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Elements as trees: what the mutator works on. Parsing and writing are exact inverses as long as nothing is changed.
#ifndef FUZZ_TLV_H
#define FUZZ_TLV_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "tests/forge/forge.h"

// One element. With `nested` its content is `content` followed by the children: `content` is empty for a constructed
// element and an OCTET STRING around an element, and the count of unused bits for a BIT STRING around one.
struct TlvNode {
    uint8_t identifier = 0;
    bool nested = false;
    bool raw = false;         // octets that are no element: `content` alone is written
    uint8_t lengthOctets = 0; // the length is written in the long form with that many octets at least; 0: shortest form
    forge::Bytes forgedLength; // not empty: written in the place of the length, whatever the content
    forge::Bytes content;
    std::vector<TlvNode> children;

    size_t key;          // that has signed this certificate or CRL; see FuzzRememberSigners
    forge::Bytes issuer; // that it named then

    TlvNode();
};

using TlvForest = std::vector<TlvNode>;

// Parses elements one behind the other; octets that are none become a raw node at the end.
TlvForest TlvParse(const forge::Bytes &octets);

// Parses octets known to be one element, from our own source.
TlvNode TlvParseOne(const forge::Bytes &octets);

forge::Bytes TlvEncode(const TlvNode &node);
forge::Bytes TlvEncode(const TlvForest &forest);

// Writes an element's content without its header.
forge::Bytes TlvEncodeContent(const TlvNode &node);

// Makes an element without children.
TlvNode TlvLeaf(uint8_t identifier, forge::Bytes content);

// All elements of a forest, each before its children.
std::vector<TlvNode *> TlvAll(TlvForest *forest);

// Returns whether an element is an OBJECT IDENTIFIER with these content octets.
bool TlvIsIdentifier(const TlvNode &node, const forge::Bytes &content);

#endif
