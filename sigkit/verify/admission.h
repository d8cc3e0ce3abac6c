// Admission to the store: which of the certificates and CRLs that were decoded get in, and so who becomes a trust anchor.
#ifndef VERIFY_ADMISSION_H
#define VERIFY_ADMISSION_H

#include <stdint.h>

#include "core/context.h"
#include "core/list.h"

// Adds certificates to the store; ones that are there already are passed over.
//
//   allowRoot  in, 1 to accept self-signed certificates; with 0 they are skipped with a warning, so that data which
//              comes with a package can never bring a trust anchor.
//
// Returns SIGKIT_OK, or, logged, the code of SigkitX509IsSelfSigned or SigkitPkiStoreAddCert.
[[nodiscard]] uint32_t InternalAddCertToStore(SigkitVerifyCtx *ctx, const SigkitList &certs, uint32_t allowRoot);

// Adds CRLs to the store; ones that are there already are passed over. Returns SIGKIT_OK, or, logged, the code of
// SigkitPkiStoreAddCrl.
[[nodiscard]] uint32_t InternalAddCrlToStore(SigkitVerifyCtx *ctx, const SigkitList &crls);

#endif
