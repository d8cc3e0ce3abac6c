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
// Returns SIGKIT_OK, SIGKIT_ERR_PARAM for a null or empty argument, SIGKIT_ERR_ASN_NO_DECODER, SIGKIT_ERR_NO_MEMORY, or
// the decode function's code. After a failure nothing is allocated and the record pointer is not written.
[[nodiscard]] uint32_t SigkitAsnDecode(const uint8_t *data, uint32_t size, const SigkitAsnItem *item, uint8_t rootFlags,
                                       void **record, uint32_t *consumed);

// Frees a record of SigkitAsnDecode; null is ignored. A record is one allocation, so its type does not matter.
void SigkitAsnFree(void *record, const SigkitAsnItem *item);

// Decodes one element with the function in its item's slot.
//
// Returns what that function returns, or `missing` when the slot is empty.
[[nodiscard]] uint32_t InternalDecodeWith(const SigkitAsnItem &item, uint32_t missing, SigkitDecodeBuf *buf, void *out,
                                          uint32_t *consumed, const SigkitAsnTemplate *entry);

// ---- Decode functions, each a SigkitAsnDecodeFunc ------------------------------------------------------------------

// Any element, captured as a SigkitAsnOcts. One leading zero octet of an INTEGER is dropped.
// Codes: SIGKIT_ERR_PARAM, the header's, SIGKIT_ERR_ASN_OCTETS_TAG, SIGKIT_ERR_ASN_PEEK.
[[nodiscard]] uint32_t SigkitDecodeOctet(SigkitDecodeBuf *buf, void *out, uint32_t *consumed,
                                         const SigkitAsnTemplate *entry);

// BIT STRING as a SigkitAsnOcts behind the octet that counts unused bits.
// Codes: SIGKIT_ERR_PARAM, the header's, SIGKIT_ERR_ASN_BITS.
[[nodiscard]] uint32_t SigkitDecodeBits(SigkitDecodeBuf *buf, void *out, uint32_t *consumed,
                                        const SigkitAsnTemplate *entry);

// BOOLEAN, INTEGER or ENUMERATED of at most four octets as a uint32_t.
// Codes: SIGKIT_ERR_PARAM, the header's, SIGKIT_ERR_ASN_INTEGER, SIGKIT_ERR_ASN_BOOLEAN.
[[nodiscard]] uint32_t SigkitDecodeInt(SigkitDecodeBuf *buf, void *out, uint32_t *consumed,
                                       const SigkitAsnTemplate *entry);

// SEQUENCE, or a BIT STRING that holds the members of one, into a record.
// Codes: SIGKIT_ERR_PARAM, the header's, SIGKIT_ERR_ASN_SEQUENCE, the codes of the members.
[[nodiscard]] uint32_t SigkitDecodeSeq(SigkitDecodeBuf *buf, void *out, uint32_t *consumed,
                                       const SigkitAsnTemplate *entry);

// SET OF or SEQUENCE OF into a count and an array.
// Codes: SIGKIT_ERR_PARAM, SIGKIT_ERR_ASN_SET.
[[nodiscard]] uint32_t SigkitDecodeSetof(SigkitDecodeBuf *buf, void *out, uint32_t *consumed,
                                         const SigkitAsnTemplate *entry);

// A list of extensions or attributes into the fields of the known ones. Unknown members are skipped, critical or not.
// Codes: SIGKIT_ERR_PARAM, the header's, SIGKIT_ERR_ASN_SET, the codes of the members.
[[nodiscard]] uint32_t SigkitDecodeMap(SigkitDecodeBuf *buf, void *out, uint32_t *consumed,
                                       const SigkitAsnTemplate *entry);

// BIT STRING of one or two octets as a uint32_t. Deliberate: the first bit weighs 128 in one octet and 32768 in two.
// Codes: those of SigkitDecodeBits, SIGKIT_ERR_ASN_BITS.
[[nodiscard]] uint32_t SigkitBitsToInt(SigkitDecodeBuf *buf, void *out, uint32_t *consumed,
                                       const SigkitAsnTemplate *entry);

// Extended key usage as flags ORed into a uint32_t. Deliberate: only the first purpose counts.
// Codes: SIGKIT_ERR_PARAM, SIGKIT_ERR_ASN_SET.
[[nodiscard]] uint32_t SigkitOidToExku(SigkitDecodeBuf *buf, void *out, uint32_t *consumed,
                                       const SigkitAsnTemplate *entry);

// Flags that SigkitOidToExku gives.
enum : uint32_t { SIGKIT_EXKU_CODE_SIGNING = 0x08, SIGKIT_EXKU_TIME_STAMPING = 0x40 };

// ---- Slots ---------------------------------------------------------------------------------------------------------
// Items reach their decode function through these.

extern const SigkitAsnDecodeFunc g_skvAsnFuncOct;
extern const SigkitAsnDecodeFunc g_skvAsnFuncBits;
extern const SigkitAsnDecodeFunc g_skvAsnFuncSeq;
extern const SigkitAsnDecodeFunc g_skvAsnFuncInt;
extern const SigkitAsnDecodeFunc g_skvAsnFuncSetOf;
extern const SigkitAsnDecodeFunc g_skvAsnFuncMap;
extern const SigkitAsnDecodeFunc g_skvAsnFuncBitsToInt;
extern const SigkitAsnDecodeFunc g_skvAsnFuncExku;

#endif
