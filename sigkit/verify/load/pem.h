// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// PEM armour (RFC 7468) around certificates and CRLs.
#ifndef VERIFY_LOAD_PEM_H
#define VERIFY_LOAD_PEM_H

#include <stdint.h>

#include "core/context.h"
#include "core/list.h"

// The PEM half of InternalDecodeCertCrl: any number of blocks with any text between them. A broken certificate or CRL
// block is skipped, as is one of another kind; only a block without an end stops the walk, with SIGKIT_ERR_ARMOUR.
//
// Logs: each failure, and each broken block; not a certificate for which `certs` has no space.
[[nodiscard]] uint32_t InternalDecodePemCertCrl(SigkitVerifyCtx *ctx, const uint8_t *data, uint32_t len,
                                                SigkitList *certs, SigkitList *crls);

#endif
