// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The table-driven decoder. One call decodes one value of one type into one zeroed allocation; byte fields are views
// into the input.
//
// What it does not check: DER's rule of the shortest length, unused bits of a BIT STRING, the order of a SET OF, and
// trailing octets behind the value (callers see how much was consumed).
#ifndef ASN1_DECODE_H
#define ASN1_DECODE_H

#include <stdint.h>

#include "asn1/cursor.h"
#include "asn1/types.h"

// Decodes one value from the start of an input.
//
//   data       in, `size` octets; must stay alive and unchanged as long as the record is used.
//   item       in, the type.
//   rootFlags  in, flags of the value itself, as if it were a member.
//   record     out, a new record of the item's size, owned by the caller until SigkitAsnFree.
//   consumed   out, octets that the value took.
//
// Returns SIGKIT_OK, or the first of these that applies: SIGKIT_ERR_PARAM for a null or empty argument,
// SIGKIT_ERR_ASN_NO_DECODER when the item's slot is empty, the host's code when it has no memory
// (SIGKIT_ERR_NO_MEMORY), the code of memset_s, the decode function's code. After a failure nothing is allocated and
// the record pointer is not written. Logs: nothing of its own.
[[nodiscard]] uint32_t SigkitAsnDecode(const uint8_t *data, uint32_t size, const SigkitAsnItem *item, uint8_t rootFlags,
                                       void **record, uint32_t *consumed);

// Frees a record of SigkitAsnDecode; null is ignored. A record is one allocation, so its type does not matter.
void SigkitAsnFree(void *record, const SigkitAsnItem *item);

// Decodes one element with the function in its item's slot.
//
// Returns what that function returns, or `missing` when the slot is empty. Logs: nothing of its own.
[[nodiscard]] uint32_t InternalDecodeWith(const SigkitAsnItem &item, uint32_t missing, SigkitDecodeBuf *buf, void *out,
                                          uint32_t *consumed, const SigkitAsnTemplate *entry);

// ---- Decode functions, each a SigkitAsnDecodeFunc ------------------------------------------------------------------
// Besides SIGKIT_OK each returns SIGKIT_ERR_PARAM when `buf`, `consumed` or an entry that it reads is null, and the
// codes that stand with it. The codes of a header are those of InternalDecTag and InternalDecLen (asn1/header.h):
// SIGKIT_ERR_BUFFER_END, SIGKIT_ERR_ASN_TAG and, logged, SIGKIT_ERR_ASN_LENGTH. Of their own they log what is said.

// Any element, captured as a SigkitAsnOcts. The name misleads: not OCTET STRINGs alone. One leading zero octet of an
// INTEGER is dropped.
//
// Returns also SIGKIT_ERR_PARAM when `out` is null and the entry does not say SIGKIT_ASN_FLAG_IGNORE; the codes of a
// header; SIGKIT_ERR_ASN_OCTETS_TAG for another class, form or tag than the entry's; SIGKIT_ERR_ASN_PEEK for a
// look-ahead that is dropped, or that is IMPLICIT and has no item.
[[nodiscard]] uint32_t SigkitDecodeOctet(SigkitDecodeBuf *buf, void *out, uint32_t *consumed,
                                         const SigkitAsnTemplate *entry);

// BIT STRING as a SigkitAsnOcts behind the octet that counts unused bits.
//
// Returns also the codes of a header, with SIGKIT_ERR_ASN_TAG for another identifier than the entry's;
// SIGKIT_ERR_ASN_BITS when there is no content, or when `out` is null and the entry does not say
// SIGKIT_ASN_FLAG_IGNORE.
[[nodiscard]] uint32_t SigkitDecodeBits(SigkitDecodeBuf *buf, void *out, uint32_t *consumed,
                                        const SigkitAsnTemplate *entry);

// BOOLEAN, INTEGER or ENUMERATED of at most four octets as a uint32_t.
//
// Returns also the codes of a header, with SIGKIT_ERR_ASN_TAG for another identifier than the entry's;
// SIGKIT_ERR_ASN_INTEGER, logged, when `out` is null and the entry does not say SIGKIT_ASN_FLAG_IGNORE;
// SIGKIT_ERR_ASN_INTEGER for no octet or more than four; SIGKIT_ERR_ASN_BOOLEAN for a BOOLEAN of two to four, and for
// one of none unless the input ends there.
[[nodiscard]] uint32_t SigkitDecodeInt(SigkitDecodeBuf *buf, void *out, uint32_t *consumed,
                                       const SigkitAsnTemplate *entry);

// SEQUENCE, or a BIT STRING that holds the members of one, into a record.
//
// Returns also SIGKIT_ERR_PARAM when `out` is null; the codes of a header, with SIGKIT_ERR_ASN_TAG for another
// identifier than the entry's; SIGKIT_ERR_ASN_SEQUENCE for a BIT STRING without content, a wrapper with another tag, a
// member without a decode function, and members that do not make up the whole content; for a member that must be there,
// the codes of its wrapper's header and of its decode function.
[[nodiscard]] uint32_t SigkitDecodeSeq(SigkitDecodeBuf *buf, void *out, uint32_t *consumed,
                                       const SigkitAsnTemplate *entry);

// SET OF or SEQUENCE OF into a count and an array.
//
// Returns also SIGKIT_ERR_PARAM when `out` is null or the item has other than one template entry; SIGKIT_ERR_ASN_SET
// for everything else, whatever code the header or an element had.
[[nodiscard]] uint32_t SigkitDecodeSetof(SigkitDecodeBuf *buf, void *out, uint32_t *consumed,
                                         const SigkitAsnTemplate *entry);

// A list of extensions or attributes into the fields of the known ones. Unknown members are skipped, critical or not.
//
// Returns also SIGKIT_ERR_PARAM when `out` is null; the codes of a header, with SIGKIT_ERR_ASN_TAG for another
// identifier than the entry's; the codes of SigkitDecodeSeq for a member that is no Extension or Attribute;
// SIGKIT_ERR_ASN_SET for a member without a value, a known member without a decode function, and members that do not
// make up the whole content; the codes of a known member's decode function.
[[nodiscard]] uint32_t SigkitDecodeMap(SigkitDecodeBuf *buf, void *out, uint32_t *consumed,
                                       const SigkitAsnTemplate *entry);

// BIT STRING of one or two octets as a uint32_t. Deliberate: the first bit weighs 128 in one octet and 32768 in two.
//
// Returns also SIGKIT_ERR_PARAM when `out` is null; the codes of SigkitDecodeBits; SIGKIT_ERR_ASN_BITS, logged, for no
// octet behind the count of unused bits, and for more than two.
[[nodiscard]] uint32_t SigkitBitsToInt(SigkitDecodeBuf *buf, void *out, uint32_t *consumed,
                                       const SigkitAsnTemplate *entry);

// Extended key usage as flags ORed into a uint32_t. Deliberate: only the first purpose counts. The entry is not read.
//
// Returns also SIGKIT_ERR_PARAM when `out` is null, and SIGKIT_ERR_ASN_SET when it is no SEQUENCE of at most 10
// elements.
[[nodiscard]] uint32_t SigkitOidToExku(SigkitDecodeBuf *buf, void *out, uint32_t *consumed,
                                       const SigkitAsnTemplate *entry);

// Flags that SigkitOidToExku gives.
enum : uint32_t { SIGKIT_EXKU_CODE_SIGNING = 0x08, SIGKIT_EXKU_TIME_STAMPING = 0x40 };

// ---- Slots ---------------------------------------------------------------------------------------------------------
// Items point to a slot, not to the function in it: decode.cpp alone says which function that is, and InternalAsnSlot
// what it can do, so that no item pairs the two wrongly. An item whose slot is empty is refused, never called.

// What the function in a slot can do. A slot that holds another function, and a table that asks for more, do not
// compile.
//
//   FUNCTION        the decode function.
//   type            what it fills; void where the item says which record.
//   FLAGS           flags of a member that it obeys; OPTIONAL and DEFAULT are the SEQUENCE's and not among them.
//   READS_IMPLICIT  whether it reads an element under an IMPLICIT tag.
//   TAGS            universal tags that it reads, a bit for each.
template <const SigkitAsnDecodeFunc &Slot>
struct InternalAsnSlot;

#define ASN_SLOT(slot, function, Type, flags, readsImplicit, tags)                                                     \
    extern const SigkitAsnDecodeFunc slot;                                                                             \
    template <>                                                                                                        \
    struct InternalAsnSlot<slot> {                                                                                     \
        using type = Type;                                                                                             \
        static constexpr SigkitAsnDecodeFunc FUNCTION = function;                                                      \
        static constexpr uint16_t FLAGS = flags;                                                                       \
        static constexpr bool READS_IMPLICIT = readsImplicit;                                                          \
        static constexpr uint32_t TAGS = tags;                                                                         \
    }

constexpr uint32_t InternalAsnTagBit(uint32_t tag)
{
    return 1U << tag;
}

inline constexpr uint32_t ASN_TAGS_BITS = InternalAsnTagBit(ASN_TAG_BIT_STRING);
inline constexpr uint32_t ASN_TAGS_OID = InternalAsnTagBit(ASN_TAG_OBJECT_IDENTIFIER);
inline constexpr uint32_t ASN_TAGS_LIST = InternalAsnTagBit(ASN_TAG_SEQUENCE) | InternalAsnTagBit(ASN_TAG_SET);
inline constexpr uint32_t ASN_TAGS_RECORD = InternalAsnTagBit(ASN_TAG_SEQUENCE) | ASN_TAGS_BITS;
inline constexpr uint32_t ASN_TAGS_NUMBER =
    InternalAsnTagBit(ASN_TAG_BOOLEAN) | InternalAsnTagBit(ASN_TAG_INTEGER) | InternalAsnTagBit(ASN_TAG_ENUMERATED);
inline constexpr uint32_t ASN_TAGS_VIEW = ~ASN_TAGS_BITS; // of a BIT STRING the first octet would count as content

inline constexpr uint16_t ASN_FLAGS_IGNORE = SIGKIT_ASN_FLAG_IGNORE;
inline constexpr uint16_t ASN_FLAGS_VIEW = SIGKIT_ASN_FLAG_IGNORE | SIGKIT_ASN_FLAG_PEEK | SIGKIT_ASN_FLAG_RAW;

// clang-format off
//       slot                   FUNCTION           type           FLAGS             READS_IMPLICIT  TAGS
ASN_SLOT(g_skvAsnFuncOct,       SigkitDecodeOctet, SigkitAsnOcts, ASN_FLAGS_VIEW,   true,           ASN_TAGS_VIEW);
ASN_SLOT(g_skvAsnFuncBits,      SigkitDecodeBits,  SigkitAsnOcts, ASN_FLAGS_IGNORE, true,           ASN_TAGS_BITS);
ASN_SLOT(g_skvAsnFuncSeq,       SigkitDecodeSeq,   void,          0,                true,           ASN_TAGS_RECORD);
ASN_SLOT(g_skvAsnFuncInt,       SigkitDecodeInt,   uint32_t,      ASN_FLAGS_IGNORE, true,           ASN_TAGS_NUMBER);
ASN_SLOT(g_skvAsnFuncSetOf,     SigkitDecodeSetof, void,          0,                true,           ASN_TAGS_LIST);
ASN_SLOT(g_skvAsnFuncMap,       SigkitDecodeMap,   void,          0,                true,           ASN_TAGS_LIST);
ASN_SLOT(g_skvAsnFuncBitsToInt, SigkitBitsToInt,   uint32_t,      0,                true,           ASN_TAGS_BITS);
ASN_SLOT(g_skvAsnFuncExku,      SigkitOidToExku,   uint32_t,      0,                false,          ASN_TAGS_OID);
// clang-format on

#endif
