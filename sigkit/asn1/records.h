// The records that certificates, CRLs, signature messages and timestamp tokens decode into, each with the item that
// decodes it. Fields stand in the order of the ASN.1 members; members that are parsed and dropped have none. Every
// record is one allocation whose views point into the input.
#ifndef ASN1_RECORDS_H
#define ASN1_RECORDS_H

#include <stdint.h>

#include "asn1/types.h"
#include "core/list.h"

// Tells which type of field an item fills, so that a template row with the wrong one does not compile.
template <const SigkitAsnItem &Item>
struct InternalAsnFills;

// Declares an item and the type that it fills.
#define ASN_ITEM(item, Type)                                                                                           \
    extern const SigkitAsnItem item;                                                                                   \
    template <>                                                                                                        \
    struct InternalAsnFills<item> {                                                                                    \
        using type = Type;                                                                                             \
    }

// ---- Primitive types -----------------------------------------------------------------------------------------------

ASN_ITEM(g_itemSigkitAsnBool, uint32_t);            // BOOLEAN: 1 for TRUE
ASN_ITEM(g_itemSigkitAsnEnum, uint32_t);            // ENUMERATED
ASN_ITEM(g_itemSigkitAsnInt, uint32_t);             // INTEGER of at most four octets
ASN_ITEM(g_itemSigkitAsnBits, SigkitAsnOcts);       // BIT STRING
ASN_ITEM(g_itemSigkitAsnSet, SigkitAsnOcts);        // SET, not looked into
ASN_ITEM(g_itemSigkitAsnSeq, SigkitAsnOcts);        // SEQUENCE, not looked into
ASN_ITEM(g_itemSigkitAsnBigint, SigkitAsnOcts);     // INTEGER of any size
ASN_ITEM(g_itemSigkitAsnOcts, SigkitAsnOcts);       // any element
ASN_ITEM(g_itemSigkitAsnBitsToInt, uint32_t);       // BIT STRING as a number
ASN_ITEM(g_itemSigkitAsnExku, uint32_t);            // KeyPurposeIds as flags
ASN_ITEM(g_itemSigkitAttrBundleRaw, SigkitAsnOcts); // SET of attributes, captured whole

// KeyPurposeIds of one ExtKeyUsageSyntax (RFC 5280, 4.2.1.12).
struct SigkitAsnOidBundle {
    uint32_t count;
    SigkitAsnOcts items[10];
};
ASN_ITEM(g_itemSigkitAsnOidBundle, SigkitAsnOidBundle);

// ---- Names, algorithms, keys (RFC 5280, 4.1) -----------------------------------------------------------------------

// AttributeTypeAndValue; the string type of the value is its view's tag.
struct SigkitX509AttrEntry {
    SigkitAsnOcts type;
    SigkitAsnOcts value;
};
ASN_ITEM(g_itemSigkitX509AttrEntry, SigkitX509AttrEntry);

// RelativeDistinguishedName.
struct SigkitX509AttrBundle {
    uint32_t count;
    SigkitX509AttrEntry items[10];
};
ASN_ITEM(g_itemSigkitX509AttrBundle, SigkitX509AttrBundle);

// Name.
struct SigkitX509Name {
    uint32_t count;
    SigkitX509AttrBundle items[10];
};
ASN_ITEM(g_itemSigkitX509Name, SigkitX509Name);

// AlgorithmIdentifier.
struct SigkitX509AlgoIdentifier {
    SigkitAsnOcts algorithm;
    SigkitAsnOcts parameters;
};
ASN_ITEM(g_itemSigkitX509AlgoIdentifier, SigkitX509AlgoIdentifier);

// Validity: UTCTime or GeneralizedTime, told apart by the views' tags.
struct SigkitX509Validity {
    SigkitAsnOcts notBefore;
    SigkitAsnOcts notAfter;
};
ASN_ITEM(g_itemSigkitX509Validity, SigkitX509Validity);

// RSAPublicKey (RFC 8017, A.1.1), without leading zeros.
struct SigkitRsaPublicKey {
    SigkitAsnOcts modulus;
    SigkitAsnOcts publicExponent;
};
ASN_ITEM(g_itemSigkitRsaPublicKey, SigkitRsaPublicKey);

// subjectPublicKey: the BIT STRING around an RSAPublicKey.
struct SigkitX509PublicKey {
    SigkitRsaPublicKey rsaPublicKey;
};
ASN_ITEM(g_itemSigkitX509PublicKey, SigkitX509PublicKey);

// SubjectPublicKeyInfo.
struct SigkitX509PubkeyInfo {
    SigkitX509AlgoIdentifier algorithm;
    SigkitX509PublicKey subjectPublicKey;
};
ASN_ITEM(g_itemSigkitX509PubkeyInfo, SigkitX509PubkeyInfo);

// ---- Extensions (RFC 5280, 4.2) ------------------------------------------------------------------------------------

// Extension, and Attribute of RFC 5652, which has the same shape without `critical`.
struct SigkitX509ExtensionEntry {
    SigkitAsnOcts extnID;
    uint32_t critical;
    SigkitAsnOcts extnValue;
};
ASN_ITEM(g_itemSigkitX509ExtensionEntry, SigkitX509ExtensionEntry);

// BasicConstraints.
struct SigkitX509BasicConstraints {
    uint32_t cA; // 1 for a CA
};
ASN_ITEM(g_itemSigkitX509BasicConstraints, SigkitX509BasicConstraints);

// The extensions of a certificate that are looked at; zero when absent.
struct SigkitX509CertExts {
    SigkitX509BasicConstraints basicConstraints;
    uint32_t keyUsage;    // see SigkitBitsToInt
    uint32_t extKeyUsage; // see SigkitOidToExku
};
ASN_ITEM(g_itemSigkitX509CertExts, SigkitX509CertExts);

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
ASN_ITEM(g_itemSigkitX509CertInfo, SigkitX509CertInfo);

// Which certificates issued a record, as far as that was found out. Bit 0 stands for the record's own key, bit i for the
// certificate whose place in the store is i.
struct InternalIssuerVerdicts {
    uint32_t known;
    uint32_t issued;
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
ASN_ITEM(g_itemSigkitX509Cert, SigkitX509Cert);

// ---- CRLs (RFC 5280, 5.1) ------------------------------------------------------------------------------------------

// crlEntryExtensions.
struct SigkitX509RevokeAttrs {
    uint32_t reasonCode; // 0, unspecified, when absent
};
ASN_ITEM(g_itemSigkitX509RevokeAttrs, SigkitX509RevokeAttrs);

// One entry of revokedCertificates.
struct SigkitX509RevokeEntry {
    SigkitAsnOcts userCertificate; // serial number
    SigkitAsnOcts revocationDate;
    SigkitX509RevokeAttrs crlEntryExtensions;
};
ASN_ITEM(g_itemSigkitX509RevokeEntry, SigkitX509RevokeEntry);

// revokedCertificates.
struct SigkitX509Revoked {
    uint32_t count;
    SigkitX509RevokeEntry items[20];
};
ASN_ITEM(g_itemSigkitX509Revoked, SigkitX509Revoked);

// IssuingDistributionPoint (RFC 5280, 5.2.5).
struct SigkitX509IssuingDistPoint {
    SigkitAsnOcts distributionPoint;
    uint32_t onlyContainsUserCerts;
    uint32_t onlyContainsCACerts;
    SigkitAsnOcts onlySomeReasons;
    uint32_t indirectCRL;
    uint32_t onlyContainsAttributeCerts;
};
ASN_ITEM(g_itemSigkitX509IssuingDistPoint, SigkitX509IssuingDistPoint);

// crlExtensions.
struct SigkitX509CrlAttrs {
    SigkitX509IssuingDistPoint issuingDistributionPoint;
};
ASN_ITEM(g_itemSigkitX509CrlAttrs, SigkitX509CrlAttrs);

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
ASN_ITEM(g_itemSigkitX509CrlInfo, SigkitX509CrlInfo);

// CertificateList.
struct SigkitX509Crl {
    SigkitAsnOcts encoded; // the whole TBSCertList: what is signed
    SigkitX509CrlInfo tbsCertList;
    SigkitX509AlgoIdentifier signatureAlgorithm;
    SigkitAsnOcts signatureValue;
    int32_t refCount; // holders
    InternalIssuerVerdicts issuerVerdicts;
};
ASN_ITEM(g_itemSigkitX509Crl, SigkitX509Crl);

// ---- Signature messages (RFC 5652, 5) ------------------------------------------------------------------------------

// EncapsulatedContentInfo. `eContent` is the content of the [0] wrapper: the encoded inner value.
struct SigkitPkcs7ContentInfo {
    SigkitAsnOcts eContentType;
    SigkitAsnOcts eContent;
};
ASN_ITEM(g_itemSigkitPkcs7ContentInfo, SigkitPkcs7ContentInfo);

// CertificateSet: whole encodings. There is room for 10, and 2 are accepted: a signer and its CA.
struct SigkitX509CertRawBundle {
    uint32_t count;
    SigkitAsnOcts items[10];
};
ASN_ITEM(g_itemSigkitX509CertRawBundle, SigkitX509CertRawBundle);

// IssuerAndSerialNumber.
struct SigkitPkcs7IssuerAndSerial {
    SigkitX509Name issuer;
    SigkitAsnOcts serialNumber;
};
ASN_ITEM(g_itemSigkitPkcs7IssuerAndSerial, SigkitPkcs7IssuerAndSerial);

// The signed attributes that are looked at.
struct SigkitX509SignedAttrs {
    SigkitAsnOcts messageDigest; // RFC 5652, 11.2
};
ASN_ITEM(g_itemSigkitX509SignedAttrs, SigkitX509SignedAttrs);

// The unsigned attributes that are looked at.
struct SigkitX509UnsignedAttrs {
    SigkitAsnOcts timeStampToken; // RFC 3161, appendix A: the token's whole ContentInfo
};
ASN_ITEM(g_itemSigkitX509UnsignedAttrs, SigkitX509UnsignedAttrs);

// SignerInfo.
struct SigkitPkcs7SignedInfo {
    uint32_t version;
    SigkitPkcs7IssuerAndSerial sid;
    SigkitX509AlgoIdentifier digestAlgorithm;
    SigkitAsnOcts signedAttrsRaw; // the whole encoding, told as the universal SET that is signed (RFC 5652, 5.4)
    SigkitX509SignedAttrs signedAttrs;
    SigkitAsnOcts signature;
    SigkitX509UnsignedAttrs unsignedAttrs;
};
ASN_ITEM(g_itemSigkitPkcs7SignedInfo, SigkitPkcs7SignedInfo);

// SignerInfos.
struct SigkitPkcs7SignedInfoBundle {
    uint32_t count;
    SigkitPkcs7SignedInfo items[1];
};
ASN_ITEM(g_itemSigkitPkcs7SignedInfoBundle, SigkitPkcs7SignedInfoBundle);

// SignedData.
struct SigkitPkcs7SignedData {
    uint32_t version;
    SigkitPkcs7ContentInfo encapContentInfo;
    SigkitX509CertRawBundle certificates;
    SigkitList certList; // owned SigkitX509Cert, decoded from `certificates`
    SigkitPkcs7SignedInfoBundle signerInfos;
};
ASN_ITEM(g_itemSigkitPkcs7SignedData, SigkitPkcs7SignedData);

// ContentInfo.
struct SigkitPkcs7Content {
    SigkitAsnOcts contentType;
    SigkitPkcs7SignedData content;
};
ASN_ITEM(g_itemSigkitPkcs7Content, SigkitPkcs7Content);

// ---- Timestamps (RFC 3161, 2.4) ------------------------------------------------------------------------------------

// MessageImprint.
struct SigkitTsMsgImprint {
    SigkitX509AlgoIdentifier hashAlgorithm;
    SigkitAsnOcts hashedMessage;
};
ASN_ITEM(g_itemSigkitTsMsgImprint, SigkitTsMsgImprint);

// TSTInfo.
struct SigkitTimestampInfo {
    SigkitTsMsgImprint messageImprint;
    SigkitAsnOcts genTime;
};
ASN_ITEM(g_itemSigkitTimestampInfo, SigkitTimestampInfo);

// ---- Templates -----------------------------------------------------------------------------------------------------
// The members of each constructed type, as many as its item counts.

extern const SigkitAsnTemplate g_templSigkitX509Cert[4];
extern const SigkitAsnTemplate g_templSigkitX509CertInfo[10];
extern const SigkitAsnTemplate g_templSigkitX509Name[1];
extern const SigkitAsnTemplate g_templSigkitX509AttrBundle[1];
extern const SigkitAsnTemplate g_templSigkitX509AttrEntry[2];
extern const SigkitAsnTemplate g_templSigkitX509AlgoIdentifier[2];
extern const SigkitAsnTemplate g_templSigkitX509Validity[2];
extern const SigkitAsnTemplate g_templSigkitX509PubkeyInfo[2];
extern const SigkitAsnTemplate g_templSigkitX509PublicKey[1];
extern const SigkitAsnTemplate g_templSigkitRsaPublicKey[2];
extern const SigkitAsnTemplate g_templSigkitX509CertExts[3];
extern const SigkitAsnTemplate g_templSigkitX509BasicConstraints[2];
extern const SigkitAsnTemplate g_templSigkitX509ExtensionEntry[3];
extern const SigkitAsnTemplate g_templSigkitAsnOidBundle[1];
extern const SigkitAsnTemplate g_templSigkitX509Crl[4];
extern const SigkitAsnTemplate g_templSigkitX509CrlInfo[7];
extern const SigkitAsnTemplate g_templSigkitX509Revoked[1];
extern const SigkitAsnTemplate g_templSigkitX509RevokeEntry[3];
extern const SigkitAsnTemplate g_templSigkitX509RevokeAttrs[1];
extern const SigkitAsnTemplate g_templSigkitX509CrlAttrs[1];
extern const SigkitAsnTemplate g_templSigkitX509IssuingDistPoint[6];
extern const SigkitAsnTemplate g_templSigkitPkcs7Content[2];
extern const SigkitAsnTemplate g_templSigkitPkcs7SignedData[6];
extern const SigkitAsnTemplate g_templSigkitPkcs7ContentInfo[2];
extern const SigkitAsnTemplate g_templSigkitX509CertRawBundle[1];
extern const SigkitAsnTemplate g_templSigkitPkcs7SignedInfoBundle[1];
extern const SigkitAsnTemplate g_templSigkitPkcs7SignedInfo[8];
extern const SigkitAsnTemplate g_templSigkitPkcs7IssuerAndSerial[2];
extern const SigkitAsnTemplate g_templSigkitX509SignedAttrs[1];
extern const SigkitAsnTemplate g_templSigkitX509UnsignedAttrs[1];
extern const SigkitAsnTemplate g_templSigkitTimestampInfo[10];
extern const SigkitAsnTemplate g_templSigkitTsMsgImprint[2];

#endif
