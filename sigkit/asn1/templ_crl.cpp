#include "asn1/schema.h"
#include "x509/oid.h"

// clang-format off

// CRLReason, of crlEntryExtensions                                                                RFC 5280, 5.3.1
constexpr SigkitAsnTemplate g_templSigkitX509RevokeAttrs[] = {
    KEEP(SigkitX509RevokeAttrs, reasonCode, g_itemSigkitAsnEnum, MEMBER(AOID_CE_CRLREASONS), PLAIN),
};
MAP_ITEM(SigkitX509RevokeAttrs, ASN_TAG_SEQUENCE);

// An entry of revokedCertificates: SEQUENCE {                                                     RFC 5280, 5.1
constexpr SigkitAsnTemplate g_templSigkitX509RevokeEntry[] = {
    KEEP(SigkitX509RevokeEntry, userCertificate,    g_itemSigkitAsnBigint,       UNIVERSAL, REQUIRED),
    KEEP(SigkitX509RevokeEntry, revocationDate,     g_itemSigkitAsnOcts,         UNIVERSAL, REQUIRED),  // Time
    KEEP(SigkitX509RevokeEntry, crlEntryExtensions, g_itemSigkitX509RevokeAttrs, UNIVERSAL, OPTIONAL),
};
SEQUENCE_ITEM(SigkitX509RevokeEntry);

// revokedCertificates: SEQUENCE OF. Narrowed: at most 20 entries                                  RFC 5280, 5.1
constexpr SigkitAsnTemplate g_templSigkitX509Revoked[] = {
    ELEMENT(SigkitX509Revoked, g_itemSigkitX509RevokeEntry, 20, REQUIRED),
};
SET_OF_ITEM(SigkitX509Revoked, ASN_TAG_SEQUENCE);

// IssuingDistributionPoint ::= SEQUENCE {                                                         RFC 5280, 5.2.5
constexpr SigkitAsnTemplate g_templSigkitX509IssuingDistPoint[] = {
    KEEP(SigkitX509IssuingDistPoint, distributionPoint,          g_itemSigkitAsnOcts, IMPLICIT(0), OPTIONAL),
    KEEP(SigkitX509IssuingDistPoint, onlyContainsUserCerts,      g_itemSigkitAsnBool, IMPLICIT(1), OPTIONAL),  // DEFAULT FALSE
    KEEP(SigkitX509IssuingDistPoint, onlyContainsCACerts,        g_itemSigkitAsnBool, IMPLICIT(2), OPTIONAL),  // DEFAULT FALSE
    KEEP(SigkitX509IssuingDistPoint, onlySomeReasons,            g_itemSigkitAsnBits, IMPLICIT(3), OPTIONAL),
    KEEP(SigkitX509IssuingDistPoint, indirectCRL,                g_itemSigkitAsnBool, IMPLICIT(4), OPTIONAL),  // DEFAULT FALSE
    KEEP(SigkitX509IssuingDistPoint, onlyContainsAttributeCerts, g_itemSigkitAsnBool, IMPLICIT(5), OPTIONAL),  // DEFAULT FALSE
};
SEQUENCE_ITEM(SigkitX509IssuingDistPoint);

// crlExtensions: Extensions                                                                       RFC 5280, 5.2
constexpr SigkitAsnTemplate g_templSigkitX509CrlAttrs[] = {
    KEEP(SigkitX509CrlAttrs, issuingDistributionPoint, g_itemSigkitX509IssuingDistPoint, MEMBER(AOID_CE_ISSUINGDISTRIBUTIONPOINT), PLAIN),
};
MAP_ITEM(SigkitX509CrlAttrs, ASN_TAG_SEQUENCE);

// TBSCertList ::= SEQUENCE {                                                                      RFC 5280, 5.1
constexpr SigkitAsnTemplate g_templSigkitX509CrlInfo[] = {
    KEEP(SigkitX509CrlInfo, version,             g_itemSigkitAsnInt,             UNIVERSAL,   REQUIRED),  // OPTIONAL. Narrowed: v1 is refused
    KEEP(SigkitX509CrlInfo, signature,           g_itemSigkitX509AlgoIdentifier, UNIVERSAL,   REQUIRED),
    KEEP(SigkitX509CrlInfo, issuer,              g_itemSigkitX509Name,           UNIVERSAL,   REQUIRED),
    KEEP(SigkitX509CrlInfo, thisUpdate,          g_itemSigkitAsnOcts,            UNIVERSAL,   REQUIRED),  // Time
    KEEP(SigkitX509CrlInfo, nextUpdate,          g_itemSigkitAsnOcts,            UNIVERSAL,   REQUIRED),  // OPTIONAL. Narrowed: must be there
    KEEP(SigkitX509CrlInfo, revokedCertificates, g_itemSigkitX509Revoked,        UNIVERSAL,   OPTIONAL),
    KEEP(SigkitX509CrlInfo, crlExtensions,       g_itemSigkitX509CrlAttrs,       EXPLICIT(0), OPTIONAL),
};
SEQUENCE_ITEM(SigkitX509CrlInfo);

// CertificateList ::= SEQUENCE {                                                                  RFC 5280, 5.1
constexpr SigkitAsnTemplate g_templSigkitX509Crl[] = {
    KEEP(SigkitX509Crl, encoded,            g_itemSigkitAsnOcts,            UNIVERSAL, PEEK | RAW),  // tbsCertList, whole
    KEEP(SigkitX509Crl, tbsCertList,        g_itemSigkitX509CrlInfo,        UNIVERSAL, REQUIRED),
    KEEP(SigkitX509Crl, signatureAlgorithm, g_itemSigkitX509AlgoIdentifier, UNIVERSAL, REQUIRED),
    KEEP(SigkitX509Crl, signatureValue,     g_itemSigkitAsnBits,            UNIVERSAL, REQUIRED),
};
SEQUENCE_ITEM(SigkitX509Crl);
