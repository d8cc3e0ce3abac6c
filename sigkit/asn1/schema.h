// The notation of the template tables, for templ_*.cpp only. A row whose item does not fill its field's type, or that is
// out of its record's order, does not compile.
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

// Flags of a row. A map never misses a member, so there the first two mean the same as OPTIONAL.
inline constexpr uint16_t REQUIRED = 0;
inline constexpr uint16_t PLAIN = 0;
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
#define KEEP(Record, field, item, tagging, flags)                                                                      \
    InternalAsnRow<item, decltype(Record::field)>(offsetof(Record, field), tagging, flags)

// A member that is parsed and not stored.
#define DROP(name, item, tagging, flags)                                                                               \
    SigkitAsnTemplate                                                                                                  \
    {                                                                                                                  \
        &item, (tagging).number, (tagging).mode, static_cast<uint16_t>((flags) | SIGKIT_ASN_FLAG_IGNORE), 0, 0         \
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

#define ELEMENT(Record, item, max, flags) InternalAsnElement<Record, item, max>(flags)

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

// Items of constructed types, over the template of the same name.
#define CONSTRUCTED_ITEM(Name, slot, tag, constructed)                                                                 \
    constexpr SigkitAsnItem g_item##Name = {g_templ##Name,                                                             \
                                            &(slot),                                                                   \
                                            ASN_CLASS_UNIVERSAL,                                                       \
                                            constructed,                                                               \
                                            tag,                                                                       \
                                            std::size(g_templ##Name),                                                  \
                                            sizeof(InternalAsnFills<g_item##Name>::type)}

#define SEQUENCE_ITEM(Name)                                                                                            \
    static_assert(InternalAsnInOrder(g_templ##Name), "rows follow the record's field order");                          \
    CONSTRUCTED_ITEM(Name, g_skvAsnFuncSeq, ASN_TAG_SEQUENCE, 1)

#define MAP_ITEM(Name, tag)                                                                                            \
    static_assert(InternalAsnInOrder(g_templ##Name), "rows follow the record's field order");                          \
    CONSTRUCTED_ITEM(Name, g_skvAsnFuncMap, tag, 1)

#define SET_OF_ITEM(Name, tag) CONSTRUCTED_ITEM(Name, g_skvAsnFuncSetOf, tag, 1)

#define PRIMITIVE_ITEM(Name, slot, cls, constructed, tag)                                                              \
    constexpr SigkitAsnItem g_item##Name = {                                                                           \
        nullptr, &(slot), cls, constructed, tag, 0, sizeof(InternalAsnFills<g_item##Name>::type)}

#endif
