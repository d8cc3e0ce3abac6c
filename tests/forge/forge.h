// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Makes keys, certificates, CRLs, timestamp tokens and detached signatures for tests: good ones, and bad ones.
//
// Conventions
//   - Every operation returns a Status. Outputs are written only on success.
//   - Objects travel as their DER encoding, in a Bytes. Nothing returned here refers to what was passed in.
//   - Times are seconds since 1970-01-01 00:00:00 UTC. They are encoded as UTCTime up to the year 2049 and as
//     GeneralizedTime from 2050 on (RFC 5280, 4.1.2.5), unless a record says otherwise.
//   - Object identifiers are text: dotted ("2.5.4.3") or a short name that libcrypto knows ("CN").
//   - The records can describe objects that break the standards. That is meant: a verifier needs bad input to be
//     tested with. The defaults describe good ones.
#ifndef TESTS_FORGE_FORGE_H
#define TESTS_FORGE_FORGE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct evp_pkey_st; // libcrypto's EVP_PKEY

namespace forge
{
using Bytes = std::vector<uint8_t>;

// The outcome of an operation: `ok`, or else the reason as one line of text without a full stop.
struct [[nodiscard]] Status {
    bool ok = false;
    std::string reason;
};

enum class Digest { Sha1, Sha256, Sha384, Sha512 };

// ---------------------------------------------------------------------------------------------------------- keys

// A key pair. Copies share one key; the last copy frees it.
using Key = std::shared_ptr<evp_pkey_st>;

// Makes an RSA key with public exponent 65537. bits: length of the modulus, 1024 to 16384.
Status GenerateRsaKey(int bits, Key *keyOut);

// Makes an elliptic curve key on P-256.
Status GenerateEcKey(Key *keyOut);

// Reads an unencrypted private key in PEM.
Status ReadPrivateKey(const std::string &path, Key *keyOut);

// Writes a private key as unencrypted PEM (PKCS #8), readable by its owner only (mode 0600), as WriteFile does.
Status WritePrivateKey(const std::string &path, const Key &key);

// --------------------------------------------------------------------------------------------------------- names

// One attribute of a distinguished name. Each is an RDN of its own unless `joinPrevious` adds it to the RDN before it.
struct Attribute {
    std::string type; // identifier, for instance "C", "O", "OU", "CN", "L", "ST", "emailAddress", "2.5.4.3"
    std::string value;
    bool joinPrevious = false;
    int stringTag =
        0; // universal tag of the value; 0: PrintableString for C, IA5String for emailAddress, else UTF8String
};
using Name = std::vector<Attribute>;

// Encodes a Name.
Status EncodeName(const Name &name, Bytes *nameOut);

// ------------------------------------------------------------------------------------------------------ certificates

// Bits of KeyUsage (RFC 5280, 4.2.1.3).
inline constexpr uint32_t DIGITAL_SIGNATURE = 1u << 0;
inline constexpr uint32_t NON_REPUDIATION = 1u << 1;
inline constexpr uint32_t KEY_CERT_SIGN = 1u << 5;
inline constexpr uint32_t CRL_SIGN = 1u << 6;
inline constexpr uint32_t DECIPHER_ONLY = 1u << 8;

// Key purposes (RFC 5280, 4.2.1.12).
inline constexpr char PURPOSE_CODE_SIGNING[] = "1.3.6.1.5.5.7.3.3";
inline constexpr char PURPOSE_TIME_STAMPING[] = "1.3.6.1.5.5.7.3.8";

enum class BasicConstraints { Absent, NotCa, Ca };

struct Extension {
    std::string identifier;
    bool critical = false;
    Bytes value; // the DER value that the extension's OCTET STRING wraps
};

struct CertificateRequest {
    int version = 3;             // 1 leaves out the version member and every extension
    Bytes serialNumber = {0x01}; // octets of the number, most significant first; taken as not negative
    Name subject;
    Name issuer;      // empty, and issuerDer empty too: the subject (a self-issued certificate)
    Bytes subjectDer; // not empty: taken as the encoded subject name instead of `subject`
    Bytes issuerDer;  // not empty: taken as the encoded issuer name instead of `issuer`
    int64_t notBefore = 0;
    int64_t notAfter = 0;

    BasicConstraints basicConstraints = BasicConstraints::Absent; // critical when present
    int pathLength = -1;                                          // pathLenConstraint; negative: absent
    uint32_t keyUsage = 0;                                        // critical; 0: extension absent
    std::vector<std::string> extendedKeyUsage;                    // in this order; empty: extension absent
    bool extendedKeyUsageCritical = false;
    bool subjectKeyIdentifier = true;   // SHA-1 of the subject's public key (RFC 5280, 4.2.1.2)
    bool authorityKeyIdentifier = true; // SHA-1 of the issuer's public key
    std::vector<Extension> extensions;  // further ones, put last, in this order

    Key subjectKey; // its public half goes into the certificate
    Key issuerKey;  // signs; null: subjectKey (self-signed)
    Digest digest = Digest::Sha256;
};

// Makes a certificate.
Status MakeCertificate(const CertificateRequest &request, Bytes *certificateOut);

// Yields the encoded subject name, issuer name or the serial number (octets, no leading zero) of a certificate.
Status GetSubject(const Bytes &certificate, Bytes *nameOut);
Status GetIssuer(const Bytes &certificate, Bytes *nameOut);
Status GetSerialNumber(const Bytes &certificate, Bytes *serialNumberOut);

// Makes a random serial number of exactly `size` octets (1 to 20), positive and without a leading zero.
Status MakeSerialNumber(size_t size, Bytes *serialNumberOut);

// --------------------------------------------------------------------------------------------------------------- CRLs

struct RevokedCertificate {
    Bytes serialNumber;
    int64_t revocationDate = 0;
    int reasonCode = -1; // CRLReason (RFC 5280, 5.3.1); negative: entry without extensions
};

struct CrlRequest {
    Bytes issuerCertificate; // its subject name becomes the CRL's issuer
    Key issuerKey;
    int version = 2; // 1 leaves out the version member and every extension
    int64_t thisUpdate = 0;
    int64_t nextUpdate = 0;
    bool omitNextUpdate = false;
    int64_t crlNumber = 1;              // negative: extension absent
    bool authorityKeyIdentifier = true; // SHA-1 of issuerKey's public half
    bool indirectCrl = false;           // true: a critical IssuingDistributionPoint with indirectCRL TRUE
    std::vector<Extension> extensions;
    std::vector<RevokedCertificate> revoked; // kept in this order
    Digest digest = Digest::Sha256;
};

// Makes a CRL.
Status MakeCrl(const CrlRequest &request, Bytes *crlOut);

// ---------------------------------------------------------------------------------------------------------- timestamps

struct TokenRequest {
    int64_t genTime = 0;     // encoded as GeneralizedTime in every year (RFC 3161, 2.4.2)
    std::string genTimeText; // not empty: the octets of genTime, taken as they are
    std::string policy = "1.3.6.1.4.1.99999.1";
    Bytes serialNumber = {0x01};
    Bytes nonce; // octets of the number; empty: absent
    Digest imprintDigest = Digest::Sha256;
    Bytes imprintOver; // not empty: imprinted instead of the signature value (a token for something else)
    Bytes tsaCertificate;
    Key tsaKey;
    std::vector<Bytes> certificates; // embedded, in this order; tsaCertificate only if it is listed here too
    Digest signerDigest = Digest::Sha256;
    bool signedAttributes = true; // false: signed over the TSTInfo itself; such a token is not RFC 3161's
    int signerInfoCount = 1;      // 0: nobody signs; 2: the same signer twice
};

// Makes a timestamp token (a ContentInfo) over `signature`, the signature value of a message's signer.
Status MakeToken(const TokenRequest &request, const Bytes &signature, Bytes *tokenOut);

// Wraps a token into a TimeStampResp whose status is "granted".
Status MakeTimestampResponse(const Bytes &token, Bytes *responseOut);

// Takes the token out of a TimeStampResp. `encoding` may also be the bare token, which is then returned unchanged.
// Anything else is refused.
Status GetToken(const Bytes &encoding, Bytes *tokenOut);

// ------------------------------------------------------------------------------------------------------------ messages

enum class Timestamp {
    None,    // no timestamp attribute
    Request, // a token made by `tokenRequest` over the signature value
    Raw,     // `rawToken`, whatever it is (one DER value)
};

struct MessageRequest {
    Bytes content;           // what is signed
    std::string contentFile; // not empty: the file that is signed, read in pieces, instead of `content`
    Bytes signerCertificate;
    Key signerKey;
    std::vector<Bytes> certificates; // embedded, in this order; signerCertificate only if it is listed here too
    Digest digest = Digest::Sha256;
    bool signedAttributes = true; // false: signed over the content itself
    int64_t signingTime = -1;     // signed attribute; negative: absent
    Timestamp timestamp = Timestamp::None;
    TokenRequest tokenRequest;
    Bytes rawToken;
    int signerInfoCount = 1; // 0: nobody signs; 2: the same signer twice
};

// Makes a detached CMS signature (RFC 5652). The signer is named by issuer and serial number.
Status SignDetached(const MessageRequest &request, Bytes *messageOut);

// Yields the signature value of the first signer of a CMS message: what a timestamp token is made over.
Status GetSignatureValue(const Bytes &message, Bytes *signatureOut);

// Puts a token into the unsigned attributes of the message's first signer, in place of a token that is already there.
Status EmbedToken(const Bytes &message, const Bytes &token, Bytes *messageOut);

// ------------------------------------------------------------------------------------------------------- PEM and files

inline constexpr char LABEL_CERTIFICATE[] = "CERTIFICATE";
inline constexpr char LABEL_CRL[] = "X509 CRL";
inline constexpr char LABEL_CMS[] = "CMS";
inline constexpr char LABEL_PKCS7[] = "PKCS7";

enum class LineEnd { Lf, CrLf };

// Returns `der` as one PEM block (RFC 7468) with lines of 64 characters. Blocks may be concatenated.
std::string Armour(const std::string &label, const Bytes &der, LineEnd lineEnd = LineEnd::Lf);

// Yields the octets of the first PEM block in `data`, whatever its label; data that holds no block is returned
// unchanged, as it is taken for DER.
Status Unarmour(const Bytes &data, Bytes *derOut);

// Reads a whole file.
Status ReadFile(const std::string &path, Bytes *dataOut);

// Writes a file under a temporary name beside it, then renames, so that nobody sees half a file and an earlier one is
// replaced. mode: permission bits before the umask.
Status WriteFile(const std::string &path, const Bytes &data, unsigned mode = 0666);
Status WriteFile(const std::string &path, const std::string &text, unsigned mode = 0666);

// --------------------------------------------------------------------------------------------------------------- times

// Reads an ISO 8601 time in UTC, exactly in the form "2026-01-31T12:00:00Z".
Status ParseTime(const std::string &text, int64_t *secondsOut);

// ------------------------------------------------------------------------------------------------- a development PKI

// Octets of the root certificate. The verifier stores its trust anchor in an area of exactly this size.
inline constexpr size_t ROOT_CERTIFICATE_SIZE = 1363;

inline constexpr int64_t PKI_NOT_BEFORE = 1444896530;     // 2015-10-15 08:08:50 UTC
inline constexpr int64_t PKI_ROOT_NOT_AFTER = 2549434130; // 2050-10-15 08:08:50 UTC
inline constexpr int64_t PKI_NOT_AFTER = 2524608000;      // 2050-01-01 00:00:00 UTC

struct Identity {
    Bytes certificate;
    Key key;
};

// The texts must have 11 to 20 octets together: the space that the root certificate's fixed size leaves for them.
struct PkiRequest {
    std::string organization = "Sigkit";
    std::string rootName = "Root CA";   // the root's common name
    int keyBits = 3072;                 // length of the subordinate keys; the root's is always 4096
    int64_t notBefore = PKI_NOT_BEFORE; // of the subordinate certificates
    int64_t notAfter = PKI_NOT_AFTER;
    int64_t crlThisUpdate = PKI_NOT_BEFORE;
    int64_t crlNextUpdate = PKI_NOT_AFTER;
    Key rootKey; // a null key is generated; rootKey must be RSA of 4096 bits
    Key issuingCaKey;
    Key signerKey;
    Key timestampKey;
};

struct Pki {
    Identity root;      // self-signed
    Identity issuingCa; // under the root
    Identity signer;    // code signing, under the issuing CA
    Identity timestamp; // time stamping, under the issuing CA
    Bytes rootCrl;      // revokes nothing
    Bytes issuingCaCrl; // revokes nothing
};

// Makes only the root certificate, of exactly ROOT_CERTIFICATE_SIZE octets.
Status MakeRoot(const PkiRequest &request, Identity *rootOut);

// Makes the whole PKI in memory.
Status MakePki(const PkiRequest &request, Pki *pkiOut);

// Reads certificates and keys, which are not encrypted, of a folder that `pkgsign init` has made; the CRLs stay empty.
Status ReadPki(const std::string &directory, Pki *pkiOut);
} // namespace forge

#endif
