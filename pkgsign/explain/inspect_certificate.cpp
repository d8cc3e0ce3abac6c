// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/explain/inspect_certificate.h"

#include <algorithm>

#include "pkgsign/crypto/types.h"

namespace pkgsign::inspection
{
namespace
{

constexpr size_t KEY_OCTETS_MAX = 512;
constexpr size_t WEAK_BITS = 2048;
constexpr unsigned DIGITAL_SIGNATURE = 0x80;
constexpr unsigned KEY_CERT_SIGN = 0x04;
constexpr unsigned CRL_SIGN = 0x02;

// RFC 5280, 4.2.1.3.
constexpr const char *USAGE_NAMES[] = {"digitalSignature", "nonRepudiation", "keyEncipherment",
                                       "dataEncipherment", "keyAgreement",   "keyCertSign",
                                       "cRLSign",          "encipherOnly",   "decipherOnly"};

// The last extension with an identifier: the one that counts.
const Node *FindValue(const Node *extensions, const char *name)
{
    const Node *found = nullptr;
    for (size_t i = 0; extensions != nullptr && i < extensions->children.size(); ++i) {
        const Node *const value = FindNode(&extensions->children[i], name);
        found = value == nullptr ? found : value;
    }
    return found;
}

size_t BitCount(const Bytes &number)
{
    const auto first = std::find_if(number.begin(), number.end(), [](uint8_t octet) { return octet != 0; });
    size_t bits = static_cast<size_t>(number.end() - first) * 8;
    for (unsigned top = first == number.end() ? 0x80 : *first; top < 0x80; top <<= 1) {
        --bits;
    }
    return bits;
}

// Exponents that make signatures worthless, or hold for no key (RFC 8017, 3.1).
bool IsWeakExponent(const Bytes &exponent)
{
    const auto first = std::find_if(exponent.begin(), exponent.end(), [](uint8_t octet) { return octet != 0; });
    return first == exponent.end() || (exponent.back() & 1) == 0 || (exponent.end() - first == 1 && *first < 3);
}

Report DescribeKey(InspectContext *context, const Node *info, const NodePath &path)
{
    if (info == nullptr) {
        return nullptr;
    }
    const Bytes &data = *context->data;
    const Node *const bits = FindNode(info, "subjectPublicKey");
    const Node *const modulus = bits == nullptr ? nullptr : FindNode(bits, "rsaPublicKey.modulus");
    const Node *const exponent = bits == nullptr ? nullptr : FindNode(bits, "rsaPublicKey.publicExponent");
    const std::string algorithm = IdentifierText(AlgorithmOf(data, FindNode(info, "algorithm")));
    Report report = {{"algorithm", algorithm}, {"bits", nullptr}, {"exponent", nullptr}};
    if (modulus == nullptr || exponent == nullptr || modulus->element.isCut || exponent->element.isCut) {
        return report;
    }
    const RsaNumbers key = {NumberOf(data, modulus), NumberOf(data, exponent)};
    report["bits"] = BitCount(key.modulus);
    report["exponent"] = ShownHex(key.exponent);
    const size_t offset = modulus->element.offset;
    if (key.modulus.size() > KEY_OCTETS_MAX || key.exponent.size() > KEY_OCTETS_MAX) {
        AddFinding(context->findings, Rule::KeyTooLong, path, offset, std::to_string(BitCount(key.modulus)) + " bits");
    } else if (BitCount(key.modulus) < WEAK_BITS || IsWeakExponent(key.exponent)) {
        AddFinding(context->findings, Rule::KeyWeak, path, offset,
                   std::to_string(BitCount(key.modulus)) + " bits, exponent " + ShownHex(key.exponent));
    }
    return report;
}

Report DescribeUsage(const Bytes &bits)
{
    Report names = Report::array();
    for (size_t i = 0; i < std::size(USAGE_NAMES) && 1 + i / 8 < bits.size(); ++i) {
        if ((bits[1 + i / 8] & (0x80 >> (i % 8))) != 0) {
            names.push_back(USAGE_NAMES[i]);
        }
    }
    return names;
}

Report DescribePurposes(const Bytes &data, const Node *purposes)
{
    Report names = Report::array();
    for (size_t i = 0; purposes != nullptr && i < purposes->children.size(); ++i) {
        names.push_back(
            IdentifierText(DottedIdentifier(ContentOf(data, &purposes->children[i], IDENTIFIER_OCTETS_MAX))));
    }
    return names;
}

// What the device would take a certificate for, by what it says of itself.
Report DescribeUses(const CertificateFacts &facts)
{
    Report uses = Report::array();
    if (facts.isDigitalSignature && facts.firstPurpose == OID_CODE_SIGNING) {
        uses.push_back("signer");
    }
    if (facts.isDigitalSignature && facts.firstPurpose == OID_TIME_STAMPING) {
        uses.push_back("timestamp authority");
    }
    if (facts.isCa && (facts.keyUsage & KEY_CERT_SIGN) != 0) {
        uses.push_back("CA");
    }
    if ((facts.keyUsage & CRL_SIGN) != 0) {
        uses.push_back("CRL issuer");
    }
    return uses;
}

void ReadUsages(const Bytes &data, const Node *extensions, CertificateFacts *facts)
{
    const Bytes usage = ContentOf(data, FindValue(extensions, "keyUsage"), 4);
    facts->keyUsage = usage.size() == 2 ? usage[1] : usage.size() == 3 ? usage[1] * 256U + usage[2] : 0;
    // With two octets the first bit weighs 256 times as much; the device also takes what lies at its usual weight,
    // where the first octet is zero.
    facts->isDigitalSignature = usage.size() == 2   ? (usage[1] & DIGITAL_SIGNATURE) != 0
                                : usage.size() == 3 ? (usage[1] & DIGITAL_SIGNATURE) != 0 ||
                                                          (usage[1] == 0 && (usage[2] & DIGITAL_SIGNATURE) != 0)
                                                    : false;
    const Node *const purposes = FindValue(extensions, "extKeyUsage");
    if (purposes != nullptr && !purposes->children.empty()) {
        facts->firstPurpose = DottedIdentifier(ContentOf(data, &purposes->children[0], IDENTIFIER_OCTETS_MAX));
    }
    const Node *const constraints = FindValue(extensions, "basicConstraints");
    const Bytes ca = ContentOf(data, constraints == nullptr ? nullptr : FindNode(constraints, "cA"), 1);
    facts->isCa = !ca.empty() && ca[0] == 0xFF;
}

} // namespace

SignedOctets SignatureOf(const Bytes &data, const Node &object, const Node *signedPart, const char *valueName)
{
    Bytes signature = ContentOf(data, FindNode(&object, valueName));
    signature.erase(signature.begin(), signature.begin() + (signature.empty() ? 0 : 1)); // unused bits
    return {{EncodingOf(data, signedPart)},
            DeviceDigestName(AlgorithmOf(data, FindNode(&object, "signatureAlgorithm"))),
            signature};
}

void CheckAlgorithms(InspectContext *context, const Node &object, const Node *inner, const NodePath &path)
{
    const Bytes &data = *context->data;
    const Node *const outer = FindNode(&object, "signatureAlgorithm");
    if (outer == nullptr) {
        return;
    }
    const NodePath here = {&path, "signatureAlgorithm", 0};
    const std::string algorithm = AlgorithmOf(data, outer);
    if (DeviceDigestName(algorithm).empty() && !outer->element.isCut) {
        AddFinding(context->findings, Rule::SignatureAlgorithm, here, outer->element.offset,
                   "found " + IdentifierText(algorithm));
    }
    if (inner != nullptr && EncodingOf(data, inner) != EncodingOf(data, outer)) {
        AddFinding(context->findings, Rule::AlgorithmsDiffer, here, outer->element.offset, "");
    }
}

CertificateFacts ReadFacts(InspectContext *context, const Node &certificate)
{
    const Bytes &data = *context->data;
    const Node *const tbs = FindNode(&certificate, "tbsCertificate");
    CertificateFacts facts;
    facts.node = &certificate;
    if (tbs == nullptr) {
        return facts;
    }
    facts.issuer = ContentOf(data, FindNode(tbs, "issuer"));
    facts.subject = ContentOf(data, FindNode(tbs, "subject"));
    facts.subjectText = NameText(context, FindNode(tbs, "subject"));
    facts.serial = NumberOf(data, FindNode(tbs, "serialNumber"));
    facts.key = {NumberOf(data, FindNode(tbs, "subjectPublicKeyInfo.subjectPublicKey.rsaPublicKey.modulus")),
                 NumberOf(data, FindNode(tbs, "subjectPublicKeyInfo.subjectPublicKey.rsaPublicKey.publicExponent"))};
    ReadUsages(data, FindNode(tbs, "extensions"), &facts);
    bool ignored = false;
    const Node *const notBefore = FindNode(tbs, "validity.notBefore");
    const Node *const notAfter = FindNode(tbs, "validity.notAfter");
    if (notBefore != nullptr && notAfter != nullptr) {
        facts.notBefore = ReadDeviceTime(notBefore->element.identifier, ContentOf(data, notBefore, 16), &ignored);
        facts.notAfter = ReadDeviceTime(notAfter->element.identifier, ContentOf(data, notAfter, 16), &ignored);
    }
    if (facts.issuer == facts.subject) {
        facts.isSelfSigned =
            CheckSignature(context, facts.key, SignatureOf(data, certificate, tbs, "signatureValue")).value_or(false);
    }
    return facts;
}

Report DescribeExtensions(InspectContext *context, const Node *extensions, const NodePath &path,
                          const std::vector<std::string> &read)
{
    Report list = Report::array();
    std::vector<std::string> seen;
    for (size_t i = 0; extensions != nullptr && i < extensions->children.size(); ++i) {
        const Node &entry = extensions->children[i];
        const NodePath here = {&path, nullptr, i};
        const Node *const identifier = FindNode(&entry, "extnID");
        const std::string dotted = DottedIdentifier(ContentOf(*context->data, identifier, IDENTIFIER_OCTETS_MAX));
        const Bytes critical = ContentOf(*context->data, FindNode(&entry, "critical"), 1);
        const bool isCritical = !critical.empty() && critical[0] == 0xFF;
        if (std::find(seen.begin(), seen.end(), dotted) != seen.end()) {
            AddFinding(context->findings, Rule::ExtensionTwice, here, entry.element.offset, IdentifierText(dotted));
        }
        if (isCritical && std::find(read.begin(), read.end(), dotted) == read.end()) {
            AddFinding(context->findings, Rule::ExtensionCritical, here, entry.element.offset, IdentifierText(dotted));
        }
        seen.push_back(dotted);
        list.push_back({{"name", IdentifierText(dotted)}, {"identifier", dotted}, {"critical", isCritical}});
    }
    return list;
}

Report DescribeCertificate(InspectContext *context, const Node &certificate, const NodePath &path)
{
    const Bytes &data = *context->data;
    const Node *const tbs = FindNode(&certificate, "tbsCertificate");
    const NodePath inner = {&path, "tbsCertificate", 0};
    const auto at = [&](const char *name) { return NodePath{&inner, name, 0}; };
    const auto part = [&](const char *name) { return tbs == nullptr ? nullptr : FindNode(tbs, name); };
    const CertificateFacts facts = ReadFacts(context, certificate);
    const NodePath validity = at("validity");
    const Node *const extensions = part("extensions");
    const Node *const usage = FindValue(extensions, "keyUsage");
    Report report;
    report["subject"] = DescribeName(context, part("subject"), at("subject"));
    report["issuer"] = DescribeName(context, part("issuer"), at("issuer"));
    report["serial"] = DescribeSerial(context, part("serialNumber"), at("serialNumber"));
    report["selfSigned"] = facts.isSelfSigned;
    report["deviceTakesItAs"] = DescribeUses(facts);
    report["keyUsage"] = usage == nullptr ? Report(nullptr) : DescribeUsage(ContentOf(data, usage, 4));
    report["purposes"] = DescribePurposes(data, FindValue(extensions, "extKeyUsage"));
    report["ca"] = facts.isCa;
    report["notBefore"] = DescribeTime(context, part("validity.notBefore"), {&validity, "notBefore", 0}, true);
    report["notAfter"] = DescribeTime(context, part("validity.notAfter"), {&validity, "notAfter", 0}, true);
    report["key"] = DescribeKey(context, part("subjectPublicKeyInfo"), at("subjectPublicKeyInfo"));
    report["signatureAlgorithm"] =
        TextOrNull(IdentifierText(AlgorithmOf(data, FindNode(&certificate, "signatureAlgorithm"))));
    report["verified"] = VerifyByIssuer(context, facts.issuer, SignatureOf(data, certificate, tbs, "signatureValue"),
                                        path, certificate.element.offset);
    report["sha256"] = certificate.element.isCut
                           ? Report(nullptr)
                           : Report(ShownHex(Digest(EVP_sha256(), EncodingOf(data, &certificate))));
    report["extensions"] = DescribeExtensions(context, extensions, at("extensions"),
                                              {OID_BASIC_CONSTRAINTS, OID_KEY_USAGE, OID_EXTENDED_KEY_USAGE});
    CheckAlgorithms(context, certificate, part("signature"), path);
    if (facts.notBefore.has_value() && facts.notAfter.has_value() && *facts.notAfter < *facts.notBefore) {
        AddFinding(context->findings, Rule::ValidityReversed, validity, part("validity")->element.offset, "");
    }
    return report;
}

Report DescribeCertificationRequest(InspectContext *context, const Node &request, const NodePath &path)
{
    const Bytes &data = *context->data;
    const Node *const info = FindNode(&request, "certificationRequestInfo");
    const NodePath inner = {&path, "certificationRequestInfo", 0};
    const Node *const subject = info == nullptr ? nullptr : FindNode(info, "subject");
    const Node *const key = info == nullptr ? nullptr : FindNode(info, "subjectPKInfo");
    const RsaNumbers numbers = {
        NumberOf(data, key == nullptr ? nullptr : FindNode(key, "subjectPublicKey.rsaPublicKey.modulus")),
        NumberOf(data, key == nullptr ? nullptr : FindNode(key, "subjectPublicKey.rsaPublicKey.publicExponent"))};
    const std::optional<bool> holds = CheckSignature(context, numbers, SignatureOf(data, request, info, "signature"));
    Report report;
    report["subject"] = DescribeName(context, subject, {&inner, "subject", 0});
    report["key"] = DescribeKey(context, key, {&inner, "subjectPKInfo", 0});
    report["signatureAlgorithm"] =
        TextOrNull(IdentifierText(AlgorithmOf(data, FindNode(&request, "signatureAlgorithm"))));
    report["signedByItsKey"] = holds.has_value() ? Report(*holds) : Report(nullptr);
    CheckAlgorithms(context, request, nullptr, path);
    if (holds.has_value() && !*holds) {
        AddFinding(context->findings, Rule::SignatureWrong, path, request.element.offset, "");
    }
    return report;
}

} // namespace pkgsign::inspection
