#include "fuzz/support/oracle.h"

#include <algorithm>
#include <iterator>
#include <string>

#include <openssl/bn.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include "fuzz/support/elements.h"
#include "fuzz/support/host.h"
#include "fuzz/support/keys.h"
#include "pkgsign/digest.h"
#include "verify/base64.h"

namespace
{

constexpr uint8_t INTEGER = 0x02;
constexpr uint8_t BIT_STRING = 0x03;
constexpr uint8_t UTC_TIME = 0x17;
constexpr uint8_t GENERALIZED_TIME = 0x18;
constexpr uint8_t SEQUENCE = 0x30;
constexpr uint8_t SET = 0x31;
constexpr uint8_t CONTEXT_0 = 0xA0;
constexpr uint8_t CONTEXT_1 = 0xA1;
constexpr uint8_t TAG_NUMBER = 0x1F;

const PkgsignBytes DISTRIBUTION_POINT = {0x55, 0x1D, 0x1C};
const PkgsignBytes CODE_SIGNING = {0x2B, 0x06, 0x01, 0x05, 0x05, 0x07, 0x03, 0x03};
const PkgsignBytes SHA2 = {0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02};
const PkgsignBytes PKCS1 = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x01};
constexpr PkgsignDigest DIGESTS[] = {PkgsignDigest::Sha256, PkgsignDigest::Sha384, PkgsignDigest::Sha512};

struct RsaKey {
    PkgsignBytes modulus;
    PkgsignBytes exponent;
};

struct Certificate {
    PkgsignBytes encoded;
    PkgsignBytes toBeSigned;
    PkgsignBytes signature;
    Element serial;
    Element issuer;
    RsaKey key;
    bool trusted;
};

struct Crl {
    PkgsignBytes toBeSigned;
    PkgsignBytes signature;
    Element issuer;
    Element nextUpdate;
    std::vector<Element> revoked; // entries
};

// Everything in reach.
struct Evidence {
    std::vector<Certificate> certificates;
    std::vector<Crl> crls;
};

// The content, without the sign octet when the tag is an INTEGER's.
PkgsignBytes Value(const Element &element)
{
    PkgsignBytes content = ElementContent(element);
    if ((element.identifier & TAG_NUMBER) == INTEGER && !content.empty() && content.front() == 0) {
        content.erase(content.begin());
    }
    return content;
}

// ---- Signatures ----------------------------------------------------------------------------------------------------

// RSASSA-PKCS1-v1_5 (RFC 8017, 8.2.2) by its definition: the number to the power of the exponent is the padded digest.
// A signature is a number, so leading zeros do not count.
bool Verifies(const RsaKey &key, PkgsignDigest digest, const PkgsignBytes &data, const PkgsignBytes &signature)
{
    RSA *const rsa = RSA_new();
    BIGNUM *const n = BN_bin2bn(key.modulus.data(), static_cast<int>(key.modulus.size()), nullptr);
    BIGNUM *const e = BN_bin2bn(key.exponent.data(), static_cast<int>(key.exponent.size()), nullptr);
    const size_t size = static_cast<size_t>(BN_num_bytes(n));
    (void)RSA_set0_key(rsa, n, e, nullptr);
    const auto first = std::find_if(signature.begin(), signature.end(), [](uint8_t octet) { return octet != 0; });
    PkgsignBytes number(first, signature.end());
    bool verified = false;
    if (number.size() <= size) {
        number.insert(number.begin(), size - number.size(), 0);
        const PkgsignBytes hash = FuzzHash(digest, data);
        verified = RSA_verify(EVP_MD_type(PkgsignDigestMethod(digest)), hash.data(), static_cast<unsigned>(hash.size()),
                              number.data(), static_cast<unsigned>(size), rsa) == 1;
    }
    RSA_free(rsa);
    return verified;
}

bool VerifiesByAny(const RsaKey &key, const PkgsignBytes &data, const PkgsignBytes &signature)
{
    return std::any_of(std::begin(DIGESTS), std::end(DIGESTS),
                       [&](PkgsignDigest digest) { return Verifies(key, digest, data, signature); });
}

// The digest that an AlgorithmIdentifier names, alone or with RSA.
bool ReadDigest(const Element &algorithm, PkgsignDigest *out)
{
    std::vector<Element> members;
    if (!ElementChildren(algorithm, &members) || members.empty()) {
        return false;
    }
    const PkgsignBytes identifier = Value(members.front());
    for (int i = 0; i < 3; ++i) {
        PkgsignBytes plain = SHA2;
        PkgsignBytes withRsa = PKCS1;
        plain.push_back(static_cast<uint8_t>(1 + i));
        withRsa.push_back(static_cast<uint8_t>(11 + i));
        if (identifier == plain || identifier == withRsa) {
            *out = DIGESTS[i];
            return true;
        }
    }
    return false;
}

// ---- Certificates and CRLs -----------------------------------------------------------------------------------------

// INTEGERs of an RSAPublicKey inside a SubjectPublicKeyInfo.
bool ReadKey(const Element &info, RsaKey *key)
{
    std::vector<Element> members;
    Element bits;
    std::vector<Element> numbers;
    if (!ElementChildren(info, &members) || members.size() != 2 || members[1].identifier != BIT_STRING ||
        members[1].length < 1 || !ElementRead(members[1].content + 1, members[1].length - 1, &bits) ||
        !ElementChildren(bits, &numbers) || numbers.size() != 2) {
        return false;
    }
    *key = {ElementContent(numbers[0]), ElementContent(numbers[1])};
    return true;
}

// SEQUENCE { toBeSigned SEQUENCE, AlgorithmIdentifier, BIT STRING }
bool ReadSigned(const Element &element, std::vector<Element> *members, PkgsignBytes *signature)
{
    if (element.identifier != SEQUENCE || !ElementChildren(element, members) || members->size() != 3 ||
        (*members)[0].identifier != SEQUENCE || (*members)[1].identifier != SEQUENCE ||
        (*members)[2].identifier != BIT_STRING || (*members)[2].length < 1) {
        return false;
    }
    *signature = ElementContent((*members)[2]);
    signature->erase(signature->begin());
    return true;
}

bool ReadCertificate(const Element &element, Certificate *out)
{
    std::vector<Element> members;
    if (!ReadSigned(element, &members, &out->signature)) {
        return false;
    }
    out->encoded = ElementEncoding(element);
    out->toBeSigned = ElementEncoding(members[0]);
    out->trusted = false;
    // The wrapper of the version may tell any length: what is inside decides.
    Element at;
    const uint8_t *position = members[0].content;
    const uint8_t *const end = position + members[0].length;
    if (!ElementRead(position, members[0].length, &at) || at.identifier != CONTEXT_0) {
        return false;
    }
    position = at.content;
    std::vector<Element> body; // version, serialNumber, signature, issuer, validity, subject, subjectPublicKeyInfo
    while (body.size() < 7) {
        if (!ElementRead(position, static_cast<size_t>(end - position), &at)) {
            return false;
        }
        body.push_back(at);
        position = at.content + at.length;
    }
    out->serial = body[1];
    out->issuer = body[3];
    return ReadKey(body[6], &out->key);
}

// By the tag's number alone, as the verifier tells them.
bool IsUtcTime(const Element &element)
{
    return (element.identifier & TAG_NUMBER) == UTC_TIME;
}

bool IsTime(const Element &element)
{
    return IsUtcTime(element) || (element.identifier & TAG_NUMBER) == GENERALIZED_TIME;
}

bool ReadCrl(const Element &element, Crl *out)
{
    std::vector<Element> members;
    if (!ReadSigned(element, &members, &out->signature)) {
        return false;
    }
    out->toBeSigned = ElementEncoding(members[0]);
    std::vector<Element> body; // version, signature, issuer, thisUpdate, nextUpdate, revokedCertificates
    const uint8_t *position = members[0].content;
    const uint8_t *const end = position + members[0].length;
    Element at;
    while (body.size() < 6 && ElementRead(position, static_cast<size_t>(end - position), &at)) {
        body.push_back(at);
        position = at.content + at.length;
    }
    if (body.size() < 5 || body[0].identifier != INTEGER || !IsTime(body[4])) {
        return false;
    }
    out->issuer = body[2];
    out->nextUpdate = body[4];
    out->revoked.clear();
    if (body.size() > 5 && body[5].identifier == SEQUENCE) {
        (void)ElementChildren(body[5], &out->revoked);
    }
    return true;
}

void Collect(const PkgsignBytes &octets, Evidence *evidence)
{
    for (size_t at = 0; at < octets.size(); ++at) {
        Element element;
        Certificate certificate;
        Crl crl;
        if (octets[at] != SEQUENCE || !ElementRead(octets.data() + at, octets.size() - at, &element)) {
            continue;
        }
        if (ReadCertificate(element, &certificate)) {
            evidence->certificates.push_back(certificate);
        } else if (ReadCrl(element, &crl)) {
            evidence->crls.push_back(crl);
        }
    }
}

// What libcrypto makes of a certificate; null when it does not parse it.
X509 *Parse(const Certificate &certificate)
{
    const uint8_t *position = certificate.encoded.data();
    return d2i_X509(nullptr, &position, static_cast<long>(certificate.encoded.size()));
}

// Tells whether a certificate is clearly none of a CA. One that libcrypto finds odd is not clear.
bool IsClearlyNoAuthority(const Certificate &certificate)
{
    X509 *const x509 = Parse(certificate);
    if (x509 == nullptr) {
        return false;
    }
    const uint32_t flags = X509_get_extension_flags(x509);
    const bool clear = (flags & EXFLAG_INVALID) == 0 && (flags & EXFLAG_CA) == 0;
    X509_free(x509);
    return clear;
}

void Trust(const PkgsignBytes &anchor, Evidence *evidence)
{
    Certificate root;
    Element element;
    if (!ElementRead(anchor.data(), anchor.size(), &element) || !ReadCertificate(element, &root)) {
        FuzzFail("the trust anchor is no certificate");
    }
    root.trusted = true;
    std::vector<Certificate> pending = {root};
    evidence->certificates.push_back(root);
    while (!pending.empty()) {
        const Certificate issuer = pending.back();
        pending.pop_back();
        if (IsClearlyNoAuthority(issuer)) {
            continue;
        }
        for (Certificate &certificate : evidence->certificates) {
            if (!certificate.trusted && VerifiesByAny(issuer.key, certificate.toBeSigned, certificate.signature)) {
                certificate.trusted = true;
                pending.push_back(certificate);
            }
        }
    }
}

// ---- Times ---------------------------------------------------------------------------------------------------------

// A time that is read by its digits, or null for anything else: a date that does not exist, or a year below 1950 with
// four digits, which the verifier's calendar takes for another one.
ASN1_TIME *MakeTime(const Element &element)
{
    const std::string text(element.content, element.content + element.length);
    const bool isUtc = IsUtcTime(element);
    const bool proper = IsTime(element) && text.size() == (isUtc ? 13u : 15u) && text.back() == 'Z' &&
                        std::all_of(text.begin(), text.end() - 1, [](char c) { return c >= '0' && c <= '9'; });
    if (!proper || (!isUtc && text < "1950")) {
        return nullptr;
    }
    ASN1_TIME *const time = ASN1_TIME_new();
    if (ASN1_TIME_set_string(time, text.c_str()) != 1) {
        ASN1_TIME_free(time);
        return nullptr;
    }
    return time;
}

// Tells whether `first` is clearly later than `second`: false as soon as one is no proper time.
bool IsClearlyLater(const Element &first, const Element &second)
{
    ASN1_TIME *const a = MakeTime(first);
    ASN1_TIME *const b = MakeTime(second);
    int days = 0;
    int seconds = 0;
    const bool later =
        a != nullptr && b != nullptr && ASN1_TIME_diff(&days, &seconds, a, b) == 1 && (days < 0 || seconds < 0);
    ASN1_TIME_free(a);
    ASN1_TIME_free(b);
    return later;
}

Element TimeElement(const ASN1_TIME *time)
{
    const uint8_t *const data = ASN1_STRING_get0_data(time);
    return {static_cast<uint8_t>(ASN1_STRING_type(time)), data, data, static_cast<size_t>(ASN1_STRING_length(time))};
}

// Tells whether a certificate is clearly out of date at a time.
bool IsClearlyOutOfDate(const Certificate &certificate, const Element &time)
{
    X509 *const x509 = Parse(certificate);
    const bool outOfDate = x509 != nullptr && (IsClearlyLater(TimeElement(X509_get0_notBefore(x509)), time) ||
                                               IsClearlyLater(time, TimeElement(X509_get0_notAfter(x509))));
    X509_free(x509);
    return outOfDate;
}

// ---- Revocation ----------------------------------------------------------------------------------------------------

// Tells whether a CRL has an entry of a serial number, and whether one is clearly in force.
void LookUp(const Crl &crl, const Element &serial, const Element &time, bool *listed, bool *inForce)
{
    for (const Element &entry : crl.revoked) {
        std::vector<Element> members;
        if (!ElementChildren(entry, &members) || members.size() < 2 || Value(members[0]) != Value(serial)) {
            continue;
        }
        *listed = true;
        ASN1_TIME *const date = MakeTime(members[1]);
        ASN1_TIME *const at = MakeTime(time);
        *inForce = *inForce || (date != nullptr && at != nullptr && !IsClearlyLater(members[1], time));
        ASN1_TIME_free(date);
        ASN1_TIME_free(at);
    }
}

bool Contains(const PkgsignBytes &octets, const PkgsignBytes &part)
{
    return std::search(octets.begin(), octets.end(), part.begin(), part.end()) != octets.end();
}

// The first attribute of each RelativeDistinguishedName: what the verifier compares. False for a name without them.
bool ReadName(const Element &name, std::vector<PkgsignBytes> *parts)
{
    std::vector<Element> relativeNames;
    if (!ElementChildren(name, &relativeNames)) {
        return false;
    }
    for (const Element &relativeName : relativeNames) {
        std::vector<Element> attributes;
        std::vector<Element> members;
        if (!ElementChildren(relativeName, &attributes) || attributes.empty() ||
            !ElementChildren(attributes.front(), &members) || members.size() != 2) {
            return false;
        }
        parts->push_back(Value(members[0]));
        parts->push_back(Value(members[1]));
    }
    return true;
}

// Tells whether a CRL clearly speaks about certificates of another issuer: it bears another name and is not indirect.
bool IsClearlyOfAnother(const Crl &crl, const Certificate &certificate)
{
    std::vector<PkgsignBytes> crlIssuer;
    std::vector<PkgsignBytes> certificateIssuer;
    return ReadName(crl.issuer, &crlIssuer) && ReadName(certificate.issuer, &certificateIssuer) &&
           crlIssuer != certificateIssuer && !Contains(crl.toBeSigned, DISTRIBUTION_POINT);
}

// Tells whether a CRL of the trusted part clears a certificate at a time.
bool IsCleared(const Evidence &evidence, const Certificate &certificate, const Element &time)
{
    for (const Crl &crl : evidence.crls) {
        bool listed = false;
        bool inForce = false;
        LookUp(crl, certificate.serial, time, &listed, &inForce);
        if (inForce || (!listed && IsClearlyLater(time, crl.nextUpdate)) || IsClearlyOfAnother(crl, certificate)) {
            continue;
        }
        for (const Certificate &issuer : evidence.certificates) {
            if (issuer.trusted && VerifiesByAny(issuer.key, crl.toBeSigned, crl.signature)) {
                return true;
            }
        }
    }
    return false;
}

// ---- Signers -------------------------------------------------------------------------------------------------------

struct Signer {
    PkgsignDigest digest;
    PkgsignBytes signedAttributes; // as they are signed; empty: none
    PkgsignBytes signature;
    PkgsignBytes unsignedAttributes;
};

// SignerInfo: version, sid, digestAlgorithm, [0], signatureAlgorithm, signature, [1]
bool ReadSigner(const Element &element, Signer *out)
{
    std::vector<Element> members;
    if (!ElementChildren(element, &members) || members.size() < 6 || members[0].identifier != INTEGER ||
        !ReadDigest(members[2], &out->digest)) {
        return false;
    }
    size_t at = 3;
    out->signedAttributes.clear();
    if (members[at].identifier == CONTEXT_0) {
        out->signedAttributes = ElementEncoding(members[at++]);
        out->signedAttributes.front() = SET;
    }
    if (at + 2 >= members.size() || members[at + 2].identifier != CONTEXT_1) {
        return false;
    }
    out->signature = Value(members[at + 1]);
    out->unsignedAttributes = ElementEncoding(members[at + 2]);
    return true;
}

bool HasSigned(const Certificate &certificate, const Signer &signer, const PkgsignBytes &content)
{
    if (Contains(signer.signedAttributes, FuzzHash(signer.digest, content)) &&
        Verifies(certificate.key, signer.digest, signer.signedAttributes, signer.signature)) {
        return true;
    }
    return Verifies(certificate.key, signer.digest, content, signer.signature);
}

// The times that are bound to a signature: of each TSTInfo that bears its digest.
std::vector<Element> FindTimes(const Signer &signer)
{
    std::vector<Element> times;
    const PkgsignBytes &octets = signer.unsignedAttributes;
    for (size_t at = 0; at < octets.size(); ++at) {
        Element element;
        std::vector<Element> members; // version, policy, messageImprint, serialNumber, genTime
        std::vector<Element> imprint;
        PkgsignDigest digest;
        if (octets[at] == SEQUENCE && ElementRead(octets.data() + at, octets.size() - at, &element) &&
            ElementChildren(element, &members) && members.size() >= 5 && members[0].identifier == INTEGER &&
            ElementChildren(members[2], &imprint) && imprint.size() == 2 && ReadDigest(imprint[0], &digest) &&
            Value(imprint[1]) == FuzzHash(digest, signer.signature)) {
            times.push_back(members[4]);
        }
    }
    return times;
}

// Calls a test for every signer of a message until one says yes.
template <typename Test>
bool AnySigner(const std::vector<PkgsignBytes> &messages, Test test)
{
    for (const PkgsignBytes &octets : messages) {
        for (size_t at = 0; at < octets.size(); ++at) {
            Element element;
            Signer signer;
            if (octets[at] == SEQUENCE && ElementRead(octets.data() + at, octets.size() - at, &element) &&
                ReadSigner(element, &signer) && test(signer)) {
                return true;
            }
        }
    }
    return false;
}

bool IsProof(const Evidence &evidence, const Signer &signer, const PkgsignBytes &content)
{
    const std::vector<Element> times = FindTimes(signer);
    for (const Certificate &certificate : evidence.certificates) {
        if (!certificate.trusted || !Contains(certificate.toBeSigned, CODE_SIGNING) ||
            !HasSigned(certificate, signer, content)) {
            continue;
        }
        for (const Element &time : times) {
            if (!IsClearlyOutOfDate(certificate, time) && IsCleared(evidence, certificate, time)) {
                return true;
            }
        }
    }
    return false;
}

} // namespace

void FuzzRequireAuthentic(const PkgsignBytes &anchor, const std::vector<PkgsignBytes> &files,
                          const PkgsignBytes &message, const PkgsignBytes &content)
{
    std::vector<PkgsignBytes> kept; // what elements point into
    for (const PkgsignBytes &file : files) {
        const std::vector<PkgsignBytes> blocks = FuzzUnarmour(file);
        kept.insert(kept.end(), blocks.begin(), blocks.end());
    }
    const std::vector<PkgsignBytes> messages = FuzzUnarmour(message);
    kept.insert(kept.end(), messages.begin(), messages.end());
    Evidence evidence;
    for (const PkgsignBytes &octets : kept) {
        Collect(octets, &evidence);
    }
    Trust(anchor, &evidence);
    if (!AnySigner(messages, [&](const Signer &signer) { return IsProof(evidence, signer, content); })) {
        FuzzFail("a message is accepted that proves nothing");
    }
}

bool FuzzHasSigner(const PkgsignBytes &message)
{
    return AnySigner(FuzzUnarmour(message), [](const Signer &) { return true; });
}

std::vector<PkgsignBytes> FuzzUnarmour(const PkgsignBytes &file)
{
    const std::string text(file.begin(), file.end());
    if (text.compare(0, 10, "-----BEGIN") != 0) {
        return {file};
    }
    std::vector<PkgsignBytes> blocks;
    for (size_t at = text.find("-----BEGIN"); at != std::string::npos; at = text.find("-----BEGIN", at + 1)) {
        const size_t label = text.find("-----", at + 10);
        const size_t body = label == std::string::npos ? label : label + 5;
        const size_t end = body == std::string::npos ? body : text.find("-----END", body);
        if (end == std::string::npos || end == body) {
            continue;
        }
        PkgsignBytes der(end - body);
        uint32_t length = static_cast<uint32_t>(der.size());
        if (SigkitBase64Decode(text.data() + body, static_cast<int32_t>(end - body), der.data(), &length) == 0) {
            der.resize(length);
            blocks.push_back(der);
        }
    }
    return blocks;
}
