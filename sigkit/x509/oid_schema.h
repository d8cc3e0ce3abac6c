// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What becomes of the list of object identifiers while oid.cpp is compiled: dotted text becomes content octets, and a
// wrong row does not compile.
#ifndef X509_OID_SCHEMA_H
#define X509_OID_SCHEMA_H

#include <stddef.h>
#include <stdint.h>

#include "asn1/types.h"

// Content octets of an identifier, as many as the longest one of the table takes and some more.
struct InternalOidOctets {
    uint32_t len = 0;
    uint8_t octets[16] = {};
};

// Reads the decimal number at `*at`, of 32 bits and without leading zeros, and moves `*at` behind it. False when there
// is none.
constexpr bool InternalReadArc(const char **at, uint32_t *arc)
{
    const char *const first = *at;
    uint64_t value = 0;
    for (; **at >= '0' && **at <= '9' && value <= UINT32_MAX; ++*at) {
        value = value * 10 + static_cast<uint32_t>(**at - '0');
    }
    *arc = static_cast<uint32_t>(value);
    const auto digits = *at - first;
    return digits >= 1 && (digits == 1 || *first != '0') && value <= UINT32_MAX;
}

// Appends a subidentifier: base 128, most significant group first, all but the last with the top bit set
// (X.690, 8.19.2). False when there is no space.
constexpr bool InternalAppendSubidentifier(InternalOidOctets *out, uint64_t value)
{
    uint32_t groups = 1;
    while ((value >> (7 * groups)) != 0) {
        ++groups;
    }
    if (groups > sizeof(out->octets) - out->len) {
        return false;
    }
    for (uint32_t i = groups; i > 0; --i) {
        const uint32_t group = (value >> (7 * (i - 1))) & 0x7F;
        out->octets[out->len] = static_cast<uint8_t>(i > 1 ? group | 0x80 : group);
        ++out->len;
    }
    return true;
}

// Compiles dotted text of two or more arcs. The first is 0, 1 or 2, the second at most 39 below 2 (X.660, 7.6 and 7.7),
// as the two share a subidentifier (X.690, 8.19.4).
//
// Returns the octets; none when the text is no identifier, or one that is too long.
constexpr InternalOidOctets InternalOidFromDotted(const char *at)
{
    InternalOidOctets out;
    uint32_t root = 0;
    bool good = InternalReadArc(&at, &root) && root <= 2 && *at == '.';
    for (bool isSecond = true; good && *at == '.'; isSecond = false) {
        ++at;
        uint32_t arc = 0;
        good = InternalReadArc(&at, &arc) && (!isSecond || root == 2 || arc <= 39) &&
               InternalAppendSubidentifier(&out, isSecond ? uint64_t{root} * 40 + arc : arc);
    }
    return good && *at == '\0' ? out : InternalOidOctets{};
}

// Whether the numbers of rows ascend, so that none comes twice.
template <typename Row, size_t Count>
constexpr bool InternalOidsAscend(const Row (&rows)[Count])
{
    for (size_t i = 1; i < Count; ++i) {
        if (rows[i].aoid <= rows[i - 1].aoid) {
            return false;
        }
    }
    return true;
}

// Whether two views hold the same octets. SigkitCompareAsnOcts asks the host, which is not there yet.
constexpr bool InternalIsSameOid(const SigkitAsnOcts &a, const SigkitAsnOcts &b)
{
    bool same = a.len == b.len;
    for (uint32_t i = 0; same && i < a.len; ++i) {
        same = a.data[i] == b.data[i];
    }
    return same;
}

// Whether no two rows have the same identifier.
template <typename Row, size_t Count>
constexpr bool InternalOidsDiffer(const Row (&rows)[Count])
{
    for (size_t i = 1; i < Count; ++i) {
        for (size_t j = 0; j < i; ++j) {
            if (InternalIsSameOid(rows[i].oid, rows[j].oid)) {
                return false;
            }
        }
    }
    return true;
}

#endif
