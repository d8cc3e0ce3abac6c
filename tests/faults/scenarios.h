// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What a host may ask of the library, from a fresh context to a freed one.
#ifndef FAULTS_SCENARIOS_H
#define FAULTS_SCENARIOS_H

#include <stdint.h>

#include <functional>
#include <string>
#include <vector>

struct Outcome {
    uint32_t status = 0;
    uint32_t answer = 0; // verdict of a verification, or result of a comparison

    bool operator==(const Outcome &) const = default;
};

enum class Kind { VERIFICATION, LOADING, COMPARISON };

struct Scenario {
    std::string name;
    Kind kind;
    Outcome expected; // when nothing fails
    std::function<Outcome()> run;
    uint32_t derCrls = 0;       // CRLs of its material that are not in PEM
    uint32_t contentFiles = 0;  // how often it reads content from a file
    bool needsEveryCrl = false; // without one of its CRLs it is accepted
};

// All scenarios, their material made once for the process.
const std::vector<Scenario> &Scenarios();

// Returns whether an outcome is an acceptance: of a verification, that the content is authentic; of a comparison, an
// answer other than the one that the files deserve.
bool IsAcceptance(const Scenario &scenario, const Outcome &outcome);

#endif
