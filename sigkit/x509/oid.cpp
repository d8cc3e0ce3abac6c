#include "x509/oid.h"

#include <stddef.h>

#include <iterator>

#include "sigkit/sigkit_host.h"

namespace
{

// Content octets of an identifier.
struct Octets {
    uint32_t len = 0;
    uint8_t octets[16] = {};
};

// Appends one subidentifier: base 128, most significant group first, all but the last with the top bit set
// (X.690, 8.19.2).
constexpr void AppendSubidentifier(Octets *out, uint32_t value)
{
    uint32_t groups = 1;
    while ((value >> (7 * groups)) != 0) {
        ++groups;
    }
    for (uint32_t i = groups; i > 0; --i) {
        const uint32_t group = (value >> (7 * (i - 1))) & 0x7F;
        out->octets[out->len] = static_cast<uint8_t>(i > 1 ? group | 0x80 : group);
        ++out->len;
    }
}

// Compiles dotted text. The first two arcs share a subidentifier (X.690, 8.19.4).
constexpr Octets FromDotted(const char *dotted)
{
    Octets out;
    uint32_t first = 0;
    uint32_t arc = 0;
    uint32_t arcs = 0;
    for (const char *at = dotted;; ++at) {
        if (*at != '.' && *at != '\0') {
            arc = arc * 10 + static_cast<uint32_t>(*at - '0');
            continue;
        }
        if (arcs == 0) {
            first = arc;
        } else {
            AppendSubidentifier(&out, arcs == 1 ? first * 40 + arc : arc);
        }
        ++arcs;
        arc = 0;
        if (*at == '\0') {
            return out;
        }
    }
}

// No identifier ends in an octet with the top bit set.
constexpr Octets g_octets_AOID_UNKNOWN = {1, {0xFF}};

#define ROW(name, value, dotted) constexpr Octets g_octets_##name = FromDotted(dotted);
SIGKIT_OID_LIST(ROW)
#undef ROW

} // namespace

#define ROW(name, value, dotted)                                                                                       \
    {name, {g_octets_##name.len, 0, 0, ASN_TAG_OBJECT_IDENTIFIER, g_octets_##name.octets}, #name},
constexpr SigkitOidInfo g_skvOIDTable[] = {ROW(AOID_UNKNOWN, 0, "") SIGKIT_OID_LIST(ROW)};
#undef ROW
constexpr int32_t g_skvOidCount = std::size(g_skvOIDTable);
static_assert(g_skvOidCount == 24, "AOID_UNKNOWN and 23 identifiers");

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
