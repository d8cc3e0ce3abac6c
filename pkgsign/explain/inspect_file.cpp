// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/explain/inspect_file.h"

#include "pkgsign/explain/inspect_crl.h"
#include "pkgsign/explain/inspect_message.h"
#include "pkgsign/files/files.h"

namespace pkgsign::inspection
{
namespace
{

constexpr size_t DEVICE_LIST_MAX = 16;         // certificates of a DER file, and CRLs
constexpr size_t DEVICE_CERTIFICATES_MAX = 15; // beside the root

// The certificates and CRLs of a file, as the device counts them: in a list while it reads, and each once in its store.
void CountObject(FileState *state, InspectContext *context, ObjectKind kind, const Node &node, size_t offset)
{
    const Bytes &data = *context->data;
    const Node *const signature = FindNode(&node, "signatureValue");
    if (kind == ObjectKind::Certificate) {
        ++state->certificateCount;
        if (!ReadFacts(context, node).isSelfSigned.value_or(false)) {
            state->certificates.insert(BitsOf(data, signature));
        }
    } else if (kind == ObjectKind::Crl) {
        ++state->crlCount;
        const Node *const issuer = FindNode(&node, "tbsCertList.issuer");
        if (!node.element.isCut && state->crls.insert(BitsOf(data, signature)).second &&
            !state->crlIssuers.insert(DeviceName(data, issuer)).second) {
            const NodePath file;
            AddFinding(&state->findings, Rule::CrlTwice, file, offset, NameText(context, issuer));
        }
    }
}

Report DescribeObject(InspectContext *context, ObjectKind kind, const Node &node, std::string *kindName)
{
    const NodePath path;
    *kindName = KindName(kind);
    switch (kind) {
    case ObjectKind::Message:
        if (IsToken(*context->data, node)) {
            TokenFacts facts;
            *kindName = "timestampToken";
            return DescribeToken(context, node, path, {}, &facts);
        }
        return DescribeMessage(context, node, path);
    case ObjectKind::Certificate:
        return DescribeCertificate(context, node, path);
    case ObjectKind::Crl:
        return DescribeCrl(context, node, path);
    case ObjectKind::TimestampRequest:
        return DescribeTimestampRequest(context, node, path);
    case ObjectKind::TimestampAnswer:
        return DescribeTimestampAnswer(context, node, path);
    default:
        return DescribeCertificationRequest(context, node, path);
    }
}

} // namespace

const char *KindName(ObjectKind kind)
{
    switch (kind) {
    case ObjectKind::Message:
        return "message";
    case ObjectKind::Certificate:
        return "certificate";
    case ObjectKind::Crl:
        return "crl";
    case ObjectKind::TimestampRequest:
        return "timestampRequest";
    case ObjectKind::TimestampAnswer:
        return "timestampAnswer";
    case ObjectKind::CertificationRequest:
        return "certificationRequest";
    default:
        return "unknown";
    }
}

Report FindingsJson(const Findings &findings)
{
    Report list = Report::array();
    for (const Finding &finding : findings.list) {
        const RuleText &text = TextOf(finding.rule);
        list.push_back({{"severity", SeverityName(text.severity)},
                        {"code", text.code},
                        {"path", finding.path},
                        {"offset", finding.offset},
                        {"citation", finding.citation},
                        {"text", text.text},
                        {"detail", finding.detail}});
    }
    return list;
}

size_t AddObject(FileState *state, const Bytes &data, size_t at, ObjectKind kind, const ArmourBlock *block)
{
    Findings findings;
    findings.most = state->shownMost;
    Walk walk = {&data, &findings};
    Node node;
    const NodePath path;
    const size_t end = WalkObject(&walk, *TypeOf(kind), at, {data.size(), false}, path, &node);
    FinishWalk(&walk);
    InspectContext context = {&data, &findings, state->issuers, state->shownMost, &state->checksLeft, {}};
    CountObject(state, &context, kind, node, block == nullptr ? at : block->offset);
    std::string kindName;
    Report content = DescribeObject(&context, kind, node, &kindName);
    ++state->objectCount;
    state->errors += findings.errors;
    if (state->objects.size() < state->shownMost) {
        state->objects.push_back({{"kind", kindName},
                                  {"offset", block == nullptr ? at : block->offset},
                                  {"size", end - at},
                                  {"label", block == nullptr ? Report(nullptr) : Report(Printable(block->label))},
                                  {"content", std::move(content)},
                                  {"findings", FindingsJson(findings)},
                                  {"findingCount", findings.count}});
    }
    return end;
}

void AddUnknown(FileState *state, const Bytes &data, size_t at, const std::string &hint)
{
    const InspectedElement element = ReadElement(data, at, data.size());
    const NodePath file;
    AddFinding(&state->findings, Rule::NotRecognised, file, at,
               "found " + DescribeElement(element) + (hint.empty() ? "" : ": " + hint));
    if (IsThere(element) && element.isCut) {
        AddFinding(&state->findings, Rule::LengthBeyond, file, at,
                   DescribeElement(element) + ", of which " + std::to_string(ContentSize(element)) + " are there");
    }
    if (!IsThere(element)) {
        AddFinding(&state->findings, Rule::ReadTo, file, at, "expected SEQUENCE, found a header that is cut off");
    }
}

void CheckCounts(FileState *state, bool isDer)
{
    const NodePath file;
    if (isDer && state->crlCount > DEVICE_LIST_MAX) {
        AddFinding(&state->findings, Rule::CrlsTooMany, file, 0, "there are " + std::to_string(state->crlCount));
    }
    if (isDer && state->certificateCount > DEVICE_LIST_MAX) {
        AddFinding(&state->findings, Rule::FileCertificates, file, 0,
                   "there are " + std::to_string(state->certificateCount));
    }
    if (state->certificates.size() > DEVICE_CERTIFICATES_MAX) {
        AddFinding(&state->findings, Rule::StoreFull, file, 0,
                   "there are " + std::to_string(state->certificates.size()));
    }
}

} // namespace pkgsign::inspection
