// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/explain/inspect_signer.h"

#include <algorithm>

#include "pkgsign/crypto/types.h"
#include "pkgsign/files/time.h"

namespace pkgsign::inspection
{
namespace
{

constexpr uint8_t SET = 0x31;
constexpr size_t SIGNATURE_OCTETS_MAX = 516;
constexpr char PSS[] = "1.2.840.113549.1.1.10";

Report DescribeAttributes(const Bytes &data, const Node *attributes)
{
    Report names = Report::array();
    for (size_t i = 0; attributes != nullptr && i < attributes->children.size(); ++i) {
        names.push_back(IdentifierText(
            DottedIdentifier(ContentOf(data, FindNode(&attributes->children[i], "extnID"), IDENTIFIER_OCTETS_MAX))));
    }
    return names;
}

// Whether a messageDigest is there for the device: one without octets is not.
bool IsStated(const Node *digest)
{
    return digest != nullptr && (digest->element.isCut || ContentSize(digest->element) > 0);
}

// The messageDigest that counts: the last one.
const Node *FindDigest(InspectContext *context, const Node *attributes, const NodePath &path)
{
    const Node *found = nullptr;
    for (size_t i = 0; attributes != nullptr && i < attributes->children.size(); ++i) {
        const Node *const digest = FindNode(&attributes->children[i], "messageDigest");
        if (digest != nullptr && found != nullptr) {
            AddFinding(context->findings, Rule::DigestTwice, {&path, nullptr, i},
                       attributes->children[i].element.offset, "");
        }
        found = digest == nullptr ? found : digest;
    }
    return found;
}

// What the signature is over (RFC 5652, 5.4): the attributes as a SET, or the content itself.
std::optional<SignedOctets> SignedBy(const Bytes &data, const Node &signer, const Node *digest,
                                     const std::string &digestName, const SignerScene &scene)
{
    SignedOctets octets;
    octets.digest = digestName;
    octets.signature = NumberOf(data, FindNode(&signer, "signature"));
    if (!IsStated(digest)) {
        if (scene.content == nullptr) {
            return std::nullopt;
        }
        octets.pieces = {*scene.content};
        return octets;
    }
    Bytes attributes = EncodingOf(data, FindNode(&signer, "signedAttrs"));
    attributes[0] = SET;
    octets.pieces = {attributes};
    return octets;
}

void CheckDigest(InspectContext *context, const Node *digest, const std::string &name, const NodePath &path,
                 const SignerScene &scene)
{
    if (!IsStated(digest) || digest->element.isCut || name.empty()) {
        return;
    }
    const Bytes value = NumberOf(*context->data, digest);
    const NodePath here = {&path, "messageDigest", 0};
    if (value.size() != DigestSize(name)) {
        AddFinding(context->findings, Rule::DigestSize, here, digest->element.offset,
                   "found " + std::to_string(value.size()) + " octets for " + name);
    } else if (scene.content != nullptr && value != DigestByName(name, *scene.content)) {
        AddFinding(context->findings, Rule::TokenDigest, here, digest->element.offset,
                   "it says " + ShownHex(value) + ", and the TSTInfo has " +
                       ShownHex(DigestByName(name, *scene.content)));
    }
}

void CheckCertificate(InspectContext *context, const CertificateFacts &facts, const NodePath &path,
                      const SignerScene &scene)
{
    const size_t offset = facts.node->element.offset;
    const auto add = [&](Rule rule, const std::string &detail) {
        AddFinding(context->findings, rule, path, offset, detail);
    };
    if (facts.isSelfSigned.value_or(false)) {
        add(Rule::SignerSelfSigned, facts.subjectText);
    }
    if (!facts.isDigitalSignature) {
        add(Rule::SignerUsage, facts.subjectText);
    }
    if (!HasPurpose(facts, scene.purpose)) {
        const std::string purpose = facts.firstPurposes.empty() ? "none" : IdentifierText(facts.firstPurposes.back());
        add(scene.purpose == std::string(OID_CODE_SIGNING) ? Rule::SignerPurpose : Rule::AuthorityPurpose,
            facts.subjectText + " has " + purpose);
    }
    if (scene.time.has_value() && facts.notBefore.has_value() && facts.notAfter.has_value() &&
        (*scene.time < *facts.notBefore || *scene.time > *facts.notAfter)) {
        add(Rule::SignerNotValid, facts.subjectText + " from " + FormatTime(*facts.notBefore) + " to " +
                                      FormatTime(*facts.notAfter) + "; the token is of " + FormatTime(*scene.time));
    }
}

void CheckIdentifier(InspectContext *context, const Node &signer, const NodePath &path)
{
    const Node *const serial = FindNode(&signer, "sid.serialNumber");
    const Node *const issuer = FindNode(&signer, "sid.issuer");
    const NodePath here = {&path, "sid", 0};
    if (serial != nullptr && NumberOf(*context->data, serial).empty() && !serial->element.isCut) {
        AddFinding(context->findings, Rule::SignerSerialZero, {&here, "serialNumber", 0}, serial->element.offset, "");
    }
    if (issuer != nullptr && issuer->total == 0 && !issuer->element.isCut) {
        AddFinding(context->findings, Rule::SignerNameEmpty, {&here, "issuer", 0}, issuer->element.offset, "");
    }
}

void CheckAlgorithm(InspectContext *context, const Node &signer, const std::string &digest, const NodePath &path)
{
    const Bytes &data = *context->data;
    const Node *const digestNode = FindNode(&signer, "digestAlgorithm");
    if (digestNode != nullptr && digest.empty() && !digestNode->element.isCut) {
        AddFinding(context->findings, Rule::DigestAlgorithm, {&path, "digestAlgorithm", 0}, digestNode->element.offset,
                   "found " + IdentifierText(AlgorithmOf(data, digestNode)));
    }
    const Node *const node = FindNode(&signer, "signatureAlgorithm");
    const std::string algorithm = AlgorithmOf(data, node);
    const bool isUsual = algorithm == OID_RSA || (!digest.empty() && DeviceDigestName(algorithm) == digest);
    if (node != nullptr && !isUsual && !node->element.isCut) {
        AddFinding(context->findings, Rule::SignatureAlgorithmNotRead, {&path, "signatureAlgorithm", 0},
                   node->element.offset,
                   "found " + IdentifierText(algorithm) +
                       (algorithm == PSS ? ": sign with the padding of PKCS #1 version 1.5" : ""));
    }
    const Node *const signature = FindNode(&signer, "signature");
    if (signature != nullptr && ContentSize(signature->element) > SIGNATURE_OCTETS_MAX) {
        AddFinding(context->findings, Rule::SignatureSize, {&path, "signature", 0}, signature->element.offset,
                   "found " + DescribeElement(signature->element));
    }
}

// The place of a certificate among those beside the signer.
Report PlaceBeside(const CertificateFacts *facts, const SignerScene &scene)
{
    for (size_t i = 0; i < scene.certificates->size(); ++i) {
        if (facts == &(*scene.certificates)[i]) {
            return i;
        }
    }
    return nullptr;
}

} // namespace

Bytes DigestByName(const std::string &name, const Bytes &octets)
{
    const EVP_MD *const method = name == "SHA-256" ? EVP_sha256() : name == "SHA-384" ? EVP_sha384() : EVP_sha512();
    return Digest(method, octets);
}

const CertificateFacts *FindSignerCertificate(InspectContext *context, const Node &signer, const SignerScene &scene)
{
    const Bytes issuer = DeviceName(*context->data, FindNode(&signer, "sid.issuer"));
    const Bytes serial = NumberOf(*context->data, FindNode(&signer, "sid.serialNumber"));
    const CertificateFacts *dropped = nullptr; // a self-signed one does not hide another
    for (const bool isOther : {scene.areOthersFirst, !scene.areOthersFirst}) {
        const std::vector<CertificateFacts> *const list = isOther ? scene.others : scene.certificates;
        for (size_t i = 0; list != nullptr && !issuer.empty() && i < list->size(); ++i) {
            const CertificateFacts &facts = (*list)[i];
            if (facts.issuer != issuer || facts.serial != serial) {
                continue;
            }
            if (!facts.isSelfSigned.value_or(false)) {
                return &facts;
            }
            dropped = dropped == nullptr ? &facts : dropped;
        }
    }
    return dropped;
}

Report DescribeSigner(InspectContext *context, const Node &signer, const NodePath &path, const SignerScene &scene)
{
    const Bytes &data = *context->data;
    const NodePath sid = {&path, "sid", 0};
    const NodePath attributesPath = {&path, "signedAttrs", 0};
    const Node *const attributes = FindNode(&signer, "signedAttrs");
    const Node *const digest = FindDigest(context, attributes, attributesPath);
    const std::string algorithm = AlgorithmOf(data, FindNode(&signer, "digestAlgorithm"));
    const std::string digestName = DeviceDigestName(algorithm);
    const CertificateFacts *const facts = FindSignerCertificate(context, signer, scene);
    Report report;
    report["certificate"] = PlaceBeside(facts, scene);
    report["name"] = facts != nullptr ? Report(facts->subjectText) : Report(nullptr);
    report["issuer"] = DescribeName(context, FindNode(&signer, "sid.issuer"), {&sid, "issuer", 0});
    report["serial"] = DescribeSerial(context, FindNode(&signer, "sid.serialNumber"), {&sid, "serialNumber", 0});
    report["digestAlgorithm"] = TextOrNull(IdentifierText(algorithm));
    report["messageDigest"] = digest == nullptr ? Report(nullptr) : Report(ShownHex(ContentOf(data, digest)));
    report["signatureAlgorithm"] =
        TextOrNull(IdentifierText(AlgorithmOf(data, FindNode(&signer, "signatureAlgorithm"))));
    report["signatureHolds"] = nullptr;
    report["signedAttributes"] = DescribeAttributes(data, attributes);
    report["token"] = nullptr;
    report["unsignedAttributes"] = DescribeAttributes(data, FindNode(&signer, "unsignedAttrs"));
    CheckIdentifier(context, signer, path);
    CheckAlgorithm(context, signer, digestName, path);
    CheckDigest(context, digest, digestName, attributesPath, scene);
    if (attributes != nullptr && !IsStated(digest) && !attributes->element.isCut) {
        AddFinding(context->findings, Rule::DigestMissing, attributesPath, attributes->element.offset, "");
    }
    if (facts == nullptr) {
        const Node *const identifier = FindNode(&signer, "sid");
        if (FindNode(&signer, "sid.issuer") == nullptr || identifier->element.isCut) {
            return report; // nothing to find a certificate by: the finding is the identifier's
        }
        AddFinding(context->findings, Rule::SignerCertificateMissing, sid, signer.element.offset, "");
        return report;
    }
    CheckCertificate(context, *facts, path, scene);
    const std::optional<SignedOctets> octets = SignedBy(data, signer, digest, digestName, scene);
    const Node *const signature = FindNode(&signer, "signature");
    if (octets.has_value() && signature != nullptr && !signature->element.isCut) {
        const std::optional<bool> holds = CheckSignature(context, facts->key, *octets);
        report["signatureHolds"] = holds.has_value() ? Report(*holds) : Report(nullptr);
        if (holds.has_value() && !*holds) {
            AddFinding(context->findings, Rule::SignatureWrong, {&path, "signature", 0}, signature->element.offset,
                       facts->subjectText);
        }
    }
    return report;
}

} // namespace pkgsign::inspection
