// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "asn1/decode.h"
#include "asn1/header.h"
#include "core/log.h"
#include "sigkit/sigkit.h"

namespace
{

uint32_t DecodeBits(SigkitDecodeBuf *buf, SigkitAsnOcts *view, const SigkitAsnTemplate &entry)
{
    uint32_t length = 0;
    const uint32_t status = InternalAsn1ParseContent(buf, entry, 0, ASN_TAG_BIT_STRING, &length);
    if (status != SIGKIT_OK) {
        return status;
    }
    if (length == 0) {
        return SIGKIT_ERR_ASN_BITS; // X.690, 8.6.2.1: the octet that counts unused bits is always there
    }
    if ((entry.flags & SIGKIT_ASN_FLAG_IGNORE) == 0) {
        if (view == nullptr) {
            return SIGKIT_ERR_ASN_BITS;
        }
        const bool isImplicit = (entry.mode & ASN_MODE_IMPLICIT) != 0;
        view->len = length - 1;
        view->cls = isImplicit ? ASN_CLASS_CONTEXT : ASN_CLASS_UNIVERSAL;
        view->constructed = 0;
        view->tag = isImplicit ? entry.tagNo : ASN_TAG_BIT_STRING;
        view->data = length > 1 ? buf->data + buf->pos + 1 : nullptr;
    }
    buf->pos += length;
    return SIGKIT_OK;
}

} // namespace

uint32_t SigkitDecodeBits(SigkitDecodeBuf *buf, void *out, uint32_t *consumed, const SigkitAsnTemplate *entry)
{
    if (buf == nullptr || consumed == nullptr || entry == nullptr) {
        return SIGKIT_ERR_PARAM;
    }
    const uint32_t start = buf->pos;
    const uint32_t status = DecodeBits(buf, static_cast<SigkitAsnOcts *>(out), *entry);
    if (status != SIGKIT_OK) {
        buf->pos = start;
        return status;
    }
    *consumed = buf->pos - start;
    return SIGKIT_OK;
}

uint32_t SigkitBitsToInt(SigkitDecodeBuf *buf, void *out, uint32_t *consumed, const SigkitAsnTemplate *entry)
{
    if (buf == nullptr || out == nullptr) {
        return SIGKIT_ERR_PARAM;
    }
    const uint32_t start = buf->pos;
    SigkitAsnOcts bits = {};
    const uint32_t status = SigkitDecodeBits(buf, &bits, consumed, entry);
    if (status != SIGKIT_OK) {
        return status;
    }
    if (bits.data == nullptr) {
        buf->pos = start;
        return SIGKIT_FAIL(SIGKIT_ERR_ASN_BITS, "Decode bits to intger failed.");
    }
    if (bits.len > 2) {
        buf->pos = start;
        return SIGKIT_FAIL(SIGKIT_ERR_ASN_BITS, "unsupported length count");
    }
    uint32_t value = bits.data[0];
    if (bits.len == 2) {
        value = value * 256 + bits.data[1];
    }
    *static_cast<uint32_t *>(out) = value;
    return SIGKIT_OK;
}
