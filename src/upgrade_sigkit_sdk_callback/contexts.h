// The records behind the opaque contexts of sigkit_host.h: a digest and a signature check in progress.
#ifndef SRC_UPGRADE_SIGKIT_SDK_CALLBACK_CONTEXTS_H
#define SRC_UPGRADE_SIGKIT_SDK_CALLBACK_CONTEXTS_H

#include <stdint.h>

#include <openssl/evp.h>

#include "sigkit/sigkit_host.h"

// A digest in progress.
struct SigkitMdCtx {
    uint32_t size;     // sizeof(SigkitMdCtx), 24
    EVP_MD_CTX *mdCtx; // owned; null until SigkitMdInit
    void *spare;       // not used: the record has the shape of SigkitCryptoCtx
};

// A signature check in progress.
struct SigkitCryptoCtx {
    uint32_t size;     // sizeof(SigkitCryptoCtx), 24
    EVP_MD_CTX *mdCtx; // owned; the digest of the signed data, null until SigkitCryptoVerifyInit
    EVP_PKEY *pkey;    // owned; the signer's public key, null when there is none
};

// The tag at the head of both records is their own size.
inline constexpr uint32_t CONTEXT_SIZE = 24;
static_assert(sizeof(SigkitMdCtx) == CONTEXT_SIZE && sizeof(SigkitCryptoCtx) == CONTEXT_SIZE);

#endif
