// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/replay/alterations.h"

#include <stdlib.h>
#include <string.h>

namespace
{

constexpr uint32_t RANGE_MAX = 32;    // octets that are cut out or doubled at a time
constexpr uint8_t CONSTRUCTED = 0x20; // in an identifier octet (X.690, 8.1.2.5)
constexpr uint8_t LONG_FORM = 0x80;   // in the first octet of a length (X.690, 8.1.3.5)
constexpr size_t LENGTH_OCTETS_MAX = 4;

// Octets that mean something in DER: boolean values, ends of the forms of length, common tags.
constexpr uint8_t TELLING[] = {0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x0A, 0x17, 0x18,
                               0x30, 0x31, 0x7F, 0x80, 0x81, 0x82, 0x84, 0xA0, 0xA1, 0xFF};

// Where an element lies in octets.
struct Element {
    size_t at;
    size_t content;
    size_t end;
};

// False where octets from `at` up to `end` do not begin with a whole element.
bool ReadElement(const uint8_t *data, size_t at, size_t end, Element *element)
{
    if (end - at < 2) {
        return false;
    }
    const size_t octets = (data[at + 1] & LONG_FORM) == 0 ? 0 : data[at + 1] & ~LONG_FORM;
    size_t length = octets == 0 ? data[at + 1] : 0;
    if (octets > LENGTH_OCTETS_MAX || end - at - 2 < octets) {
        return false;
    }
    for (size_t i = 0; i < octets; ++i) {
        length = length << 8 | data[at + 2 + i];
    }
    const size_t content = at + 2 + octets;
    *element = {at, content, content + length};
    return length <= end - content;
}

// One of the elements that stand side by side, each as likely as the others. False where there is none.
bool DrawElement(const uint8_t *data, size_t at, size_t end, uint64_t *state, Element *drawn)
{
    uint32_t count = 0;
    Element element = {};
    for (; at < end && ReadElement(data, at, end, &element); at = element.end) {
        if (Draw(state, ++count) == 0) {
            *drawn = element;
        }
    }
    return count > 0;
}

// Where to alter: the identifier, the length or the first content octet of some element of DER, however deep it lies,
// so that short ones are found as easily as keys and signatures; anywhere in other octets.
uint32_t DrawPlace(const Octets &octets, uint64_t *state)
{
    const uint32_t size = static_cast<uint32_t>(octets.size);
    Element element = {};
    if (Draw(state, 4) == 0 || !DrawElement(octets.data, 0, octets.size, state, &element)) {
        return Draw(state, size);
    }
    Element inner = element;
    while ((octets.data[element.at] & CONSTRUCTED) != 0 && Draw(state, 8) != 0 &&
           DrawElement(octets.data, element.content, element.end, state, &inner)) {
        element = inner;
    }
    const size_t places[] = {element.at, element.content - 1, element.content, element.content};
    const size_t place = places[Draw(state, sizeof(places) / sizeof(places[0]))];
    return place < size ? static_cast<uint32_t>(place) : size - 1;
}

void AlterOctet(uint8_t *octet, uint64_t *state)
{
    switch (Draw(state, 3)) {
    case 0:
        *octet = static_cast<uint8_t>(*octet ^ 1u << Draw(state, 8));
        break;
    case 1:
        *octet = TELLING[Draw(state, sizeof(TELLING))];
        break;
    default:
        *octet = static_cast<uint8_t>(*octet + (Draw(state, 2) == 0 ? 1u : 0xFFu));
        break;
    }
}

// Puts another copy of a range behind it.
void Double(Octets *octets, size_t at, size_t range)
{
    memmove(octets->data + at + range, octets->data + at, octets->size - at);
    octets->size += range;
}

void CutOut(Octets *octets, size_t at, size_t range)
{
    memmove(octets->data + at, octets->data + at + range, octets->size - at - range);
    octets->size -= range;
}

} // namespace

uint32_t Draw(uint64_t *state, uint32_t limit)
{
    *state += 0x9e3779b97f4a7c15;
    uint64_t mixed = *state;
    mixed = (mixed ^ mixed >> 30) * 0xbf58476d1ce4e5b9;
    mixed = (mixed ^ mixed >> 27) * 0x94d049bb133111eb;
    return static_cast<uint32_t>((mixed ^ mixed >> 31) >> 32) % limit;
}

Octets Alter(const Octets &octets, uint64_t *state)
{
    Octets altered = {static_cast<uint8_t *>(malloc(octets.size + RANGE_MAX + 1)), octets.size};
    if (altered.data == nullptr) {
        abort();
    }
    if (octets.size == 0) {
        altered.data[altered.size++] = static_cast<uint8_t>(Draw(state, 256));
        return altered;
    }
    memcpy(altered.data, octets.data, octets.size);
    const uint32_t size = static_cast<uint32_t>(octets.size);
    const uint32_t at = DrawPlace(octets, state);
    const uint32_t range = 1 + Draw(state, size - at < RANGE_MAX ? size - at : RANGE_MAX);
    switch (Draw(state, 8)) {
    case 0:
        CutOut(&altered, at, range);
        break;
    case 1:
        Double(&altered, at, range);
        break;
    case 2:
        altered.size = at;
        break;
    default: // most structures survive this alone
        AlterOctet(altered.data + at, state);
        break;
    }
    return altered;
}
