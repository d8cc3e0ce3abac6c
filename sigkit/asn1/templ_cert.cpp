#include "asn1/schema.h"
#include "x509/oid.h"

// clang-format off

// ---- Primitive types -----------------------------------------------------------------------------------------------

PRIMITIVE_ITEM(AsnBool,       g_skvAsnFuncInt,       ASN_CLASS_UNIVERSAL, 0, ASN_TAG_BOOLEAN);
PRIMITIVE_ITEM(AsnEnum,       g_skvAsnFuncInt,       ASN_CLASS_UNIVERSAL, 0, ASN_TAG_ENUMERATED);
PRIMITIVE_ITEM(AsnInt,        g_skvAsnFuncInt,       ASN_CLASS_UNIVERSAL, 0, ASN_TAG_INTEGER);
PRIMITIVE_ITEM(AsnBits,       g_skvAsnFuncBits,      ASN_CLASS_UNIVERSAL, 0, ASN_TAG_BIT_STRING);
PRIMITIVE_ITEM(AsnSet,        g_skvAsnFuncOct,       ASN_CLASS_UNIVERSAL, 1, ASN_TAG_SET);
PRIMITIVE_ITEM(AsnSeq,        g_skvAsnFuncOct,       ASN_CLASS_UNIVERSAL, 1, ASN_TAG_SEQUENCE);
PRIMITIVE_ITEM(AsnBigint,     g_skvAsnFuncOct,       ASN_CLASS_UNIVERSAL, 0, ASN_TAG_INTEGER);
PRIMITIVE_ITEM(AsnOcts,       g_skvAsnFuncOct,       SIGKIT_ASN_ANY, SIGKIT_ASN_ANY, SIGKIT_ASN_TAG_ANY);
PRIMITIVE_ITEM(AsnBitsToInt,  g_skvAsnFuncBitsToInt, ASN_CLASS_UNIVERSAL, 0, ASN_TAG_BIT_STRING);
PRIMITIVE_ITEM(AsnExku,       g_skvAsnFuncExku,      ASN_CLASS_UNIVERSAL, 0, ASN_TAG_OBJECT_IDENTIFIER);
PRIMITIVE_ITEM(AttrBundleRaw, g_skvAsnFuncOct,       ASN_CLASS_UNIVERSAL, 1, ASN_TAG_SET);

// ---- Names ---------------------------------------------------------------------------------------------------------

// AttributeTypeAndValue ::= SEQUENCE {                                                            RFC 5280, 4.1.2.4
#define RECORD SigkitX509AttrEntry
constexpr SigkitAsnTemplate g_templSigkitX509AttrEntry[] = {
    KEEP(type,  AsnOcts, UNIVERSAL, REQUIRED), // AttributeType (OBJECT IDENTIFIER)
    KEEP(value, AsnOcts, UNIVERSAL, REQUIRED), // AttributeValue (ANY) }
};
SEQUENCE_ITEM(X509AttrEntry);
#undef RECORD

// RelativeDistinguishedName ::= SET SIZE (1..MAX) OF AttributeTypeAndValue                        RFC 5280, 4.1.2.4
#define RECORD SigkitX509AttrBundle
constexpr SigkitAsnTemplate g_templSigkitX509AttrBundle[] = {
    ELEMENT(X509AttrEntry, 10, REQUIRED), // Narrowed: at most 10. Lenient: may be empty
};
SET_OF_ITEM(X509AttrBundle);
#undef RECORD

// Name ::= CHOICE { rdnSequence RDNSequence }                                                     RFC 5280, 4.1.2.4
// RDNSequence ::= SEQUENCE OF RelativeDistinguishedName
#define RECORD SigkitX509Name
constexpr SigkitAsnTemplate g_templSigkitX509Name[] = {
    ELEMENT(X509AttrBundle, 10, REQUIRED), // Narrowed: at most 10
};
SEQUENCE_OF_ITEM(X509Name);
#undef RECORD

// ---- Keys ----------------------------------------------------------------------------------------------------------

// AlgorithmIdentifier ::= SEQUENCE {                                                              RFC 5280, 4.1.1.2
#define RECORD SigkitX509AlgoIdentifier
constexpr SigkitAsnTemplate g_templSigkitX509AlgoIdentifier[] = {
    KEEP(algorithm,  AsnOcts, UNIVERSAL, REQUIRED), // OBJECT IDENTIFIER
    KEEP(parameters, AsnOcts, UNIVERSAL, OPTIONAL), // ANY DEFINED BY algorithm OPTIONAL }
};
SEQUENCE_ITEM(X509AlgoIdentifier);
#undef RECORD

// RSAPublicKey ::= SEQUENCE {                                                                     RFC 8017, A.1.1
#define RECORD SigkitRsaPublicKey
constexpr SigkitAsnTemplate g_templSigkitRsaPublicKey[] = {
    KEEP(modulus,        AsnBigint, UNIVERSAL, REQUIRED), // INTEGER
    KEEP(publicExponent, AsnBigint, UNIVERSAL, REQUIRED), // INTEGER }
};
SEQUENCE_ITEM(RsaPublicKey);
#undef RECORD

// What the BIT STRING subjectPublicKey holds                                                      RFC 3279, 2.3.1
#define RECORD SigkitX509PublicKey
constexpr SigkitAsnTemplate g_templSigkitX509PublicKey[] = {
    KEEP(rsaPublicKey, RsaPublicKey, UNIVERSAL, REQUIRED), // RSAPublicKey. Narrowed: no other key
};
BIT_STRING_ITEM(X509PublicKey);
#undef RECORD

// SubjectPublicKeyInfo ::= SEQUENCE {                                                             RFC 5280, 4.1
#define RECORD SigkitX509PubkeyInfo
constexpr SigkitAsnTemplate g_templSigkitX509PubkeyInfo[] = {
    KEEP(algorithm,        X509AlgoIdentifier, UNIVERSAL, REQUIRED), // AlgorithmIdentifier
    KEEP(subjectPublicKey, X509PublicKey,      UNIVERSAL, REQUIRED), // BIT STRING }
};
SEQUENCE_ITEM(X509PubkeyInfo);
#undef RECORD

// ---- Extensions ----------------------------------------------------------------------------------------------------

// Extension ::= SEQUENCE {                                                                        RFC 5280, 4.1
// Attribute ::= SEQUENCE { attrType OBJECT IDENTIFIER, attrValues SET OF AttributeValue }         RFC 5652, 5.3
#define RECORD SigkitX509ExtensionEntry
constexpr SigkitAsnTemplate g_templSigkitX509ExtensionEntry[] = {
    KEEP(extnID,    AsnOcts, UNIVERSAL, REQUIRED), // OBJECT IDENTIFIER; attrType
    KEEP(critical,  AsnBool, UNIVERSAL, DEFAULT),  // BOOLEAN DEFAULT FALSE; an Attribute has none
    KEEP(extnValue, AsnOcts, UNIVERSAL, REQUIRED), // OCTET STRING }; attrValues
};
SEQUENCE_ITEM(X509ExtensionEntry);
#undef RECORD

// BasicConstraints ::= SEQUENCE {                                                                 RFC 5280, 4.2.1.9
#define RECORD SigkitX509BasicConstraints
constexpr SigkitAsnTemplate g_templSigkitX509BasicConstraints[] = {
    KEEP(cA,                AsnBool, UNIVERSAL, DEFAULT),  // BOOLEAN DEFAULT FALSE
    DROP(pathLenConstraint, AsnOcts, UNIVERSAL, OPTIONAL), // INTEGER (0..MAX) OPTIONAL }. Lenient: any element
};
SEQUENCE_ITEM(X509BasicConstraints);
#undef RECORD

// ExtKeyUsageSyntax ::= SEQUENCE SIZE (1..MAX) OF KeyPurposeId                                    RFC 5280, 4.2.1.12
#define RECORD SigkitAsnOidBundle
constexpr SigkitAsnTemplate g_templSigkitAsnOidBundle[] = {
    ELEMENT(AsnOcts, 10, REQUIRED), // OBJECT IDENTIFIER. Narrowed: at most 10. Lenient: may be empty
};
SEQUENCE_OF_ITEM(AsnOidBundle);
#undef RECORD

// Extensions ::= SEQUENCE SIZE (1..MAX) OF Extension. Lenient: may be empty                       RFC 5280, 4.1
#define RECORD SigkitX509CertExts
constexpr SigkitAsnTemplate g_templSigkitX509CertExts[] = {
    KEEP(basicConstraints, X509BasicConstraints, MEMBER(AOID_CE_BASICCONSTRAINTS), OPTIONAL), // BasicConstraints
    KEEP(keyUsage,         AsnBitsToInt,         MEMBER(AOID_CE_KEYUSAGE),         OPTIONAL), // KeyUsage, 4.2.1.3
    KEEP(extKeyUsage,      AsnExku,              MEMBER(AOID_CE_EXTKEYUSAGE),      OPTIONAL), // ExtKeyUsageSyntax
};
MAP_ITEM(X509CertExts, ASN_TAG_SEQUENCE);
#undef RECORD

// ---- Certificates --------------------------------------------------------------------------------------------------

// Validity ::= SEQUENCE {                                                                         RFC 5280, 4.1
#define RECORD SigkitX509Validity
constexpr SigkitAsnTemplate g_templSigkitX509Validity[] = {
    KEEP(notBefore, AsnOcts, UNIVERSAL, REQUIRED), // Time (CHOICE of UTCTime and GeneralizedTime)
    KEEP(notAfter,  AsnOcts, UNIVERSAL, REQUIRED), // Time }
};
SEQUENCE_ITEM(X509Validity);
#undef RECORD

// TBSCertificate ::= SEQUENCE {                                                                   RFC 5280, 4.1
#define RECORD SigkitX509CertInfo
constexpr SigkitAsnTemplate g_templSigkitX509CertInfo[] = {
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
    KEEP(extensions,           X509CertExts,   EXPLICIT(3), OPTIONAL), // [3] EXPLICIT Extensions OPTIONAL }
};
SEQUENCE_ITEM(X509CertInfo);
#undef RECORD

// Certificate ::= SEQUENCE {                                                                      RFC 5280, 4.1
#define RECORD SigkitX509Cert
constexpr SigkitAsnTemplate g_templSigkitX509Cert[] = {
    KEEP(encoded,            AsnOcts,            UNIVERSAL, REQUIRED | PEEK | RAW), // tbsCertificate, whole
    KEEP(tbsCertificate,     X509CertInfo,       UNIVERSAL, REQUIRED), // TBSCertificate
    KEEP(signatureAlgorithm, X509AlgoIdentifier, UNIVERSAL, REQUIRED), // AlgorithmIdentifier
    KEEP(signatureValue,     AsnBits,            UNIVERSAL, REQUIRED), // BIT STRING }
};
SEQUENCE_ITEM(X509Cert);
#undef RECORD
