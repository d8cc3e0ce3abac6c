#include "asn1/schema.h"
#include "x509/oid.h"

// clang-format off

// ---- Primitive types -----------------------------------------------------------------------------------------------

PRIMITIVE(AsnBool,       ASN_CLASS_UNIVERSAL, 0, ASN_TAG_BOOLEAN);
PRIMITIVE(AsnEnum,       ASN_CLASS_UNIVERSAL, 0, ASN_TAG_ENUMERATED);
PRIMITIVE(AsnInt,        ASN_CLASS_UNIVERSAL, 0, ASN_TAG_INTEGER);
PRIMITIVE(AsnBits,       ASN_CLASS_UNIVERSAL, 0, ASN_TAG_BIT_STRING);
PRIMITIVE(AsnSet,        ASN_CLASS_UNIVERSAL, 1, ASN_TAG_SET);
PRIMITIVE(AsnSeq,        ASN_CLASS_UNIVERSAL, 1, ASN_TAG_SEQUENCE);
PRIMITIVE(AsnBigint,     ASN_CLASS_UNIVERSAL, 0, ASN_TAG_INTEGER);
PRIMITIVE(AsnOcts,       SIGKIT_ASN_ANY, SIGKIT_ASN_ANY, SIGKIT_ASN_TAG_ANY);
PRIMITIVE(AsnBitsToInt,  ASN_CLASS_UNIVERSAL, 0, ASN_TAG_BIT_STRING);
PRIMITIVE(AsnExku,       ASN_CLASS_UNIVERSAL, 0, ASN_TAG_OBJECT_IDENTIFIER);
PRIMITIVE(AttrBundleRaw, ASN_CLASS_UNIVERSAL, 1, ASN_TAG_SET);

// ---- Names ---------------------------------------------------------------------------------------------------------

// AttributeTypeAndValue ::= SEQUENCE {                                                            RFC 5280, 4.1.2.4
#define RECORD SigkitX509AttrEntry
SEQUENCE(X509AttrEntry,
    KEEP(type,  AsnOcts, UNIVERSAL, REQUIRED), // AttributeType (OBJECT IDENTIFIER)
    KEEP(value, AsnOcts, UNIVERSAL, REQUIRED) // AttributeValue (ANY) }
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
    KEEP(algorithm,  AsnOcts, UNIVERSAL, REQUIRED), // OBJECT IDENTIFIER
    KEEP(parameters, AsnOcts, UNIVERSAL, OPTIONAL) // ANY DEFINED BY algorithm OPTIONAL }
);
#undef RECORD

// RSAPublicKey ::= SEQUENCE {                                                                     RFC 8017, A.1.1
#define RECORD SigkitRsaPublicKey
SEQUENCE(RsaPublicKey,
    KEEP(modulus,        AsnBigint, UNIVERSAL, REQUIRED), // INTEGER
    KEEP(publicExponent, AsnBigint, UNIVERSAL, REQUIRED) // INTEGER }
);
#undef RECORD

// What the BIT STRING subjectPublicKey holds                                                      RFC 3279, 2.3.1
#define RECORD SigkitX509PublicKey
BIT_STRING(X509PublicKey,
    KEEP(rsaPublicKey, RsaPublicKey, UNIVERSAL, REQUIRED) // RSAPublicKey. Narrowed: no other key
);
#undef RECORD

// SubjectPublicKeyInfo ::= SEQUENCE {                                                             RFC 5280, 4.1
#define RECORD SigkitX509PubkeyInfo
SEQUENCE(X509PubkeyInfo,
    KEEP(algorithm,        X509AlgoIdentifier, UNIVERSAL, REQUIRED), // AlgorithmIdentifier
    KEEP(subjectPublicKey, X509PublicKey,      UNIVERSAL, REQUIRED) // BIT STRING }
);
#undef RECORD

// ---- Extensions ----------------------------------------------------------------------------------------------------

// Extension ::= SEQUENCE {                                                                        RFC 5280, 4.1
// Attribute ::= SEQUENCE { attrType OBJECT IDENTIFIER, attrValues SET OF AttributeValue }         RFC 5652, 5.3
#define RECORD SigkitX509ExtensionEntry
SEQUENCE(X509ExtensionEntry,
    KEEP(extnID,    AsnOcts, UNIVERSAL, REQUIRED), // OBJECT IDENTIFIER; attrType
    KEEP(critical,  AsnBool, UNIVERSAL, DEFAULT),  // BOOLEAN DEFAULT FALSE; an Attribute has none
    KEEP(extnValue, AsnOcts, UNIVERSAL, REQUIRED) // OCTET STRING }; attrValues
);
#undef RECORD

// BasicConstraints ::= SEQUENCE {                                                                 RFC 5280, 4.2.1.9
#define RECORD SigkitX509BasicConstraints
SEQUENCE(X509BasicConstraints,
    KEEP(cA,                AsnBool, UNIVERSAL, DEFAULT),  // BOOLEAN DEFAULT FALSE
    DROP(pathLenConstraint, AsnOcts, UNIVERSAL, OPTIONAL) // INTEGER (0..MAX) OPTIONAL }. Widened: any element
);
#undef RECORD

// ExtKeyUsageSyntax ::= SEQUENCE SIZE (1..MAX) OF KeyPurposeId                                    RFC 5280, 4.2.1.12
#define RECORD SigkitAsnOidBundle
SEQUENCE_OF(AsnOidBundle,
    ELEMENT(AsnOcts, 10, REQUIRED) // OBJECT IDENTIFIER. Narrowed: at most 10. Widened: may be empty
);
#undef RECORD

// Extensions ::= SEQUENCE SIZE (1..MAX) OF Extension. Widened: may be empty                       RFC 5280, 4.1
#define RECORD SigkitX509CertExts
EXTENSIONS(X509CertExts,
    KEEP(basicConstraints, X509BasicConstraints, MEMBER(AOID_CE_BASICCONSTRAINTS), OPTIONAL), // BasicConstraints
    KEEP(keyUsage,         AsnBitsToInt,         MEMBER(AOID_CE_KEYUSAGE),         OPTIONAL), // KeyUsage, 4.2.1.3
    KEEP(extKeyUsage,      AsnExku,              MEMBER(AOID_CE_EXTKEYUSAGE),      OPTIONAL) // ExtKeyUsageSyntax
);
#undef RECORD

// ---- Certificates --------------------------------------------------------------------------------------------------

// Validity ::= SEQUENCE {                                                                         RFC 5280, 4.1
#define RECORD SigkitX509Validity
SEQUENCE(X509Validity,
    KEEP(notBefore, AsnOcts, UNIVERSAL, REQUIRED), // Time (CHOICE of UTCTime and GeneralizedTime)
    KEEP(notAfter,  AsnOcts, UNIVERSAL, REQUIRED) // Time }
);
#undef RECORD

// TBSCertificate ::= SEQUENCE {                                                                   RFC 5280, 4.1
#define RECORD SigkitX509CertInfo
SEQUENCE(X509CertInfo,
    DROP(version,              AsnInt,         EXPLICIT(0), REQUIRED), // [0] EXPLICIT Version DEFAULT v1. Narrowed:
                                                                       // must be there, so v1 is refused
    KEEP(serialNumber,         AsnBigint,      UNIVERSAL,   REQUIRED), // CertificateSerialNumber
    DROP(signature,            AsnSeq,         UNIVERSAL,   REQUIRED), // AlgorithmIdentifier
    KEEP(issuer,               X509Name,       UNIVERSAL,   REQUIRED), // Name
    KEEP(validity,             X509Validity,   UNIVERSAL,   REQUIRED), // Validity
    KEEP(subject,              X509Name,       UNIVERSAL,   REQUIRED), // Name
    KEEP(subjectPublicKeyInfo, X509PubkeyInfo, UNIVERSAL,   REQUIRED), // SubjectPublicKeyInfo
    DROP(issuerUniqueID,       AsnBits,        IMPLICIT(1), OPTIONAL), // [1] IMPLICIT UniqueIdentifier OPTIONAL
    DROP(subjectUniqueID,      AsnBits,        IMPLICIT(2), OPTIONAL), // [2] IMPLICIT UniqueIdentifier OPTIONAL
    KEEP(extensions,           X509CertExts,   EXPLICIT(3), OPTIONAL) // [3] EXPLICIT Extensions OPTIONAL }
);
#undef RECORD

// Certificate ::= SEQUENCE {                                                                      RFC 5280, 4.1
#define RECORD SigkitX509Cert
SEQUENCE(X509Cert,
    KEEP(encoded,            AsnOcts,            UNIVERSAL, REQUIRED | PEEK | RAW), // tbsCertificate, whole
    KEEP(tbsCertificate,     X509CertInfo,       UNIVERSAL, REQUIRED), // TBSCertificate
    KEEP(signatureAlgorithm, X509AlgoIdentifier, UNIVERSAL, REQUIRED), // AlgorithmIdentifier
    KEEP(signatureValue,     AsnBits,            UNIVERSAL, REQUIRED) // BIT STRING }
);
#undef RECORD
