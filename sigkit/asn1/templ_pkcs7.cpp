#include "asn1/schema.h"
#include "x509/oid.h"

// clang-format off

// EncapsulatedContentInfo ::= SEQUENCE {                                                          RFC 5652, 5.2
constexpr SigkitAsnTemplate g_templSigkitPkcs7ContentInfo[] = {
    KEEP(SigkitPkcs7ContentInfo, eContentType, g_itemSigkitAsnOcts, UNIVERSAL, REQUIRED),  // OBJECT IDENTIFIER
    KEEP(SigkitPkcs7ContentInfo, eContent,     g_itemSigkitAsnOcts, UNIVERSAL, OPTIONAL),  // the [0] wrapper as an element of its own
};
SEQUENCE_ITEM(SigkitPkcs7ContentInfo);

// CertificateSet ::= SET OF CertificateChoices. Narrowed: at most 2; captured whole               RFC 5652, 10.2.3
constexpr SigkitAsnTemplate g_templSigkitX509CertRawBundle[] = {
    ELEMENT(SigkitX509CertRawBundle, g_itemSigkitAsnOcts, 2, RAW),
};
SET_OF_ITEM(SigkitX509CertRawBundle, ASN_TAG_SEQUENCE);  // a SET, but always read under its IMPLICIT tag

// IssuerAndSerialNumber ::= SEQUENCE {                                                            RFC 5652, 10.2.4
constexpr SigkitAsnTemplate g_templSigkitPkcs7IssuerAndSerial[] = {
    KEEP(SigkitPkcs7IssuerAndSerial, issuer,       g_itemSigkitX509Name,  UNIVERSAL, REQUIRED),
    KEEP(SigkitPkcs7IssuerAndSerial, serialNumber, g_itemSigkitAsnBigint, UNIVERSAL, REQUIRED),
};
SEQUENCE_ITEM(SigkitPkcs7IssuerAndSerial);

// SignedAttributes ::= SET SIZE (1..MAX) OF Attribute                                             RFC 5652, 5.3
constexpr SigkitAsnTemplate g_templSigkitX509SignedAttrs[] = {
    KEEP(SigkitX509SignedAttrs, messageDigest, g_itemSigkitAsnOcts, MEMBER(AOID_PKCS9_AT_MESSAGEDIGEST), PLAIN),
};
MAP_ITEM(SigkitX509SignedAttrs, ASN_TAG_SET);

// UnsignedAttributes ::= SET SIZE (1..MAX) OF Attribute                                           RFC 5652, 5.3
constexpr SigkitAsnTemplate g_templSigkitX509UnsignedAttrs[] = {
    KEEP(SigkitX509UnsignedAttrs, timeStampToken, g_itemSigkitAsnOcts, MEMBER(AOID_PKCS9_AT_TIMESTAMP_TOKEN), OPTIONAL | RAW),
};
MAP_ITEM(SigkitX509UnsignedAttrs, ASN_TAG_SET);

// SignerInfo ::= SEQUENCE {                                                                       RFC 5652, 5.3
constexpr SigkitAsnTemplate g_templSigkitPkcs7SignedInfo[] = {
    KEEP(SigkitPkcs7SignedInfo, version,         g_itemSigkitAsnInt,                UNIVERSAL,   REQUIRED),
    KEEP(SigkitPkcs7SignedInfo, sid,             g_itemSigkitPkcs7IssuerAndSerial,  UNIVERSAL,   REQUIRED),  // CHOICE. Narrowed: no subjectKeyIdentifier
    KEEP(SigkitPkcs7SignedInfo, digestAlgorithm, g_itemSigkitX509AlgoIdentifier,    UNIVERSAL,   REQUIRED),
    KEEP(SigkitPkcs7SignedInfo, signedAttrsRaw,  g_itemSigkitAttrBundleRaw,         IMPLICIT(0), OPTIONAL | PEEK | RAW),  // signedAttrs, whole
    KEEP(SigkitPkcs7SignedInfo, signedAttrs,     g_itemSigkitX509SignedAttrs,       IMPLICIT(0), OPTIONAL),
    DROP(signatureAlgorithm,                     g_itemSigkitAsnSeq,                UNIVERSAL,   REQUIRED),
    KEEP(SigkitPkcs7SignedInfo, signature,       g_itemSigkitAsnOcts,               UNIVERSAL,   REQUIRED),  // OCTET STRING
    KEEP(SigkitPkcs7SignedInfo, unsignedAttrs,   g_itemSigkitX509UnsignedAttrs,     IMPLICIT(1), OPTIONAL),
};
SEQUENCE_ITEM(SigkitPkcs7SignedInfo);

// SignerInfos ::= SET OF SignerInfo. Narrowed: at most 1                                          RFC 5652, 5.1
constexpr SigkitAsnTemplate g_templSigkitPkcs7SignedInfoBundle[] = {
    ELEMENT(SigkitPkcs7SignedInfoBundle, g_itemSigkitPkcs7SignedInfo, 1, REQUIRED),
};
SET_OF_ITEM(SigkitPkcs7SignedInfoBundle, ASN_TAG_SET);

// SignedData ::= SEQUENCE {                                                                       RFC 5652, 5.1
constexpr SigkitAsnTemplate g_templSigkitPkcs7SignedData[] = {
    KEEP(SigkitPkcs7SignedData, version,          g_itemSigkitAsnInt,                UNIVERSAL,   OPTIONAL),  // required. Lenient: may be absent
    DROP(digestAlgorithms,                        g_itemSigkitAsnSet,                UNIVERSAL,   REQUIRED),
    KEEP(SigkitPkcs7SignedData, encapContentInfo, g_itemSigkitPkcs7ContentInfo,      UNIVERSAL,   REQUIRED),
    KEEP(SigkitPkcs7SignedData, certificates,     g_itemSigkitX509CertRawBundle,     IMPLICIT(0), OPTIONAL),
    DROP(crls,                                    g_itemSigkitAsnSeq,                IMPLICIT(1), OPTIONAL),  // CRLs come from the CRL file alone
    KEEP(SigkitPkcs7SignedData, signerInfos,      g_itemSigkitPkcs7SignedInfoBundle, UNIVERSAL,   REQUIRED),
};
SEQUENCE_ITEM(SigkitPkcs7SignedData);

// ContentInfo ::= SEQUENCE {                                                                      RFC 5652, 3
constexpr SigkitAsnTemplate g_templSigkitPkcs7Content[] = {
    KEEP(SigkitPkcs7Content, contentType, g_itemSigkitAsnOcts,         UNIVERSAL,   REQUIRED),  // OBJECT IDENTIFIER
    KEEP(SigkitPkcs7Content, content,     g_itemSigkitPkcs7SignedData, EXPLICIT(0), REQUIRED),  // ANY. Narrowed: SignedData
};
SEQUENCE_ITEM(SigkitPkcs7Content);
