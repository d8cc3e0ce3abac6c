// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The records behind the opaque contexts of sigkit_host.h: a digest and a signature check in progress.
#ifndef SRC_UPGRADE_SIGKIT_SDK_CALLBACK_CONTEXTS_H
#define SRC_UPGRADE_SIGKIT_SDK_CALLBACK_CONTEXTS_H

#include <stdint.h>

#include <openssl/evp.h>

#include "sigkit/sigkit_host.h"

// A digest in progress.
struct SigkitMdCtx {
    uint32_t size;     // CONTEXT_SIZE
    EVP_MD_CTX *mdCtx; // owned; null until SigkitMdInit
    void *spare;       // not used: the record has the shape of SigkitCryptoCtx
};

// A signature check in progress.
struct SigkitCryptoCtx {
    uint32_t size;     // CONTEXT_SIZE
    EVP_MD_CTX *mdCtx; // owned; the digest of the signed data, null until SigkitCryptoVerifyInit
    EVP_PKEY *pkey;    // owned; the signer's public key, null when there is none
};

// Octets allocated for either record, and the tag at its head: the same on machines with smaller pointers.
inline constexpr uint32_t CONTEXT_SIZE = 24;
static_assert(sizeof(SigkitMdCtx) <= CONTEXT_SIZE && sizeof(SigkitCryptoCtx) <= CONTEXT_SIZE,
              "each record has the octets that are allocated for it");
static_assert(sizeof(void *) != 8 || (sizeof(SigkitMdCtx) == CONTEXT_SIZE && sizeof(SigkitCryptoCtx) == CONTEXT_SIZE),
              "with 64-bit pointers the tag is the record's own size");

#endif
