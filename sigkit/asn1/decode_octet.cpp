// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "asn1/decode.h"
#include "asn1/header.h"
#include "sigkit/sigkit.h"

namespace
{

bool TagMatches(const SigkitAsnTag &found, const SigkitAsnTemplate &entry)
{
    if (entry.item == nullptr) {
        return true;
    }
    const SigkitAsnItem &item = *entry.item;
    if (item.constructed != SIGKIT_ASN_ANY && found.constructed != item.constructed) {
        return false;
    }
    if (entry.mode == ASN_MODE_IMPLICIT) {
        return found.cls == ASN_CLASS_CONTEXT && found.number == entry.tagNo;
    }
    return (item.cls == SIGKIT_ASN_ANY || found.cls == item.cls) &&
           (item.tag == SIGKIT_ASN_TAG_ANY || found.number == item.tag);
}

// Fills `view` (null to discard) with the element whose content of `length` octets the cursor stands at, and moves
// behind it. `start` is where its identifier stands.
void Capture(SigkitDecodeBuf *buf, uint32_t start, uint32_t length, const SigkitAsnTag &tag, uint16_t flags,
             SigkitAsnOcts *view)
{
    if (length == 0 && view != nullptr) {
        // To its reader the same as a null `data` alone: a field is zero before, and one that a repeated extension or
        // attribute fills again is read by its `data` first.
        *view = {};
        return;
    }
    if ((flags & SIGKIT_ASN_FLAG_RAW) != 0) {
        length += buf->pos - start;
        buf->pos = start;
    } else if (length > 0 && tag.number == ASN_TAG_INTEGER && buf->data[buf->pos] == 0) {
        buf->pos += 1; // the sign octet of a positive INTEGER (X.690, 8.3.2); exactly one is dropped
        length -= 1;
    }
    if (view != nullptr) {
        *view = {length, tag.cls, tag.constructed, tag.number, buf->data + buf->pos};
    }
    buf->pos += length;
}

// Ends a look-ahead: the element is left for the next member, and an IMPLICIT one is reported as what it stands for.
uint32_t FinishPeek(const SigkitAsnTemplate &entry, SigkitAsnOcts *view)
{
    const bool isImplicit = (entry.mode & ASN_MODE_IMPLICIT) != 0;
    if (view == nullptr || (isImplicit && entry.item == nullptr)) {
        return SIGKIT_ERR_ASN_PEEK;
    }
    if (isImplicit) {
        view->cls = entry.item->cls;
        view->constructed = entry.item->constructed;
        view->tag = entry.item->tag;
    }
    return SIGKIT_OK;
}

uint32_t DecodeElement(SigkitDecodeBuf *buf, SigkitAsnOcts *view, uint32_t *consumed, const SigkitAsnTemplate &entry)
{
    const uint32_t start = buf->pos;
    SigkitAsnTag tag = {};
    uint32_t status = InternalDecTag(buf, &tag);
    if (status != SIGKIT_OK) {
        return status;
    }
    if (!TagMatches(tag, entry)) {
        return SIGKIT_ERR_ASN_OCTETS_TAG;
    }
    uint32_t length = 0;
    status = InternalDecLen(buf, &length);
    if (status != SIGKIT_OK) {
        return status;
    }
    Capture(buf, start, length, tag, entry.flags, view);
    if ((entry.flags & SIGKIT_ASN_FLAG_PEEK) != 0) {
        status = FinishPeek(entry, view);
        if (status != SIGKIT_OK) {
            return status;
        }
        buf->pos = start;
    }
    *consumed = buf->pos - start;
    return SIGKIT_OK;
}

} // namespace

uint32_t SigkitDecodeOctet(SigkitDecodeBuf *buf, void *out, uint32_t *consumed, const SigkitAsnTemplate *entry)
{
    if (buf == nullptr || consumed == nullptr || entry == nullptr) {
        return SIGKIT_ERR_PARAM;
    }
    const bool ignored = (entry->flags & SIGKIT_ASN_FLAG_IGNORE) != 0;
    if (out == nullptr && !ignored) {
        return SIGKIT_ERR_PARAM;
    }
    const uint32_t start = buf->pos;
    const uint32_t status = DecodeElement(buf, ignored ? nullptr : static_cast<SigkitAsnOcts *>(out), consumed, *entry);
    if (status != SIGKIT_OK) {
        buf->pos = start;
    }
    return status;
}
