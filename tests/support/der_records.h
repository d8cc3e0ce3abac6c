// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Certificates, CRLs, signature messages and timestamp content, member by member, over the DER writer. Each record
// begins with sensible members, all whole encodings; a test replaces a member, or drops it by taking its value away,
// and encodes. Nothing is really signed: for that see the PKI factory.
#ifndef SUPPORT_DER_RECORDS_H
#define SUPPORT_DER_RECORDS_H

#include <stdint.h>

#include <optional>
#include <string>
#include <vector>

#include "tests/support/der_writer.h"

namespace der
{

// A member of a record: a whole encoding, or nothing.
using Member = std::optional<Bytes>;

// ---- Names, algorithms, keys, extensions ---------------------------------------------------------------------------

// AttributeTypeAndValue.
Bytes NameAttribute(const std::string &type, const Bytes &value);

// RelativeDistinguishedName of these attributes.
Bytes RelativeName(const std::vector<Bytes> &attributes);

// Name of these RelativeDistinguishedNames.
Bytes Name(const std::vector<Bytes> &relativeNames);

// Name of C=XX, O=Test and the common name.
Bytes NameOf(const std::string &commonName);

// AlgorithmIdentifier; parameters NULL unless others or none are given.
Bytes AlgorithmIdentifier(const std::string &algorithm, const Member &parameters = Null());

// Validity from 2020 to 2040.
Bytes Validity(const Bytes &notBefore = UtcTime("200101000000Z"), const Bytes &notAfter = UtcTime("400101000000Z"));

// RSAPublicKey.
Bytes RsaPublicKey(const Bytes &modulus, const Bytes &publicExponent);

// SubjectPublicKeyInfo of an RSA key whose modulus has 2048 bits, or of any key octets.
Bytes SubjectPublicKeyInfo();
Bytes SubjectPublicKeyInfo(const Bytes &algorithm, const Bytes &subjectPublicKey);

// Extension; `value` is what the OCTET STRING holds. Not critical unless the BOOLEAN is given.
Bytes Extension(const std::string &identifier, const Bytes &value, const Member &critical = std::nullopt);

Bytes BasicConstraintsExtension(bool cA);
Bytes KeyUsageExtension(const Bytes &bitString);
Bytes ExtKeyUsageExtension(const std::vector<std::string> &purposes);

// The [3] of a certificate, and the [0] of a CRL, over a list of extensions.
Bytes CertExtensions(const std::vector<Bytes> &extensions);
Bytes CrlExtensions(const std::vector<Bytes> &extensions);

// Attribute of a signer: an identifier and a SET of values.
Bytes Attribute(const std::string &type, const std::vector<Bytes> &values);

// ---- Certificates --------------------------------------------------------------------------------------------------

struct TbsCertificate {
    Member version = Explicit(0, Integer(2));
    Member serialNumber = Integer(1);
    Member signature = AlgorithmIdentifier("1.2.840.113549.1.1.11");
    Member issuer = NameOf("Test CA");
    Member validity = Validity();
    Member subject = NameOf("Test Subject");
    Member subjectPublicKeyInfo = SubjectPublicKeyInfo();
    Member issuerUniqueID;
    Member subjectUniqueID;
    Member extensions;
    Member trailing;
};

struct Certificate {
    Member tbsCertificate;
    Member signatureAlgorithm = AlgorithmIdentifier("1.2.840.113549.1.1.11");
    Member signatureValue = BitString(0, Fill(256, 0x5A));
    Member trailing;
};

Bytes Encode(const TbsCertificate &tbsCertificate);
Bytes Encode(const Certificate &certificate);

// A whole certificate around a TBSCertificate.
Bytes CertificateOf(const TbsCertificate &tbsCertificate);

// ---- CRLs ----------------------------------------------------------------------------------------------------------

// One entry of revokedCertificates; `extensions` is the list, not tagged.
Bytes RevokedEntry(const Bytes &serialNumber, const Bytes &revocationDate = UtcTime("220101000000Z"),
                   const Member &extensions = std::nullopt);

// crlEntryExtensions with a reason.
Bytes ReasonExtensions(int64_t reason);

struct TbsCertList {
    Member version = Integer(1);
    Member signature = AlgorithmIdentifier("1.2.840.113549.1.1.11");
    Member issuer = NameOf("Test CA");
    Member thisUpdate = UtcTime("210101000000Z");
    Member nextUpdate = UtcTime("390101000000Z");
    Member revokedCertificates;
    Member crlExtensions;
    Member trailing;
};

struct CertificateList {
    Member tbsCertList;
    Member signatureAlgorithm = AlgorithmIdentifier("1.2.840.113549.1.1.11");
    Member signatureValue = BitString(0, Fill(256, 0x5A));
    Member trailing;
};

Bytes Encode(const TbsCertList &tbsCertList);
Bytes Encode(const CertificateList &certificateList);

// A whole CRL around a TBSCertList.
Bytes CertificateListOf(const TbsCertList &tbsCertList);

// ---- Signature messages --------------------------------------------------------------------------------------------

Bytes IssuerAndSerialNumber(const Bytes &issuer, const Bytes &serialNumber);

// The [0] and the [1] of a SignerInfo over its attributes, and the [0] of a SignedData over its certificates.
Bytes SignedAttributes(const std::vector<Bytes> &attributes);
Bytes UnsignedAttributes(const std::vector<Bytes> &attributes);
Bytes CertificateSet(const std::vector<Bytes> &certificates);

// contentType of data, and a messageDigest.
std::vector<Bytes> PlainSignedAttributes(const Bytes &digest = Fill(32, 0xD1));

struct SignerInfo {
    Member version = Integer(1);
    Member sid = IssuerAndSerialNumber(NameOf("Test CA"), Integer(1));
    Member digestAlgorithm = AlgorithmIdentifier("2.16.840.1.101.3.4.2.1");
    Member signedAttrs = SignedAttributes(PlainSignedAttributes());
    Member signatureAlgorithm = AlgorithmIdentifier("1.2.840.113549.1.1.1");
    Member signature = OctetString(Fill(256, 0x5A));
    Member unsignedAttrs;
    Member trailing;
};

Bytes Encode(const SignerInfo &signerInfo);

struct SignedData {
    Member version = Integer(1);
    Member digestAlgorithms = Set({AlgorithmIdentifier("2.16.840.1.101.3.4.2.1")});
    Member encapContentInfo = Sequence({Oid("1.2.840.113549.1.7.1")});
    Member certificates;
    Member crls;
    Member signerInfos = Set({Encode(SignerInfo())});
    Member trailing;
};

struct ContentInfo {
    Member contentType = Oid("1.2.840.113549.1.7.2");
    Member content;
    Member trailing;
};

Bytes Encode(const SignedData &signedData);
Bytes Encode(const ContentInfo &contentInfo);

// A whole message around a SignedData.
Bytes MessageOf(const SignedData &signedData);

// ---- Timestamps ----------------------------------------------------------------------------------------------------

Bytes MessageImprint(const Bytes &hashAlgorithm = AlgorithmIdentifier("2.16.840.1.101.3.4.2.1"),
                     const Bytes &hashedMessage = OctetString(Fill(32, 0xD2)));

struct TstInfo {
    Member version = Integer(1);
    Member policy = Oid("1.2.3.4");
    Member messageImprint = MessageImprint();
    Member serialNumber = Integer(77);
    Member genTime = GeneralizedTime("20240102030405Z");
    Member accuracy;
    Member ordering;
    Member nonce;
    Member tsa;
    Member extensions;
    Member trailing;
};

Bytes Encode(const TstInfo &tstInfo);

} // namespace der

#endif
