// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The decode cursor: a position in an input that is never passed.
//
// Logs: nothing, in any function of this header.
#ifndef ASN1_CURSOR_H
#define ASN1_CURSOR_H

#include <stdint.h>

#include "sigkit/sigkit.h"

// A reader over `size` octets at `data`; always pos <= size. Decode functions move `pos` themselves: forward over no
// more octets than InternalDecLen has found there, and back to where an element began.
struct SigkitDecodeBuf {
    const uint8_t *data; // not owned
    uint32_t size;
    uint32_t pos; // index of the next octet
};

// Points a cursor at the start of an input. Returns SIGKIT_OK, or SIGKIT_ERR_PARAM when a pointer is null or `size` 0.
[[nodiscard]] uint32_t SigkitBufInit(SigkitDecodeBuf *buf, const uint8_t *data, uint32_t size);

// Reads one octet. Returns SIGKIT_OK, SIGKIT_ERR_PARAM when a pointer is null, or SIGKIT_ERR_BUFFER_END with nothing
// changed.
[[nodiscard]] inline uint32_t SigkitBufGet(SigkitDecodeBuf *buf, uint8_t *octet)
{
    if (buf == nullptr || octet == nullptr) {
        return SIGKIT_ERR_PARAM;
    }
    if (buf->pos >= buf->size) {
        return SIGKIT_ERR_BUFFER_END;
    }
    *octet = buf->data[buf->pos];
    buf->pos += 1;
    return SIGKIT_OK;
}

// The only origin that SigkitBufSeek knows: the current position.
inline constexpr int32_t SIGKIT_SEEK_CURRENT = 1;

// Moves the cursor by `delta` octets. Returns SIGKIT_OK, SIGKIT_ERR_PARAM when `buf` is null, or SIGKIT_ERR_UNKNOWN
// with nothing changed when `whence` is another origin or the target lies outside the input.
[[nodiscard]] uint32_t SigkitBufSeek(SigkitDecodeBuf *buf, int32_t delta, int32_t whence);

// Octets not yet read.
[[nodiscard]] inline uint32_t InternalBufRemaining(const SigkitDecodeBuf &buf)
{
    return buf.size - buf.pos;
}

#endif
