// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What is found in one file: its objects, and what is wrong with them together.
#ifndef PKGSIGN_EXPLAIN_INSPECT_FILE_H
#define PKGSIGN_EXPLAIN_INSPECT_FILE_H

#include <set>

#include "pkgsign/explain/inspect_armour.h"
#include "pkgsign/explain/inspect_context.h"
#include "pkgsign/explain/inspect_recognise.h"

namespace pkgsign::inspection
{

// One file while it is read.
struct FileState {
    const std::vector<InspectIssuer> *issuers = nullptr; // ordered by subject
    size_t shownMost = 0;
    Findings findings; // of the file
    size_t errors = 0; // of its objects
    size_t objectCount = 0;
    Report objects = Report::array();
    size_t crlCount = 0;
    size_t certificateCount = 0;
    std::set<Bytes> crls; // by signature value, as the device tells them apart
    std::set<Bytes> crlIssuers;
    std::set<Bytes> certificates; // that are not self-signed
    size_t takenBlocks = 0;       // that the device has decoded and keeps
    size_t blocks = 0;
    bool beginsWithMessage = false;
    size_t checksLeft = SIGNATURE_CHECKS_MAX;
};

// The name of a kind in reports.
const char *KindName(ObjectKind kind);

Report FindingsJson(const Findings &findings);

// Adds one object of a known kind. block: of the armour that it is in; null in DER. Returns where it ends.
size_t AddObject(FileState *state, const Bytes &data, size_t at, ObjectKind kind, const ArmourBlock *block);

// Adds what is no object: what stands there, and what it looks like.
void AddUnknown(FileState *state, const Bytes &data, size_t at, const std::string &hint);

// Holds the objects of the whole file to the numbers that a device takes.
void CheckCounts(FileState *state, bool isDer);

} // namespace pkgsign::inspection

#endif
