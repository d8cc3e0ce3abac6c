// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "asn1/schema.h"
#include "x509/oid.h"

// clang-format off

// ---- Primitive types -----------------------------------------------------------------------------------------------

PRIMITIVE(AsnBool,       ASN_CLASS_UNIVERSAL, 0, ASN_TAG_BOOLEAN);           // Widened: any octet but FF is FALSE
                                                                             // (X.690, 11.1)
PRIMITIVE(AsnEnum,       ASN_CLASS_UNIVERSAL, 0, ASN_TAG_ENUMERATED);        // Narrowed: at most four octets. Widened:
                                                                             // more than the value takes (X.690, 8.3.2)
PRIMITIVE(AsnInt,        ASN_CLASS_UNIVERSAL, 0, ASN_TAG_INTEGER);           // Where it is kept, as AsnEnum. Widened:
                                                                             // where it is dropped, any number of
                                                                             // octets, and none
PRIMITIVE(AsnBits,       ASN_CLASS_UNIVERSAL, 0, ASN_TAG_BIT_STRING);        // Widened: any count of unused bits, and
                                                                             // they count (X.690, 8.6.2.2 and 11.2.1)
PRIMITIVE(AsnSet,        ASN_CLASS_UNIVERSAL, 1, ASN_TAG_SET);               // Widened: any content
PRIMITIVE(AsnSeq,        ASN_CLASS_UNIVERSAL, 1, ASN_TAG_SEQUENCE);          // Widened: any content
PRIMITIVE(AsnBigint,     ASN_CLASS_UNIVERSAL, 0, ASN_TAG_INTEGER);           // Widened: no octet, or more than the
                                                                             // value takes (X.690, 8.3)
PRIMITIVE(AsnOcts,       SIGKIT_ASN_ANY, SIGKIT_ASN_ANY, SIGKIT_ASN_TAG_ANY); // any element
PRIMITIVE(AsnBitsToInt,  ASN_CLASS_UNIVERSAL, 0, ASN_TAG_BIT_STRING);        // Widened as AsnBits. Narrowed: one or two
                                                                             // octets behind the count
PRIMITIVE(AsnExku,       ASN_CLASS_UNIVERSAL, 0, ASN_TAG_OBJECT_IDENTIFIER); // Reads an AsnOidBundle, whatever the tag
                                                                             // here. Narrowed: only the first purpose
                                                                             // counts
PRIMITIVE(AttrBundleRaw, ASN_CLASS_UNIVERSAL, 1, ASN_TAG_SET);               // Widened: any content

// ---- Names ---------------------------------------------------------------------------------------------------------

// AttributeTypeAndValue ::= SEQUENCE {                                                            RFC 5280, 4.1.2.4
#define RECORD SigkitX509AttrEntry
SEQUENCE(X509AttrEntry,
    KEEP(type,  AsnOcts, UNIVERSAL, REQUIRED), // AttributeType (OBJECT IDENTIFIER). Widened: any element
    KEEP(value, AsnOcts, UNIVERSAL, REQUIRED)  // AttributeValue (ANY) }
);
#undef RECORD

// RelativeDistinguishedName ::= SET SIZE (1..MAX) OF AttributeTypeAndValue                        RFC 5280, 4.1.2.4
#define RECORD SigkitX509AttrBundle
SET_OF(X509AttrBundle,
    ELEMENT(X509AttrEntry, 10, REQUIRED) // Narrowed: at most 10. Widened: may be empty
);
#undef RECORD

// Name ::= CHOICE { rdnSequence RDNSequence }                                                     RFC 5280, 4.1.2.4
// RDNSequence ::= SEQUENCE OF RelativeDistinguishedName
#define RECORD SigkitX509Name
SEQUENCE_OF(X509Name,
    ELEMENT(X509AttrBundle, 10, REQUIRED) // Narrowed: at most 10
);
#undef RECORD

// ---- Keys ----------------------------------------------------------------------------------------------------------

// AlgorithmIdentifier ::= SEQUENCE {                                                              RFC 5280, 4.1.1.2
#define RECORD SigkitX509AlgoIdentifier
SEQUENCE(X509AlgoIdentifier,
    KEEP(algorithm,  AsnOcts, UNIVERSAL, REQUIRED), // OBJECT IDENTIFIER. Widened: any element
    KEEP(parameters, AsnOcts, UNIVERSAL, OPTIONAL)  // ANY DEFINED BY algorithm OPTIONAL }. Skipped
);
#undef RECORD

// RSAPublicKey ::= SEQUENCE {                                                                     RFC 8017, A.1.1
#define RECORD SigkitRsaPublicKey
SEQUENCE(RsaPublicKey,
    KEEP(modulus,        AsnBigint, UNIVERSAL, REQUIRED), // INTEGER. Widened as AsnBigint
    KEEP(publicExponent, AsnBigint, UNIVERSAL, REQUIRED)  // INTEGER }. Widened as AsnBigint
);
#undef RECORD

// What the BIT STRING subjectPublicKey holds                                                      RFC 3279, 2.3.1
#define RECORD SigkitX509PublicKey
BIT_STRING(X509PublicKey,
    KEEP(rsaPublicKey, RsaPublicKey, UNIVERSAL, REQUIRED) // RSAPublicKey. Narrowed: no other key. Widened: any count of
                                                          // unused bits
);
#undef RECORD

// SubjectPublicKeyInfo ::= SEQUENCE {                                                             RFC 5280, 4.1
#define RECORD SigkitX509PubkeyInfo
SEQUENCE(X509PubkeyInfo,
    KEEP(algorithm,        X509AlgoIdentifier, UNIVERSAL, REQUIRED), // AlgorithmIdentifier. Skipped: taken for
                                                                     // rsaEncryption (RFC 3279, 2.3.1)
    KEEP(subjectPublicKey, X509PublicKey,      UNIVERSAL, REQUIRED)  // BIT STRING }. Narrowed: holds an RSAPublicKey
);
#undef RECORD

// ---- Extensions ----------------------------------------------------------------------------------------------------

// Extension ::= SEQUENCE {                                                                        RFC 5280, 4.1
// Attribute ::= SEQUENCE { attrType OBJECT IDENTIFIER, attrValues SET OF AttributeValue }         RFC 5652, 5.3
#define RECORD SigkitX509ExtensionEntry
SEQUENCE(X509ExtensionEntry,
    KEEP(extnID,    AsnOcts, UNIVERSAL, REQUIRED), // OBJECT IDENTIFIER; attrType. Widened: any element
    KEEP(critical,  AsnBool, UNIVERSAL, DEFAULT),  // BOOLEAN DEFAULT FALSE. Skipped. Widened: an Attribute has none,
                                                   // and may have one
    KEEP(extnValue, AsnOcts, UNIVERSAL, REQUIRED)  // OCTET STRING; attrValues (SET OF) }. Widened: any element
);
#undef RECORD

// BasicConstraints ::= SEQUENCE {                                                                 RFC 5280, 4.2.1.9
#define RECORD SigkitX509BasicConstraints
SEQUENCE(X509BasicConstraints,
    KEEP(cA,                AsnBool, UNIVERSAL, DEFAULT), // BOOLEAN DEFAULT FALSE
    DROP(pathLenConstraint, AsnOcts, UNIVERSAL, OPTIONAL) // INTEGER (0..MAX) OPTIONAL }. Widened: any element
);
#undef RECORD

// ExtKeyUsageSyntax ::= SEQUENCE SIZE (1..MAX) OF KeyPurposeId                                    RFC 5280, 4.2.1.12
#define RECORD SigkitAsnOidBundle
SEQUENCE_OF(AsnOidBundle,
    ELEMENT(AsnOcts, 10, REQUIRED) // KeyPurposeId (OBJECT IDENTIFIER). Widened: any element; may be empty. Narrowed: at
                                   // most 10
);
#undef RECORD

// Extensions ::= SEQUENCE SIZE (1..MAX) OF Extension. Widened: may be empty                       RFC 5280, 4.1
// KeyUsage ::= BIT STRING, read as AsnBitsToInt; ExtKeyUsageSyntax, read as AsnExku
#define RECORD SigkitX509CertExts
EXTENSIONS(X509CertExts,
    KEEP(basicConstraints, X509BasicConstraints, MEMBER(AOID_CE_BASICCONSTRAINTS), OPTIONAL), // 4.2.1.9
    KEEP(keyUsage,         AsnBitsToInt,         MEMBER(AOID_CE_KEYUSAGE),         OPTIONAL), // 4.2.1.3
    KEEP(extKeyUsage,      AsnExku,              MEMBER(AOID_CE_EXTKEYUSAGE),      OPTIONAL)  // 4.2.1.12
);
#undef RECORD

// ---- Certificates --------------------------------------------------------------------------------------------------

// Validity ::= SEQUENCE {                                                                         RFC 5280, 4.1
#define RECORD SigkitX509Validity
SEQUENCE(X509Validity,
    KEEP(notBefore, AsnOcts, UNIVERSAL, REQUIRED), // Time (CHOICE of UTCTime and GeneralizedTime). Widened: any
                                                   // element: who reads the time looks at the tag
    KEEP(notAfter,  AsnOcts, UNIVERSAL, REQUIRED)  // Time }. Widened: any element
);
#undef RECORD

// TBSCertificate ::= SEQUENCE {                                                                   RFC 5280, 4.1
#define RECORD SigkitX509CertInfo
SEQUENCE(X509CertInfo,
    DROP(version,              AsnInt,         EXPLICIT(0), REQUIRED), // [0] EXPLICIT Version DEFAULT v1. Narrowed:
                                                                       // must be there. Widened: any INTEGER
    KEEP(serialNumber,         AsnBigint,      UNIVERSAL,   REQUIRED), // CertificateSerialNumber (INTEGER). Widened as
                                                                       // AsnBigint; of any length (4.1.2.2)
    DROP(signature,            AsnSeq,         UNIVERSAL,   REQUIRED), // AlgorithmIdentifier. Widened: any SEQUENCE,
                                                                       // and another one than signatureAlgorithm
                                                                       // (4.1.2.3)
    KEEP(issuer,               X509Name,       UNIVERSAL,   REQUIRED), // Name
    KEEP(validity,             X509Validity,   UNIVERSAL,   REQUIRED), // Validity
    KEEP(subject,              X509Name,       UNIVERSAL,   REQUIRED), // Name
    KEEP(subjectPublicKeyInfo, X509PubkeyInfo, UNIVERSAL,   REQUIRED), // SubjectPublicKeyInfo
    DROP(issuerUniqueID,       AsnBits,        IMPLICIT(1), OPTIONAL), // [1] IMPLICIT UniqueIdentifier OPTIONAL
    DROP(subjectUniqueID,      AsnBits,        IMPLICIT(2), OPTIONAL), // [2] IMPLICIT UniqueIdentifier OPTIONAL
    KEEP(extensions,           X509CertExts,   EXPLICIT(3), OPTIONAL)  // [3] EXPLICIT Extensions OPTIONAL }. Widened:
                                                                       // in a certificate of any version
);
#undef RECORD

// Certificate ::= SEQUENCE {                                                                      RFC 5280, 4.1
#define RECORD SigkitX509Cert
SEQUENCE(X509Cert,
    KEEP(encoded,            AsnOcts,            UNIVERSAL, REQUIRED | PEEK | RAW), // tbsCertificate, whole
    KEEP(tbsCertificate,     X509CertInfo,       UNIVERSAL, REQUIRED),              // TBSCertificate
    KEEP(signatureAlgorithm, X509AlgoIdentifier, UNIVERSAL, REQUIRED),              // AlgorithmIdentifier
    KEEP(signatureValue,     AsnBits,            UNIVERSAL, REQUIRED)               // BIT STRING }. Widened as AsnBits
);
#undef RECORD
