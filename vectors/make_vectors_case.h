// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The cases: a package each, what verifiers must answer, and why.
#ifndef VECTORS_CASE_H
#define VECTORS_CASE_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "sigkit/sigkit.h"
#include "vectors/make_vectors_package.h"

namespace vectors
{
inline constexpr uint32_t NOT_MATCHED = UINT32_MAX; // the tool's status for content that is not what was signed

// What a case does to the good package.
using Change = std::function<void(Package *)>;

enum class Answer { Accept, Refuse };

// What the answer follows from.
struct Rule {
    const char *document; // "RFC 5280", or "protocol" for what vectors/PROTOCOL.md asks of a verifier
    const char *section;
    const char *text; // in our words
};

// A file that is longer than it is kept: octets are added at its end before it is judged.
struct Padding {
    const char *file = nullptr; // "crls", "signature" or "content"
    uint32_t size = 0;
    uint8_t octet = 0;
};

struct Case {
    std::string name;            // without its group
    std::string twin;            // whole identifier; empty: accepted by everybody
    std::string difference;      // from the twin: a path as tests/vectors/trees.py makes them
    Answer rfc = Answer::Accept; // of a verifier that follows the rule
    uint32_t ours = 0;           // verify_tool's status
    const Rule *rule = nullptr;
    std::string reason; // why the two answers differ
    std::vector<std::string> features;
    std::string importance = "high";
    std::vector<std::string> cve;
    Padding padding;
    Change change;
};

struct Group {
    const char *name;
    std::vector<Case> cases;
};

// The groups, in the order of the set.
Group SignatureCases();
Group TimestampCases();
Group PathCases();
Group CrlCases();
Group RevocationCases();
Group EncodingCases();
Group ArmourCases();
Group LimitCases();

// Parts of the groups signature and timestamp.
void AddSignatureValues(Group *group);
void AddTokenSignerCases(Group *group);

// Adds a case that everybody accepts, and one that everybody refuses.
Case &Accepted(Group *group, const std::string &name, const Rule &rule, Change change);

struct Refusal {
    std::string name;
    std::string twin;
    std::string difference;
    uint32_t status;
};
Case &Refused(Group *group, const Refusal &refusal, const Rule &rule, Change change);

// Adds a case that verify_tool accepts, and the RFC does not, for this reason.
Case &Lenient(Group *group, const Refusal &refusal, const Rule &rule, const std::string &reason, Change change);

// Adds a case that verify_tool refuses, and the RFC does not, for this reason.
Case &Narrow(Group *group, const Refusal &refusal, const Rule &rule, const std::string &reason, Change change);
} // namespace vectors

#endif
