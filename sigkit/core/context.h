// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The record behind a verify context, which store, path validation and verification all work on.
#ifndef CORE_CONTEXT_H
#define CORE_CONTEXT_H

#include <stddef.h>
#include <stdint.h>

#include "core/list.h"
#include "sigkit/sigkit.h"

struct SigkitPkiCtx;
struct InternalMessageCopy;

// Leading size of a live context. By it a context differs from other memory, and from one of another version.
inline constexpr uint64_t SIGKIT_VERIFY_CTX_SIZE = 384;

// Leading size of the creation parameters.
inline constexpr uint64_t SIGKIT_CREATE_PARAM_SIZE = 72;

// Octets behind the last field: a context has the same size where pointers are smaller.
inline constexpr size_t CONTEXT_RESERVED = sizeof(void *) == 8 ? 52 : 200;

struct SigkitVerifyCtx {
    uint64_t size;                      // SIGKIT_VERIFY_CTX_SIZE while the context lives
    SigkitList buffers;                 // owned images: octets that stored records point into
    uint32_t crlLocked;                 // not 0: no more CRLs; no operation sets it
    SigkitPkiCtx *pki;                  // owned: the store
    SigkitList handles;                 // owned SigkitMdInfo: the content checks of the verification in progress
    int64_t verifyTime;                 // seconds since 1970 UTC: the instant at which all dates are judged
    uint32_t pathError;                 // code of the last failed CRL selection; a diagnostic
    int32_t pathDepth;                  // nested path validations
    InternalMessageCopy *messageCopies; // owned chain: DER signature messages, see verify/load/message_copy.h
    uint32_t hostFailure;               // first failure of the host that a search passed over, see InternalPassOver
    uint32_t skippedCrls;               // PEM blocks of CRLs that loading has skipped
    uint32_t decodedCrls;               // CRLs of the last data to be summarised, those without a summary included
    uint8_t reserved[CONTEXT_RESERVED]; // zero
};

static_assert(sizeof(SigkitVerifyCtx) == SIGKIT_VERIFY_CTX_SIZE, "the size tag is the record's own size");
static_assert(sizeof(SigkitVerifyCreateParam) == SIGKIT_CREATE_PARAM_SIZE, "hosts fill in 72 octets");
static_assert(offsetof(SigkitVerifyCtx, verifyTime) == (sizeof(void *) == 8 ? 296 : 152),
              "fields lie where the documented layout has them");

// Returns whether a status comes from the machine (memory, a callback, a bounds-checked function) and not from what a
// file says: the library's own codes about files begin with 88.
[[nodiscard]] bool InternalIsHostFailure(uint32_t status);

// Notes what made a search go on to the next block, candidate or CRL. When it was the machine, what was left behind may
// be the very CRL that revokes: the search goes on as if the file were at fault, but the context trusts no path any
// more.
void InternalPassOver(SigkitVerifyCtx *ctx, uint32_t status);

// Tests a context that a host handed in. Returns SIGKIT_OK, SIGKIT_ERR_CTX_NULL or SIGKIT_ERR_CTX_TAG.
//
// Logs: nothing.
[[nodiscard]] uint32_t InternalCheckContext(const SigkitVerifyCtx *ctx);

#endif
