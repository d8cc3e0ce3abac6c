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

// The extensions with an identifier. The device reads one after the other into the same fields.
std::vector<const Node *> FindValues(const Node *extensions, const char *name)
{
    std::vector<const Node *> values;
    for (size_t i = 0; extensions != nullptr && i < extensions->children.size(); ++i) {
        const Node *const value = FindNode(&extensions->children[i], name);
        if (value != nullptr) {
            values.push_back(value);
        }
    }
    return values;
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
                   std::to_string(BitCount(key.modulus)) + " bits, exponent " + ShownHex(key.exponent),
                   BitCount(key.modulus) < WEAK_BITS ? nullptr : "RFC 8017, 3.1");
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

Report DescribePurposes(const Bytes &data, const std::vector<const Node *> &values)
{
    Report names = Report::array();
    for (const Node *const purposes : values) {
        for (const Node &purpose : purposes->children) {
            names.push_back(IdentifierText(DottedIdentifier(ContentOf(data, &purpose, IDENTIFIER_OCTETS_MAX))));
        }
    }
    return names;
}

// What the device would take a certificate for, by what it says of itself.
Report DescribeUses(const CertificateFacts &facts)
{
    Report uses = Report::array();
    if (facts.isDigitalSignature && HasPurpose(facts, OID_CODE_SIGNING)) {
        uses.push_back("signer");
    }
    if (facts.isDigitalSignature && HasPurpose(facts, OID_TIME_STAMPING)) {
        uses.push_back("timestamp authority");
    }
    if (SignsCertificates(facts)) {
        uses.push_back("CA");
    }
    if (SignsCrls(facts)) {
        uses.push_back("CRL issuer");
    }
    return uses;
}

void ReadUsages(const Bytes &data, const Node *extensions, CertificateFacts *facts)
{
    for (const Node *const value : FindValues(extensions, "keyUsage")) {
        const Bytes usage = ContentOf(data, value, 4);
        facts->keyUsage = usage.size() == 2 ? usage[1] : usage.size() == 3 ? usage[1] * 256U + usage[2] : 0;
        // With two octets the first bit weighs 256 times as much; the device also takes what lies at its usual weight,
        // where the first octet is zero.
        const unsigned weight = facts->keyUsage > 0xFF ? DIGITAL_SIGNATURE << 8 : DIGITAL_SIGNATURE;
        facts->isDigitalSignature = (facts->keyUsage & weight) != 0;
    }
    for (const Node *const purposes : FindValues(extensions, "extKeyUsage")) {
        if (!purposes->children.empty()) {
            facts->firstPurposes.push_back(
                DottedIdentifier(ContentOf(data, &purposes->children[0], IDENTIFIER_OCTETS_MAX)));
        }
    }
    for (const Node *const constraints : FindValues(extensions, "basicConstraints")) {
        const Node *const ca = FindNode(constraints, "cA");
        facts->isCa = ca == nullptr ? facts->isCa : ContentOf(data, ca, 1) == Bytes{0xFF};
    }
}

std::string ExtensionOf(const Bytes &data, const Node &entry)
{
    return DottedIdentifier(ContentOf(data, FindNode(&entry, "extnID"), IDENTIFIER_OCTETS_MAX));
}

bool IsCritical(const Bytes &data, const Node &entry)
{
    return ContentOf(data, FindNode(&entry, "critical"), 1) == Bytes{0xFF};
}

// Where a keyUsage of two octets says other than its bits stand for.
void CheckUsageOctets(InspectContext *context, const Node *extensions, const NodePath &path)
{
    constexpr unsigned ISSUING = KEY_CERT_SIGN | CRL_SIGN;
    for (size_t i = 0; extensions != nullptr && i < extensions->children.size(); ++i) {
        const Node *const value = FindNode(&extensions->children[i], "keyUsage");
        const Bytes usage = ContentOf(*context->data, value, 4);
        const NodePath entry = {&path, nullptr, i};
        if (usage.size() == 3 &&
            (((usage[1] ^ usage[2]) & ISSUING) != 0 || (usage[1] == 0 && (usage[2] & DIGITAL_SIGNATURE) != 0))) {
            AddFinding(context->findings, Rule::KeyUsageOctets, {&entry, "keyUsage", 0}, value->element.offset,
                       "found " + ShownHex({usage.begin() + 1, usage.end()}));
        }
    }
}

// Whether a certificate is signed with its own key. A file may hold thousands, so each is asked once.
std::optional<bool> AskSelfSigned(InspectContext *context, const Node &certificate, const CertificateFacts &facts)
{
    if (certificate.element.isCut) {
        return std::nullopt;
    }
    const size_t offset = certificate.element.offset;
    const auto known = context->selfSigned.find(offset);
    if (known != context->selfSigned.end()) {
        return known->second;
    }
    std::optional<bool> answer = false;
    if (facts.issuer == facts.subject) {
        const Node *const tbs = FindNode(&certificate, "tbsCertificate");
        const SignedOctets octets = SignatureOf(*context->data, certificate, tbs, "signatureValue");
        answer = CheckSignature(context, facts.key, octets);
    }
    context->selfSigned[offset] = answer;
    return answer;
}

} // namespace

SignedOctets SignatureOf(const Bytes &data, const Node &object, const Node *signedPart, const char *valueName)
{
    if (object.element.isCut) {
        return {};
    }
    return {{EncodingOf(data, signedPart)},
            DeviceDigestName(AlgorithmOf(data, FindNode(&object, "signatureAlgorithm"))),
            BitsOf(data, FindNode(&object, valueName))};
}

bool HasPurpose(const CertificateFacts &facts, const std::string &dotted)
{
    return std::find(facts.firstPurposes.begin(), facts.firstPurposes.end(), dotted) != facts.firstPurposes.end();
}

bool SignsCertificates(const CertificateFacts &facts)
{
    return facts.isCa && (facts.keyUsage & KEY_CERT_SIGN) != 0;
}

bool SignsCrls(const CertificateFacts &facts)
{
    return (facts.keyUsage & CRL_SIGN) != 0;
}

void CheckAlgorithms(InspectContext *context, const Node &object, const Node *inner, const NodePath &path,
                     const char *citation)
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
    if (inner != nullptr && !outer->element.isCut && EncodingOf(data, inner) != EncodingOf(data, outer)) {
        AddFinding(context->findings, Rule::AlgorithmsDiffer, here, outer->element.offset, "", citation);
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
    facts.issuer = DeviceName(data, FindNode(tbs, "issuer"));
    facts.subject = DeviceName(data, FindNode(tbs, "subject"));
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
    facts.isSelfSigned = AskSelfSigned(context, certificate, facts);
    return facts;
}

void CheckExtensions(InspectContext *context, const Node *extensions, const NodePath &path,
                     const std::vector<std::string> &read, const char *citation)
{
    std::vector<std::string> seen;
    for (size_t i = 0; extensions != nullptr && i < extensions->children.size(); ++i) {
        const Node &entry = extensions->children[i];
        const NodePath here = {&path, nullptr, i};
        const std::string dotted = ExtensionOf(*context->data, entry);
        if (std::find(seen.begin(), seen.end(), dotted) != seen.end()) {
            AddFinding(context->findings, Rule::ExtensionTwice, here, entry.element.offset, IdentifierText(dotted));
        }
        if (IsCritical(*context->data, entry) && std::find(read.begin(), read.end(), dotted) == read.end()) {
            AddFinding(context->findings, Rule::ExtensionCritical, here, entry.element.offset, IdentifierText(dotted),
                       citation);
        }
        seen.push_back(dotted);
    }
}

Report DescribeExtensions(const Bytes &data, const Node *extensions)
{
    Report list = Report::array();
    for (size_t i = 0; extensions != nullptr && i < extensions->children.size(); ++i) {
        const Node &entry = extensions->children[i];
        const std::string dotted = ExtensionOf(data, entry);
        list.push_back(
            {{"name", IdentifierText(dotted)}, {"identifier", dotted}, {"critical", IsCritical(data, entry)}});
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
    const NodePath extensionsPath = at("extensions");
    const Node *const extensions = part("extensions");
    const std::vector<const Node *> usages = FindValues(extensions, "keyUsage");
    Report report;
    report["subject"] = DescribeName(context, part("subject"), at("subject"));
    report["issuer"] = DescribeName(context, part("issuer"), at("issuer"));
    report["serial"] = DescribeSerial(context, part("serialNumber"), at("serialNumber"));
    report["selfSigned"] = facts.isSelfSigned.has_value() ? Report(*facts.isSelfSigned) : Report(nullptr);
    report["deviceTakesItAs"] = DescribeUses(facts);
    report["keyUsage"] = usages.empty() ? Report(nullptr) : DescribeUsage(ContentOf(data, usages.back(), 4));
    report["purposes"] = DescribePurposes(data, FindValues(extensions, "extKeyUsage"));
    report["ca"] = facts.isCa;
    report["notBefore"] =
        DescribeTime(context, part("validity.notBefore"), {&validity, "notBefore", 0}, Rule::TimeForm, nullptr);
    report["notAfter"] =
        DescribeTime(context, part("validity.notAfter"), {&validity, "notAfter", 0}, Rule::TimeForm, nullptr);
    report["key"] = DescribeKey(context, part("subjectPublicKeyInfo"), at("subjectPublicKeyInfo"));
    report["signatureAlgorithm"] =
        TextOrNull(IdentifierText(AlgorithmOf(data, FindNode(&certificate, "signatureAlgorithm"))));
    report["verified"] =
        VerifyByIssuer(context, facts.issuer, &InspectIssuer::signsCertificates,
                       SignatureOf(data, certificate, tbs, "signatureValue"), path, certificate.element.offset);
    report["sha256"] = certificate.element.isCut
                           ? Report(nullptr)
                           : Report(ShownHex(Digest(EVP_sha256(), EncodingOf(data, &certificate))));
    report["extensions"] = DescribeExtensions(data, extensions);
    CheckExtensions(context, extensions, extensionsPath, {OID_BASIC_CONSTRAINTS, OID_KEY_USAGE, OID_EXTENDED_KEY_USAGE},
                    nullptr);
    CheckUsageOctets(context, extensions, extensionsPath);
    CheckAlgorithms(context, certificate, part("signature"), path, nullptr);
    if (report["deviceTakesItAs"].empty() && !report["key"].is_null() && !certificate.element.isCut) {
        AddFinding(context->findings, Rule::CertificateUse, path, certificate.element.offset, facts.subjectText);
    }
    if (facts.isCa != ((facts.keyUsage & KEY_CERT_SIGN) != 0) && !certificate.element.isCut) {
        AddFinding(context->findings, Rule::CaByHalves, path, certificate.element.offset,
                   facts.isCa ? "there is no keyCertSign" : "there is no cA");
    }
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
    CheckAlgorithms(context, request, nullptr, path, nullptr);
    if (holds.has_value() && !*holds) {
        AddFinding(context->findings, Rule::RequestSignature, path, request.element.offset, "");
    }
    return report;
}

} // namespace pkgsign::inspection
