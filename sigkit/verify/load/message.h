// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Signature messages: PEM or DER octets into a decoded SignedData.
#ifndef VERIFY_LOAD_MESSAGE_H
#define VERIFY_LOAD_MESSAGE_H

#include <stdint.h>

#include "core/context.h"
#include "x509/pkcs7.h"

// Decodes a message. The octets that it points into stay with the context: among its buffers the DER that PEM text
// decodes to, or a copy of DER `data`, until InternalFreeMessageCopies. After a failure none stay.
//
//   data     in, `len` octets, at least SIGKIT_MIN_DATA_SIZE; borrowed for the call only.
//   message  out, owned by the caller until SigkitPkcs7FreeSigned. Not written on failure.
//
// Returns SIGKIT_OK, SIGKIT_ERR_ARMOUR, SIGKIT_ERR_UNKNOWN for PKCS7 armour without its end, SIGKIT_ERR_LIST_FULL,
// SIGKIT_ERR_NO_MEMORY, or a code of the Base64 decoder, of SigkitPkcs7DecodeSigned or of a bounds-checked function.
//
// Logs: each failure; of DER data what it calls does.
[[nodiscard]] uint32_t InternalDecodeMessage(SigkitVerifyCtx *ctx, const uint8_t *data, uint32_t len,
                                             SigkitPkcs7Content **message);

#endif
