// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "asn1/header.h"

#include "core/log.h"
#include "core/trace.h"
#include "sigkit/sigkit.h"

namespace
{

constexpr uint8_t IDENTIFIER_CONSTRUCTED = 0x20;
constexpr uint8_t IDENTIFIER_NUMBER = 0x1F;
constexpr uint8_t LENGTH_LONG_FORM = 0x80;
constexpr uint32_t MAX_LENGTH_OCTETS = 4; // what fits 32 bits; no input is longer

} // namespace

uint32_t InternalDecTag(SigkitDecodeBuf *buf, SigkitAsnTag *tag)
{
    uint8_t octet = 0;
    const uint32_t status = SigkitBufGet(buf, &octet);
    if (status != SIGKIT_OK) {
        return status;
    }
    const uint8_t number = octet & IDENTIFIER_NUMBER;
    if (number == IDENTIFIER_NUMBER) {
        return SIGKIT_ERR_ASN_TAG;
    }
    *tag = {static_cast<uint32_t>(octet >> 6), (octet & IDENTIFIER_CONSTRUCTED) != 0 ? 1U : 0U, number};
    return SIGKIT_OK;
}

uint32_t InternalDecLen(SigkitDecodeBuf *buf, uint32_t *length)
{
    uint8_t octet = 0;
    uint32_t status = SigkitBufGet(buf, &octet);
    if (status != SIGKIT_OK) {
        return status;
    }
    uint32_t value = octet;
    if ((octet & LENGTH_LONG_FORM) != 0) {
        const uint32_t octets = octet & ~LENGTH_LONG_FORM & 0xFFU;
        if (octets == 0 || octets > MAX_LENGTH_OCTETS) {
            SIGKIT_TRACE(LENGTH_INDEFINITE, buf, nullptr, octets);
            SIGKIT_WARN(SIGKIT_ERR_ASN_LENGTH, "indefinit length not supported.");
            return SIGKIT_ERR_ASN_LENGTH;
        }
        value = 0;
        for (uint32_t i = 0; i < octets; ++i) {
            status = SigkitBufGet(buf, &octet);
            if (status != SIGKIT_OK) {
                return status;
            }
            value = (value << 8) | octet;
        }
    }
    if (value > InternalBufRemaining(*buf)) {
        SIGKIT_TRACE(LENGTH_OVERFLOW, buf, nullptr, value);
        return SIGKIT_FAIL(SIGKIT_ERR_ASN_LENGTH, "overflow length.");
    }
    *length = value;
    return SIGKIT_OK;
}

uint32_t InternalAsn1ParseContent(SigkitDecodeBuf *buf, const SigkitAsnTemplate &entry, uint32_t constructed,
                                  uint32_t tag, uint32_t *length)
{
    const bool isImplicit = (entry.mode & ASN_MODE_IMPLICIT) != 0;
    const SigkitAsnTag expected = isImplicit ? SigkitAsnTag{ASN_CLASS_CONTEXT, constructed, entry.tagNo}
                                             : SigkitAsnTag{ASN_CLASS_UNIVERSAL, constructed, tag};
    SigkitAsnTag found = {};
    const uint32_t status = InternalDecTag(buf, &found);
    if (status != SIGKIT_OK) {
        return status;
    }
    if (found != expected) {
        return SIGKIT_ERR_ASN_TAG;
    }
    return InternalDecLen(buf, length);
}
