// Reads elements as liberally as either decoder does: of the indefinite form, of any length and tag.
#ifndef DIFFERENTIAL_ELEMENT_H
#define DIFFERENTIAL_ELEMENT_H

#include <stddef.h>
#include <stdint.h>

#include "tests/support/der_writer.h"

// One element of an input, by positions in it.
struct Element {
    size_t start = 0;   // of the identifier
    size_t header = 0;  // of the length
    size_t content = 0; // of the content
    size_t end = 0;     // of the content
    size_t next = 0;    // behind the element, end-of-contents included
    uint32_t cls = 0;
    uint32_t tag = 0;
    bool constructed = false;
    bool highTag = false;    // the identifier takes more than one octet
    bool indefinite = false; // the length is told by end-of-contents
    size_t lengthOctets = 0; // behind the first length octet
    size_t toldLength = 0;   // as told, whether it fits or not
};

// Reads the identifier and the length at `pos` of input[0, limit), and no content.
bool ReadHeader(const der::Bytes &input, size_t pos, size_t limit, Element *element);

// Reads the element at `pos`, which must end within `limit`.
bool ReadElement(const der::Bytes &input, size_t pos, size_t limit, Element *element);

inline bool IsUniversal(const Element &element, uint32_t tag, bool constructed)
{
    return element.cls == 0 && element.tag == tag && element.constructed == constructed;
}

inline bool IsContext(const Element &element, uint32_t tag)
{
    return element.cls == 2 && element.tag == tag;
}

inline size_t LengthOf(const Element &element)
{
    return element.end - element.content;
}

// The whole element, and its content.
der::Bytes WholeOf(const der::Bytes &input, const Element &element);
der::Bytes ContentOf(const der::Bytes &input, const Element &element);

// The whole element under another identifier octet.
der::Bytes RetaggedOf(const der::Bytes &input, const Element &element, uint8_t identifier);

#endif
