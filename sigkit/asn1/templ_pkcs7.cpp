// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "asn1/schema.h"
#include "x509/oid.h"

// clang-format off

// EncapsulatedContentInfo ::= SEQUENCE {                                                          RFC 5652, 5.2
#define RECORD SigkitPkcs7ContentInfo
SEQUENCE(Pkcs7ContentInfo,
    KEEP(eContentType, AsnOcts, UNIVERSAL, REQUIRED), // ContentType (OBJECT IDENTIFIER). Widened: any element. Skipped
    KEEP(eContent,     AsnOcts, UNIVERSAL, OPTIONAL)  // [0] EXPLICIT OCTET STRING OPTIONAL }. The wrapper is read as
                                                      // the element, so the view is its content: the OCTET STRING
                                                      // whole. Widened: any element, with any content
);
#undef RECORD

// CertificateSet ::= SET OF CertificateChoices                                                    RFC 5652, 10.2.3
#define RECORD SigkitX509CertRawBundle
SEQUENCE_OF(X509CertRawBundle,
    ELEMENT(AsnOcts, 2, REQUIRED | RAW) // CertificateChoices, whole. Narrowed: at most 2. Widened: any element, of
                                        // which x509/pkcs7.cpp then refuses all but a Certificate
); // a SET, but always read under its IMPLICIT tag
#undef RECORD

// IssuerAndSerialNumber ::= SEQUENCE {                                                            RFC 5652, 10.2.4
#define RECORD SigkitPkcs7IssuerAndSerial
SEQUENCE(Pkcs7IssuerAndSerial,
    KEEP(issuer,       X509Name,  UNIVERSAL, REQUIRED), // Name
    KEEP(serialNumber, AsnBigint, UNIVERSAL, REQUIRED)  // CertificateSerialNumber (INTEGER) }. Widened as AsnBigint
);
#undef RECORD

// SignedAttributes ::= SET SIZE (1..MAX) OF Attribute. Widened: may be empty; needs neither       RFC 5652, 5.3
// contentType (11.1), which is skipped, nor messageDigest (OCTET STRING. Widened: any element)
#define RECORD SigkitX509SignedAttrs
ATTRIBUTES(X509SignedAttrs,
    KEEP(messageDigest, AsnOcts, MEMBER(AOID_PKCS9_AT_MESSAGEDIGEST), OPTIONAL) // 11.2
);
#undef RECORD

// UnsignedAttributes ::= SET SIZE (1..MAX) OF Attribute. Widened: may be empty                    RFC 5652, 5.3
// TimeStampToken ::= ContentInfo. Widened: any element, which is decoded later                    RFC 3161, appendix A
#define RECORD SigkitX509UnsignedAttrs
ATTRIBUTES(X509UnsignedAttrs,
    KEEP(timeStampToken, AsnOcts, MEMBER(AOID_PKCS9_AT_TIMESTAMP_TOKEN), OPTIONAL | RAW)
);
#undef RECORD

// SignerInfo ::= SEQUENCE {                                                                       RFC 5652, 5.3
#define RECORD SigkitPkcs7SignedInfo
SEQUENCE(Pkcs7SignedInfo,
    KEEP(version,            AsnInt,               UNIVERSAL,   REQUIRED), // CMSVersion (INTEGER). Narrowed: at most
                                                                           // four octets. Widened: any version. Skipped
    KEEP(sid,                Pkcs7IssuerAndSerial, UNIVERSAL,   REQUIRED), // SignerIdentifier. Narrowed: of the CHOICE,
                                                                           // issuerAndSerialNumber alone
    KEEP(digestAlgorithm,    X509AlgoIdentifier,   UNIVERSAL,   REQUIRED), // DigestAlgorithmIdentifier
    KEEP(signedAttrsRaw,     AttrBundleRaw,        IMPLICIT(0), OPTIONAL | PEEK | RAW), // signedAttrs, whole
    KEEP(signedAttrs,        X509SignedAttrs,      IMPLICIT(0), OPTIONAL), // [0] IMPLICIT SignedAttributes OPTIONAL
    DROP(signatureAlgorithm, AsnSeq,               UNIVERSAL,   REQUIRED), // SignatureAlgorithmIdentifier. Widened: any
                                                                           // SEQUENCE, taken for RSASSA-PKCS1-v1_5 with
                                                                           // the digest above
    KEEP(signature,          AsnOcts,              UNIVERSAL,   REQUIRED), // SignatureValue (OCTET STRING). Widened:
                                                                           // any element
    KEEP(unsignedAttrs,      X509UnsignedAttrs,    IMPLICIT(1), OPTIONAL)  // [1] IMPLICIT UnsignedAttributes OPTIONAL }
);
#undef RECORD

// SignerInfos ::= SET OF SignerInfo                                                               RFC 5652, 5.1
#define RECORD SigkitPkcs7SignedInfoBundle
SET_OF(Pkcs7SignedInfoBundle,
    ELEMENT(Pkcs7SignedInfo, 1, REQUIRED) // Narrowed: at most 1
);
#undef RECORD

// SignedData ::= SEQUENCE {                                                                       RFC 5652, 5.1
#define RECORD SigkitPkcs7SignedData
SEQUENCE(Pkcs7SignedData,
    KEEP(version,          AsnInt,                UNIVERSAL,   OPTIONAL), // CMSVersion (INTEGER). Narrowed: at most
                                                                          // four octets. Widened: may be absent; any
                                                                          // version. Skipped
    DROP(digestAlgorithms, AsnSet,                UNIVERSAL,   REQUIRED), // DigestAlgorithmIdentifiers (SET OF).
                                                                          // Widened: any SET
    KEEP(encapContentInfo, Pkcs7ContentInfo,      UNIVERSAL,   REQUIRED), // EncapsulatedContentInfo
    KEEP(certificates,     X509CertRawBundle,     IMPLICIT(0), OPTIONAL), // [0] IMPLICIT CertificateSet OPTIONAL
    DROP(crls,             AsnSeq,                IMPLICIT(1), OPTIONAL), // [1] IMPLICIT RevocationInfoChoices OPTIONAL
                                                                          // (SET OF, but always read under this tag).
                                                                          // Widened: any content. CRLs come from the
                                                                          // CRL file alone
    KEEP(signerInfos,      Pkcs7SignedInfoBundle, UNIVERSAL,   REQUIRED)  // SignerInfos }
);
#undef RECORD

// ContentInfo ::= SEQUENCE {                                                                      RFC 5652, 3
#define RECORD SigkitPkcs7Content
SEQUENCE(Pkcs7Content,
    KEEP(contentType, AsnOcts,         UNIVERSAL,   REQUIRED), // ContentType (OBJECT IDENTIFIER). Widened: any element.
                                                               // Skipped
    KEEP(content,     Pkcs7SignedData, EXPLICIT(0), REQUIRED)  // [0] EXPLICIT ANY DEFINED BY contentType }. Narrowed:
                                                               // SignedData
);
#undef RECORD
