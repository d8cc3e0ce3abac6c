// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "asn1/decode.h"
#include "asn1/header.h"
#include "core/trace.h"
#include "sigkit/sigkit.h"

namespace
{

constexpr uint16_t MAY_BE_ABSENT = SIGKIT_ASN_FLAG_OPTIONAL | SIGKIT_ASN_FLAG_DEFAULT;

// Reads the header of a SEQUENCE, or that of a BIT STRING together with its count of unused bits.
uint32_t ReadHeader(SigkitDecodeBuf *buf, const SigkitAsnTemplate &entry, uint32_t *length)
{
    const uint32_t tag = entry.item->tag;
    const bool inBitString = tag == ASN_TAG_BIT_STRING;
    const uint32_t status = InternalAsn1ParseContent(buf, entry, inBitString ? 0 : 1, tag, length);
    if (status != SIGKIT_OK || !inBitString) {
        return status;
    }
    if (*length == 0) {
        return SIGKIT_ERR_ASN_SEQUENCE;
    }
    buf->pos += 1;
    *length -= 1;
    return SIGKIT_OK;
}

// Reads the [tagNo] wrapper of an EXPLICIT member. Lenient: its length is not compared with the element inside.
uint32_t ReadWrapper(SigkitDecodeBuf *buf, uint32_t tagNo)
{
    SigkitAsnTag found = {};
    const uint32_t status = InternalDecTag(buf, &found);
    if (status != SIGKIT_OK) {
        return status;
    }
    if (found != SigkitAsnTag{ASN_CLASS_CONTEXT, 1, tagNo}) {
        return SIGKIT_ERR_ASN_SEQUENCE;
    }
    uint32_t length = 0;
    return InternalDecLen(buf, &length);
}

uint32_t DecodeMember(SigkitDecodeBuf *buf, uint8_t *record, const SigkitAsnTemplate &member)
{
    if (member.mode == ASN_MODE_EXPLICIT) {
        const uint32_t status = ReadWrapper(buf, member.tagNo);
        if (status != SIGKIT_OK) {
            return status;
        }
    }
    const bool ignored = (member.flags & SIGKIT_ASN_FLAG_IGNORE) != 0;
    uint32_t consumed = 0;
    return InternalDecodeWith(*member.item, SIGKIT_ERR_ASN_SEQUENCE, buf, ignored ? nullptr : record + member.offset,
                              &consumed, &member);
}

bool AllMayBeAbsent(const SigkitAsnItem &item, uint32_t first)
{
    for (uint32_t i = first; i < item.count; ++i) {
        if ((item.templ[i].flags & MAY_BE_ABSENT) == 0) {
            return false;
        }
    }
    return true;
}

// Decodes the members from content of `length` octets at the cursor. There is no extension marker: the members must
// make up the whole content.
uint32_t DecodeMembers(SigkitDecodeBuf *buf, uint8_t *record, uint32_t length, const SigkitAsnItem &item)
{
    const uint32_t start = buf->pos;
    uint32_t used = 0;
    for (uint32_t i = 0; i < item.count; ++i) {
        if (used == length) {
            return AllMayBeAbsent(item, i) ? SIGKIT_OK : SIGKIT_ERR_ASN_SEQUENCE;
        }
        const SigkitAsnTemplate &member = item.templ[i];
        const uint32_t status = DecodeMember(buf, record, member);
        if (status != SIGKIT_OK) {
            if ((member.flags & MAY_BE_ABSENT) == 0) {
                SIGKIT_TRACE(MEMBER_REFUSED, buf, &member, status);
                return status;
            }
            buf->pos = start + used;
        }
        used = buf->pos - start;
        if (used > length) {
            return SIGKIT_ERR_ASN_SEQUENCE;
        }
    }
    return used == length ? SIGKIT_OK : SIGKIT_ERR_ASN_SEQUENCE;
}

} // namespace

uint32_t SigkitDecodeSeq(SigkitDecodeBuf *buf, void *out, uint32_t *consumed, const SigkitAsnTemplate *entry)
{
    if (out == nullptr || buf == nullptr || consumed == nullptr || entry == nullptr) {
        return SIGKIT_ERR_PARAM;
    }
    const uint32_t start = buf->pos;
    uint32_t length = 0;
    uint32_t status = ReadHeader(buf, *entry, &length);
    if (status == SIGKIT_OK) {
        status = DecodeMembers(buf, static_cast<uint8_t *>(out), length, *entry->item);
    }
    if (status != SIGKIT_OK) {
        buf->pos = start;
        return status;
    }
    *consumed = buf->pos - start;
    return SIGKIT_OK;
}
