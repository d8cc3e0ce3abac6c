// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "asn1/decode.h"
#include "asn1/header.h"
#include "core/log.h"
#include "sigkit/sigkit.h"

namespace
{

constexpr uint32_t MAX_INTEGER_OCTETS = 4;
constexpr uint8_t BOOLEAN_TRUE = 0xFF; // X.690, 11.1

// Reads the content of `length` octets at the cursor as the type with the universal tag `tag`.
uint32_t ReadValue(SigkitDecodeBuf *buf, uint32_t length, uint32_t tag, uint32_t *value)
{
    uint8_t octet = 0;
    if (length > MAX_INTEGER_OCTETS || SigkitBufGet(buf, &octet) != SIGKIT_OK) {
        return SIGKIT_ERR_ASN_INTEGER;
    }
    if (tag == ASN_TAG_BOOLEAN) {
        if (length != 1) {
            return SIGKIT_ERR_ASN_BOOLEAN;
        }
        *value = octet == BOOLEAN_TRUE ? 1 : 0;
        return SIGKIT_OK;
    }
    if (length == 0) {
        return SIGKIT_ERR_ASN_INTEGER; // the octet just read belongs to what follows
    }
    uint32_t number = octet | ((octet & 0x80) != 0 ? 0xFFFFFF00U : 0U); // two's complement
    for (uint32_t i = 1; i < length; ++i) {
        number = (number << 8) | buf->data[buf->pos];
        buf->pos += 1;
    }
    *value = number;
    return SIGKIT_OK;
}

} // namespace

uint32_t SigkitDecodeInt(SigkitDecodeBuf *buf, void *out, uint32_t *consumed, const SigkitAsnTemplate *entry)
{
    if (buf == nullptr || consumed == nullptr || entry == nullptr) {
        return SIGKIT_ERR_PARAM;
    }
    const uint32_t start = buf->pos;
    const uint32_t tag = entry->item == nullptr ? SIGKIT_ASN_TAG_NONE : entry->item->tag;
    uint32_t length = 0;
    uint32_t status = InternalAsn1ParseContent(buf, *entry, 0, tag, &length);
    if (status == SIGKIT_OK) {
        if ((entry->flags & SIGKIT_ASN_FLAG_IGNORE) != 0) {
            buf->pos += length;
        } else if (out == nullptr) {
            status = SIGKIT_TRAIL(SIGKIT_ERR_ASN_INTEGER);
        } else {
            status = ReadValue(buf, length, tag, static_cast<uint32_t *>(out));
        }
    }
    if (status != SIGKIT_OK) {
        buf->pos = start;
        return status;
    }
    *consumed = buf->pos - start;
    return SIGKIT_OK;
}
