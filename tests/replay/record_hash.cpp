// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/replay/record_hash.h"

#include <string.h>

#include "asn1/decode.h"
#include "asn1/types.h"
#include "sigkit/sigkit.h"

namespace
{

void HashOctet(uint8_t octet)
{
    constexpr uint64_t prime = 0x100000001b3;
    g_hash = (g_hash ^ octet) * prime;
}

void HashView(const SigkitAsnOcts &view)
{
    HashNumber(view.cls);
    HashNumber(view.constructed);
    HashNumber(view.tag);
    HashNumber(view.data == nullptr ? 0 : 1);
    HashOctets(view.data, view.len);
}

void HashList(const uint8_t *record, const SigkitAsnTemplate &element)
{
    const uint8_t *const counter = record + element.offset;
    const uint32_t count = *reinterpret_cast<const uint32_t *>(counter);
    HashNumber(count);
    for (uint32_t i = 0; i < count; ++i) {
        HashRecord(counter + SIGKIT_ASN_ARRAY_OFFSET + size_t{i} * element.item->recordSize, *element.item);
    }
}

void HashSerial(const SigkitCrlSerial &serial)
{
    HashOctets(serial.serial, serial.len);
}

void HashSummary(const SigkitCrlInfo &info)
{
    HashNumber(info.verified);
    HashNumber(static_cast<uint64_t>(info.thisUpdate));
    HashNumber(static_cast<uint64_t>(info.nextUpdate));
    HashText(info.issuerName);
    HashSerial(info.issuerSerial);
    HashNumber(static_cast<uint32_t>(info.revokedCount));
    for (int32_t i = 0; i < info.revokedCount; ++i) {
        HashSerial(info.revokedSerials[i]);
    }
}

} // namespace

uint64_t g_hash = HASH_START;

void HashNumber(uint64_t number)
{
    for (size_t i = 0; i < sizeof(number); ++i) {
        HashOctet(static_cast<uint8_t>(number >> (8 * i)));
    }
}

void HashOctets(const uint8_t *data, size_t size)
{
    HashNumber(size);
    for (size_t i = 0; i < size; ++i) {
        HashOctet(data[i]);
    }
}

void HashText(const char *text)
{
    HashOctets(reinterpret_cast<const uint8_t *>(text), text == nullptr ? 0 : strlen(text));
}

void HashRecord(const uint8_t *record, const SigkitAsnItem &item)
{
    if (item.templ == nullptr && item.recordSize == sizeof(uint32_t)) {
        HashNumber(*reinterpret_cast<const uint32_t *>(record));
    } else if (item.templ == nullptr) {
        HashView(*reinterpret_cast<const SigkitAsnOcts *>(record));
    } else if (item.decode == &g_skvAsnFuncSetOf) {
        HashList(record, item.templ[0]);
    } else {
        for (uint32_t i = 0; i < item.count; ++i) {
            const SigkitAsnTemplate &member = item.templ[i];
            if ((member.flags & SIGKIT_ASN_FLAG_IGNORE) == 0) {
                HashRecord(record + member.offset, *member.item);
            }
        }
    }
}

void HashBundle(const SigkitCrlBundle *bundle)
{
    HashNumber(bundle == nullptr ? 0 : 1);
    if (bundle == nullptr) {
        return;
    }
    HashNumber(static_cast<uint32_t>(bundle->count));
    for (const SigkitCrlInfo *const info : bundle->crls) {
        HashNumber(info == nullptr ? 0 : 1);
        if (info != nullptr) {
            HashSummary(*info);
        }
    }
}
