// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include <stddef.h>

#include "asn1/decode.h"
#include "asn1/header.h"
#include "core/trace.h"
#include "sigkit/sigkit.h"

namespace
{

// Decodes elements from content of `length` octets at the cursor into the array behind `counter`.
bool DecodeElements(SigkitDecodeBuf *buf, uint8_t *counter, uint32_t length, const SigkitAsnTemplate &element)
{
    uint32_t count = 0;
    uint32_t used = 0;
    while (used < length) {
        if (count == element.maxCount) {
            SIGKIT_TRACE(ELEMENT_TOO_MANY, buf, &element, element.maxCount);
            return false;
        }
        uint8_t *const slot = counter + SIGKIT_ASN_ARRAY_OFFSET + size_t{count} * element.item->recordSize;
        uint32_t consumed = 0;
        if (InternalDecodeWith(*element.item, SIGKIT_ERR_ASN_SET, buf, slot, &consumed, &element) != SIGKIT_OK) {
            SIGKIT_TRACE(ELEMENT_REFUSED, buf, &element, SIGKIT_ERR_ASN_SET);
            return false;
        }
        used += consumed;
        count += 1;
    }
    if (used != length) {
        return false;
    }
    *reinterpret_cast<uint32_t *>(counter) = count;
    return true;
}

} // namespace

uint32_t SigkitDecodeSetof(SigkitDecodeBuf *buf, void *out, uint32_t *consumed, const SigkitAsnTemplate *entry)
{
    if (out == nullptr || buf == nullptr || consumed == nullptr || entry == nullptr || entry->item->count != 1) {
        return SIGKIT_ERR_PARAM;
    }
    const SigkitAsnTemplate &element = entry->item->templ[0];
    const uint32_t start = buf->pos;
    uint32_t length = 0;
    if (InternalAsn1ParseContent(buf, *entry, 1, entry->item->tag, &length) != SIGKIT_OK ||
        !DecodeElements(buf, static_cast<uint8_t *>(out) + element.offset, length, element)) {
        buf->pos = start;
        return SIGKIT_ERR_ASN_SET;
    }
    *consumed = buf->pos - start;
    return SIGKIT_OK;
}
