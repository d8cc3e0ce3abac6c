// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Content that would fit a signature, where the given one does not.
#ifndef PKGSIGN_EXPLAIN_CHECK_CONTENT_H
#define PKGSIGN_EXPLAIN_CHECK_CONTENT_H

#include "pkgsign/explain/check_order.h"

struct SigkitVerifyCtx;

namespace pkgsign
{

// A verify context, freed with its scope. Wants a HostScope around it.
struct VerifyContext {
    SigkitVerifyCtx *held = nullptr;

    VerifyContext() = default;
    VerifyContext(const VerifyContext &) = delete;
    VerifyContext &operator=(const VerifyContext &) = delete;
    ~VerifyContext();
};

// A new context with the root of an order. The result is the library's status.
uint32_t OpenContext(const CheckOrder &order, VerifyContext *context);

// Where the content does not fit: asks the library about it with other line ends, with or without a byte order mark or
// a last newline, and about the files of the directory that the order names.
void FindFittingContent(const CheckOrder &order, Check *check);

} // namespace pkgsign

#endif
