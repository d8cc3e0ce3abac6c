// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// From the lines of a run to what was behind them.
#ifndef PKGSIGN_EXPLAIN_LOG_TRAIL_H
#define PKGSIGN_EXPLAIN_LOG_TRAIL_H

#include <optional>
#include <string>
#include <vector>

#include "pkgsign/explain/cause.h"
#include "pkgsign/explain/log.h"

namespace pkgsign
{

// One failure or warning, with its status where that is known.
struct TrailStep {
    std::string function;
    std::string text; // of the line; else what the function does
    bool isText;      // the line's
    std::optional<uint32_t> status;
};

struct Trail {
    std::optional<uint32_t> status;    // with which the tool ended
    bool isAnswered = false;           // the log says so; else it is gathered from its lines
    std::vector<TrailStep> steps;      // the first cause first
    size_t left = 0;                   // how many are left out between them
    std::vector<const Cause *> causes; // the likeliest first; several of one clue: the log cannot say which
    std::string whose;                 // "the signer's": whose certificate the failure is about; "the": not known
};

Trail FollowTrail(const LogRun &run);

// The causes of a status that the events of a run point to. first: where the failure arose; null: not known.
std::vector<const Cause *> FindCauses(uint32_t status, const std::vector<LogEvent> &events, const LogEvent *first);

} // namespace pkgsign

#endif
