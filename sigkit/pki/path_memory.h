// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Outcomes of nested validations. During one top-level validation the time of judgement and the strictness do not
// change, so what a nested validation comes to depends on its certificate and its depth alone. Without this memory CRLs
// whose issuers cover each other would cost up to 16 to the power of 10 validations.
#ifndef PKI_PATH_MEMORY_H
#define PKI_PATH_MEMORY_H

#include <stdint.h>

#include "core/list.h"

// Nested validations, and steps of a search for the root, that are allowed below the first: a chain has at most 11
// certificates.
inline constexpr int32_t SIGKIT_PATH_DEPTH_MAX = 10;

// Nested validations of one public operation that are carried out even where the outcome is known, so that every
// ordinary store is judged with all its log lines. Summaries judge the issuers of up to 16 CRLs in one operation:
// counted for each of those, the literal ones would fill the log.
inline constexpr uint32_t SIGKIT_PATH_LITERAL_MAX = 256;

struct InternalPathOutcome {
    uint32_t status;    // what the validation returned
    uint32_t pathError; // what it left in the context's pathError; SIGKIT_OK: nothing
};

struct InternalPathMemory {
    uint32_t nested;                      // of the operation: carried out in any case; ends at `literal`
    uint32_t literal;                     // how many are, usually SIGKIT_PATH_LITERAL_MAX
    bool warned;                          // since then, of an expired CRL
    uint32_t known[SIGKIT_LIST_CAPACITY]; // by certificate: bit d says that outcomes[..][d] is filled
    InternalPathOutcome outcomes[SIGKIT_LIST_CAPACITY][SIGKIT_PATH_DEPTH_MAX + 1]; // by certificate and depth
};

// Begins a top-level validation: nothing is known.
void InternalForgetOutcomes(InternalPathMemory *memory);

// Returns whether an expired CRL is worth a warning: always until the literal validations are used up, then once in
// each top-level validation, as the warning names neither CRL nor certificate.
[[nodiscard]] bool InternalMayWarn(InternalPathMemory *memory);

// Returns the outcome of a nested validation when it is known and those that are carried out in any case are used up.
// Else null, and while there are such ones left this one is counted among them.
//
//   storeIndex  in, of the certificate, from 1; 0, not stored, is never known.
//   depth       in, pathDepth before the validation.
[[nodiscard]] const InternalPathOutcome *InternalRecallOutcome(InternalPathMemory *memory, uint32_t storeIndex,
                                                               int32_t depth);

// Keeps the outcome of a validation; one that has no place is not kept.
void InternalKeepOutcome(InternalPathMemory *memory, uint32_t storeIndex, int32_t depth,
                         const InternalPathOutcome &outcome);

#endif
