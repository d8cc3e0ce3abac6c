// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The notation of the template tables, for templ_*.cpp only. What holds once it compiles:
//   a row    Its field lies in the table's record and has the type that its item fills; its flags and its tagging are
//            ones that the item's decode function obeys. What is dropped has no field.
//   a table  Its record is the one that its item fills. Its rows are those that records.h names, in that order, and the
//            fields of the record stand in the same order. No context-specific tag and no AOID comes twice. What is
//            captured ahead of a member is read by the next row.
//   a list   Its element is the one of the record's array, which has space for as many as are accepted: one at least.
//   an item  Its identifier is one that its decode function reads.
// What no compiler checks: that records.h and the rows name the members of the RFC's production with their types, and
// that an element is not read as a member that is absent before it (tests/asn1/schema_test.cpp).
// tests/check_wrong_rows.py tries wrong rows out.
//
// A table is read beside its production: the comment above it is the production's head, and each row is one line, the
// row's name first and behind the row what the RFC says of that name. Then comes how the row departs from it:
// "Narrowed" is what the RFC allows and the table refuses, "Widened" the reverse, "Skipped" what is decoded and never
// looked at, as is all that is dropped. An item departs on its own row, at the head of templ_cert.cpp.
//
// RECORD is defined around each table as the record that it fills. Items are named without their `g_itemSigkit`. What
// holds wherever a row has the word, and is not said there:
//   EXPLICIT     Widened: the wrapper's length is compared with the input alone, not with the element inside.
//   DEFAULT      Widened: the default value may be encoded (X.690, 11.5).
//   SET OF       Widened: the elements may stand in any order (X.690, 11.6).
//   EXTENSIONS,  Widened: members without a row are skipped, critical or not (RFC 5280, 4.2); a member that comes again
//   ATTRIBUTES   is decoded into the same field; octets behind the value are left alone, and so are an attribute's
//                further values. Narrowed: a member without a value is refused, with a row or without.
#ifndef ASN1_SCHEMA_H
#define ASN1_SCHEMA_H

#include <stddef.h>
#include <stdint.h>

#include <type_traits>

#include "asn1/decode.h"
#include "asn1/records.h"
#include "asn1/types.h"

// ---- Tagging and flags of a row ------------------------------------------------------------------------------------

struct InternalAsnTagging {
    uint32_t number;
    uint16_t mode;
};

inline constexpr InternalAsnTagging UNIVERSAL = {0, ASN_MODE_UNIVERSAL};

constexpr InternalAsnTagging EXPLICIT(uint32_t number)
{
    return {number, ASN_MODE_EXPLICIT};
}

constexpr InternalAsnTagging IMPLICIT(uint32_t number)
{
    return {number, ASN_MODE_IMPLICIT};
}

// Among extensions and attributes, the AOID that selects the row.
constexpr InternalAsnTagging MEMBER(uint32_t aoid)
{
    return {aoid, ASN_MODE_UNIVERSAL};
}

// One of the first three, and what else applies. OPTIONAL and DEFAULT do the same, as an absent member leaves its field
// zero.
inline constexpr uint16_t REQUIRED = 0;
inline constexpr uint16_t OPTIONAL = SIGKIT_ASN_FLAG_OPTIONAL;
inline constexpr uint16_t DEFAULT = SIGKIT_ASN_FLAG_DEFAULT;
inline constexpr uint16_t PEEK = SIGKIT_ASN_FLAG_PEEK;
inline constexpr uint16_t RAW = SIGKIT_ASN_FLAG_RAW;

// ---- Rows ----------------------------------------------------------------------------------------------------------

// A row with its place among the rows of its record.
struct InternalAsnRow {
    uint32_t place;
    SigkitAsnTemplate entry;

    constexpr operator SigkitAsnTemplate() const
    {
        return entry;
    }
};

constexpr bool InternalAsnHas(const SigkitAsnTemplate &entry, uint16_t flag)
{
    return (entry.flags & flag) != 0;
}

template <const SigkitAsnItem &Item, InternalAsnTagging Tagging, uint16_t Flags>
constexpr SigkitAsnTemplate InternalAsnEntry(size_t offset, uint32_t maxCount)
{
    using Fills = InternalAsnFills<Item>;
    constexpr uint16_t absence = OPTIONAL | DEFAULT;
    static_assert((Flags & absence) != absence, "a member is OPTIONAL or has a DEFAULT");
    static_assert((Flags & ~absence & ~Fills::FLAGS) == 0, "the item's decode function does not obey a flag");
    static_assert(Tagging.mode != ASN_MODE_IMPLICIT || Fills::READS_IMPLICIT, "the item is not read under IMPLICIT");
    static_assert(Tagging.mode != ASN_MODE_EXPLICIT || (Flags & PEEK) == 0, "PEEK does not go back before a wrapper");
    static_assert(Tagging.mode == ASN_MODE_UNIVERSAL || Tagging.number <= ASN_TAG_MAX, "an identifier is one octet");
    return {&Item, Tagging.number, Tagging.mode, Flags, static_cast<uint32_t>(offset), maxCount};
}

template <typename Field, const SigkitAsnItem &Item, InternalAsnTagging Tagging, uint16_t Flags>
constexpr InternalAsnRow InternalAsnKept(uint32_t place, size_t offset)
{
    static_assert(std::is_same_v<typename InternalAsnFills<Item>::type, Field>, "field and item disagree");
    static_assert((Flags & SIGKIT_ASN_FLAG_IGNORE) == 0, "what is kept is not dropped");
    return {place, InternalAsnEntry<Item, Tagging, Flags>(offset, 0)};
}

template <bool HasField, const SigkitAsnItem &Item, InternalAsnTagging Tagging, uint16_t Flags>
constexpr InternalAsnRow InternalAsnDropped(uint32_t place)
{
    static_assert(!HasField, "what is dropped has no field");
    static_assert((Flags & (PEEK | RAW)) == 0, "what is dropped is not captured");
    return {place, InternalAsnEntry<Item, Tagging, Flags | SIGKIT_ASN_FLAG_IGNORE>(0, 0)};
}

// A member with a field.
#define KEEP(field, Item, tagging, flags)                                                                              \
    InternalAsnKept<decltype(RECORD::field), g_itemSigkit##Item, tagging, (flags)>(InternalAsnRowsOf<RECORD>::field,   \
                                                                                   offsetof(RECORD, field))

// A member that is parsed and not stored.
#define DROP(name, Item, tagging, flags)                                                                               \
    InternalAsnDropped<INTERNAL_HAS_FIELD(name), g_itemSigkit##Item, tagging, (flags)>(InternalAsnRowsOf<RECORD>::name)

#define INTERNAL_HAS_FIELD(name)                                                                                       \
    ([]<typename Record>(const Record *) {                                                                             \
        return requires(Record record)                                                                                 \
        {                                                                                                              \
            record.name;                                                                                               \
        };                                                                                                             \
    }(static_cast<RECORD *>(nullptr)))

// The element of a list whose record is `Record`: up to `Max` of `Item` in its `items`, counted in its `count`.
template <typename Record, const SigkitAsnItem &Item, uint32_t Max, uint16_t Flags>
constexpr SigkitAsnTemplate InternalAsnElement()
{
    using ArrayElement = std::remove_extent_t<decltype(Record::items)>;
    static_assert(std::is_same_v<decltype(Record::count), uint32_t>, "the count has 32 bits");
    static_assert(std::is_same_v<typename InternalAsnFills<Item>::type, ArrayElement>, "element and item disagree");
    static_assert(Max >= 1, "a list that accepts nothing");
    static_assert(Max <= std::extent_v<decltype(Record::items)>, "the array holds what is accepted");
    static_assert(offsetof(Record, items) == offsetof(Record, count) + SIGKIT_ASN_ARRAY_OFFSET, "where elements go");
    static_assert((Flags & ~RAW) == 0, "an element is REQUIRED, or REQUIRED | RAW");
    return InternalAsnEntry<Item, UNIVERSAL, Flags>(offsetof(Record, count), Max);
}

// The element of a list. One that does not decode fails the whole.
#define ELEMENT(Item, max, flags) InternalAsnElement<RECORD, g_itemSigkit##Item, max, (flags)>()

// ---- What rows must be to each other -------------------------------------------------------------------------------

template <size_t Count>
constexpr bool InternalAsnFollowProduction(const InternalAsnRow (&rows)[Count], uint32_t count)
{
    for (uint32_t i = 0; i < Count; ++i) {
        if (rows[i].place != i) {
            return false;
        }
    }
    return Count == count;
}

template <size_t Count>
constexpr bool InternalAsnFollowFields(const InternalAsnRow (&rows)[Count])
{
    uint32_t next = 0;
    for (const SigkitAsnTemplate row : rows) {
        if (InternalAsnHas(row, SIGKIT_ASN_FLAG_IGNORE)) {
            continue;
        }
        if (row.offset < next) {
            return false;
        }
        next = row.offset + 1;
    }
    return true;
}

// Whether `next` reads what `row` looks ahead at.
constexpr bool InternalAsnReadsAgain(const SigkitAsnTemplate &row, const SigkitAsnTemplate &next)
{
    return row.mode == next.mode && row.tagNo == next.tagNo && !InternalAsnHas(next, PEEK) &&
           InternalAsnHas(row, OPTIONAL | DEFAULT) == InternalAsnHas(next, OPTIONAL | DEFAULT);
}

template <size_t Count>
constexpr bool InternalAsnReadWhatIsAhead(const InternalAsnRow (&rows)[Count])
{
    for (size_t i = 0; i < Count; ++i) {
        if (InternalAsnHas(rows[i], PEEK) && (i + 1 == Count || !InternalAsnReadsAgain(rows[i], rows[i + 1]))) {
            return false;
        }
    }
    return true;
}

// Rows of a SEQUENCE have no AOID, and no context-specific tag twice but where one is looked ahead at.
template <size_t Count>
constexpr bool InternalAsnHaveTags(const InternalAsnRow (&rows)[Count])
{
    uint32_t used = 0;
    bool isAhead = false;
    for (const SigkitAsnTemplate row : rows) {
        if (row.mode == ASN_MODE_UNIVERSAL && row.tagNo != 0) {
            return false;
        }
        const uint32_t tag = row.mode == ASN_MODE_UNIVERSAL ? 0 : InternalAsnTagBit(row.tagNo);
        if ((used & tag) != 0 && !isAhead) {
            return false;
        }
        used |= tag;
        isAhead = InternalAsnHas(row, PEEK);
    }
    return true;
}

// Extensions and attributes are all OPTIONAL, found by an AOID of their own, and none is dropped or looked ahead at.
template <size_t Count>
constexpr bool InternalAsnHaveAoids(const InternalAsnRow (&rows)[Count])
{
    for (size_t i = 0; i < Count; ++i) {
        const SigkitAsnTemplate row = rows[i];
        if (row.mode != ASN_MODE_UNIVERSAL || row.tagNo == 0 || (row.flags & ~RAW) != OPTIONAL) {
            return false;
        }
        for (size_t j = 0; j < i; ++j) {
            if (rows[j].entry.tagNo == row.tagNo) {
                return false;
            }
        }
    }
    return true;
}

// ---- Tables and items ----------------------------------------------------------------------------------------------

// clang-format off
#define INTERNAL_TEMPLATE_ITEM(Name, slot, constructed, tag, ...)                                                      \
    static_assert(std::is_same_v<RECORD, Sigkit##Name>, "RECORD is what the item fills");                              \
    constexpr SigkitAsnTemplate g_templSigkit##Name[] = {__VA_ARGS__};                                                 \
    constexpr SigkitAsnItem g_itemSigkit##Name = {                                                                     \
        g_templSigkit##Name,                                                                                           \
        &(slot),                                                                                                       \
        ASN_CLASS_UNIVERSAL,                                                                                           \
        constructed,                                                                                                   \
        tag,                                                                                                           \
        sizeof(g_templSigkit##Name) / sizeof(g_templSigkit##Name[0]),                                                  \
        sizeof(Sigkit##Name),                                                                                          \
    }
// clang-format on

#define INTERNAL_RECORD_ITEM(Name, slot, constructed, tag, ...)                                                        \
    constexpr InternalAsnRow g_rowsSigkit##Name[] = {__VA_ARGS__};                                                     \
    static_assert(InternalAsnFollowProduction(g_rowsSigkit##Name, InternalAsnRowsOf<RECORD>::COUNT),                   \
                  "rows are those of records.h, in that order");                                                       \
    static_assert(InternalAsnFollowFields(g_rowsSigkit##Name), "rows follow the record's field order");                \
    INTERNAL_TEMPLATE_ITEM(Name, slot, constructed, tag, __VA_ARGS__)

#define INTERNAL_SEQUENCE_ITEM(Name, constructed, tag, ...)                                                            \
    INTERNAL_RECORD_ITEM(Name, g_skvAsnFuncSeq, constructed, tag, __VA_ARGS__);                                        \
    static_assert(InternalAsnReadWhatIsAhead(g_rowsSigkit##Name), "the row behind a PEEK reads the same element");     \
    static_assert(InternalAsnHaveTags(g_rowsSigkit##Name), "a row has an AOID, or the tag of another row")

#define INTERNAL_MAP_ITEM(Name, tag, ...)                                                                              \
    INTERNAL_RECORD_ITEM(Name, g_skvAsnFuncMap, 1, tag, __VA_ARGS__);                                                  \
    static_assert(InternalAsnHaveAoids(g_rowsSigkit##Name), "a row is not just OPTIONAL, or has no AOID of its own")

#define SEQUENCE(Name, ...) INTERNAL_SEQUENCE_ITEM(Name, 1, ASN_TAG_SEQUENCE, __VA_ARGS__)

// A BIT STRING that holds the members, behind the octet that counts unused bits.
#define BIT_STRING(Name, ...) INTERNAL_SEQUENCE_ITEM(Name, 0, ASN_TAG_BIT_STRING, __VA_ARGS__)

// Lists whose members are found by their object identifiers: SEQUENCE OF Extension, SET OF Attribute.
#define EXTENSIONS(Name, ...) INTERNAL_MAP_ITEM(Name, ASN_TAG_SEQUENCE, __VA_ARGS__)
#define ATTRIBUTES(Name, ...) INTERNAL_MAP_ITEM(Name, ASN_TAG_SET, __VA_ARGS__)

#define INTERNAL_LIST_ITEM(Name, tag, ...)                                                                             \
    INTERNAL_TEMPLATE_ITEM(Name, g_skvAsnFuncSetOf, 1, tag, __VA_ARGS__);                                              \
    static_assert(std::extent_v<decltype(g_templSigkit##Name)> == 1, "a list has one row")

#define SEQUENCE_OF(Name, ...) INTERNAL_LIST_ITEM(Name, ASN_TAG_SEQUENCE, __VA_ARGS__)
#define SET_OF(Name, ...) INTERNAL_LIST_ITEM(Name, ASN_TAG_SET, __VA_ARGS__)

// Whether a primitive type's decode function, which `Fills` describes, reads elements with this identifier.
template <typename Fills>
constexpr bool InternalAsnReads(uint32_t cls, uint32_t constructed, uint32_t tag)
{
    if (tag == SIGKIT_ASN_TAG_ANY) {
        return Fills::TAGS == ASN_TAGS_VIEW && cls == SIGKIT_ASN_ANY && constructed == SIGKIT_ASN_ANY;
    }
    const uint32_t form = tag == ASN_TAG_SEQUENCE || tag == ASN_TAG_SET ? 1 : 0;
    return cls == ASN_CLASS_UNIVERSAL && constructed == form && tag >= ASN_TAG_BOOLEAN && tag <= ASN_TAG_MAX &&
           (Fills::TAGS & InternalAsnTagBit(tag)) != 0;
}

// clang-format off
#define PRIMITIVE(Name, cls, constructed, tag)                                                                         \
    static_assert(InternalAsnReads<InternalAsnFills<g_itemSigkit##Name>>(cls, constructed, tag),                       \
                  "the item's decode function does not read such an element");                                         \
    constexpr SigkitAsnItem g_itemSigkit##Name = {                                                                     \
        nullptr,                                                                                                       \
        InternalAsnFills<g_itemSigkit##Name>::SLOT,                                                                    \
        cls,                                                                                                           \
        constructed,                                                                                                   \
        tag,                                                                                                           \
        0,                                                                                                             \
        sizeof(InternalAsnFills<g_itemSigkit##Name>::type),                                                            \
    }
// clang-format on

#endif
