// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What the parts of the collector of trace records share.
#ifndef PKGSIGN_EXPLAIN_CHECK_COLLECTOR_H
#define PKGSIGN_EXPLAIN_CHECK_COLLECTOR_H

#include "core/trace.h"
#include "pkgsign/explain/check_seen.h"

namespace pkgsign
{

struct TraceCollector {
    Check *check = nullptr;
    Step stage = Step::Root; // what is being loaded, or where the token begins
    Step last = Step::Root;  // that has ended
    SeenRecords seen;
    PathFinding *path = nullptr;
    std::vector<Judgement> open; // each one inside the one before
    size_t begun = 0;
    const void *agreeingName = nullptr; // issuer name of the certificate or CRL that is tried next, and who bears it:
    size_t agreeing = NONE;             // for the next record alone, as memory may be another's later
    bool dateCounts = false;
    bool isContentNext = false;
    size_t tokenCertificates = 0;
    std::string tokenDetail;
    const uint8_t *readBase = nullptr; // of the input that the decoder reads

    size_t See(const void *certificate);
};

// Each takes the records that are its own; false for others.
bool TakeReading(TraceCollector *collector, const SigkitTraceRecord &record);
bool TakeCandidate(TraceCollector *collector, const SigkitTraceRecord &record);
bool TakePath(TraceCollector *collector, const SigkitTraceRecord &record);

} // namespace pkgsign

#endif
