#include "tests/differential/alter.h"

#include <algorithm>
#include <vector>

#include "tests/differential/element.h"

using der::Bytes;

namespace
{

// An element taken apart. The content is `content`, then the children; `lead` of it is a BIT STRING's first octet.
struct Node {
    Bytes identifier;
    Bytes length; // not empty: written in the place of the length
    Bytes content;
    std::vector<Node> children;
    bool indefinite = false;
};

bool Disassemble(const Bytes &input, size_t pos, size_t limit, std::vector<Node> *nodes);

// Takes the elements of a constructed element apart, or those inside an OCTET STRING or a BIT STRING.
void DisassembleContent(const Bytes &input, const Element &element, Node *node)
{
    const bool isBits = IsUniversal(element, 3, false);
    const bool mayNest = element.constructed || isBits || IsUniversal(element, 4, false);
    const size_t lead = isBits && LengthOf(element) != 0 ? 1 : 0;
    if (mayNest && LengthOf(element) > lead &&
        Disassemble(input, element.content + lead, element.end, &node->children)) {
        node->content.assign(lead, lead == 0 ? uint8_t(0) : input[element.content]);
        return;
    }
    node->children.clear();
    node->content = ContentOf(input, element);
}

bool Disassemble(const Bytes &input, size_t pos, size_t limit, std::vector<Node> *nodes)
{
    while (pos < limit) {
        Element element;
        if (!ReadElement(input, pos, limit, &element) || element.indefinite) {
            return false;
        }
        Node node;
        node.identifier.assign(input.begin() + static_cast<ptrdiff_t>(element.start),
                               input.begin() + static_cast<ptrdiff_t>(element.header));
        DisassembleContent(input, element, &node);
        nodes->push_back(node);
        pos = element.next;
    }
    return true;
}

// The length in the long form with `octets` octets, or in the shortest form for 0.
Bytes LengthOctets(size_t length, size_t octets)
{
    const Bytes content(length);
    const Bytes element = octets == 0 ? der::Tlv(0, content) : der::TlvLong(0, content, static_cast<uint8_t>(octets));
    return Bytes(element.begin() + 1, element.end() - static_cast<ptrdiff_t>(length));
}

Bytes Assemble(const std::vector<Node> &nodes);

Bytes Assemble(const Node &node)
{
    const Bytes content = der::Concatenate({node.content, Assemble(node.children)});
    if (node.indefinite) {
        return der::Concatenate({node.identifier, {0x80}, content, {0x00, 0x00}});
    }
    return der::Concatenate(
        {node.identifier, node.length.empty() ? LengthOctets(content.size(), 0) : node.length, content});
}

Bytes Assemble(const std::vector<Node> &nodes)
{
    Bytes octets;
    for (const Node &node : nodes) {
        const Bytes encoding = Assemble(node);
        octets.insert(octets.end(), encoding.begin(), encoding.end());
    }
    return octets;
}

// Every list of elements in a tree that is not empty.
void CollectLists(std::vector<Node> *nodes, std::vector<std::vector<Node> *> *lists)
{
    if (nodes->empty()) {
        return;
    }
    lists->push_back(nodes);
    for (Node &node : *nodes) {
        CollectLists(&node.children, lists);
    }
}

// ---- Alterations of one element ------------------------------------------------------------------------------------

uint8_t AnyOctet(Dice *dice)
{
    return static_cast<uint8_t>(Throw(dice, 256));
}

void ChangeTag(Node *node, Dice *dice)
{
    static const Bytes identifiers = {0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x0A, 0x0C, 0x12, 0x13, 0x14, 0x16,
                                      0x17, 0x18, 0x1C, 0x1E, 0x10, 0x11, 0x30, 0x31, 0x21, 0x22, 0x23, 0x24, 0x2C,
                                      0x37, 0x80, 0x81, 0x82, 0x83, 0x84, 0x85, 0xA0, 0xA1, 0xA2, 0xA3, 0x97};
    const uint8_t first = node->identifier[0];
    switch (Throw(dice, 4)) {
    case 0:
        node->identifier = {AnyOctet(dice)};
        break;
    case 1: // the same tag in more octets, or some tag that needs them
        node->identifier = {static_cast<uint8_t>(first | 0x1F), static_cast<uint8_t>(first & 0x1F)};
        break;
    case 2:
        node->identifier = {static_cast<uint8_t>(first ^ 0x20)};
        break;
    default:
        node->identifier = {identifiers[Throw(dice, identifiers.size())]};
        break;
    }
}

void ChangeLength(Node *node, Dice *dice)
{
    const size_t length = node->content.size() + Assemble(node->children).size();
    switch (Throw(dice, 4)) {
    case 0:
        node->length = LengthOctets(length, 1 + Throw(dice, 9));
        break;
    case 1:
        node->indefinite = true;
        break;
    case 2:
        node->length = LengthOctets(length + Throw(dice, 5), 0);
        break;
    default:
        node->length = LengthOctets(length - std::min(length, Throw(dice, 5)), 0);
        break;
    }
}

const std::vector<Bytes> &Contents()
{
    static const std::vector<Bytes> contents = {
        {},
        {0x00},
        {0x01},
        {0xFF},
        {0x00, 0x00},
        {0x00, 0x80},
        {0xFF, 0x80},
        {0x07, 0x80},
        {0x08, 0x80},
        {0x03, 0xFF},
        {0x00, 0x80, 0x00},
        {0x00, 0x01, 0x02, 0x03},
        {0x80, 0x01},
        {0x2A, 0x80},
        {0x01, 0x02, 0x03, 0x04, 0x05},
        der::Text("200101000000Z"),
        der::Text("2001010000Z"),
        der::Text("200230000000Z"),
        der::Text("200229240000Z"),
        der::Text("2001010000000"),
        der::Text("200101000000+0100"),
        der::Text("20200101000000Z"),
        der::Text("20200101000000.5Z"),
        der::Text("18990101000000Z"),
        der::Text("00000101000000Z"),
        der::Text("20A00101000000Z"),
        der::OidContent("2.5.29.15"),
        der::OidContent("2.5.29.19"),
        der::OidContent("2.5.29.37"),
        der::OidContent("2.5.29.21"),
        der::OidContent("2.5.29.28"),
        der::OidContent("1.3.6.1.5.5.7.3.3"),
        der::Boolean(),
        der::Sequence({}),
        der::Sequence({der::Boolean(0x01)}),
        der::Sequence({der::Integer(1), der::Integer(2)}),
        der::BitString(0, {0x80, 0x00, 0x01}),
        der::BitString(3, {0x8F}),
        der::Enumerated(5),
    };
    return contents;
}

void ChangeContent(Node *node, Dice *dice)
{
    const Bytes content = der::Concatenate({node->content, Assemble(node->children)});
    node->children.clear();
    node->content = content;
    switch (Throw(dice, 6)) {
    case 0:
        node->content.insert(node->content.begin(), AnyOctet(dice));
        break;
    case 1:
        node->content.push_back(AnyOctet(dice));
        break;
    case 2:
        node->content.resize(content.size() / 2);
        break;
    case 3:
        if (!content.empty()) {
            node->content[Throw(dice, content.size())] = AnyOctet(dice);
        }
        break;
    default:
        node->content = Contents()[Throw(dice, Contents().size())];
        break;
    }
}

void Duplicate(std::vector<Node> *list, size_t place, Dice *dice)
{
    const Node copy = (*list)[place];
    const size_t copies = Throw(dice, 3) == 0 ? 1 + Throw(dice, 22) : 1;
    list->insert(list->begin() + static_cast<ptrdiff_t>(Throw(dice, list->size() + 1)), copies, copy);
}

// Swaps two neighbours or the contents of two elements far from each other.
void Swap(const std::vector<std::vector<Node> *> &lists, std::vector<Node> *list, size_t place, Dice *dice)
{
    if (Throw(dice, 2) == 0) {
        std::swap((*list)[place], (*list)[Throw(dice, list->size())]);
        return;
    }
    std::vector<Node> *const other = lists[Throw(dice, lists.size())];
    Node &first = (*list)[place];
    Node &second = (*other)[Throw(dice, other->size())];
    if (first.children.empty() && second.children.empty()) {
        std::swap(first, second);
    }
}

void AlterElement(std::vector<Node> *tree, Alteration alteration, Dice *dice)
{
    std::vector<std::vector<Node> *> lists;
    CollectLists(tree, &lists);
    if (lists.empty()) {
        return;
    }
    std::vector<Node> *const list = lists[Throw(dice, lists.size())];
    const size_t place = Throw(dice, list->size());
    switch (alteration) {
    case Alteration::TAG:
        return ChangeTag(&(*list)[place], dice);
    case Alteration::LENGTH:
        return ChangeLength(&(*list)[place], dice);
    case Alteration::CONTENT:
        return ChangeContent(&(*list)[place], dice);
    case Alteration::DELETION:
        list->erase(list->begin() + static_cast<ptrdiff_t>(place));
        return;
    case Alteration::DUPLICATION:
        return Duplicate(list, place, dice);
    default:
        return Swap(lists, list, place, dice);
    }
}

// ---- Alterations of octets -----------------------------------------------------------------------------------------

void AlterOctet(Bytes *octets, Alteration alteration, Dice *dice)
{
    uint8_t &octet = (*octets)[Throw(dice, octets->size())];
    octet = alteration == Alteration::BIT ? static_cast<uint8_t>(octet ^ (1U << Throw(dice, 8))) : AnyOctet(dice);
}

} // namespace

size_t Throw(Dice *dice, size_t limit)
{
    return FuzzBelow(dice, limit);
}

Bytes Alter(const Bytes &encoding, Alteration alteration, Dice *dice)
{
    const size_t times = Throw(dice, 4) == 0 ? 2 : 1;
    if (alteration == Alteration::BIT || alteration == Alteration::OCTET) {
        Bytes altered = encoding;
        for (size_t i = 0; i < times; ++i) {
            AlterOctet(&altered, alteration, dice);
        }
        return altered;
    }
    std::vector<Node> tree;
    if (!Disassemble(encoding, 0, encoding.size(), &tree)) {
        return encoding;
    }
    for (size_t i = 0; i < times; ++i) {
        AlterElement(&tree, alteration, dice);
    }
    return Assemble(tree);
}
