// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The decoder's vocabulary: the view that every byte field becomes, and the tables that describe an ASN.1 type.
#ifndef ASN1_TYPES_H
#define ASN1_TYPES_H

#include <stdint.h>

// ---- Views ---------------------------------------------------------------------------------------------------------

// The content of one decoded element, or its whole encoding where it was captured raw. It owns nothing: the input must
// outlive it.
//
// All zero when the element is absent, and when it is empty: `data` is null for both. Two empty ones keep their class
// and tag, though: a BIT STRING without a bit, and an element that was looked ahead at under an IMPLICIT tag. The
// INTEGER 0 is not empty: its one octet, a zero, is dropped, so `len` is 0 and `data` is set.
struct SigkitAsnOcts {
    uint32_t len;         // octets at `data`
    uint32_t cls;         // tag class of the element
    uint32_t constructed; // 0 or 1
    uint32_t tag;         // tag number
    const uint8_t *data;
};

// Tag classes and universal tag numbers (X.690, 8.1.2; X.680, table 1).
enum : uint32_t {
    ASN_CLASS_UNIVERSAL = 0,
    ASN_CLASS_CONTEXT = 2,

    ASN_TAG_BOOLEAN = 1,
    ASN_TAG_INTEGER = 2,
    ASN_TAG_BIT_STRING = 3,
    ASN_TAG_OBJECT_IDENTIFIER = 6,
    ASN_TAG_ENUMERATED = 10,
    ASN_TAG_SEQUENCE = 16,
    ASN_TAG_SET = 17,
    ASN_TAG_UTC_TIME = 23,
    ASN_TAG_GENERALIZED_TIME = 24,
    ASN_TAG_MAX = 30, // the greatest that one identifier octet holds
};

// ---- Tables --------------------------------------------------------------------------------------------------------

struct SigkitDecodeBuf;
struct SigkitAsnTemplate;

// Decodes one element.
//
//   buf       in/out, the cursor; behind the element afterwards (before it for a look-ahead), or where it was after a
//             failure.
//   out       out, the field to fill, zeroed by the caller. May be null where `entry` says SIGKIT_ASN_FLAG_IGNORE and
//             the function is SigkitDecodeOctet, SigkitDecodeBits or SigkitDecodeInt, which then read and discard. The
//             others know no such flag: null is SIGKIT_ERR_PARAM.
//   consumed  out, octets that the element took (0 for a look-ahead). Not written on failure, except by
//             SigkitBitsToInt when the BIT STRING was read and is of no use.
//   entry     in, the template entry that describes the field.
//
// Returns SIGKIT_OK or a decoding code.
using SigkitAsnDecodeFunc = uint32_t (*)(SigkitDecodeBuf *buf, void *out, uint32_t *consumed,
                                         const SigkitAsnTemplate *entry);

// Expected class or constructed flag: any.
inline constexpr uint32_t SIGKIT_ASN_ANY = 0xFFFFFFFE;

// Expected tag number: any. And: none known. Both lie beyond the 0 to 30 that an identifier octet can hold.
inline constexpr uint32_t SIGKIT_ASN_TAG_ANY = 100;
inline constexpr uint32_t SIGKIT_ASN_TAG_NONE = 101;

// How one ASN.1 type is recognised and decoded.
struct SigkitAsnItem {
    const SigkitAsnTemplate *templ;    // members; null for a primitive type
    const SigkitAsnDecodeFunc *decode; // slot that holds the decode function; why a slot: decode.h
    uint32_t cls;                      // class, or SIGKIT_ASN_ANY
    uint32_t constructed;              // 0, 1 or SIGKIT_ASN_ANY
    uint32_t tag;                      // universal tag number, or SIGKIT_ASN_TAG_ANY
    uint32_t count;                    // entries at `templ`; 1 for a SET OF
    uint32_t recordSize;               // octets of the record that the type decodes into
};

// Tagging of a member (X.680, 31.2).
enum : uint16_t { ASN_MODE_UNIVERSAL = 0, ASN_MODE_EXPLICIT = 1, ASN_MODE_IMPLICIT = 2 };

// Flags of a member.
enum : uint16_t {
    SIGKIT_ASN_FLAG_OPTIONAL = 0x01, // may be absent
    SIGKIT_ASN_FLAG_PEEK = 0x02,     // captured without being consumed: the next member reads it again
    SIGKIT_ASN_FLAG_RAW = 0x04,      // captured whole, identifier and length included
    SIGKIT_ASN_FLAG_DEFAULT = 0x10,  // may be absent, which leaves the field zero
    SIGKIT_ASN_FLAG_IGNORE = 0x20,   // parsed and dropped, by the functions that can (see SigkitAsnDecodeFunc)
};

// In the record of a SET OF, octets from the position of the count to the first element, which begins with a view or is
// one: where a compiler puts a field that is aligned as pointers are.
inline constexpr uint32_t SIGKIT_ASN_ARRAY_OFFSET = sizeof(void *);

// One member of a SEQUENCE, the element of a SET OF, or one known member of a map.
struct SigkitAsnTemplate {
    const SigkitAsnItem *item;
    uint32_t tagNo;    // context-specific tag number; in a map the AOID of the member
    uint16_t mode;     // one of the tagging modes
    uint16_t flags;    // sum of the flags
    uint32_t offset;   // position of the field in its record; of the count for a SET OF
    uint32_t maxCount; // SET OF: the greatest number of elements accepted
};

#endif
