// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Path validation a second time, to compare the library with: step by step, over what a test wrote instead of over what
// the library decoded from it, and without any memory but the issuers found. It shares no code with the library. A
// signature holds as the pretended host has it: under the key with the number that signed.
#ifndef PKI_LITERAL_MODEL_H
#define PKI_LITERAL_MODEL_H

#include <stddef.h>
#include <stdint.h>

#include <string>
#include <vector>

#include "tests/pki/store_writer.h"

// The place of no certificate.
inline constexpr size_t LITERAL_NONE = SIZE_MAX;

// A context and the store in it. Certificates are named by their place in the store.
struct LiteralContext {
    WrittenStore store;              // may grow between validations
    std::vector<size_t> issuerCert;  // by certificate: its issuer once found, or LITERAL_NONE
    int64_t verifyTime = JUDGED_AT;  // seconds since 1970 UTC
    uint32_t pathError = 0;          // code of the last failed choice of a CRL
    int32_t pathDepth = 0;           // nested validations
    std::vector<std::string> lines;  // the log, as PretendedHost::lines has it
    uint32_t nested = 0;             // nested validations carried out since the last one from the top began
    uint32_t nestedMax = UINT32_MAX; // beyond them the model gives up
    uint32_t walkedPastDirect = 0;   // direct CRLs of another record than the one that issued the certificate, ever
};

// Validates a certificate at verifyTime. The arguments and what it returns are those of SigkitPkiVerifyCert; the answer
// is worth nothing when LiteralGaveUp holds afterwards.
uint32_t LiteralVerifyCert(LiteralContext *ctx, size_t cert, int32_t isTopLevel, uint32_t strictRevocation,
                           uint32_t *ok);

// Returns whether the last validation from the top would have taken more than nestedMax nested ones.
bool LiteralGaveUp(const LiteralContext &ctx);

#endif
