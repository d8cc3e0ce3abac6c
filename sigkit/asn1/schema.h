// The notation of the template tables, for templ_*.cpp only. A row whose item does not fill its field's type, or that is
// out of its record's order, does not compile.
//
// A table is read beside its production: the comment above it is the production's head, and each row is one line, the
// row's name first and behind the row what the RFC says of that name. Then it is told how the row departs from it:
// "Narrowed" is what the RFC allows and the table refuses, "Lenient" the reverse.
//
// RECORD is defined around each table as the record that it fills. Items are named without their `g_itemSigkit`. What
// the rows do not tell again and again:
//   AsnOcts         takes any element, whatever type the RFC names; who uses the view checks its tag where it matters.
//   AsnSeq, AsnSet  are not looked into.
//   AsnBool         is TRUE for the octet FF and FALSE for every other one.
//   AsnInt          has at most four octets where it is kept, any number where it is dropped. Each is a version, and
//                   which version is not looked at.
//   AsnBigint       may be negative, empty, or begin with a zero that DER would not have.
//   AsnBits         may have any count of unused bits, and what stands in them counts.
//   EXPLICIT        compares the length of the wrapper with the input only, not with the element inside.
//   SET OF          may be in any order.
//   a map           skips members that it has no row for, critical or not, and refuses one without a value, known or
//                   not. A member that comes again is decoded into the same field.
#ifndef ASN1_SCHEMA_H
#define ASN1_SCHEMA_H

#include <stddef.h>
#include <stdint.h>

#include <iterator>
#include <type_traits>

#include "asn1/decode.h"
#include "asn1/records.h"
#include "asn1/types.h"

// Tagging of a row.
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

// In a map, the AOID that selects the row.
constexpr InternalAsnTagging MEMBER(uint32_t aoid)
{
    return {aoid, ASN_MODE_UNIVERSAL};
}

// Flags of a row: one of the first three, and what else applies. OPTIONAL and DEFAULT do the same, as an absent member
// leaves its field zero. Every member of a map is OPTIONAL. The element of a SET OF is REQUIRED: one that does not
// decode fails the whole.
inline constexpr uint16_t REQUIRED = 0;
inline constexpr uint16_t OPTIONAL = SIGKIT_ASN_FLAG_OPTIONAL;
inline constexpr uint16_t DEFAULT = SIGKIT_ASN_FLAG_DEFAULT;
inline constexpr uint16_t PEEK = SIGKIT_ASN_FLAG_PEEK;
inline constexpr uint16_t RAW = SIGKIT_ASN_FLAG_RAW;

template <const SigkitAsnItem &Item, typename Field>
constexpr SigkitAsnTemplate InternalAsnRow(size_t offset, InternalAsnTagging tagging, uint16_t flags)
{
    static_assert(std::is_same_v<typename InternalAsnFills<Item>::type, Field>, "field and item disagree");
    return {&Item, tagging.number, tagging.mode, flags, static_cast<uint32_t>(offset), 0};
}

// A member with a field.
#define KEEP(field, Item, tagging, flags)                                                                              \
    InternalAsnRow<g_itemSigkit##Item, decltype(RECORD::field)>(offsetof(RECORD, field), tagging, flags)

// A member that is parsed and not stored. Only items of the slots g_skvAsnFuncOct, g_skvAsnFuncBits and g_skvAsnFuncInt
// can be: the other decode functions refuse to work without a field.
#define DROP(name, Item, tagging, flags)                                                                               \
    SigkitAsnTemplate                                                                                                  \
    {                                                                                                                  \
        &g_itemSigkit##Item, (tagging).number, (tagging).mode,                                                         \
            static_cast<uint16_t>((flags) | SIGKIT_ASN_FLAG_IGNORE), 0, 0                                              \
    }

// The element of a SET OF whose record is `Record`: up to `Max` of `Item` in its `items`, counted in its `count`.
template <typename Record, const SigkitAsnItem &Item, uint32_t Max>
constexpr SigkitAsnTemplate InternalAsnElement(uint16_t flags)
{
    using Element = std::remove_extent_t<decltype(Record::items)>;
    static_assert(std::is_same_v<typename InternalAsnFills<Item>::type, Element>, "element and item disagree");
    static_assert(Max <= std::extent_v<decltype(Record::items)>, "the array holds what is accepted");
    static_assert(offsetof(Record, items) == offsetof(Record, count) + SIGKIT_ASN_ARRAY_OFFSET, "where elements go");
    return {&Item, 0, ASN_MODE_UNIVERSAL, flags, static_cast<uint32_t>(offsetof(Record, count)), Max};
}

#define ELEMENT(Item, max, flags) InternalAsnElement<RECORD, g_itemSigkit##Item, max>(flags)

// Rows of a SEQUENCE or a map stand in the order of their record's fields.
template <size_t Count>
constexpr bool InternalAsnInOrder(const SigkitAsnTemplate (&rows)[Count])
{
    int64_t last = -1;
    for (const SigkitAsnTemplate &row : rows) {
        if ((row.flags & SIGKIT_ASN_FLAG_IGNORE) != 0) {
            continue;
        }
        if (static_cast<int64_t>(row.offset) <= last) {
            return false;
        }
        last = row.offset;
    }
    return true;
}

// Items of types with a template, over the template of the same name.
#define TEMPLATE_ITEM(Name, slot, constructed, tag)                                                                    \
    constexpr SigkitAsnItem g_itemSigkit##Name = {g_templSigkit##Name,                                                 \
                                                  &(slot),                                                             \
                                                  ASN_CLASS_UNIVERSAL,                                                 \
                                                  constructed,                                                         \
                                                  tag,                                                                 \
                                                  std::size(g_templSigkit##Name),                                      \
                                                  sizeof(InternalAsnFills<g_itemSigkit##Name>::type)}

#define RECORD_ITEM(Name, slot, constructed, tag)                                                                      \
    static_assert(InternalAsnInOrder(g_templSigkit##Name), "rows follow the record's field order");                    \
    TEMPLATE_ITEM(Name, slot, constructed, tag)

#define SEQUENCE_ITEM(Name) RECORD_ITEM(Name, g_skvAsnFuncSeq, 1, ASN_TAG_SEQUENCE)

// A BIT STRING that holds the members of the template, behind the octet that counts unused bits.
#define BIT_STRING_ITEM(Name) RECORD_ITEM(Name, g_skvAsnFuncSeq, 0, ASN_TAG_BIT_STRING)

// A list of extensions or attributes, as SEQUENCE OF or SET OF.
#define MAP_ITEM(Name, tag) RECORD_ITEM(Name, g_skvAsnFuncMap, 1, tag)

#define SEQUENCE_OF_ITEM(Name) TEMPLATE_ITEM(Name, g_skvAsnFuncSetOf, 1, ASN_TAG_SEQUENCE)
#define SET_OF_ITEM(Name) TEMPLATE_ITEM(Name, g_skvAsnFuncSetOf, 1, ASN_TAG_SET)

#define PRIMITIVE_ITEM(Name, slot, cls, constructed, tag)                                                              \
    constexpr SigkitAsnItem g_itemSigkit##Name = {                                                                     \
        nullptr, &(slot), cls, constructed, tag, 0, sizeof(InternalAsnFills<g_itemSigkit##Name>::type)}

#endif
