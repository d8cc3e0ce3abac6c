// One signer of a detached signature message.
#ifndef VERIFY_DETACHED_H
#define VERIFY_DETACHED_H

#include <stdint.h>

#include "asn1/records.h"
#include "core/context.h"

// Judges one signer of a message: its timestamp token, its certificate, its signature over the signed attributes; then
// opens the check of the content.
//
// Returns SIGKIT_OK or, logged, the first failure.
[[nodiscard]] uint32_t InternalVerifyCms(SigkitVerifyCtx *ctx, const SigkitPkcs7SignedInfo &signer);

#endif
