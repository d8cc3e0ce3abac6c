// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Admission to the store: what of the decoded certificates and CRLs gets in, and so who becomes a trust anchor.
#ifndef VERIFY_ADMISSION_H
#define VERIFY_ADMISSION_H

#include <stdint.h>

#include "core/context.h"
#include "core/list.h"

// Adds certificates to the store; ones that are there already are passed over. A self-signed one becomes a trust anchor
// by it (RFC 5280, 6.1.1 (d)), and nothing else does.
//
//   allowRoot  in, 1 to accept self-signed certificates; with 0 they are skipped with a warning, so that data which
//              comes with a package can never bring a trust anchor.
//
// Returns SIGKIT_OK, or the code of SigkitX509IsSelfSigned or SigkitPkiStoreAddCert.
//
// Logs: each failure, and a root that is skipped, as a warning.
[[nodiscard]] uint32_t InternalAddCertToStore(SigkitVerifyCtx *ctx, const SigkitList &certs, uint32_t allowRoot);

// Adds CRLs to the store; ones that are there already are passed over. Not checked: who issued them, which is asked
// where one is used. Returns SIGKIT_OK, or the code of SigkitPkiStoreAddCrl.
//
// Logs: each failure.
[[nodiscard]] uint32_t InternalAddCrlToStore(SigkitVerifyCtx *ctx, const SigkitList &crls);

#endif
