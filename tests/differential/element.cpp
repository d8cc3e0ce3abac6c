#include "tests/differential/element.h"

using der::Bytes;

namespace
{

constexpr size_t MAX_NESTING = 30;
constexpr size_t MAX_NUMBER = 0x7FFFFFFF;

bool ReadIdentifier(const Bytes &input, size_t limit, size_t *pos, Element *element)
{
    if (*pos >= limit) {
        return false;
    }
    const uint8_t octet = input[(*pos)++];
    element->cls = octet >> 6;
    element->constructed = (octet & 0x20) != 0;
    element->tag = octet & 0x1F;
    element->highTag = element->tag == 0x1F;
    if (!element->highTag) {
        return true;
    }
    size_t number = 0;
    for (;;) {
        if (*pos >= limit || number > (MAX_NUMBER >> 7)) {
            return false;
        }
        number = (number << 7) | (input[*pos] & 0x7FU);
        if ((input[(*pos)++] & 0x80) == 0) {
            break;
        }
    }
    element->tag = static_cast<uint32_t>(number);
    return true;
}

bool ReadLength(const Bytes &input, size_t limit, size_t *pos, Element *element)
{
    if (*pos >= limit) {
        return false;
    }
    const uint8_t octet = input[(*pos)++];
    element->toldLength = octet;
    if ((octet & 0x80) == 0) {
        return true;
    }
    element->lengthOctets = octet & 0x7F;
    element->indefinite = element->lengthOctets == 0;
    if (element->indefinite) {
        element->toldLength = 0;
        return element->constructed;
    }
    if (limit - *pos < element->lengthOctets) {
        return false;
    }
    element->toldLength = 0;
    for (size_t i = 0; i < element->lengthOctets; ++i) {
        if (element->toldLength > MAX_NUMBER) {
            return false;
        }
        element->toldLength = (element->toldLength << 8) | input[(*pos)++];
    }
    return true;
}

bool ReadNested(const Bytes &input, size_t pos, size_t limit, size_t depth, Element *element);

// Looks for the end-of-contents of an element of the indefinite form.
bool FindEnd(const Bytes &input, size_t limit, size_t depth, Element *element)
{
    size_t pos = element->content;
    while (limit - pos >= 2 && (input[pos] != 0 || input[pos + 1] != 0)) {
        Element child;
        if (depth == MAX_NESTING || !ReadNested(input, pos, limit, depth + 1, &child)) {
            return false;
        }
        pos = child.next;
    }
    if (limit - pos < 2) {
        return false;
    }
    element->end = pos;
    element->next = pos + 2;
    return true;
}

bool ReadNested(const Bytes &input, size_t pos, size_t limit, size_t depth, Element *element)
{
    if (!ReadHeader(input, pos, limit, element)) {
        return false;
    }
    if (element->indefinite) {
        return FindEnd(input, limit, depth, element);
    }
    if (element->toldLength > limit - element->content) {
        return false;
    }
    element->end = element->next = element->content + element->toldLength;
    return true;
}

Bytes Cut(const Bytes &input, size_t from, size_t to)
{
    return Bytes(input.begin() + static_cast<ptrdiff_t>(from), input.begin() + static_cast<ptrdiff_t>(to));
}

} // namespace

bool ReadHeader(const Bytes &input, size_t pos, size_t limit, Element *element)
{
    *element = Element();
    element->start = pos;
    if (!ReadIdentifier(input, limit, &pos, element)) {
        return false;
    }
    element->header = pos;
    if (!ReadLength(input, limit, &pos, element)) {
        return false;
    }
    element->content = element->end = element->next = pos;
    return true;
}

bool ReadElement(const Bytes &input, size_t pos, size_t limit, Element *element)
{
    return ReadNested(input, pos, limit, 0, element);
}

Bytes WholeOf(const Bytes &input, const Element &element)
{
    return Cut(input, element.start, element.next);
}

Bytes ContentOf(const Bytes &input, const Element &element)
{
    return Cut(input, element.content, element.end);
}

Bytes RetaggedOf(const Bytes &input, const Element &element, uint8_t identifier)
{
    Bytes whole = Cut(input, element.header, element.next);
    whole.insert(whole.begin(), identifier);
    return whole;
}
