// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "vectors/make_vectors_element.h"

#include <cstdio>
#include <cstdlib>

#include "tests/differential/element.h"

namespace vectors
{
namespace
{
ElementPlace Read(const Bytes &octets, size_t position)
{
    ElementPlace element;
    if (!ReadElement(octets, position, octets.size(), &element)) {
        std::fputs("make_vectors: there is no element at a place\n", stderr);
        std::exit(1);
    }
    return element;
}

// Octets of the content that stand before the elements in it: the count of unused bits.
size_t SkippedOctets(const ElementPlace &element)
{
    return element.identifier == der::BIT_STRING ? 1 : 0;
}

ElementPlace Member(const Bytes &octets, const ElementPlace &parent, size_t index)
{
    ElementPlace member = Read(octets, parent.content + SkippedOctets(parent));
    for (size_t i = 0; i < index; ++i) {
        member = Read(octets, member.end);
    }
    return member;
}
} // namespace

Bytes ElementAt(const Bytes &element, const Place &place)
{
    ElementPlace found = Read(element, 0);
    for (const size_t index : place) {
        found = Member(element, found, index);
    }
    return WholeOf(element, found);
}

Bytes EditAt(const Bytes &element, const Place &place, const Edit &edit)
{
    if (place.empty()) {
        return edit(element);
    }
    const ElementPlace whole = Read(element, 0);
    const ElementPlace member = Member(element, whole, place.front());
    const Bytes edited = EditAt(WholeOf(element, member), Place(place.begin() + 1, place.end()), edit);
    Bytes content(element.begin() + static_cast<ptrdiff_t>(whole.content),
                  element.begin() + static_cast<ptrdiff_t>(member.start));
    content.insert(content.end(), edited.begin(), edited.end());
    content.insert(content.end(), element.begin() + static_cast<ptrdiff_t>(member.end), element.end());
    return der::Tlv(whole.identifier, content);
}

Edit At(Place place, Edit edit)
{
    return [place = std::move(place), edit = std::move(edit)](const Bytes &element) {
        return EditAt(element, place, edit);
    };
}

Bytes ContentOf(const Bytes &element)
{
    return ::ContentOf(element, Read(element, 0));
}
} // namespace vectors
