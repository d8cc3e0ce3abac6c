// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "fuzz/support/evidence.h"

#include <algorithm>
#include <iterator>

#include <openssl/bn.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include "fuzz/support/host.h"
#include "fuzz/support/keys.h"
#include "fuzz/support/times.h"
#include "tests/forge/digest.h"

namespace
{

constexpr uint8_t INTEGER = 0x02;
constexpr uint8_t BIT_STRING = 0x03;
constexpr uint8_t SEQUENCE = 0x30;
constexpr uint8_t CONTEXT_0 = 0xA0;

const forge::Bytes SHA2 = {0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02};
const forge::Bytes PKCS1 = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x01};
constexpr forge::Digest DIGESTS[] = {forge::Digest::Sha256, forge::Digest::Sha384, forge::Digest::Sha512};

// INTEGERs of an RSAPublicKey inside a SubjectPublicKeyInfo.
bool ReadKey(const Element &info, EvidenceKey *key)
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
bool ReadSigned(const Element &element, std::vector<Element> *members, forge::Bytes *signature)
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

bool ReadCertificate(const Element &element, EvidenceCertificate *out)
{
    std::vector<Element> members;
    if (!ReadSigned(element, &members, &out->signature)) {
        return false;
    }
    out->encoded = ElementEncoding(element);
    out->toBeSigned = ElementEncoding(members[0]);
    out->trusted = false;
    // The wrapper of the version may claim any length: what is inside decides.
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

bool ReadCrl(const Element &element, EvidenceCrl *out)
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
    if (body.size() < 5 || body[0].identifier != INTEGER || !TimeIsOne(body[4])) {
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

// What libcrypto makes of a certificate; null when it does not parse it.
X509 *Parse(const EvidenceCertificate &certificate)
{
    const uint8_t *position = certificate.encoded.data();
    return d2i_X509(nullptr, &position, static_cast<long>(certificate.encoded.size()));
}

// Returns whether a certificate is clearly none of a CA. One that libcrypto finds odd is not clear.
bool IsClearlyNoAuthority(const EvidenceCertificate &certificate)
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

Element TimeElement(const ASN1_TIME *time)
{
    const uint8_t *const data = ASN1_STRING_get0_data(time);
    return {static_cast<uint8_t>(ASN1_STRING_type(time)), data, data, static_cast<size_t>(ASN1_STRING_length(time))};
}

} // namespace

void EvidenceCollect(const forge::Bytes &octets, Evidence *evidence)
{
    for (size_t at = 0; at < octets.size(); ++at) {
        Element element;
        EvidenceCertificate certificate;
        EvidenceCrl crl;
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

void EvidenceTrust(const forge::Bytes &anchor, Evidence *evidence)
{
    EvidenceCertificate root;
    Element element;
    if (!ElementRead(anchor.data(), anchor.size(), &element) || !ReadCertificate(element, &root)) {
        FuzzFail("the trust anchor is no certificate");
    }
    root.trusted = true;
    std::vector<EvidenceCertificate> pending = {root};
    evidence->certificates.push_back(root);
    while (!pending.empty()) {
        const EvidenceCertificate issuer = pending.back();
        pending.pop_back();
        if (IsClearlyNoAuthority(issuer)) {
            continue;
        }
        for (EvidenceCertificate &certificate : evidence->certificates) {
            if (!certificate.trusted &&
                EvidenceVerifiesByAny(issuer.key, certificate.toBeSigned, certificate.signature)) {
                certificate.trusted = true;
                pending.push_back(certificate);
            }
        }
    }
}

bool EvidenceIsClearlyOutOfDate(const EvidenceCertificate &certificate, const Element &time)
{
    X509 *const x509 = Parse(certificate);
    const bool outOfDate = x509 != nullptr && (TimeIsClearlyLater(TimeElement(X509_get0_notBefore(x509)), time) ||
                                               TimeIsClearlyLater(time, TimeElement(X509_get0_notAfter(x509))));
    X509_free(x509);
    return outOfDate;
}

// RSASSA-PKCS1-v1_5 (RFC 8017, 8.2.2) by its definition: the number to the power of the exponent is the padded digest.
// A signature is a number, so leading zeros do not count.
bool EvidenceVerifies(const EvidenceKey &key, forge::Digest digest, const forge::Bytes &data,
                      const forge::Bytes &signature)
{
    RSA *const rsa = RSA_new();
    BIGNUM *const n = BN_bin2bn(key.modulus.data(), static_cast<int>(key.modulus.size()), nullptr);
    BIGNUM *const e = BN_bin2bn(key.exponent.data(), static_cast<int>(key.exponent.size()), nullptr);
    const size_t size = static_cast<size_t>(BN_num_bytes(n));
    (void)RSA_set0_key(rsa, n, e, nullptr);
    const auto first = std::find_if(signature.begin(), signature.end(), [](uint8_t octet) { return octet != 0; });
    forge::Bytes number(first, signature.end());
    bool verified = false;
    if (number.size() <= size) {
        number.insert(number.begin(), size - number.size(), 0);
        const forge::Bytes hash = FuzzHash(digest, data);
        verified = RSA_verify(EVP_MD_type(forge::DigestMethod(digest)), hash.data(), static_cast<unsigned>(hash.size()),
                              number.data(), static_cast<unsigned>(size), rsa) == 1;
    }
    RSA_free(rsa);
    return verified;
}

bool EvidenceVerifiesByAny(const EvidenceKey &key, const forge::Bytes &data, const forge::Bytes &signature)
{
    return std::any_of(std::begin(DIGESTS), std::end(DIGESTS),
                       [&](forge::Digest digest) { return EvidenceVerifies(key, digest, data, signature); });
}

bool EvidenceReadDigest(const Element &algorithm, forge::Digest *out)
{
    std::vector<Element> members;
    if (!ElementChildren(algorithm, &members) || members.empty()) {
        return false;
    }
    const forge::Bytes identifier = ElementValue(members.front());
    for (int i = 0; i < 3; ++i) {
        forge::Bytes plain = SHA2;
        forge::Bytes withRsa = PKCS1;
        plain.push_back(static_cast<uint8_t>(1 + i));
        withRsa.push_back(static_cast<uint8_t>(11 + i));
        if (identifier == plain || identifier == withRsa) {
            *out = DIGESTS[i];
            return true;
        }
    }
    return false;
}
