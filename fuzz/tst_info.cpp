// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What a timestamp token says: decoding of a TSTInfo, and its time.
#include "fuzz/target.h"

#include "asn1/decode.h"
#include "asn1/records.h"
#include "fuzz/support/mutate.h"
#include "fuzz/support/views.h"
#include "x509/time.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzBegin();
    void *record = nullptr;
    uint32_t consumed = 0;
    const uint32_t status =
        SigkitAsnDecode(data, static_cast<uint32_t>(size), &g_itemSigkitTimestampInfo, 0, &record, &consumed);
    if (status == SIGKIT_OK) {
        if (consumed == 0 || consumed > size) {
            FuzzFail("%u of %zu octets are consumed", consumed, size);
        }
        FuzzCheckViews(record, g_itemSigkitTimestampInfo, data, size);
        const SigkitTimestampInfo &info = *static_cast<const SigkitTimestampInfo *>(record);
        SigkitDateTime time = {};
        if (SigkitConvertFromTime(&info.genTime, &time) == SIGKIT_OK) {
            (void)SigkitMktime(&time);
        }
        SigkitAsnFree(record, &g_itemSigkitTimestampInfo);
    } else if (record != nullptr) {
        FuzzFail("a TSTInfo together with %08x", status);
    }
    FuzzTally(status);
    FuzzEnd();
    return 0;
}

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t maxSize, unsigned int seed)
{
    return FuzzMutateObjects(data, size, maxSize, seed);
}
