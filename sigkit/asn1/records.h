// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The records that certificates, CRLs, signature messages and timestamp tokens decode into, each with the item that
// decodes it. Fields stand in the order of the ASN.1 members; members that are parsed and dropped have none. Every
// record is one allocation whose views point into the input.
#ifndef ASN1_RECORDS_H
#define ASN1_RECORDS_H

#include <stdint.h>

#include "asn1/decode.h"
#include "asn1/types.h"
#include "core/list.h"

// What an item fills, so that a table that disagrees with it does not compile: `type`, and as in InternalAsnSlot what
// can be asked of its decode function.
template <const SigkitAsnItem &Item>
struct InternalAsnFills;

// Declares the item of a primitive type, decoded by the function in `slot`.
#define ASN_ITEM(Name, slot)                                                                                           \
    extern const SigkitAsnItem g_itemSigkit##Name;                                                                     \
    template <>                                                                                                        \
    struct InternalAsnFills<g_itemSigkit##Name> : InternalAsnSlot<slot> {                                              \
        static constexpr const SigkitAsnDecodeFunc *SLOT = &(slot);                                                    \
    }

// Declares the item that fills the record Sigkit`Name`: by itself that of a SET OF or SEQUENCE OF.
#define ASN_TEMPLATE(Name)                                                                                             \
    extern const SigkitAsnItem g_itemSigkit##Name;                                                                     \
    template <>                                                                                                        \
    struct InternalAsnFills<g_itemSigkit##Name> {                                                                      \
        using type = Sigkit##Name;                                                                                     \
        static constexpr uint16_t FLAGS = 0;                                                                           \
        static constexpr bool READS_IMPLICIT = true;                                                                   \
    }

// The rows of a record's template, numbered from 0, and how many there are.
template <typename Record>
struct InternalAsnRowsOf;

// Declares the item of a SEQUENCE, or of a list of extensions or attributes. The names are those of the RFC's
// production in its order, those that are dropped too; what is captured ahead of a member is named before it.
#define ASN_RECORD(Name, ...)                                                                                          \
    template <>                                                                                                        \
    struct InternalAsnRowsOf<Sigkit##Name> {                                                                           \
        enum : uint32_t { __VA_ARGS__, COUNT };                                                                        \
    };                                                                                                                 \
    ASN_TEMPLATE(Name)

// ---- Primitive types -----------------------------------------------------------------------------------------------

ASN_ITEM(AsnBool, g_skvAsnFuncInt);            // BOOLEAN: 1 for TRUE
ASN_ITEM(AsnEnum, g_skvAsnFuncInt);            // ENUMERATED
ASN_ITEM(AsnInt, g_skvAsnFuncInt);             // INTEGER of at most four octets
ASN_ITEM(AsnBits, g_skvAsnFuncBits);           // BIT STRING
ASN_ITEM(AsnSet, g_skvAsnFuncOct);             // SET, not looked into
ASN_ITEM(AsnSeq, g_skvAsnFuncOct);             // SEQUENCE, not looked into
ASN_ITEM(AsnBigint, g_skvAsnFuncOct);          // INTEGER of any size
ASN_ITEM(AsnOcts, g_skvAsnFuncOct);            // any element
ASN_ITEM(AsnBitsToInt, g_skvAsnFuncBitsToInt); // BIT STRING as a number
ASN_ITEM(AsnExku, g_skvAsnFuncExku);           // KeyPurposeIds as flags
ASN_ITEM(AttrBundleRaw, g_skvAsnFuncOct);      // SET of attributes, captured whole

// KeyPurposeIds of one ExtKeyUsageSyntax (RFC 5280, 4.2.1.12).
struct SigkitAsnOidBundle {
    uint32_t count;
    SigkitAsnOcts items[10];
};
ASN_TEMPLATE(AsnOidBundle);

// ---- Names, algorithms, keys (RFC 5280, 4.1) -----------------------------------------------------------------------

// AttributeTypeAndValue; the string type of the value is its view's tag.
struct SigkitX509AttrEntry {
    SigkitAsnOcts type;
    SigkitAsnOcts value;
};
ASN_RECORD(X509AttrEntry, type, value);

// RelativeDistinguishedName.
struct SigkitX509AttrBundle {
    uint32_t count;
    SigkitX509AttrEntry items[10];
};
ASN_TEMPLATE(X509AttrBundle);

// Name.
struct SigkitX509Name {
    uint32_t count;
    SigkitX509AttrBundle items[10];
};
ASN_TEMPLATE(X509Name);

// AlgorithmIdentifier.
struct SigkitX509AlgoIdentifier {
    SigkitAsnOcts algorithm;
    SigkitAsnOcts parameters;
};
ASN_RECORD(X509AlgoIdentifier, algorithm, parameters);

// Validity: UTCTime or GeneralizedTime, distinguished by the views' tags.
struct SigkitX509Validity {
    SigkitAsnOcts notBefore;
    SigkitAsnOcts notAfter;
};
ASN_RECORD(X509Validity, notBefore, notAfter);

// RSAPublicKey (RFC 8017, A.1.1), without leading zeros.
struct SigkitRsaPublicKey {
    SigkitAsnOcts modulus;
    SigkitAsnOcts publicExponent;
};
ASN_RECORD(RsaPublicKey, modulus, publicExponent);

// subjectPublicKey: the BIT STRING around an RSAPublicKey.
struct SigkitX509PublicKey {
    SigkitRsaPublicKey rsaPublicKey;
};
ASN_RECORD(X509PublicKey, rsaPublicKey);

// SubjectPublicKeyInfo.
struct SigkitX509PubkeyInfo {
    SigkitX509AlgoIdentifier algorithm;
    SigkitX509PublicKey subjectPublicKey;
};
ASN_RECORD(X509PubkeyInfo, algorithm, subjectPublicKey);

// ---- Extensions (RFC 5280, 4.2) ------------------------------------------------------------------------------------

// Extension, and Attribute of RFC 5652, which has the same shape without `critical`.
struct SigkitX509ExtensionEntry {
    SigkitAsnOcts extnID;
    uint32_t critical;
    SigkitAsnOcts extnValue;
};
ASN_RECORD(X509ExtensionEntry, extnID, critical, extnValue);

// BasicConstraints.
struct SigkitX509BasicConstraints {
    uint32_t cA; // 1 for a CA
};
ASN_RECORD(X509BasicConstraints, cA, pathLenConstraint);

// The extensions of a certificate that are looked at; zero when absent.
struct SigkitX509CertExts {
    SigkitX509BasicConstraints basicConstraints;
    uint32_t keyUsage;    // see SigkitBitsToInt
    uint32_t extKeyUsage; // see SigkitOidToExku
};
ASN_RECORD(X509CertExts, basicConstraints, keyUsage, extKeyUsage);

// ---- Certificates (RFC 5280, 4.1) ----------------------------------------------------------------------------------

// TBSCertificate.
struct SigkitX509CertInfo {
    SigkitAsnOcts serialNumber;
    SigkitX509Name issuer;
    SigkitX509Validity validity;
    SigkitX509Name subject;
    SigkitX509PubkeyInfo subjectPublicKeyInfo;
    SigkitX509CertExts extensions;
};
ASN_RECORD(X509CertInfo, version, serialNumber, signature, issuer, validity, subject, subjectPublicKeyInfo,
           issuerUniqueID, subjectUniqueID, extensions);

// Which certificates issued a record, as far as that was found out. Bit 0 stands for the record's own key, bit i for
// the certificate whose place in the store is i.
struct InternalIssuerVerdicts {
    uint32_t known;
    uint32_t issued;
    uint32_t failed; // what stands in the way is in the record or in that key, and will be there again
    uint32_t error;  // code of every such failure: the record and a key's length leave no other
    uint32_t errors; // such failures in the operation in progress
};

// Certificate.
struct SigkitX509Cert {
    SigkitAsnOcts encoded; // the whole TBSCertificate: what is signed
    SigkitX509CertInfo tbsCertificate;
    SigkitX509AlgoIdentifier signatureAlgorithm;
    SigkitAsnOcts signatureValue;
    SigkitX509Cert *issuerCert; // not owned: verified issuer, itself when self-signed, or null until known
    int32_t refCount;           // holders
    uint32_t storeIndex;        // place in the store, from 1; 0 outside it
    InternalIssuerVerdicts issuerVerdicts;
};
ASN_RECORD(X509Cert, encoded, tbsCertificate, signatureAlgorithm, signatureValue);

// ---- CRLs (RFC 5280, 5.1) ------------------------------------------------------------------------------------------

// crlEntryExtensions.
struct SigkitX509RevokeAttrs {
    uint32_t reasonCode; // 0, unspecified, when absent
};
ASN_RECORD(X509RevokeAttrs, reasonCode);

// One entry of revokedCertificates.
struct SigkitX509RevokeEntry {
    SigkitAsnOcts userCertificate; // serial number
    SigkitAsnOcts revocationDate;
    SigkitX509RevokeAttrs crlEntryExtensions;
};
ASN_RECORD(X509RevokeEntry, userCertificate, revocationDate, crlEntryExtensions);

// revokedCertificates.
struct SigkitX509Revoked {
    uint32_t count;
    SigkitX509RevokeEntry items[20];
};
ASN_TEMPLATE(X509Revoked);

// IssuingDistributionPoint (RFC 5280, 5.2.5).
struct SigkitX509IssuingDistPoint {
    SigkitAsnOcts distributionPoint;
    uint32_t onlyContainsUserCerts;
    uint32_t onlyContainsCACerts;
    SigkitAsnOcts onlySomeReasons;
    uint32_t indirectCRL;
    uint32_t onlyContainsAttributeCerts;
};
ASN_RECORD(X509IssuingDistPoint, distributionPoint, onlyContainsUserCerts, onlyContainsCACerts, onlySomeReasons,
           indirectCRL, onlyContainsAttributeCerts);

// crlExtensions.
struct SigkitX509CrlAttrs {
    SigkitX509IssuingDistPoint issuingDistributionPoint;
};
ASN_RECORD(X509CrlAttrs, issuingDistributionPoint);

// TBSCertList.
struct SigkitX509CrlInfo {
    uint32_t version;
    SigkitX509AlgoIdentifier signature;
    SigkitX509Name issuer;
    SigkitAsnOcts thisUpdate;
    SigkitAsnOcts nextUpdate;
    SigkitX509Revoked revokedCertificates;
    SigkitX509CrlAttrs crlExtensions;
};
ASN_RECORD(X509CrlInfo, version, signature, issuer, thisUpdate, nextUpdate, revokedCertificates, crlExtensions);

// CertificateList.
struct SigkitX509Crl {
    SigkitAsnOcts encoded; // the whole TBSCertList: what is signed
    SigkitX509CrlInfo tbsCertList;
    SigkitX509AlgoIdentifier signatureAlgorithm;
    SigkitAsnOcts signatureValue;
    int32_t refCount;    // holders
    uint32_t storeIndex; // place in the store, from 1; 0 outside it
    InternalIssuerVerdicts issuerVerdicts;
};
ASN_RECORD(X509Crl, encoded, tbsCertList, signatureAlgorithm, signatureValue);

// ---- Signature messages (RFC 5652, 5) ------------------------------------------------------------------------------

// EncapsulatedContentInfo. `eContent` is the content of the [0] wrapper: the encoded inner value.
struct SigkitPkcs7ContentInfo {
    SigkitAsnOcts eContentType;
    SigkitAsnOcts eContent;
};
ASN_RECORD(Pkcs7ContentInfo, eContentType, eContent);

// CertificateSet: whole encodings. There is space for 10, and 2 are accepted: a signer and its CA.
struct SigkitX509CertRawBundle {
    uint32_t count;
    SigkitAsnOcts items[10];
};
ASN_TEMPLATE(X509CertRawBundle);

// IssuerAndSerialNumber.
struct SigkitPkcs7IssuerAndSerial {
    SigkitX509Name issuer;
    SigkitAsnOcts serialNumber;
};
ASN_RECORD(Pkcs7IssuerAndSerial, issuer, serialNumber);

// The signed attributes that are looked at.
struct SigkitX509SignedAttrs {
    SigkitAsnOcts messageDigest; // RFC 5652, 11.2
};
ASN_RECORD(X509SignedAttrs, messageDigest);

// The unsigned attributes that are looked at.
struct SigkitX509UnsignedAttrs {
    SigkitAsnOcts timeStampToken; // RFC 3161, appendix A: the token's whole ContentInfo
};
ASN_RECORD(X509UnsignedAttrs, timeStampToken);

// SignerInfo.
struct SigkitPkcs7SignedInfo {
    uint32_t version;
    SigkitPkcs7IssuerAndSerial sid;
    SigkitX509AlgoIdentifier digestAlgorithm;
    SigkitAsnOcts signedAttrsRaw; // the whole encoding, reported as the universal SET that is signed (RFC 5652, 5.4)
    SigkitX509SignedAttrs signedAttrs;
    SigkitAsnOcts signature;
    SigkitX509UnsignedAttrs unsignedAttrs;
};
ASN_RECORD(Pkcs7SignedInfo, version, sid, digestAlgorithm, signedAttrsRaw, signedAttrs, signatureAlgorithm, signature,
           unsignedAttrs);

// SignerInfos.
struct SigkitPkcs7SignedInfoBundle {
    uint32_t count;
    SigkitPkcs7SignedInfo items[1];
};
ASN_TEMPLATE(Pkcs7SignedInfoBundle);

// SignedData.
struct SigkitPkcs7SignedData {
    uint32_t version;
    SigkitPkcs7ContentInfo encapContentInfo;
    SigkitX509CertRawBundle certificates;
    SigkitList certList; // owned SigkitX509Cert, decoded from `certificates`
    SigkitPkcs7SignedInfoBundle signerInfos;
};
ASN_RECORD(Pkcs7SignedData, version, digestAlgorithms, encapContentInfo, certificates, crls, signerInfos);

// ContentInfo.
struct SigkitPkcs7Content {
    SigkitAsnOcts contentType;
    SigkitPkcs7SignedData content;
};
ASN_RECORD(Pkcs7Content, contentType, content);

// ---- Timestamps (RFC 3161, 2.4) ------------------------------------------------------------------------------------

// MessageImprint.
struct SigkitTsMsgImprint {
    SigkitX509AlgoIdentifier hashAlgorithm;
    SigkitAsnOcts hashedMessage;
};
ASN_RECORD(TsMsgImprint, hashAlgorithm, hashedMessage);

// TSTInfo.
struct SigkitTimestampInfo {
    SigkitTsMsgImprint messageImprint;
    SigkitAsnOcts genTime;
};
ASN_RECORD(TimestampInfo, version, policy, messageImprint, serialNumber, genTime, accuracy, ordering, nonce, tsa,
           extensions);

#endif
