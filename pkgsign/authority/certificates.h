// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Certificates as devices take them, and what they say.
#ifndef PKGSIGN_AUTHORITY_CERTIFICATES_H
#define PKGSIGN_AUTHORITY_CERTIFICATES_H

#include <string>

#include "pkgsign/authority/pki.h"
#include "pkgsign/crypto/types.h"

namespace pkgsign
{

// Octets of the root certificate and of its serial number; the device stores its trust anchor in an area of this size.
inline constexpr size_t ROOT_SIZE = 1363;
inline constexpr int ROOT_KEY_BITS = 4096;
inline constexpr int64_t ROOT_NOT_BEFORE = 1444896530; // 2015-10-15 08:08:50 UTC
inline constexpr int64_t ROOT_NOT_AFTER = 2549434130;  // 2050-10-15 08:08:50 UTC
inline constexpr size_t SERIAL_SIZE_MAX = 20;          // RFC 5280, 4.1.2.2
inline constexpr size_t SERIAL_SIZE = 16;              // of all but the root
inline constexpr size_t NAMES_SIZE_MIN = 11;           // organization and root name together, octets
inline constexpr size_t NAMES_SIZE_MAX = 20;

// What a certificate is made of. Usages and purposes follow from the role.
struct CertificateFields {
    Role role = Role::Signer;
    Bytes serial;
    NamePtr subject;
    Certificate issuer; // null: the certificate itself (a root)
    int64_t notBefore = 0;
    int64_t notAfter = 0;
    Key publicKey;
};

// Makes a certificate. signingKey: the issuer's, or a throwaway one in its place.
Status MakeCertificate(const CertificateFields &fields, EVP_PKEY *signingKey, Certificate *certificateOut);

// Gives the root's fields the serial number with which its certificate has ROOT_SIZE octets.
Status FitRootSerial(CertificateFields *fields, size_t namesSize);

// A name of country, organization and common name, each an RDN of its own.
Status MakeName(const std::string &country, const std::string &organization, const std::string &commonName,
                NamePtr *nameOut);

// A random serial number, positive and without a leading zero.
Status MakeSerial(size_t size, Bytes *serialOut);

// The serial number that follows from what is certified, so that the run after a dry run signs the same octets:
// positive, and of this length.
Bytes DerivedSerial(const CertificateFields &fields, size_t size);

// Whether a device takes two names for the same: it compares the first attribute of each RDN, type and value, and not
// the type of the string.
bool IsSameNameForDevice(const X509_NAME *a, const X509_NAME *b);

// Reads a serial number in hexadecimal, with or without colons and leading zeros. textOut: as SerialText gives it.
Status ParseSerial(const std::string &text, std::string *textOut);

std::string SerialText(const ASN1_INTEGER *serial);
std::string SerialText(const X509 *certificate);
std::string NameText(const X509_NAME *name);
// The first attribute of a type (NID) in a name, in UTF-8; empty: it has none.
std::string NameAttribute(const X509_NAME *name, int type);
int64_t NotBefore(const X509 *certificate);
int64_t NotAfter(const X509 *certificate);

// Reads the role from basic constraints, purposes and issuer. Fails for a certificate that has none of the four.
Status ReadRole(const X509 *certificate, Role *roleOut);

// What stands in pki.json of a certificate, but for names and authorities.
Entry DescribeCertificate(const X509 *certificate, Role role);

// SHA-256 of what is signed of a certificate, CRL or request, hexadecimal. A throwaway signature does not change it.
std::string ContentDigest(const X509 *certificate);
std::string ContentDigest(const X509_CRL *crl);
std::string ContentDigest(X509_REQ *request);
std::string DigestText(const Bytes &data);

// A certificate, CRL or request as text, its signature left out.
std::string ContentText(X509 *certificate);
std::string ContentText(X509_CRL *crl);
std::string ContentText(X509_REQ *request);

} // namespace pkgsign

#endif
