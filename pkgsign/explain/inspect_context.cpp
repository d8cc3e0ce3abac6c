// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/explain/inspect_context.h"

#include <algorithm>

#include "pkgsign/files/files.h"
#include "pkgsign/files/time.h"
#include "sigkit/sigkit_host.h"

namespace pkgsign::inspection
{
namespace
{

constexpr size_t SERIAL_OCTETS_MAX = 20; // RFC 5280, 4.1.2.2
constexpr uint8_t TAG_NUMBER = 0x1F;
constexpr uint8_t INTEGER = 0x02;

uint32_t DeviceDigestNumber(const std::string &name)
{
    return name == "SHA-256" ? 43 : name == "SHA-384" ? 44 : name == "SHA-512" ? 45 : 0; // sigkit_host.h
}

bool FillNumber(const Bytes &octets, SigkitBigInt *number)
{
    if (octets.size() > sizeof(number->data)) {
        return false;
    }
    number->len = static_cast<uint32_t>(octets.size());
    std::copy(octets.begin(), octets.end(), number->data);
    return true;
}

void AppendCounted(const Bytes &octets, Bytes *out)
{
    for (size_t i = 0; i < sizeof(uint32_t); ++i) {
        out->push_back(static_cast<uint8_t>(octets.size() >> 8 * i));
    }
    out->insert(out->end(), octets.begin(), octets.end());
}

std::string AttributeText(const Bytes &data, const Node &attribute, bool *isExact)
{
    const Node *const type = FindNode(&attribute, "type");
    const Node *const value = FindNode(&attribute, "value");
    const std::string dotted = DottedIdentifier(ContentOf(data, type, IDENTIFIER_OCTETS_MAX));
    bool isValueExact = true;
    const std::string text = value == nullptr ? ""
                                              : StringText(value->element.identifier,
                                                           ContentOf(data, value, VALUE_OCTETS_MAX + 1), &isValueExact);
    *isExact = *isExact && isValueExact;
    return ShortIdentifierText(dotted) + "=" + text;
}

std::string JoinName(const Bytes &data, const Node *name, bool *isExact)
{
    std::string text;
    for (const Node &part : name->children) {
        for (const Node &attribute : part.children) {
            const bool isFurther = &attribute != &part.children.front();
            text += (text.empty() ? "" : isFurther ? "+" : ", ") + AttributeText(data, attribute, isExact);
        }
    }
    return text;
}

} // namespace

std::optional<bool> CheckSignature(InspectContext *context, const RsaNumbers &key, const SignedOctets &octets)
{
    SigkitBigInt exponent = {};
    SigkitBigInt modulus = {};
    const uint32_t digest = DeviceDigestNumber(octets.digest);
    SigkitCryptoCtx *check = nullptr;
    if (digest == 0 || *context->checksLeft == 0 || (key.modulus.empty() && key.exponent.empty()) ||
        !FillNumber(key.exponent, &exponent) || !FillNumber(key.modulus, &modulus) ||
        SigkitCryptoVerifyCreateCtx(&check) != 0) {
        return std::nullopt;
    }
    --*context->checksLeft;
    int32_t status = SigkitCryptoVerifyInit(check, &exponent, &modulus, digest);
    for (const Bytes &piece : octets.pieces) {
        status =
            status != 0 ? status : SigkitCryptoVerifyUpdate(check, piece.data(), static_cast<uint32_t>(piece.size()));
    }
    int32_t verdict = 0;
    const uint8_t none = 0;
    if (status == 0) {
        status = SigkitCryptoVerifyFinal(check, octets.signature.empty() ? &none : octets.signature.data(),
                                         static_cast<uint32_t>(octets.signature.size()), &verdict);
    }
    SigkitCryptoVerifyDestroyCtx(check);
    return status == 0 && verdict == 1;
}

Report VerifyByIssuer(InspectContext *context, const Bytes &issuerName, bool InspectIssuer::*may,
                      const SignedOctets &octets, const NodePath &path, size_t offset)
{
    std::optional<bool> holds;
    const auto isBefore = [](const InspectIssuer &issuer, const Bytes &name) { return issuer.subject < name; };
    const auto end = context->issuers->end();
    auto issuer = std::lower_bound(context->issuers->begin(), end, issuerName, isBefore);
    for (; issuer != end && issuer->subject == issuerName && *context->checksLeft > 0; ++issuer) {
        const std::optional<bool> one = (*issuer).*may ? CheckSignature(context, issuer->key, octets) : std::nullopt;
        if (one.value_or(false)) {
            return {{"state", "verified"}, {"by", issuer->text}};
        }
        holds = one.has_value() ? one : holds;
    }
    const bool areAllAsked = issuer == end || issuer->subject != issuerName;
    if (holds.has_value() && areAllAsked) {
        AddFinding(context->findings, Rule::IssuerSignature, path, offset, "",
                   may == &InspectIssuer::signsCrls ? "RFC 5280, 6.3.3 (g)" : nullptr);
        return {{"state", "wrong"}, {"by", nullptr}};
    }
    return {{"state", "not verified"}, {"by", nullptr}};
}

Bytes EncodingOf(const Bytes &data, const Node *node)
{
    if (node == nullptr) {
        return {};
    }
    return Bytes(data.begin() + static_cast<ptrdiff_t>(node->element.offset),
                 data.begin() + static_cast<ptrdiff_t>(node->element.next));
}

Bytes NumberOf(const Bytes &data, const Node *node)
{
    Bytes number = ContentOf(data, node);
    const bool isInteger = node != nullptr && (node->element.identifier & TAG_NUMBER) == INTEGER;
    if (isInteger && !number.empty() && number[0] == 0) {
        number.erase(number.begin());
    }
    return number;
}

Bytes BitsOf(const Bytes &data, const Node *node)
{
    Bytes bits = ContentOf(data, node);
    bits.erase(bits.begin(), bits.begin() + (bits.empty() ? 0 : 1));
    return bits;
}

Bytes DeviceName(const Bytes &data, const Node *name)
{
    Bytes key;
    for (size_t i = 0; name != nullptr && i < name->children.size(); ++i) {
        const std::vector<Node> &attributes = name->children[i].children;
        const Node *const first = attributes.empty() ? nullptr : &attributes.front();
        AppendCounted(NumberOf(data, first == nullptr ? nullptr : FindNode(first, "type")), &key);
        AppendCounted(NumberOf(data, first == nullptr ? nullptr : FindNode(first, "value")), &key);
    }
    return key;
}

std::string AlgorithmOf(const Bytes &data, const Node *node)
{
    if (node == nullptr) {
        return "";
    }
    const InspectedElement identifier = ReadElement(data, node->element.content, node->element.end);
    Node first;
    first.element = identifier;
    return IsThere(identifier) ? DottedIdentifier(ContentOf(data, &first, IDENTIFIER_OCTETS_MAX)) : "";
}

std::string NameText(InspectContext *context, const Node *node)
{
    bool isExact = true;
    return node == nullptr ? "" : JoinName(*context->data, node, &isExact);
}

Report DescribeName(InspectContext *context, const Node *node, const NodePath &path)
{
    if (node == nullptr) {
        return nullptr;
    }
    bool isExact = true;
    const std::string text = JoinName(*context->data, node, &isExact);
    if (!isExact && !node->element.isCut) {
        AddFinding(context->findings, Rule::NameEncoding, path, node->element.offset, text);
    }
    return {{"text", text}, {"hex", isExact ? Report(nullptr) : Report(ShownHex(ContentOf(*context->data, node)))}};
}

Report DescribeTime(InspectContext *context, const Node *node, const NodePath &path, Rule form, const char *citation)
{
    if (node == nullptr || node->element.isCut) {
        return nullptr;
    }
    bool isTime = false;
    const Bytes content = ContentOf(*context->data, node, VALUE_OCTETS_MAX);
    const std::optional<int64_t> seconds = ReadDeviceTime(node->element.identifier, content, &isTime);
    if (!isTime) {
        AddFinding(context->findings, seconds.has_value() ? Rule::TimeDigits : form, path, node->element.offset,
                   "found " + DescribeElement(node->element) + " '" + Printable({content.begin(), content.end()}) + "'",
                   citation);
    }
    return isTime ? Report(FormatTime(*seconds)) : Report(nullptr);
}

Report DescribeSerial(InspectContext *context, const Node *node, const NodePath &path)
{
    if (node == nullptr) {
        return nullptr;
    }
    const Bytes content = ContentOf(*context->data, node);
    const bool hasSpare = content.size() > 1 && content[0] == 0 && content[1] < 0x80;
    const bool isZero = std::all_of(content.begin(), content.end(), [](uint8_t octet) { return octet == 0; });
    const Bytes number = NumberOf(*context->data, node);
    const bool isOdd = isZero || hasSpare || content[0] >= 0x80 || number.size() > SERIAL_OCTETS_MAX;
    if (isOdd && !node->element.isCut) {
        AddFinding(context->findings, Rule::SerialForm, path, node->element.offset,
                   "found " + DescribeElement(node->element));
    }
    return DescribeNumber(*context->data, node);
}

Report DescribeNumber(const Bytes &data, const Node *node)
{
    if (node == nullptr) {
        return nullptr;
    }
    const Bytes number = NumberOf(data, node);
    return ShownHex(number.empty() ? ContentOf(data, node) : number);
}

Report TextOrNull(const std::string &text)
{
    return text.empty() ? Report(nullptr) : Report(text);
}

} // namespace pkgsign::inspection
