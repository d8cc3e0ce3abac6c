// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "fuzz/support/tlv.h"

#include <algorithm>

#include "fuzz/support/host.h"
#include "fuzz/support/keys.h"

namespace
{

constexpr uint8_t CONSTRUCTED = 0x20;
constexpr uint8_t HIGH_TAG_NUMBER = 0x1F;
constexpr uint8_t LONG_FORM = 0x80;
constexpr uint8_t BIT_STRING = 0x03;
constexpr uint8_t OCTET_STRING = 0x04;
constexpr uint8_t OBJECT_IDENTIFIER = 0x06;
constexpr size_t MAX_DEPTH = 32;
constexpr size_t MAX_LENGTH_OCTETS = 4;

struct Reader {
    const uint8_t *data;
    size_t size;
};

uint8_t ShortestLengthOctets(size_t length)
{
    uint8_t octets = 0;
    for (size_t rest = length < LONG_FORM ? 0 : length; rest != 0; rest >>= 8) {
        ++octets;
    }
    return octets;
}

// Reads a header; false when there is none, or the content is not all there.
bool ReadHeader(const Reader &in, TlvNode *node, size_t *headerSize, size_t *length)
{
    if (in.size < 2 || (in.data[0] & HIGH_TAG_NUMBER) == HIGH_TAG_NUMBER) {
        return false;
    }
    node->identifier = in.data[0];
    *headerSize = 2;
    *length = in.data[1];
    if ((in.data[1] & LONG_FORM) != 0) {
        const size_t octets = in.data[1] & ~LONG_FORM & 0xFFu;
        if (octets == 0 || octets > MAX_LENGTH_OCTETS || in.size < 2 + octets) {
            return false;
        }
        *length = 0;
        for (size_t i = 0; i < octets; ++i) {
            *length = (*length << 8) | in.data[2 + i];
        }
        *headerSize += octets;
        if (octets != ShortestLengthOctets(*length)) {
            node->lengthOctets = static_cast<uint8_t>(octets);
        }
    }
    return *length <= in.size - *headerSize;
}

bool ParseAll(const Reader &in, size_t depth, TlvForest *forest);

// Looks for elements inside an element; without any it is a leaf.
void ParseContent(const Reader &content, size_t depth, TlvNode *node)
{
    size_t prefix = 0;
    bool worthTrying = (node->identifier & CONSTRUCTED) != 0;
    if (node->identifier == BIT_STRING && content.size > 2 && content.data[0] == 0) {
        prefix = 1;
        worthTrying = content.data[1] == 0x30;
    } else if (node->identifier == OCTET_STRING && content.size > 1) {
        worthTrying = content.data[0] == 0x30 || content.data[0] == 0x03 || content.data[0] == 0x0A ||
                      content.data[0] == 0x04 || content.data[0] == 0x02;
    }
    if (worthTrying && depth < MAX_DEPTH &&
        ParseAll({content.data + prefix, content.size - prefix}, depth + 1, &node->children)) {
        node->nested = true;
        node->content.assign(content.data, content.data + prefix);
        return;
    }
    node->children.clear();
    node->content.assign(content.data, content.data + content.size);
}

// Parses one element; returns the octets that it takes, 0 when there is none.
size_t ParseElement(const Reader &in, size_t depth, TlvNode *node)
{
    size_t headerSize = 0;
    size_t length = 0;
    if (!ReadHeader(in, node, &headerSize, &length)) {
        return 0;
    }
    ParseContent({in.data + headerSize, length}, depth, node);
    return headerSize + length;
}

bool ParseAll(const Reader &in, size_t depth, TlvForest *forest)
{
    for (size_t at = 0; at < in.size;) {
        TlvNode node;
        const size_t used = ParseElement({in.data + at, in.size - at}, depth, &node);
        if (used == 0) {
            return false;
        }
        forest->push_back(std::move(node));
        at += used;
    }
    return true;
}

// Octets of the length that are written; the first one of the long form is among them.
size_t LengthSize(const TlvNode &node, size_t length)
{
    return node.forgedLength.empty() ? 1u + std::max(node.lengthOctets, ShortestLengthOctets(length))
                                     : node.forgedLength.size();
}

size_t ContentSize(const TlvNode &node)
{
    size_t size = node.content.size();
    if (!node.nested) {
        return size;
    }
    for (const TlvNode &child : node.children) {
        const size_t inner = ContentSize(child);
        size += child.raw ? inner : 1 + LengthSize(child, inner) + inner;
    }
    return size;
}

void AppendLength(const TlvNode &node, size_t length, forge::Bytes *out)
{
    if (!node.forgedLength.empty()) {
        out->insert(out->end(), node.forgedLength.begin(), node.forgedLength.end());
        return;
    }
    const uint8_t octets = std::max(node.lengthOctets, ShortestLengthOctets(length));
    if (octets == 0) {
        out->push_back(static_cast<uint8_t>(length));
        return;
    }
    out->push_back(static_cast<uint8_t>(LONG_FORM | octets));
    for (unsigned shift = 8u * octets; shift != 0; shift -= 8) {
        out->push_back(static_cast<uint8_t>(length >> (shift - 8)));
    }
}

void AppendNode(const TlvNode &node, forge::Bytes *out);

void AppendContent(const TlvNode &node, forge::Bytes *out)
{
    out->insert(out->end(), node.content.begin(), node.content.end());
    if (node.nested) {
        for (const TlvNode &child : node.children) {
            AppendNode(child, out);
        }
    }
}

void AppendNode(const TlvNode &node, forge::Bytes *out)
{
    if (!node.raw) {
        out->push_back(node.identifier);
        AppendLength(node, ContentSize(node), out);
    }
    AppendContent(node, out);
}

void Collect(TlvForest *forest, std::vector<TlvNode *> *all)
{
    for (TlvNode &node : *forest) {
        all->push_back(&node);
        Collect(&node.children, all);
    }
}

} // namespace

TlvNode::TlvNode() : key(FUZZ_NO_KEY)
{
}

TlvForest TlvParse(const forge::Bytes &octets)
{
    TlvForest forest;
    size_t at = 0;
    while (at < octets.size()) {
        TlvNode node;
        const size_t used = ParseElement({octets.data() + at, octets.size() - at}, 0, &node);
        if (used == 0) {
            node = {};
            node.raw = true;
            node.content.assign(octets.begin() + static_cast<std::ptrdiff_t>(at), octets.end());
            forest.push_back(std::move(node));
            break;
        }
        forest.push_back(std::move(node));
        at += used;
    }
    return forest;
}

TlvNode TlvParseOne(const forge::Bytes &octets)
{
    TlvForest forest = TlvParse(octets);
    if (forest.size() != 1) {
        FuzzFail("not one element");
    }
    return forest.front();
}

forge::Bytes TlvEncode(const TlvNode &node)
{
    forge::Bytes octets;
    AppendNode(node, &octets);
    return octets;
}

forge::Bytes TlvEncode(const TlvForest &forest)
{
    forge::Bytes octets;
    for (const TlvNode &node : forest) {
        AppendNode(node, &octets);
    }
    return octets;
}

forge::Bytes TlvEncodeContent(const TlvNode &node)
{
    forge::Bytes content;
    AppendContent(node, &content);
    return content;
}

TlvNode TlvLeaf(uint8_t identifier, forge::Bytes content)
{
    TlvNode node;
    node.identifier = identifier;
    node.content = std::move(content);
    return node;
}

std::vector<TlvNode *> TlvAll(TlvForest *forest)
{
    std::vector<TlvNode *> all;
    Collect(forest, &all);
    return all;
}

bool TlvIsIdentifier(const TlvNode &node, const forge::Bytes &content)
{
    return node.identifier == OBJECT_IDENTIFIER && !node.nested && node.content == content;
}
