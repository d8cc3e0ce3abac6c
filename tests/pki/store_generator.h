// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Random stores that grow while they are judged: authorities that rolled their keys over, namesakes, cross
// certificates, cycles, indirect CRLs, and a little of everything that can be wrong.
#ifndef PKI_STORE_GENERATOR_H
#define PKI_STORE_GENERATOR_H

#include <stddef.h>
#include <stdint.h>

#include <random>
#include <vector>

#include "tests/pki/store_writer.h"

struct Dice {
    std::mt19937 generator;
    uint32_t noise = 0; // percent: how often something is wrong
};

// One certificate to judge, and how.
struct StoreQuestion {
    size_t cert; // place in the store
    int64_t verifyTime;
    uint32_t strictRevocation;
};

// What is added to a store, and what is then asked about the whole.
struct StoreStage {
    WrittenStore added;
    size_t anchors; // of the certificates, the first ones
    std::vector<StoreQuestion> questions;
};

// A store, from the first stage to the last.
std::vector<StoreStage> RandomStages(Dice *dice);

#endif
