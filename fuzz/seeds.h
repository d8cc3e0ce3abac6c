// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The seeds of the targets.
#ifndef FUZZ_SEEDS_H
#define FUZZ_SEEDS_H

#include <string>
#include <vector>

#include "tests/forge/forge.h"

struct Seed {
    std::string target;
    std::string name;
    forge::Bytes octets;
};

std::vector<Seed> MakeSeeds();

// Those of the detached signature's target.
void AddDetachedSeeds(std::vector<Seed> *seeds);

#endif
