// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/explain/inspect_rules.h"

#include <algorithm>

namespace pkgsign::inspection
{

const std::vector<RuleText> &InspectRules()
{
    static const std::vector<RuleText> RULES = {
#define RULE(name, code, severity, citation, text) {Rule::name, code, Severity::severity, citation, text},
#include "pkgsign/explain/inspect_rules.def"
#undef RULE
    };
    return RULES;
}

const RuleText &TextOf(Rule rule)
{
    return InspectRules()[static_cast<size_t>(rule)];
}

const char *SeverityName(Severity severity)
{
    return severity == Severity::Error ? "error" : severity == Severity::Warning ? "warning" : "note";
}

std::string PathText(const NodePath &path)
{
    std::vector<const NodePath *> chain;
    for (const NodePath *part = &path; part != nullptr; part = part->parent) {
        chain.push_back(part);
    }
    std::reverse(chain.begin(), chain.end());
    std::string text;
    for (const NodePath *part : chain) {
        if (part->name == nullptr) {
            text += part->parent == nullptr ? "" : "[" + std::to_string(part->index) + "]";
        } else {
            text += (text.empty() ? "" : ".") + std::string(part->name);
        }
    }
    return text;
}

void AddFinding(Findings *findings, Rule rule, const NodePath &path, size_t offset, const std::string &detail,
                const char *citation)
{
    const RuleText &text = TextOf(rule);
    ++findings->count;
    findings->errors += text.severity == Severity::Error ? 1 : 0;
    if (findings->list.size() < findings->most) {
        findings->list.push_back(
            {rule, PathText(path), offset, citation == nullptr ? text.citation : citation, detail});
    }
}

void AddFindings(const Findings &some, Findings *findings)
{
    findings->count += some.count;
    findings->errors += some.errors;
    for (const Finding &finding : some.list) {
        if (findings->list.size() < findings->most) {
            findings->list.push_back(finding);
        }
    }
}

} // namespace pkgsign::inspection
