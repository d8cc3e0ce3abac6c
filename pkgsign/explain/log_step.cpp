// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/explain/log_step.h"

namespace pkgsign
{
namespace
{

struct Step {
    const char *function;
    int depth;
    const char *words;
};

constexpr Step STEPS[] = {
#define PKGSIGN_STEP(function, depth, words) {function, depth, words},
#include "pkgsign/explain/log_step_list.def"
#undef PKGSIGN_STEP
};

const Step *FindStep(const std::string &function)
{
    for (const Step &step : STEPS) {
        if (function == step.function) {
            return &step;
        }
    }
    return nullptr;
}

} // namespace

int StepDepth(const std::string &function)
{
    const Step *const step = FindStep(function);
    return step == nullptr ? 0 : step->depth;
}

std::string StepWords(const std::string &function)
{
    const Step *const step = FindStep(function);
    return step == nullptr ? "" : step->words;
}

} // namespace pkgsign
