#include "asn1/schema.h"
#include "x509/oid.h"

// clang-format off

// EncapsulatedContentInfo ::= SEQUENCE {                                                          RFC 5652, 5.2
#define RECORD SigkitPkcs7ContentInfo
constexpr SigkitAsnTemplate g_templSigkitPkcs7ContentInfo[] = {
    KEEP(eContentType, AsnOcts, UNIVERSAL, REQUIRED), // ContentType (OBJECT IDENTIFIER)
    KEEP(eContent,     AsnOcts, UNIVERSAL, OPTIONAL), // [0] EXPLICIT OCTET STRING OPTIONAL }. The wrapper is read as
                                                      // the element, so the view is its content: the OCTET STRING
                                                      // whole. Lenient: any element
};
SEQUENCE_ITEM(Pkcs7ContentInfo);
#undef RECORD

// CertificateSet ::= SET OF CertificateChoices                                                    RFC 5652, 10.2.3
#define RECORD SigkitX509CertRawBundle
constexpr SigkitAsnTemplate g_templSigkitX509CertRawBundle[] = {
    ELEMENT(AsnOcts, 2, REQUIRED | RAW), // CertificateChoices, whole. Narrowed: at most 2
};
SEQUENCE_OF_ITEM(X509CertRawBundle); // a SET, but always read under its IMPLICIT tag
#undef RECORD

// IssuerAndSerialNumber ::= SEQUENCE {                                                            RFC 5652, 10.2.4
#define RECORD SigkitPkcs7IssuerAndSerial
constexpr SigkitAsnTemplate g_templSigkitPkcs7IssuerAndSerial[] = {
    KEEP(issuer,       X509Name,  UNIVERSAL, REQUIRED), // Name
    KEEP(serialNumber, AsnBigint, UNIVERSAL, REQUIRED), // CertificateSerialNumber }
};
SEQUENCE_ITEM(Pkcs7IssuerAndSerial);
#undef RECORD

// SignedAttributes ::= SET SIZE (1..MAX) OF Attribute. Lenient: may be empty                      RFC 5652, 5.3
#define RECORD SigkitX509SignedAttrs
constexpr SigkitAsnTemplate g_templSigkitX509SignedAttrs[] = {
    KEEP(messageDigest, AsnOcts, MEMBER(AOID_PKCS9_AT_MESSAGEDIGEST), OPTIONAL), // MessageDigest (OCTET STRING), 11.2
};
MAP_ITEM(X509SignedAttrs, ASN_TAG_SET);
#undef RECORD

// UnsignedAttributes ::= SET SIZE (1..MAX) OF Attribute. Lenient: may be empty                    RFC 5652, 5.3
#define RECORD SigkitX509UnsignedAttrs
constexpr SigkitAsnTemplate g_templSigkitX509UnsignedAttrs[] = {
    KEEP(timeStampToken, AsnOcts, MEMBER(AOID_PKCS9_AT_TIMESTAMP_TOKEN), OPTIONAL | RAW), // TimeStampToken, RFC 3161, A
};
MAP_ITEM(X509UnsignedAttrs, ASN_TAG_SET);
#undef RECORD

// SignerInfo ::= SEQUENCE {                                                                       RFC 5652, 5.3
#define RECORD SigkitPkcs7SignedInfo
constexpr SigkitAsnTemplate g_templSigkitPkcs7SignedInfo[] = {
    KEEP(version,            AsnInt,               UNIVERSAL,   REQUIRED), // CMSVersion
    KEEP(sid,                Pkcs7IssuerAndSerial, UNIVERSAL,   REQUIRED), // SignerIdentifier. Narrowed: of the CHOICE,
                                                                           // issuerAndSerialNumber alone
    KEEP(digestAlgorithm,    X509AlgoIdentifier,   UNIVERSAL,   REQUIRED), // DigestAlgorithmIdentifier
    KEEP(signedAttrsRaw,     AttrBundleRaw,        IMPLICIT(0), OPTIONAL | PEEK | RAW), // signedAttrs, whole
    KEEP(signedAttrs,        X509SignedAttrs,      IMPLICIT(0), OPTIONAL), // [0] IMPLICIT SignedAttributes OPTIONAL
    DROP(signatureAlgorithm, AsnSeq,               UNIVERSAL,   REQUIRED), // SignatureAlgorithmIdentifier
    KEEP(signature,          AsnOcts,              UNIVERSAL,   REQUIRED), // SignatureValue (OCTET STRING)
    KEEP(unsignedAttrs,      X509UnsignedAttrs,    IMPLICIT(1), OPTIONAL), // [1] IMPLICIT UnsignedAttributes OPTIONAL }
};
SEQUENCE_ITEM(Pkcs7SignedInfo);
#undef RECORD

// SignerInfos ::= SET OF SignerInfo                                                               RFC 5652, 5.1
#define RECORD SigkitPkcs7SignedInfoBundle
constexpr SigkitAsnTemplate g_templSigkitPkcs7SignedInfoBundle[] = {
    ELEMENT(Pkcs7SignedInfo, 1, REQUIRED), // Narrowed: at most 1
};
SET_OF_ITEM(Pkcs7SignedInfoBundle);
#undef RECORD

// SignedData ::= SEQUENCE {                                                                       RFC 5652, 5.1
#define RECORD SigkitPkcs7SignedData
constexpr SigkitAsnTemplate g_templSigkitPkcs7SignedData[] = {
    KEEP(version,          AsnInt,                UNIVERSAL,   OPTIONAL), // CMSVersion. Lenient: may be absent
    DROP(digestAlgorithms, AsnSet,                UNIVERSAL,   REQUIRED), // DigestAlgorithmIdentifiers (SET OF)
    KEEP(encapContentInfo, Pkcs7ContentInfo,      UNIVERSAL,   REQUIRED), // EncapsulatedContentInfo
    KEEP(certificates,     X509CertRawBundle,     IMPLICIT(0), OPTIONAL), // [0] IMPLICIT CertificateSet OPTIONAL
    DROP(crls,             AsnSeq,                IMPLICIT(1), OPTIONAL), // [1] IMPLICIT RevocationInfoChoices OPTIONAL
                                                                          // (SET OF, but always read under this tag).
                                                                          // CRLs come from the CRL file alone
    KEEP(signerInfos,      Pkcs7SignedInfoBundle, UNIVERSAL,   REQUIRED), // SignerInfos }
};
SEQUENCE_ITEM(Pkcs7SignedData);
#undef RECORD

// ContentInfo ::= SEQUENCE {                                                                      RFC 5652, 3
#define RECORD SigkitPkcs7Content
constexpr SigkitAsnTemplate g_templSigkitPkcs7Content[] = {
    KEEP(contentType, AsnOcts,         UNIVERSAL,   REQUIRED), // ContentType (OBJECT IDENTIFIER)
    KEEP(content,     Pkcs7SignedData, EXPLICIT(0), REQUIRED), // [0] EXPLICIT ANY DEFINED BY contentType }
                                                               // Narrowed: SignedData
};
SEQUENCE_ITEM(Pkcs7Content);
#undef RECORD
