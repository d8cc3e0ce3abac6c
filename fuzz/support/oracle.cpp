// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "fuzz/support/oracle.h"

#include <algorithm>
#include <string>

#include "fuzz/support/elements.h"
#include "fuzz/support/evidence.h"
#include "fuzz/support/host.h"
#include "fuzz/support/keys.h"
#include "fuzz/support/times.h"
#include "verify/load/base64.h"

namespace
{

constexpr uint8_t INTEGER = 0x02;
constexpr uint8_t SEQUENCE = 0x30;
constexpr uint8_t SET = 0x31;
constexpr uint8_t CONTEXT_0 = 0xA0;
constexpr uint8_t CONTEXT_1 = 0xA1;

const forge::Bytes DISTRIBUTION_POINT = {0x55, 0x1D, 0x1C};
const forge::Bytes CODE_SIGNING = {0x2B, 0x06, 0x01, 0x05, 0x05, 0x07, 0x03, 0x03};

// ---- Revocation ----------------------------------------------------------------------------------------------------

// Returns whether a CRL has an entry of a serial number, and whether one is clearly in force.
void LookUp(const EvidenceCrl &crl, const Element &serial, const Element &time, bool *listed, bool *inForce)
{
    for (const Element &entry : crl.revoked) {
        std::vector<Element> members;
        if (!ElementChildren(entry, &members) || members.size() < 2 ||
            ElementValue(members[0]) != ElementValue(serial)) {
            continue;
        }
        *listed = true;
        *inForce =
            *inForce || (TimeIsProper(members[1]) && TimeIsProper(time) && !TimeIsClearlyLater(members[1], time));
    }
}

bool Contains(const forge::Bytes &octets, const forge::Bytes &part)
{
    return std::search(octets.begin(), octets.end(), part.begin(), part.end()) != octets.end();
}

// The first attribute of each RelativeDistinguishedName: what the verifier compares. False for a name without them.
bool ReadName(const Element &name, std::vector<forge::Bytes> *parts)
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
        parts->push_back(ElementValue(members[0]));
        parts->push_back(ElementValue(members[1]));
    }
    return true;
}

// Returns whether a CRL clearly speaks about certificates of another issuer: it bears another name and is not indirect.
bool IsClearlyOfAnother(const EvidenceCrl &crl, const EvidenceCertificate &certificate)
{
    std::vector<forge::Bytes> crlIssuer;
    std::vector<forge::Bytes> certificateIssuer;
    return ReadName(crl.issuer, &crlIssuer) && ReadName(certificate.issuer, &certificateIssuer) &&
           crlIssuer != certificateIssuer && !Contains(crl.toBeSigned, DISTRIBUTION_POINT);
}

// Returns whether a CRL of the trusted part clears a certificate at a time.
bool IsCleared(const Evidence &evidence, const EvidenceCertificate &certificate, const Element &time)
{
    for (const EvidenceCrl &crl : evidence.crls) {
        bool listed = false;
        bool inForce = false;
        LookUp(crl, certificate.serial, time, &listed, &inForce);
        if (inForce || (!listed && TimeIsClearlyLater(time, crl.nextUpdate)) || IsClearlyOfAnother(crl, certificate)) {
            continue;
        }
        for (const EvidenceCertificate &issuer : evidence.certificates) {
            if (issuer.trusted && EvidenceVerifiesByAny(issuer.key, crl.toBeSigned, crl.signature)) {
                return true;
            }
        }
    }
    return false;
}

// ---- Signers -------------------------------------------------------------------------------------------------------

struct Signer {
    forge::Digest digest;
    forge::Bytes signedAttributes; // as they are signed; empty: none
    forge::Bytes signature;
    forge::Bytes unsignedAttributes;
};

// SignerInfo: version, sid, digestAlgorithm, [0], signatureAlgorithm, signature, [1]
bool ReadSigner(const Element &element, Signer *out)
{
    std::vector<Element> members;
    if (!ElementChildren(element, &members) || members.size() < 6 || members[0].identifier != INTEGER ||
        !EvidenceReadDigest(members[2], &out->digest)) {
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
    out->signature = ElementValue(members[at + 1]);
    out->unsignedAttributes = ElementEncoding(members[at + 2]);
    return true;
}

bool HasSigned(const EvidenceCertificate &certificate, const Signer &signer, const forge::Bytes &content)
{
    if (Contains(signer.signedAttributes, FuzzHash(signer.digest, content)) &&
        EvidenceVerifies(certificate.key, signer.digest, signer.signedAttributes, signer.signature)) {
        return true;
    }
    return EvidenceVerifies(certificate.key, signer.digest, content, signer.signature);
}

// The times that are bound to a signature: of each TSTInfo that bears its digest.
std::vector<Element> FindTimes(const Signer &signer)
{
    std::vector<Element> times;
    const forge::Bytes &octets = signer.unsignedAttributes;
    for (size_t at = 0; at < octets.size(); ++at) {
        Element element;
        std::vector<Element> members; // version, policy, messageImprint, serialNumber, genTime
        std::vector<Element> imprint;
        forge::Digest digest;
        if (octets[at] == SEQUENCE && ElementRead(octets.data() + at, octets.size() - at, &element) &&
            ElementChildren(element, &members) && members.size() >= 5 && members[0].identifier == INTEGER &&
            ElementChildren(members[2], &imprint) && imprint.size() == 2 && EvidenceReadDigest(imprint[0], &digest) &&
            ElementValue(imprint[1]) == FuzzHash(digest, signer.signature)) {
            times.push_back(members[4]);
        }
    }
    return times;
}

// Calls a test for every signer of a message until one returns true.
template <typename Test>
bool AnySigner(const std::vector<forge::Bytes> &messages, Test test)
{
    for (const forge::Bytes &octets : messages) {
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

bool IsProof(const Evidence &evidence, const Signer &signer, const forge::Bytes &content)
{
    const std::vector<Element> times = FindTimes(signer);
    for (const EvidenceCertificate &certificate : evidence.certificates) {
        if (!certificate.trusted || !Contains(certificate.toBeSigned, CODE_SIGNING) ||
            !HasSigned(certificate, signer, content)) {
            continue;
        }
        for (const Element &time : times) {
            if (!EvidenceIsClearlyOutOfDate(certificate, time) && IsCleared(evidence, certificate, time)) {
                return true;
            }
        }
    }
    return false;
}

// The DER octets in a file: those of each PEM block, or the file itself.
std::vector<forge::Bytes> Unarmour(const forge::Bytes &file)
{
    const std::string text(file.begin(), file.end());
    if (text.compare(0, 10, "-----BEGIN") != 0) {
        return {file};
    }
    std::vector<forge::Bytes> blocks;
    for (size_t at = text.find("-----BEGIN"); at != std::string::npos; at = text.find("-----BEGIN", at + 1)) {
        const size_t label = text.find("-----", at + 10);
        const size_t body = label == std::string::npos ? label : label + 5;
        const size_t end = body == std::string::npos ? body : text.find("-----END", body);
        if (end == std::string::npos || end == body) {
            continue;
        }
        forge::Bytes der(end - body);
        uint32_t length = static_cast<uint32_t>(der.size());
        if (SigkitBase64Decode(text.data() + body, static_cast<int32_t>(end - body), der.data(), &length) == 0) {
            der.resize(length);
            blocks.push_back(der);
        }
    }
    return blocks;
}
} // namespace

void FuzzRequireAuthentic(const forge::Bytes &anchor, const std::vector<forge::Bytes> &files,
                          const forge::Bytes &message, const forge::Bytes &content)
{
    std::vector<forge::Bytes> kept; // what elements point into
    for (const forge::Bytes &file : files) {
        const std::vector<forge::Bytes> blocks = Unarmour(file);
        kept.insert(kept.end(), blocks.begin(), blocks.end());
    }
    const std::vector<forge::Bytes> messages = Unarmour(message);
    kept.insert(kept.end(), messages.begin(), messages.end());
    Evidence evidence;
    for (const forge::Bytes &octets : kept) {
        EvidenceCollect(octets, &evidence);
    }
    EvidenceTrust(anchor, &evidence);
    if (!AnySigner(messages, [&](const Signer &signer) { return IsProof(evidence, signer, content); })) {
        FuzzFail("a message is accepted that proves nothing");
    }
}

bool FuzzHasSigner(const forge::Bytes &message)
{
    return AnySigner(Unarmour(message), [](const Signer &) { return true; });
}
