// PEM armour (RFC 7468) around certificates and CRLs.
#ifndef VERIFY_PEM_H
#define VERIFY_PEM_H

#include <stddef.h>
#include <stdint.h>

#include "core/context.h"
#include "core/list.h"

// Octets of a literal, without its NUL.
template <size_t Size>
constexpr uint32_t InternalTextLen(const char (&)[Size])
{
    return Size - 1;
}

// Tells whether data, of at least ten octets, begin like PEM armour.
[[nodiscard]] bool InternalIsPem(const uint8_t *data);

// The PEM half of InternalDecodeCertCrl: any number of blocks with any text between them. A broken certificate or CRL
// block is logged and skipped, a block of another kind is skipped silently; only a block without an end stops the walk,
// with SIGKIT_ERR_ARMOUR.
[[nodiscard]] uint32_t InternalDecodePemCertCrl(SigkitVerifyCtx *ctx, const uint8_t *data, uint32_t len,
                                                SigkitList *certs, SigkitList *crls);

#endif
