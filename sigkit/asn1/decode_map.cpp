// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What is chosen by object identifier: the members of a map, and key purposes.
#include "asn1/decode.h"
#include "asn1/header.h"
#include "asn1/records.h"
#include "sigkit/sigkit.h"
#include "x509/oid.h"

namespace
{

const SigkitAsnTemplate *FindMember(const SigkitAsnItem &map, uint32_t aoid)
{
    for (uint32_t i = 0; i < map.count; ++i) {
        if (map.templ[i].tagNo == aoid) {
            return &map.templ[i];
        }
    }
    return nullptr;
}

// Decodes the value of a member into its field if the map knows its identifier.
uint32_t DecodeValue(const SigkitX509ExtensionEntry &member, const SigkitAsnItem &map, uint8_t *record)
{
    const SigkitAsnTemplate *const known = FindMember(map, SigkitFindAoid(&member.extnID));
    if (known == nullptr) {
        return SIGKIT_OK; // skipped, critical or not
    }
    // What an OCTET STRING holds, or the first value of an attribute; octets behind it are left alone.
    SigkitDecodeBuf value = {member.extnValue.data, member.extnValue.len, 0};
    uint32_t consumed = 0;
    return InternalDecodeWith(*known->item, SIGKIT_ERR_ASN_SET, &value, record + known->offset, &consumed, known);
}

uint32_t DecodeKnownMembers(SigkitDecodeBuf *buf, uint8_t *record, uint32_t length, const SigkitAsnItem &map)
{
    const SigkitAsnTemplate shape = {&g_itemSigkitX509ExtensionEntry, 0, ASN_MODE_UNIVERSAL, 0, 0, 0};
    uint32_t used = 0;
    while (used < length) {
        SigkitX509ExtensionEntry member = {};
        uint32_t consumed = 0;
        uint32_t status =
            InternalDecodeWith(g_itemSigkitX509ExtensionEntry, SIGKIT_ERR_ASN_SET, buf, &member, &consumed, &shape);
        if (status != SIGKIT_OK) {
            return status;
        }
        if (member.extnValue.data == nullptr || member.extnValue.len == 0) {
            return SIGKIT_ERR_ASN_SET;
        }
        status = DecodeValue(member, map, record);
        if (status != SIGKIT_OK) {
            return status;
        }
        used += consumed;
    }
    return used == length ? SIGKIT_OK : SIGKIT_ERR_ASN_SET;
}

} // namespace

uint32_t SigkitDecodeMap(SigkitDecodeBuf *buf, void *out, uint32_t *consumed, const SigkitAsnTemplate *entry)
{
    if (out == nullptr || buf == nullptr || consumed == nullptr || entry == nullptr) {
        return SIGKIT_ERR_PARAM;
    }
    const uint32_t start = buf->pos;
    uint32_t length = 0;
    uint32_t status = InternalAsn1ParseContent(buf, *entry, 1, entry->item->tag, &length);
    if (status == SIGKIT_OK) {
        status = DecodeKnownMembers(buf, static_cast<uint8_t *>(out), length, *entry->item);
    }
    if (status != SIGKIT_OK) {
        buf->pos = start;
        return status;
    }
    *consumed = buf->pos - start;
    return SIGKIT_OK;
}

uint32_t SigkitOidToExku(SigkitDecodeBuf *buf, void *out, uint32_t *consumed, const SigkitAsnTemplate *)
{
    if (out == nullptr) {
        return SIGKIT_ERR_PARAM;
    }
    SigkitAsnOidBundle purposes = {};
    const SigkitAsnTemplate bundle = {&g_itemSigkitAsnOidBundle, 0, ASN_MODE_UNIVERSAL, 0, 0, 0};
    const uint32_t status =
        InternalDecodeWith(g_itemSigkitAsnOidBundle, SIGKIT_ERR_ASN_SET, buf, &purposes, consumed, &bundle);
    if (status != SIGKIT_OK || purposes.count == 0) {
        return status;
    }
    uint32_t *const flags = static_cast<uint32_t *>(out);
    switch (SigkitFindAoid(&purposes.items[0])) {
    case AOID_KP_CODESIGNING:
        *flags |= SIGKIT_EXKU_CODE_SIGNING;
        break;
    case AOID_KP_TIMESTAMPING:
        *flags |= SIGKIT_EXKU_TIME_STAMPING;
        break;
    default:
        break;
    }
    return SIGKIT_OK;
}
