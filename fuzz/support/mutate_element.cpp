// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "fuzz/support/mutate_element.h"

#include <algorithm>
#include <iterator>

#include "fuzz/support/fragments.h"

extern "C" size_t LLVMFuzzerMutate(uint8_t *data, size_t size, size_t maxSize);

namespace
{

constexpr size_t ROOM_TO_GROW = 64;    // octets that a change of content may add, most often
constexpr size_t ROOM_TO_BURST = 1024; // and rarely: more than any value may have

// Identifier octets that mean something to the decoder.
constexpr uint8_t IDENTIFIERS[] = {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x0A, 0x0C, 0x13, 0x16, 0x17, 0x18, 0x30,
                                   0x31, 0x80, 0x81, 0x82, 0x84, 0xA0, 0xA1, 0xA2, 0xA3, 0x1F, 0x3F, 0xBF, 0x00};

// Lengths that have been trouble to decoders.
const forge::Bytes LENGTHS[] = {{0x00},
                                {0x01},
                                {0x7F},
                                {0x80},
                                {0x81, 0x00},
                                {0x81, 0x7F},
                                {0x81, 0xFF},
                                {0x82, 0x00, 0x00},
                                {0x82, 0xFF, 0xFF},
                                {0x83, 0x00, 0x00, 0x01},
                                {0x84, 0x00, 0x00, 0x00, 0x00},
                                {0x84, 0x7F, 0xFF, 0xFF, 0xFF},
                                {0x84, 0x80, 0x00, 0x00, 0x00},
                                {0x84, 0xFF, 0xFF, 0xFF, 0xFF},
                                {0x85, 0x00, 0x00, 0x00, 0x00, 0x01},
                                {0x88, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF},
                                {0xFF}};

// An element together with those beside it.
struct Place {
    TlvForest *siblings;
    size_t index;

    TlvNode &Node() const
    {
        return (*siblings)[index];
    }
};

void CollectPlaces(TlvForest *forest, std::vector<Place> *places)
{
    for (size_t i = 0; i < forest->size(); ++i) {
        places->push_back({forest, i});
        CollectPlaces(&(*forest)[i].children, places);
    }
}

void CollectConst(const TlvForest &forest, std::vector<const TlvNode *> *nodes)
{
    for (const TlvNode &node : forest) {
        nodes->push_back(&node);
        CollectConst(node.children, nodes);
    }
}

TlvNode PickNode(const TlvForest &donor, FuzzRandom *random)
{
    std::vector<const TlvNode *> nodes;
    CollectConst(donor, &nodes);
    if (nodes.empty() || FuzzChance(random, 40)) {
        return FuzzFragment(random);
    }
    return *nodes[FuzzBelow(random, nodes.size())];
}

void ChangeIdentifier(TlvNode *node, FuzzRandom *random)
{
    if (FuzzChance(random, 30)) {
        node->identifier = static_cast<uint8_t>(node->identifier ^ (1u << FuzzBelow(random, 8)));
    } else {
        node->identifier = IDENTIFIERS[FuzzBelow(random, std::size(IDENTIFIERS))];
    }
}

void ChangeLength(TlvNode *node, FuzzRandom *random)
{
    if (FuzzChance(random, 50)) {
        node->lengthOctets = static_cast<uint8_t>(FuzzBelow(random, 6)); // the same length in another form
        node->forgedLength.clear();
    } else if (FuzzChance(random, 50)) {
        node->forgedLength = LENGTHS[FuzzBelow(random, std::size(LENGTHS))];
    } else {
        const size_t length = TlvEncodeContent(*node).size() + FuzzBelow(random, 5) - 2;
        node->forgedLength = {0x82, static_cast<uint8_t>(length >> 8), static_cast<uint8_t>(length)};
    }
}

void ChangeContent(TlvNode *node, FuzzRandom *random)
{
    forge::Bytes content = TlvEncodeContent(*node);
    const size_t size = content.size();
    switch (FuzzBelow(random, 6)) {
    case 0:
        content.clear();
        break;
    case 1:
        content.insert(content.begin(), static_cast<uint8_t>(FuzzChance(random, 50) ? 0x00 : 0xFF));
        break;
    case 2:
        content.resize(FuzzBelow(random, size + 1));
        break;
    case 3:
        content.resize(size + 1 + FuzzBelow(random, FuzzChance(random, 15) ? ROOM_TO_BURST : ROOM_TO_GROW), 0x30);
        break;
    default:
        content.resize(size + ROOM_TO_GROW);
        content.resize(LLVMFuzzerMutate(content.data(), size, content.size()));
        break;
    }
    node->nested = false;
    node->children.clear();
    node->content = std::move(content);
}

void ChangeNeighbours(const Place &place, FuzzRandom *random)
{
    TlvForest &siblings = *place.siblings;
    const auto at = siblings.begin() + static_cast<std::ptrdiff_t>(place.index);
    switch (FuzzBelow(random, 3)) {
    case 0:
        siblings.erase(at);
        break;
    case 1: {
        const TlvNode copy = *at;
        siblings.insert(at, 1 + FuzzBelow(random, FuzzChance(random, 10) ? 24 : 2), copy);
        break;
    }
    default:
        std::swap(*at, siblings[FuzzBelow(random, siblings.size())]);
        break;
    }
}

void PutElement(const Place &place, const TlvForest &donor, FuzzRandom *random)
{
    TlvNode element = PickNode(donor, random);
    TlvForest &siblings = *place.siblings;
    if (FuzzChance(random, 50)) {
        siblings[place.index] = std::move(element);
    } else {
        const size_t at = place.index + FuzzBelow(random, 2);
        siblings.insert(siblings.begin() + static_cast<std::ptrdiff_t>(at), std::move(element));
    }
}

} // namespace

void FuzzMutateElement(TlvForest *forest, const TlvForest &donor, FuzzRandom *random)
{
    std::vector<Place> places;
    CollectPlaces(forest, &places);
    if (places.empty()) {
        forest->push_back(PickNode(donor, random));
        return;
    }
    const Place place = places[FuzzBelow(random, places.size())];
    switch (FuzzBelow(random, 8)) {
    case 0:
        ChangeIdentifier(&place.Node(), random);
        break;
    case 1:
        ChangeLength(&place.Node(), random);
        break;
    case 2:
    case 3:
    case 4:
        ChangeContent(&place.Node(), random);
        break;
    case 5:
        ChangeNeighbours(place, random);
        break;
    default:
        PutElement(place, donor, random);
        break;
    }
}
