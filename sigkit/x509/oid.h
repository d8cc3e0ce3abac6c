// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Object identifiers: each that the library knows is one small number, its AOID.
//
// Logs: nothing, in any function of this header.
#ifndef X509_OID_H
#define X509_OID_H

#include <stdint.h>

#include "asn1/types.h"

//  name                              value  identifier                         defined in
#define SIGKIT_OID_LIST(ROW)                                                                                           \
    ROW(AOID_SHA256, 43, "2.16.840.1.101.3.4.2.1")                        /* RFC 5754, 2.2      */                     \
    ROW(AOID_SHA384, 44, "2.16.840.1.101.3.4.2.2")                        /* RFC 5754, 2.3      */                     \
    ROW(AOID_SHA512, 45, "2.16.840.1.101.3.4.2.3")                        /* RFC 5754, 2.4      */                     \
    ROW(AOID_SHA256WITHRSAENCRYPTION, 63, "1.2.840.113549.1.1.11")        /* RFC 4055, 5        */                     \
    ROW(AOID_SHA384WITHRSAENCRYPTION, 64, "1.2.840.113549.1.1.12")        /* RFC 4055, 5        */                     \
    ROW(AOID_SHA512WITHRSAENCRYPTION, 65, "1.2.840.113549.1.1.13")        /* RFC 4055, 5        */                     \
    ROW(AOID_AT_COMMONNAME, 161, "2.5.4.3")                               /* RFC 5280, A.1      */                     \
    ROW(AOID_AT_LOCALITYNAME, 162, "2.5.4.7")                             /* RFC 5280, A.1      */                     \
    ROW(AOID_AT_STATEORPROVINCENAME, 163, "2.5.4.8")                      /* RFC 5280, A.1      */                     \
    ROW(AOID_AT_ORGANIZATIONNAME, 164, "2.5.4.10")                        /* RFC 5280, A.1      */                     \
    ROW(AOID_AT_ORGANIZATIONALUNITNAME, 165, "2.5.4.11")                  /* RFC 5280, A.1      */                     \
    ROW(AOID_AT_COUNTRYNAME, 168, "2.5.4.6")                              /* RFC 5280, A.1      */                     \
    ROW(AOID_PKCS9_AT_EMAILADDRESS, 172, "1.2.840.113549.1.9.1")          /* RFC 5280, A.1      */                     \
    ROW(AOID_CE_KEYUSAGE, 176, "2.5.29.15")                               /* RFC 5280, 4.2.1.3  */                     \
    ROW(AOID_CE_BASICCONSTRAINTS, 184, "2.5.29.19")                       /* RFC 5280, 4.2.1.9  */                     \
    ROW(AOID_CE_EXTKEYUSAGE, 188, "2.5.29.37")                            /* RFC 5280, 4.2.1.12 */                     \
    ROW(AOID_KP_CODESIGNING, 192, "1.3.6.1.5.5.7.3.3")                    /* RFC 5280, 4.2.1.12 */                     \
    ROW(AOID_KP_TIMESTAMPING, 193, "1.3.6.1.5.5.7.3.8")                   /* RFC 5280, 4.2.1.12 */                     \
    ROW(AOID_CE_ISSUINGDISTRIBUTIONPOINT, 202, "2.5.29.28")               /* RFC 5280, 5.2.5    */                     \
    ROW(AOID_CE_CRLREASONS, 204, "2.5.29.21")                             /* RFC 5280, 5.3.1    */                     \
    ROW(AOID_PKCS7_SIGNEDDATA, 264, "1.2.840.113549.1.7.2")               /* RFC 5652, 5.1      */                     \
    ROW(AOID_PKCS9_AT_MESSAGEDIGEST, 271, "1.2.840.113549.1.9.4")         /* RFC 5652, 11.2     */                     \
    ROW(AOID_PKCS9_AT_TIMESTAMP_TOKEN, 307, "1.2.840.113549.1.9.16.2.14") /* RFC 3161, A     */

#define ROW(name, value, dotted) name = value,
enum : uint32_t { AOID_UNKNOWN = 0, SIGKIT_OID_LIST(ROW) };
#undef ROW

// One row of the table.
struct SigkitOidInfo {
    uint32_t aoid;
    SigkitAsnOcts oid; // content octets of the identifier
    const char *name;  // the enumerator's own name
};

// All identifiers, AOID_UNKNOWN first: its octets are those of no identifier.
extern const SigkitOidInfo g_skvOIDTable[];
extern const int32_t g_skvOidCount;

// Returns the content octets of an identifier, or null when the number is not in the table.
[[nodiscard]] const SigkitAsnOcts *SigkitFindOid(uint32_t aoid);

// Returns the number of an identifier, or AOID_UNKNOWN when it is not in the table or `oid` is null. Lenient: only the
// content octets count, whatever the element's tag.
[[nodiscard]] uint32_t SigkitFindAoid(const SigkitAsnOcts *oid);

// Compares the octets of two views; class, flag and tag are left out. Returns 0 when they are equal, -1 when a view is
// null or the lengths differ, and another value when the octets do.
[[nodiscard]] int32_t SigkitCompareAsnOcts(const SigkitAsnOcts *a, const SigkitAsnOcts *b);

// Returns the digest, AOID_SHA256, AOID_SHA384 or AOID_SHA512, of a digest algorithm or of a signature algorithm of
// RSASSA-PKCS1-v1_5; 0 for every other identifier. The name says less: of a signer it is the digest's identifier alone
// that comes here.
[[nodiscard]] uint32_t SigkitGetHashAoidFromSign(const SigkitAsnOcts *algorithm);

#endif
