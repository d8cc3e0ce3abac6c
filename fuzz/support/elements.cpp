// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "fuzz/support/elements.h"

namespace
{

constexpr uint8_t INTEGER = 0x02;
constexpr uint8_t TAG_NUMBER = 0x1F;
constexpr uint8_t LONG_FORM = 0x80;
constexpr size_t MAX_LENGTH_OCTETS = 4;

} // namespace

bool ElementRead(const uint8_t *data, size_t size, Element *out)
{
    if (size < 2) {
        return false;
    }
    size_t header = 2;
    size_t length = data[1];
    if ((data[1] & LONG_FORM) != 0) {
        const size_t octets = data[1] & ~LONG_FORM & 0xFFu;
        if (octets == 0 || octets > MAX_LENGTH_OCTETS || size < 2 + octets) {
            return false;
        }
        length = 0;
        for (size_t i = 0; i < octets; ++i) {
            length = (length << 8) | data[2 + i];
        }
        header += octets;
    }
    if (length > size - header) {
        return false;
    }
    *out = {data[0], data, data + header, length};
    return true;
}

bool ElementChildren(const Element &element, std::vector<Element> *out)
{
    out->clear();
    for (size_t at = 0; at < element.length;) {
        Element child;
        if (!ElementRead(element.content + at, element.length - at, &child)) {
            return false;
        }
        out->push_back(child);
        at = static_cast<size_t>(child.content + child.length - element.content);
    }
    return true;
}

forge::Bytes ElementContent(const Element &element)
{
    return forge::Bytes(element.content, element.content + element.length);
}

forge::Bytes ElementEncoding(const Element &element)
{
    return forge::Bytes(element.begin, element.content + element.length);
}

forge::Bytes ElementValue(const Element &element)
{
    forge::Bytes content = ElementContent(element);
    if ((element.identifier & TAG_NUMBER) == INTEGER && !content.empty() && content.front() == 0) {
        content.erase(content.begin());
    }
    return content;
}
