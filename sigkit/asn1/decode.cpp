// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "asn1/decode.h"

#include <type_traits>

#include "core/memory.h"
#include "sigkit/sigkit.h"

template <SigkitAsnDecodeFunc Function>
using Constant = std::integral_constant<SigkitAsnDecodeFunc, Function>;

// Compared as types, because a sanitizer's comparison of functions is no constant.
#define SLOT(slot, function)                                                                                           \
    constexpr SigkitAsnDecodeFunc slot = function;                                                                     \
    static_assert(std::is_same_v<Constant<slot>, Constant<InternalAsnSlot<slot>::FUNCTION>>,                           \
                  "the slot's function is the one that decode.h describes")

SLOT(g_skvAsnFuncOct, SigkitDecodeOctet);
SLOT(g_skvAsnFuncBits, SigkitDecodeBits);
SLOT(g_skvAsnFuncSeq, SigkitDecodeSeq);
SLOT(g_skvAsnFuncInt, SigkitDecodeInt);
SLOT(g_skvAsnFuncSetOf, SigkitDecodeSetof);
SLOT(g_skvAsnFuncMap, SigkitDecodeMap);
SLOT(g_skvAsnFuncBitsToInt, SigkitBitsToInt);
SLOT(g_skvAsnFuncExku, SigkitOidToExku);
#undef SLOT

uint32_t SigkitAsnDecode(const uint8_t *data, uint32_t size, const SigkitAsnItem *item, uint8_t rootFlags,
                         void **record, uint32_t *consumed)
{
    SigkitDecodeBuf buf = {};
    if (item == nullptr || record == nullptr || consumed == nullptr || SigkitBufInit(&buf, data, size) != SIGKIT_OK) {
        return SIGKIT_ERR_PARAM;
    }
    if (*item->decode == nullptr) {
        return SIGKIT_ERR_ASN_NO_DECODER;
    }
    void *block = nullptr;
    uint32_t status = SigkitMallocWith0(&block, item->recordSize);
    if (status != SIGKIT_OK) {
        return status;
    }
    const SigkitAsnTemplate root = {item, 0, ASN_MODE_UNIVERSAL, rootFlags, 0, 0};
    status = (*item->decode)(&buf, block, consumed, &root);
    if (status != SIGKIT_OK) {
        SigkitAsnFree(block, item);
        return status;
    }
    *record = block;
    return SIGKIT_OK;
}

void SigkitAsnFree(void *record, const SigkitAsnItem *)
{
    SigkitFree(record);
}

uint32_t InternalDecodeWith(const SigkitAsnItem &item, uint32_t missing, SigkitDecodeBuf *buf, void *out,
                            uint32_t *consumed, const SigkitAsnTemplate *entry)
{
    const SigkitAsnDecodeFunc decode = *item.decode;
    return decode == nullptr ? missing : decode(buf, out, consumed, entry);
}
