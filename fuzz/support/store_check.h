// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What holds for the store of every context.
#ifndef FUZZ_STORE_CHECK_H
#define FUZZ_STORE_CHECK_H

#include <cstdint>

#include "sigkit/sigkit.h"

// Reads every octet that a stored record points to: what a context keeps lives as long as the context. Fails when a
// record has no holder.
void FuzzCheckStore(const SigkitVerifyCtx *ctx);

uint32_t FuzzCountCrls(const SigkitVerifyCtx *ctx);

// Returns whether the store holds a self-signed certificate.
bool FuzzHoldsAnchor(const SigkitVerifyCtx *ctx);

#endif
