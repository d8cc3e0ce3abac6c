// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "x509/name.h"

#include "annexk.h"
#include "core/log.h"
#include "core/memory.h"
#include "sigkit/sigkit.h"
#include "sigkit/sigkit_host.h"
#include "x509/oid.h"

namespace
{

// Octets of one printed attribute, its NUL included.
constexpr uint32_t ATTRIBUTE_TEXT_SIZE = 128;

struct Piece {
    char text[ATTRIBUTE_TEXT_SIZE];
};

const char *AttributePrefix(uint32_t aoid)
{
    switch (aoid) {
    case AOID_AT_COMMONNAME:
        return "CN=";
    case AOID_AT_LOCALITYNAME:
        return "L=";
    case AOID_AT_STATEORPROVINCENAME:
        return "S=";
    case AOID_AT_ORGANIZATIONNAME:
        return "O=";
    case AOID_AT_ORGANIZATIONALUNITNAME:
        return "OU=";
    case AOID_AT_COUNTRYNAME:
        return "C=";
    case AOID_PKCS9_AT_EMAILADDRESS:
        return "E=";
    default:
        return "X=";
    }
}

// Returns how many octets of a value fit a piece behind a prefix.
uint32_t InternalGetMaxAttrLen(uint32_t valueLen, uint32_t prefixLen)
{
    if (valueLen >= ATTRIBUTE_TEXT_SIZE - prefixLen) {
        SIGKIT_WARN(SIGKIT_ERR_NAME_TOO_LONG, "attribute name too long, which is invalid.");
        return ATTRIBUTE_TEXT_SIZE - 1 - prefixLen;
    }
    return valueLen;
}

// Prints one attribute. The piece arrives zeroed, so it ends in a NUL.
uint32_t PrintAttribute(const SigkitX509AttrEntry &attribute, Piece *piece)
{
    const uint32_t aoid = SigkitFindAoid(&attribute.type);
    if (aoid == AOID_UNKNOWN) {
        return SIGKIT_ERR_NAME_ATTRIBUTE;
    }
    const char *const prefix = AttributePrefix(aoid);
    const uint32_t prefixLen = SigkitStrlen(prefix);
    const uint32_t valueLen = InternalGetMaxAttrLen(attribute.value.len, prefixLen);
    int failure = memcpy_s(piece->text, ATTRIBUTE_TEXT_SIZE, prefix, prefixLen);
    if (failure == 0 && valueLen != 0) {
        failure = memcpy_s(piece->text + prefixLen, ATTRIBUTE_TEXT_SIZE - prefixLen, attribute.value.data, valueLen);
    }
    return static_cast<uint32_t>(failure);
}

uint32_t AppendPiece(char *text, const char *piece)
{
    int failure = 0;
    if (text[0] != '\0') {
        failure = strcat_s(text, SIGKIT_NAME_TEXT_SIZE, ",");
    }
    if (failure == 0) {
        failure = strcat_s(text, SIGKIT_NAME_TEXT_SIZE, piece);
    }
    return static_cast<uint32_t>(failure);
}

// Appends the attributes of one RelativeDistinguishedName up to the first that no longer fits.
uint32_t AppendAttributes(char *text, const SigkitX509AttrBundle &bundle)
{
    for (uint32_t i = 0; i < bundle.count; ++i) {
        Piece piece = {};
        uint32_t status = PrintAttribute(bundle.items[i], &piece);
        if (status != SIGKIT_OK) {
            return status;
        }
        if (SigkitStrlen(text) + SigkitStrlen(piece.text) + 1 > SIGKIT_NAME_TEXT_SIZE - 1) {
            return SIGKIT_OK;
        }
        status = AppendPiece(text, piece.text);
        if (status != SIGKIT_OK) {
            return status;
        }
    }
    return SIGKIT_OK;
}

} // namespace

int32_t SigkitCompareX509Name(const SigkitX509Name *a, const SigkitX509Name *b)
{
    if (a == nullptr || b == nullptr) {
        return static_cast<int32_t>(SIGKIT_ERR_PARAM);
    }
    if (a->count != b->count) {
        return -1;
    }
    for (uint32_t i = 0; i < a->count; ++i) {
        const SigkitX509AttrEntry &first = a->items[i].items[0];
        const SigkitX509AttrEntry &second = b->items[i].items[0];
        if (SigkitCompareAsnOcts(&first.type, &second.type) != 0 ||
            SigkitCompareAsnOcts(&first.value, &second.value) != 0) {
            return -1;
        }
    }
    return 0;
}

uint32_t SigkitConvertFromX509Name(const SigkitX509Name *name, char **text, uint32_t *len)
{
    if (name == nullptr || text == nullptr || len == nullptr) {
        return SIGKIT_ERR_PARAM;
    }
    void *block = nullptr;
    uint32_t status = SigkitMallocWith0(&block, SIGKIT_NAME_TEXT_SIZE);
    if (status != SIGKIT_OK) {
        return SIGKIT_TRAIL(status);
    }
    char *const printed = static_cast<char *>(block);
    for (uint32_t i = 0; i < name->count && status == SIGKIT_OK; ++i) {
        status = AppendAttributes(printed, name->items[i]);
    }
    if (status != SIGKIT_OK) {
        SigkitFree(block);
        return SIGKIT_TRAIL(status);
    }
    *text = printed;
    *len = SigkitStrlen(printed);
    return SIGKIT_OK;
}
