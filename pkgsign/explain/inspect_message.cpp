// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/explain/inspect_message.h"

#include <iterator>

#include "pkgsign/explain/inspect_check.h"
#include "pkgsign/explain/inspect_signer.h"

namespace pkgsign::inspection
{
namespace
{

std::vector<CertificateFacts> ReadCertificates(InspectContext *context, const Node *list)
{
    std::vector<CertificateFacts> facts;
    for (size_t i = 0; list != nullptr && i < list->children.size(); ++i) {
        facts.push_back(ReadFacts(context, list->children[i]));
    }
    return facts;
}

Report DescribeCertificates(InspectContext *context, const Node *list, const NodePath &path)
{
    Report certificates = Report::array();
    for (size_t i = 0; list != nullptr && i < list->children.size(); ++i) {
        certificates.push_back(DescribeCertificate(context, list->children[i], {&path, nullptr, i}));
    }
    return certificates;
}

void CheckDropped(InspectContext *context, const std::vector<CertificateFacts> &certificates, const NodePath &path)
{
    for (size_t i = 0; i < certificates.size(); ++i) {
        if (certificates[i].isSelfSigned.value_or(false)) {
            AddFinding(context->findings, Rule::RootDropped, {&path, nullptr, i}, certificates[i].node->element.offset,
                       certificates[i].subjectText);
        }
    }
}

// The token of a signer that counts, the last one, walked. Its node is kept in `token`.
const Node *FindToken(InspectContext *context, const Node &signer, const NodePath &path, NodePath *attributePath,
                      Node *token)
{
    const Node *const attributes = FindNode(&signer, "unsignedAttrs");
    const Node *found = nullptr;
    for (size_t i = 0; attributes != nullptr && i < attributes->children.size(); ++i) {
        const Node *const value = FindNode(&attributes->children[i], "timeStampToken");
        if (value != nullptr && found != nullptr) {
            AddFinding(context->findings, Rule::TokenTwice, {&path, nullptr, i}, attributes->children[i].element.offset,
                       "");
        }
        attributePath->index = value == nullptr ? attributePath->index : i;
        found = value == nullptr ? found : value;
    }
    if (found == nullptr) {
        return nullptr;
    }
    const NodePath here = {attributePath, "timeStampToken", 0};
    Walk walk = {context->data, context->findings};
    (void)WalkObject(&walk, TYPE_MESSAGE, found->element.offset, {found->element.next, found->element.isCut}, here,
                     token);
    if (!found->element.isCut) { // else the walk through the whole has said where it ends
        FinishWalk(&walk);
    }
    return token;
}

Report DescribeMessageSigner(InspectContext *context, const Node &signer, const NodePath &path, SignerScene scene)
{
    const NodePath attributes = {&path, "unsignedAttrs", 0};
    NodePath attribute = {&attributes, nullptr, 0};
    const NodePath tokenPath = {&attribute, "timeStampToken", 0};
    Node tokenNode;
    const Bytes signature = NumberOf(*context->data, FindNode(&signer, "signature"));
    const Node *const token = FindToken(context, signer, attributes, &attribute, &tokenNode);
    TokenFacts facts;
    Report tokenReport = nullptr;
    if (token != nullptr) {
        tokenReport = DescribeToken(context, *token, tokenPath, {&signature, scene.certificates}, &facts);
    } else if (!signer.element.isCut) {
        AddFinding(context->findings, Rule::TokenMissing, attributes, signer.element.offset, "");
    }
    scene.time = facts.time;
    scene.others = &facts.certificates;
    Report report = DescribeSigner(context, signer, path, scene);
    report["token"] = std::move(tokenReport);
    return report;
}

// The octets of the TSTInfo: the content of the one element in eContent, which the device takes for an OCTET STRING.
bool FindInfo(InspectContext *context, const Node &token, const NodePath &path, InspectedElement *octetsOut)
{
    constexpr uint8_t OCTET_STRING = 0x04;
    const NodePath data = {&path, "content", 0};
    const NodePath encapsulated = {&data, "encapContentInfo", 0};
    const NodePath here = {&encapsulated, "eContent", 0};
    const Node *const content = FindNode(&token, "content.encapContentInfo.eContent");
    if (content == nullptr || ContentSize(content->element) == 0) {
        if (!token.element.isCut) {
            AddFinding(context->findings, Rule::TokenContent, here, token.element.offset, "found nothing");
        }
        return false;
    }
    *octetsOut = ReadElement(*context->data, content->element.content, content->element.end);
    const bool isInPieces = IsInPieces(*context->data, *octetsOut);
    if (isInPieces) {
        AddFinding(context->findings, Rule::StringInPieces, here, octetsOut->offset, DescribeElement(*octetsOut));
    } else if (!IsThere(*octetsOut) || octetsOut->isCut || octetsOut->flaw != ElementFlaw::None) {
        if (!content->element.isCut) {
            AddFinding(context->findings, Rule::TokenContent, here, octetsOut->offset,
                       "found " + DescribeElement(*octetsOut));
        }
    } else if (octetsOut->identifier != OCTET_STRING) {
        AddFinding(context->findings, Rule::TypeNotRead, here, octetsOut->offset, DescribeElement(*octetsOut),
                   "RFC 5652, 5.2");
    }
    return IsThere(*octetsOut) && !isInPieces;
}

Report DescribeGenTime(InspectContext *context, const Node *time, const NodePath &path,
                       std::optional<int64_t> *secondsOut)
{
    if (time == nullptr || time->element.isCut) {
        return nullptr;
    }
    bool isTime = false;
    *secondsOut = ReadDeviceTime(time->element.identifier, ContentOf(*context->data, time, VALUE_OCTETS_MAX), &isTime);
    return DescribeTime(context, time, path, Rule::TokenTime, "RFC 3161, 2.4.2");
}

void CheckImprint(InspectContext *context, const Node *imprint, const NodePath &path, const Bytes *stamped,
                  Report *report)
{
    const Bytes &data = *context->data;
    const Node *const algorithm = imprint == nullptr ? nullptr : FindNode(imprint, "hashAlgorithm");
    const Node *const hashed = imprint == nullptr ? nullptr : FindNode(imprint, "hashedMessage");
    const std::string identifier = AlgorithmOf(data, algorithm);
    const std::string name = DeviceDigestName(identifier);
    const Bytes value = NumberOf(data, hashed);
    (*report)["imprintAlgorithm"] = TextOrNull(IdentifierText(identifier));
    (*report)["imprint"] = hashed == nullptr ? Report(nullptr) : Report(ShownHex(value));
    (*report)["isForTheSignature"] = nullptr;
    if (algorithm != nullptr && name.empty() && !algorithm->element.isCut) {
        AddFinding(context->findings, Rule::DigestAlgorithm, {&path, "hashAlgorithm", 0}, algorithm->element.offset,
                   "found " + IdentifierText(identifier));
    }
    if (name.empty() || hashed == nullptr || hashed->element.isCut) {
        return;
    }
    if (value.size() != DigestSize(name)) {
        AddFinding(context->findings, Rule::DigestSize, {&path, "hashedMessage", 0}, hashed->element.offset,
                   "found " + std::to_string(value.size()) + " octets for " + name, "RFC 3161, 2.4.1");
    }
    if (stamped == nullptr) {
        return;
    }
    const Bytes digest = DigestByName(name, *stamped);
    (*report)["isForTheSignature"] = digest == value;
    if (digest != value) {
        AddFinding(context->findings, Rule::TokenImprint, {&path, "hashedMessage", 0}, hashed->element.offset,
                   "it has " + ShownHex(value) + ", and the signature " + ShownHex(digest));
    }
}

} // namespace

bool IsToken(const Bytes &data, const Node &message)
{
    const Node *const type = FindNode(&message, "content.encapContentInfo.eContentType");
    return DottedIdentifier(ContentOf(data, type, IDENTIFIER_OCTETS_MAX)) == OID_TST_INFO;
}

Report DescribeToken(InspectContext *context, const Node &token, const NodePath &path, const TokenScene &scene,
                     TokenFacts *facts)
{
    const Bytes &data = *context->data;
    const NodePath infoPath = {&path, "TSTInfo", 0};
    const auto at = [&](const char *name) { return NodePath{&infoPath, name, 0}; };
    InspectedElement octets;
    Node info;
    const bool hasInfo = FindInfo(context, token, path, &octets);
    if (hasInfo) {
        Walk walk = {&data, context->findings};
        (void)WalkObject(&walk, TYPE_TST_INFO, octets.content, {octets.end, octets.isCut}, infoPath, &info);
        FinishWalk(&walk);
    }
    const NodePath contentPath = {&path, "content", 0};
    const NodePath certificatesPath = {&contentPath, "certificates", 0};
    const NodePath signersPath = {&contentPath, "signerInfos", 0};
    const Node *const list = FindNode(&token, "content.certificates");
    const Node *const signers = FindNode(&token, "content.signerInfos");
    facts->certificates = ReadCertificates(context, list);
    Node whole;
    whole.element = octets;
    const Bytes content = hasInfo ? NumberOf(data, &whole) : Bytes();
    Report report;
    report["time"] = DescribeGenTime(context, FindNode(&info, "genTime"), at("genTime"), &facts->time);
    const SignerScene signerScene = {&facts->certificates, scene.certificates, true,
                                     OID_TIME_STAMPING,    facts->time,        hasInfo ? &content : nullptr};
    report["authority"] = nullptr;
    report["serial"] = DescribeNumber(data, FindNode(&info, "serialNumber"));
    const Node *const policy = FindNode(&info, "policy");
    report["policy"] =
        policy == nullptr ? Report(nullptr) : Report(DottedIdentifier(ContentOf(data, policy, IDENTIFIER_OCTETS_MAX)));
    CheckImprint(context, FindNode(&info, "messageImprint"), at("messageImprint"), scene.stamped, &report);
    const Node *const nonce = FindNode(&info, "nonce");
    report["nonce"] = nonce == nullptr ? Report(nullptr) : Report(ShownHex(NumberOf(data, nonce)));
    const Node *const extensions = FindNode(&info, "extensions");
    if (extensions != nullptr) {
        AddFinding(context->findings, Rule::TokenExtension, at("extensions"), extensions->element.offset, "");
    }
    report["signers"] = Report::array();
    for (size_t i = 0; signers != nullptr && i < signers->children.size(); ++i) {
        report["signers"].push_back(
            DescribeSigner(context, signers->children[i], {&signersPath, nullptr, i}, signerScene));
        if (i == 0) {
            report["authority"] = report["signers"][0]["name"];
        }
    }
    if (signers != nullptr && signers->total == 0 && !signers->element.isCut) {
        AddFinding(context->findings, Rule::TokenUnsigned, signersPath, signers->element.offset, "");
    }
    report["certificates"] = DescribeCertificates(context, list, certificatesPath);
    CheckDropped(context, facts->certificates, certificatesPath);
    return report;
}

Report DescribeMessage(InspectContext *context, const Node &message, const NodePath &path)
{
    const Bytes &data = *context->data;
    const NodePath contentPath = {&path, "content", 0};
    const NodePath certificatesPath = {&contentPath, "certificates", 0};
    const NodePath signersPath = {&contentPath, "signerInfos", 0};
    const Node *const list = FindNode(&message, "content.certificates");
    const Node *const signers = FindNode(&message, "content.signerInfos");
    const Node *const inside = FindNode(&message, "content.encapContentInfo.eContent");
    const Node *const crls = FindNode(&message, "content.crls");
    const std::vector<CertificateFacts> certificates = ReadCertificates(context, list);
    const SignerScene scene = {&certificates, nullptr, false, OID_CODE_SIGNING, std::nullopt, nullptr};
    Report report;
    report["signers"] = Report::array();
    for (size_t i = 0; signers != nullptr && i < signers->children.size(); ++i) {
        report["signers"].push_back(
            DescribeMessageSigner(context, signers->children[i], {&signersPath, nullptr, i}, scene));
    }
    if (signers != nullptr && signers->total == 0 && !signers->element.isCut) {
        AddFinding(context->findings, Rule::SignerNone, signersPath, signers->element.offset, "");
    }
    report["certificates"] = DescribeCertificates(context, list, certificatesPath);
    CheckDropped(context, certificates, certificatesPath);
    const Node *const type = FindNode(&message, "content.encapContentInfo.eContentType");
    report["contentType"] =
        type == nullptr ? Report(nullptr)
                        : Report(IdentifierText(DottedIdentifier(ContentOf(data, type, IDENTIFIER_OCTETS_MAX))));
    report["contentInside"] = inside != nullptr;
    report["crlsInside"] = crls != nullptr;
    if (inside != nullptr) {
        AddFinding(context->findings, Rule::ContentInside, contentPath, inside->element.offset, "");
    }
    if (crls != nullptr) {
        AddFinding(context->findings, Rule::CrlsInside, contentPath, crls->element.offset, "");
    }
    return report;
}

Report DescribeTimestampRequest(InspectContext *context, const Node &request, const NodePath &path)
{
    const Bytes &data = *context->data;
    Report report;
    CheckImprint(context, FindNode(&request, "messageImprint"), {&path, "messageImprint", 0}, nullptr, &report);
    report.erase("isForTheSignature");
    const Node *const policy = FindNode(&request, "reqPolicy");
    const Node *const nonce = FindNode(&request, "nonce");
    const Bytes wanted = ContentOf(data, FindNode(&request, "certReq"), 1);
    report["policy"] =
        policy == nullptr ? Report(nullptr) : Report(DottedIdentifier(ContentOf(data, policy, IDENTIFIER_OCTETS_MAX)));
    report["nonce"] = nonce == nullptr ? Report(nullptr) : Report(ShownHex(NumberOf(data, nonce)));
    report["wantsCertificates"] = !wanted.empty() && wanted[0] != 0;
    return report;
}

Report DescribeTimestampAnswer(InspectContext *context, const Node &answer, const NodePath &path)
{
    // PKIStatus, RFC 3161, 2.4.2.
    static constexpr const char *STATUSES[] = {"granted", "grantedWithMods",   "rejection",
                                               "waiting", "revocationWarning", "revocationNotification"};
    const Node *const status = FindNode(&answer, "status.status");
    const Bytes number = ContentOf(*context->data, status, 4);
    const Node *const token = FindNode(&answer, "timeStampToken");
    const bool isNamed = number.size() == 1 && number[0] < std::size(STATUSES);
    Report report;
    report["status"] = isNamed ? Report(STATUSES[number[0]]) : TextOrNull(ShownHex(number));
    TokenFacts facts;
    report["token"] =
        token == nullptr ? Report(nullptr) : DescribeToken(context, *token, {&path, "timeStampToken", 0}, {}, &facts);
    const bool isGranted = isNamed && number[0] <= 1;
    if (status != nullptr && !status->element.isCut && !isGranted) {
        AddFinding(context->findings, Rule::AnswerRefused, {&path, "status", 0}, status->element.offset,
                   isNamed ? STATUSES[number[0]] : ShownHex(number));
    }
    if (isGranted && token == nullptr && !answer.element.isCut) {
        AddFinding(context->findings, Rule::MemberMissing, {&path, "timeStampToken", 0}, answer.element.end,
                   "expected timeStampToken (SEQUENCE), found nothing", "RFC 3161, 2.4.2");
    }
    return report;
}

} // namespace pkgsign::inspection
