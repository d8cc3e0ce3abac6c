// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "x509/oid.h"

#include "sigkit/sigkit_host.h"
#include "x509/oid_schema.h"

namespace
{

// No identifier ends in an octet with the top bit set.
constexpr InternalOidOctets g_octets_AOID_UNKNOWN = {1, {0xFF}};

#define ROW(name, value, dotted)                                                                                       \
    constexpr InternalOidOctets g_octets_##name = InternalOidFromDotted(dotted);                                       \
    static_assert(g_octets_##name.len != 0, "not an object identifier: " dotted);
SIGKIT_OID_LIST(ROW)
#undef ROW

} // namespace

#define ROW(name, value, dotted)                                                                                       \
    {name, {g_octets_##name.len, 0, 0, ASN_TAG_OBJECT_IDENTIFIER, g_octets_##name.octets}, #name},
constexpr SigkitOidInfo g_skvOIDTable[] = {ROW(AOID_UNKNOWN, 0, "") SIGKIT_OID_LIST(ROW)};
#undef ROW
constexpr int32_t g_skvOidCount = sizeof(g_skvOIDTable) / sizeof(g_skvOIDTable[0]);
static_assert(g_skvOidCount == 24, "AOID_UNKNOWN and 23 identifiers");
static_assert(InternalOidsAscend(g_skvOIDTable), "the numbers of the identifiers ascend");
static_assert(InternalOidsDiffer(g_skvOIDTable), "two numbers for one identifier");

const SigkitAsnOcts *SigkitFindOid(uint32_t aoid)
{
    for (int32_t i = 0; i < g_skvOidCount; ++i) {
        if (g_skvOIDTable[i].aoid == aoid) {
            return &g_skvOIDTable[i].oid;
        }
    }
    return nullptr;
}

uint32_t SigkitFindAoid(const SigkitAsnOcts *oid)
{
    if (oid == nullptr || oid->data == nullptr || oid->len == 0) {
        return AOID_UNKNOWN;
    }
    const uint32_t last = oid->len - 1; // where those of one family differ
    for (const SigkitOidInfo &row : g_skvOIDTable) {
        if (row.oid.len == oid->len && row.oid.data[last] == oid->data[last] &&
            SigkitCompareAsnOcts(&row.oid, oid) == 0) {
            return row.aoid;
        }
    }
    return AOID_UNKNOWN;
}

int32_t SigkitCompareAsnOcts(const SigkitAsnOcts *a, const SigkitAsnOcts *b)
{
    if (a == nullptr || b == nullptr) {
        return -1;
    }
    if (a == b) {
        return 0;
    }
    if (a->len != b->len) {
        return -1;
    }
    if (a->data == b->data) {
        return 0;
    }
    return SigkitMemCmp(a->data, b->data, a->len);
}

uint32_t SigkitGetHashAoidFromSign(const SigkitAsnOcts *algorithm)
{
    switch (SigkitFindAoid(algorithm)) {
    case AOID_SHA256:
    case AOID_SHA256WITHRSAENCRYPTION:
        return AOID_SHA256;
    case AOID_SHA384:
    case AOID_SHA384WITHRSAENCRYPTION:
        return AOID_SHA384;
    case AOID_SHA512:
    case AOID_SHA512WITHRSAENCRYPTION:
        return AOID_SHA512;
    default:
        return AOID_UNKNOWN;
    }
}
