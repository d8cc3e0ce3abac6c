#include "asn1/decode.h"

#include "core/memory.h"
#include "sigkit/sigkit.h"

const SigkitAsnDecodeFunc g_skvAsnFuncOct = SigkitDecodeOctet;
const SigkitAsnDecodeFunc g_skvAsnFuncBits = SigkitDecodeBits;
const SigkitAsnDecodeFunc g_skvAsnFuncSeq = SigkitDecodeSeq;
const SigkitAsnDecodeFunc g_skvAsnFuncInt = SigkitDecodeInt;
const SigkitAsnDecodeFunc g_skvAsnFuncSetOf = SigkitDecodeSetof;
const SigkitAsnDecodeFunc g_skvAsnFuncMap = SigkitDecodeMap;
const SigkitAsnDecodeFunc g_skvAsnFuncBitsToInt = SigkitBitsToInt;
const SigkitAsnDecodeFunc g_skvAsnFuncExku = SigkitOidToExku;

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
