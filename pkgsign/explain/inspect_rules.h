// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The departures that `pkgsign inspect` finds, each once.
#ifndef PKGSIGN_EXPLAIN_INSPECT_RULES_H
#define PKGSIGN_EXPLAIN_INSPECT_RULES_H

#include <string>
#include <vector>

namespace pkgsign::inspection
{

enum class Severity { Error, Warning, Note };

enum class Rule {
#define RULE(name, code, severity, citation, text) name,
#include "pkgsign/explain/inspect_rules.def"
#undef RULE
};

struct RuleText {
    Rule rule;
    const char *code; // stable
    Severity severity;
    const char *citation; // RFC and section, or "this device"; "the type" stands for that of the type
    const char *text;
};

const std::vector<RuleText> &InspectRules();
const RuleText &TextOf(Rule rule);
const char *SeverityName(Severity severity);

// Where something stands, as a chain up to the object. index: in a list; none otherwise.
struct NodePath {
    const NodePath *parent = nullptr;
    const char *name = nullptr; // null: an element of the parent's list
    size_t index = 0;
};

// "signerInfos[0].unsignedAttrs[1]".
std::string PathText(const NodePath &path);

struct Finding {
    Rule rule;
    std::string path;     // empty: the object itself, or the file
    size_t offset = 0;    // of the octet where it stands
    std::string citation; // that of the rule or of the type
    std::string detail;   // what is there; may be empty
};

// Findings up to a number, and how many there are.
struct Findings {
    std::vector<Finding> list;
    size_t most = 100;
    size_t count = 0;
    size_t errors = 0;
};

// citation: empty for that of the rule.
void AddFinding(Findings *findings, Rule rule, const NodePath &path, size_t offset, const std::string &detail,
                const char *citation = nullptr);

// Adds all of some.
void AddFindings(const Findings &some, Findings *findings);

} // namespace pkgsign::inspection

#endif
