// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Certificates and CRLs from DER or PEM data into lists.
#ifndef VERIFY_LOAD_LOADING_H
#define VERIFY_LOAD_LOADING_H

#include <stdint.h>

#include "core/context.h"
#include "core/guard.h"
#include "core/list.h"
#include "x509/cert.h"
#include "x509/crl.h"

// Shorter data hold neither an object nor an armour.
inline constexpr uint32_t SIGKIT_MIN_DATA_SIZE = 38;

// Decodes certificates and CRLs. The images that they point into stay with the context.
//
//   ctx    in/out, takes one slot of `buffers` for DER data, and one for each PEM block that is kept.
//   data   in, `len` octets, borrowed for the call only.
//   certs  in/out, list to which SigkitX509Cert are appended, one share each.
//   crls   in/out, list to which SigkitX509Crl are appended, one share each; null to drop CRLs.
//
// Returns SIGKIT_OK (also when nothing was found in PEM text), SIGKIT_ERR_ARMOUR, also for fewer than
// SIGKIT_MIN_DATA_SIZE octets, SIGKIT_ERR_LIST_FULL, a decoding code, or the code of an allocation or of the copy.
// After a failure the lists hold what was decoded before it.
//
// Logs: each failure but that of too few octets.
[[nodiscard]] uint32_t InternalDecodeCertCrl(SigkitVerifyCtx *ctx, const uint8_t *data, uint32_t len, SigkitList *certs,
                                             SigkitList *crls);

// The DER half of InternalDecodeCertCrl: objects back to back, with a tail of up to 32 octets tolerated. The name is
// part of the log: nothing is streamed, all octets are there.
//
// Logs: each failure.
[[nodiscard]] uint32_t InternalDecodeStreamCertCrl(SigkitVerifyCtx *ctx, const uint8_t *data, uint32_t len,
                                                   SigkitList *certs, SigkitList *crls);

// Give up the shares that a list holds.
inline void InternalFreeCerts(SigkitList *certs)
{
    SigkitListFree(certs, InternalFreeCertEntry);
}

inline void InternalFreeCrls(SigkitList *crls)
{
    SigkitListFree(crls, InternalFreeCrlEntry);
}

using InternalCertsGuard = InternalGuard<SigkitList, InternalFreeCerts>;
using InternalCrlsGuard = InternalGuard<SigkitList, InternalFreeCrls>;

#endif
