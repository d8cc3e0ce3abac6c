// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "asn1/schema.h"
#include "x509/oid.h"

// clang-format off

// crlEntryExtensions: Extensions. Widened: may be empty; a certificateIssuer (5.3.3) is skipped,  RFC 5280, 5.3
// critical as it is
#define RECORD SigkitX509RevokeAttrs
EXTENSIONS(X509RevokeAttrs,
    KEEP(reasonCode, AsnEnum, MEMBER(AOID_CE_CRLREASONS), OPTIONAL) // CRLReason (ENUMERATED), 5.3.1. Widened: any value
);
#undef RECORD

// An entry of revokedCertificates: SEQUENCE {                                                     RFC 5280, 5.1
#define RECORD SigkitX509RevokeEntry
SEQUENCE(X509RevokeEntry,
    KEEP(userCertificate,    AsnBigint,       UNIVERSAL, REQUIRED), // CertificateSerialNumber (INTEGER). Widened as
                                                                    // AsnBigint
    KEEP(revocationDate,     AsnOcts,         UNIVERSAL, REQUIRED), // Time. Widened: any element
    KEEP(crlEntryExtensions, X509RevokeAttrs, UNIVERSAL, OPTIONAL)  // Extensions OPTIONAL }
);
#undef RECORD

// revokedCertificates: SEQUENCE OF, absent rather than empty                                      RFC 5280, 5.1.2.6
#define RECORD SigkitX509Revoked
SEQUENCE_OF(X509Revoked,
    ELEMENT(X509RevokeEntry, 20, REQUIRED) // Narrowed: at most 20. Widened: may be empty
);
#undef RECORD

// IssuingDistributionPoint ::= SEQUENCE {                                                         RFC 5280, 5.2.5
#define RECORD SigkitX509IssuingDistPoint
SEQUENCE(X509IssuingDistPoint,
    KEEP(distributionPoint,          AsnOcts, IMPLICIT(0), OPTIONAL), // [0] DistributionPointName OPTIONAL: a CHOICE,
                                                                      // so the tag is in effect EXPLICIT, and the view
                                                                      // is the wrapper's content: the name as it
                                                                      // stands. Widened: any content. Skipped
    KEEP(onlyContainsUserCerts,      AsnBool, IMPLICIT(1), OPTIONAL), // [1] BOOLEAN DEFAULT FALSE. Skipped
    KEEP(onlyContainsCACerts,        AsnBool, IMPLICIT(2), OPTIONAL), // [2] BOOLEAN DEFAULT FALSE. Skipped
    KEEP(onlySomeReasons,            AsnBits, IMPLICIT(3), OPTIONAL), // [3] ReasonFlags OPTIONAL. Skipped. Widened as
                                                                      // AsnBits
    KEEP(indirectCRL,                AsnBool, IMPLICIT(4), OPTIONAL), // [4] BOOLEAN DEFAULT FALSE
    KEEP(onlyContainsAttributeCerts, AsnBool, IMPLICIT(5), OPTIONAL)  // [5] BOOLEAN DEFAULT FALSE }. Skipped
);
#undef RECORD

// crlExtensions: Extensions. Widened: may be empty, and have no cRLNumber (5.2.3) and no          RFC 5280, 5.2
// authorityKeyIdentifier (5.2.1); a deltaCRLIndicator (5.2.4) is skipped, critical as it is
#define RECORD SigkitX509CrlAttrs
EXTENSIONS(X509CrlAttrs,
    KEEP(issuingDistributionPoint, X509IssuingDistPoint, MEMBER(AOID_CE_ISSUINGDISTRIBUTIONPOINT), OPTIONAL) // 5.2.5
);
#undef RECORD

// TBSCertList ::= SEQUENCE {                                                                      RFC 5280, 5.1
#define RECORD SigkitX509CrlInfo
SEQUENCE(X509CrlInfo,
    KEEP(version,             AsnInt,             UNIVERSAL,   REQUIRED), // Version OPTIONAL. Narrowed: must be there,
                                                                          // so v1 is refused; at most four octets.
                                                                          // Widened: any INTEGER. Skipped
    KEEP(signature,           X509AlgoIdentifier, UNIVERSAL,   REQUIRED), // AlgorithmIdentifier. Widened: another one
                                                                          // than signatureAlgorithm (5.1.2.2)
    KEEP(issuer,              X509Name,           UNIVERSAL,   REQUIRED), // Name
    KEEP(thisUpdate,          AsnOcts,            UNIVERSAL,   REQUIRED), // Time. Widened: any element
    KEEP(nextUpdate,          AsnOcts,            UNIVERSAL,   REQUIRED), // Time OPTIONAL. Narrowed: must be there
                                                                          // (5.1.2.5). Widened: any element
    KEEP(revokedCertificates, X509Revoked,        UNIVERSAL,   OPTIONAL), // SEQUENCE OF SEQUENCE { ... } OPTIONAL
    KEEP(crlExtensions,       X509CrlAttrs,       EXPLICIT(0), OPTIONAL)  // [0] EXPLICIT Extensions OPTIONAL }
);
#undef RECORD

// CertificateList ::= SEQUENCE {                                                                  RFC 5280, 5.1
#define RECORD SigkitX509Crl
SEQUENCE(X509Crl,
    KEEP(encoded,            AsnOcts,            UNIVERSAL, REQUIRED | PEEK | RAW), // tbsCertList, whole
    KEEP(tbsCertList,        X509CrlInfo,        UNIVERSAL, REQUIRED),              // TBSCertList
    KEEP(signatureAlgorithm, X509AlgoIdentifier, UNIVERSAL, REQUIRED),              // AlgorithmIdentifier
    KEEP(signatureValue,     AsnBits,            UNIVERSAL, REQUIRED)               // BIT STRING }. Widened as AsnBits
);
#undef RECORD
