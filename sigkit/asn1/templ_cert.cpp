#include "asn1/schema.h"
#include "x509/oid.h"

// clang-format off

// ---- Primitive types -----------------------------------------------------------------------------------------------

PRIMITIVE_ITEM(SigkitAsnBool,       g_skvAsnFuncInt,       ASN_CLASS_UNIVERSAL, 0, ASN_TAG_BOOLEAN);
PRIMITIVE_ITEM(SigkitAsnEnum,       g_skvAsnFuncInt,       ASN_CLASS_UNIVERSAL, 0, ASN_TAG_ENUMERATED);
PRIMITIVE_ITEM(SigkitAsnInt,        g_skvAsnFuncInt,       ASN_CLASS_UNIVERSAL, 0, ASN_TAG_INTEGER);
PRIMITIVE_ITEM(SigkitAsnBits,       g_skvAsnFuncBits,      ASN_CLASS_UNIVERSAL, 0, ASN_TAG_BIT_STRING);
PRIMITIVE_ITEM(SigkitAsnSet,        g_skvAsnFuncOct,       ASN_CLASS_UNIVERSAL, 1, ASN_TAG_SET);
PRIMITIVE_ITEM(SigkitAsnSeq,        g_skvAsnFuncOct,       ASN_CLASS_UNIVERSAL, 1, ASN_TAG_SEQUENCE);
PRIMITIVE_ITEM(SigkitAsnBigint,     g_skvAsnFuncOct,       ASN_CLASS_UNIVERSAL, 0, ASN_TAG_INTEGER);
PRIMITIVE_ITEM(SigkitAsnOcts,       g_skvAsnFuncOct,       SIGKIT_ASN_ANY, SIGKIT_ASN_ANY, SIGKIT_ASN_TAG_ANY);
PRIMITIVE_ITEM(SigkitAsnBitsToInt,  g_skvAsnFuncBitsToInt, ASN_CLASS_UNIVERSAL, 0, ASN_TAG_BIT_STRING);
PRIMITIVE_ITEM(SigkitAsnExku,       g_skvAsnFuncExku,      ASN_CLASS_UNIVERSAL, 0, ASN_TAG_OBJECT_IDENTIFIER);
PRIMITIVE_ITEM(SigkitAttrBundleRaw, g_skvAsnFuncOct,       ASN_CLASS_UNIVERSAL, 1, ASN_TAG_SET);

// ---- Names ---------------------------------------------------------------------------------------------------------

// AttributeTypeAndValue ::= SEQUENCE {                                                            RFC 5280, 4.1.2.4
constexpr SigkitAsnTemplate g_templSigkitX509AttrEntry[] = {
    KEEP(SigkitX509AttrEntry, type,  g_itemSigkitAsnOcts, UNIVERSAL, REQUIRED),  // OBJECT IDENTIFIER
    KEEP(SigkitX509AttrEntry, value, g_itemSigkitAsnOcts, UNIVERSAL, REQUIRED),  // ANY
};
SEQUENCE_ITEM(SigkitX509AttrEntry);

// RelativeDistinguishedName ::= SET SIZE (1..MAX) OF AttributeTypeAndValue. Narrowed: at most 10; lenient: may be empty
constexpr SigkitAsnTemplate g_templSigkitX509AttrBundle[] = {
    ELEMENT(SigkitX509AttrBundle, g_itemSigkitX509AttrEntry, 10, REQUIRED),
};
SET_OF_ITEM(SigkitX509AttrBundle, ASN_TAG_SET);

// RDNSequence ::= SEQUENCE OF RelativeDistinguishedName. Narrowed: at most 10
constexpr SigkitAsnTemplate g_templSigkitX509Name[] = {
    ELEMENT(SigkitX509Name, g_itemSigkitX509AttrBundle, 10, REQUIRED),
};
SET_OF_ITEM(SigkitX509Name, ASN_TAG_SEQUENCE);

// ---- Keys ----------------------------------------------------------------------------------------------------------

// AlgorithmIdentifier ::= SEQUENCE {                                                              RFC 5280, 4.1.1.2
constexpr SigkitAsnTemplate g_templSigkitX509AlgoIdentifier[] = {
    KEEP(SigkitX509AlgoIdentifier, algorithm,  g_itemSigkitAsnOcts, UNIVERSAL, REQUIRED),  // OBJECT IDENTIFIER
    KEEP(SigkitX509AlgoIdentifier, parameters, g_itemSigkitAsnOcts, UNIVERSAL, OPTIONAL),
};
SEQUENCE_ITEM(SigkitX509AlgoIdentifier);

// RSAPublicKey ::= SEQUENCE {                                                                     RFC 8017, A.1.1
constexpr SigkitAsnTemplate g_templSigkitRsaPublicKey[] = {
    KEEP(SigkitRsaPublicKey, modulus,        g_itemSigkitAsnBigint, UNIVERSAL, REQUIRED),
    KEEP(SigkitRsaPublicKey, publicExponent, g_itemSigkitAsnBigint, UNIVERSAL, REQUIRED),
};
SEQUENCE_ITEM(SigkitRsaPublicKey);

// subjectPublicKey BIT STRING. Narrowed: it must hold an RSAPublicKey                             RFC 3279, 2.3.1
constexpr SigkitAsnTemplate g_templSigkitX509PublicKey[] = {
    KEEP(SigkitX509PublicKey, rsaPublicKey, g_itemSigkitRsaPublicKey, UNIVERSAL, REQUIRED),
};
CONSTRUCTED_ITEM(SigkitX509PublicKey, g_skvAsnFuncSeq, ASN_TAG_BIT_STRING, 0);

// SubjectPublicKeyInfo ::= SEQUENCE {                                                             RFC 5280, 4.1
constexpr SigkitAsnTemplate g_templSigkitX509PubkeyInfo[] = {
    KEEP(SigkitX509PubkeyInfo, algorithm,        g_itemSigkitX509AlgoIdentifier, UNIVERSAL, REQUIRED),
    KEEP(SigkitX509PubkeyInfo, subjectPublicKey, g_itemSigkitX509PublicKey,      UNIVERSAL, REQUIRED),
};
SEQUENCE_ITEM(SigkitX509PubkeyInfo);

// ---- Extensions ----------------------------------------------------------------------------------------------------

// Extension ::= SEQUENCE {                                                                        RFC 5280, 4.1
constexpr SigkitAsnTemplate g_templSigkitX509ExtensionEntry[] = {
    KEEP(SigkitX509ExtensionEntry, extnID,    g_itemSigkitAsnOcts, UNIVERSAL, REQUIRED),  // OBJECT IDENTIFIER
    KEEP(SigkitX509ExtensionEntry, critical,  g_itemSigkitAsnBool, UNIVERSAL, DEFAULT),   // FALSE
    KEEP(SigkitX509ExtensionEntry, extnValue, g_itemSigkitAsnOcts, UNIVERSAL, REQUIRED),  // OCTET STRING, or SET
};
SEQUENCE_ITEM(SigkitX509ExtensionEntry);

// BasicConstraints ::= SEQUENCE {                                                                 RFC 5280, 4.2.1.9
constexpr SigkitAsnTemplate g_templSigkitX509BasicConstraints[] = {
    KEEP(SigkitX509BasicConstraints, cA, g_itemSigkitAsnBool, UNIVERSAL, DEFAULT),  // FALSE
    DROP(pathLenConstraint,              g_itemSigkitAsnOcts, UNIVERSAL, OPTIONAL),
};
SEQUENCE_ITEM(SigkitX509BasicConstraints);

// ExtKeyUsageSyntax ::= SEQUENCE SIZE (1..MAX) OF KeyPurposeId. Narrowed: at most 10              RFC 5280, 4.2.1.12
constexpr SigkitAsnTemplate g_templSigkitAsnOidBundle[] = {
    ELEMENT(SigkitAsnOidBundle, g_itemSigkitAsnOcts, 10, REQUIRED),
};
SET_OF_ITEM(SigkitAsnOidBundle, ASN_TAG_SEQUENCE);

// Extensions ::= SEQUENCE SIZE (1..MAX) OF Extension                                              RFC 5280, 4.1
constexpr SigkitAsnTemplate g_templSigkitX509CertExts[] = {
    KEEP(SigkitX509CertExts, basicConstraints, g_itemSigkitX509BasicConstraints, MEMBER(AOID_CE_BASICCONSTRAINTS), OPTIONAL),
    KEEP(SigkitX509CertExts, keyUsage,         g_itemSigkitAsnBitsToInt,         MEMBER(AOID_CE_KEYUSAGE),         OPTIONAL),
    KEEP(SigkitX509CertExts, extKeyUsage,      g_itemSigkitAsnExku,              MEMBER(AOID_CE_EXTKEYUSAGE),      OPTIONAL),
};
MAP_ITEM(SigkitX509CertExts, ASN_TAG_SEQUENCE);

// ---- Certificates --------------------------------------------------------------------------------------------------

// Validity ::= SEQUENCE {                                                                         RFC 5280, 4.1.2.5
constexpr SigkitAsnTemplate g_templSigkitX509Validity[] = {
    KEEP(SigkitX509Validity, notBefore, g_itemSigkitAsnOcts, UNIVERSAL, REQUIRED),  // UTCTime or GeneralizedTime
    KEEP(SigkitX509Validity, notAfter,  g_itemSigkitAsnOcts, UNIVERSAL, REQUIRED),
};
SEQUENCE_ITEM(SigkitX509Validity);

// TBSCertificate ::= SEQUENCE {                                                                   RFC 5280, 4.1
constexpr SigkitAsnTemplate g_templSigkitX509CertInfo[] = {
    DROP(version,                                  g_itemSigkitAsnInt,         EXPLICIT(0), REQUIRED),  // DEFAULT v1. Narrowed: v1 is refused
    KEEP(SigkitX509CertInfo, serialNumber,         g_itemSigkitAsnBigint,      UNIVERSAL,   REQUIRED),
    DROP(signature,                                g_itemSigkitAsnSeq,         UNIVERSAL,   REQUIRED),
    KEEP(SigkitX509CertInfo, issuer,               g_itemSigkitX509Name,       UNIVERSAL,   REQUIRED),
    KEEP(SigkitX509CertInfo, validity,             g_itemSigkitX509Validity,   UNIVERSAL,   REQUIRED),
    KEEP(SigkitX509CertInfo, subject,              g_itemSigkitX509Name,       UNIVERSAL,   REQUIRED),
    KEEP(SigkitX509CertInfo, subjectPublicKeyInfo, g_itemSigkitX509PubkeyInfo, UNIVERSAL,   REQUIRED),
    DROP(issuerUniqueID,                           g_itemSigkitAsnBits,        IMPLICIT(1), OPTIONAL),
    DROP(subjectUniqueID,                          g_itemSigkitAsnBits,        IMPLICIT(2), OPTIONAL),
    KEEP(SigkitX509CertInfo, extensions,           g_itemSigkitX509CertExts,   EXPLICIT(3), OPTIONAL),
};
SEQUENCE_ITEM(SigkitX509CertInfo);

// Certificate ::= SEQUENCE {                                                                      RFC 5280, 4.1
constexpr SigkitAsnTemplate g_templSigkitX509Cert[] = {
    KEEP(SigkitX509Cert, encoded,            g_itemSigkitAsnOcts,            UNIVERSAL, PEEK | RAW),  // tbsCertificate, whole
    KEEP(SigkitX509Cert, tbsCertificate,     g_itemSigkitX509CertInfo,       UNIVERSAL, REQUIRED),
    KEEP(SigkitX509Cert, signatureAlgorithm, g_itemSigkitX509AlgoIdentifier, UNIVERSAL, REQUIRED),
    KEEP(SigkitX509Cert, signatureValue,     g_itemSigkitAsnBits,            UNIVERSAL, REQUIRED),
};
SEQUENCE_ITEM(SigkitX509Cert);
