// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// From the library's trace records to what a check has found.
#ifndef PKGSIGN_EXPLAIN_CHECK_TRACE_H
#define PKGSIGN_EXPLAIN_CHECK_TRACE_H

#include <memory>

#include "pkgsign/explain/check.h"

namespace pkgsign
{

struct TraceCollector;

// For as long as it lives, what the library of this thread comes to goes into a check. One at a time in a thread.
struct TraceScope {
    explicit TraceScope(Check *check);
    ~TraceScope();
    TraceScope(const TraceScope &) = delete;
    TraceScope &operator=(const TraceScope &) = delete;

    // Names the file that is loaded next: Step::Root or Step::CrlFile; Step::SignatureFile for the verification.
    void Begin(Step stage);

    // Ends it with the library's own answer.
    void End(uint32_t status);

private:
    std::unique_ptr<TraceCollector> collector;
};

} // namespace pkgsign

#endif
