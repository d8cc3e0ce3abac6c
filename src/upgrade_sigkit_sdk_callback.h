// What lies behind the host callbacks of sigkit_host.h: their context records and the choice of the digest.
#ifndef SRC_UPGRADE_SIGKIT_SDK_CALLBACK_H
#define SRC_UPGRADE_SIGKIT_SDK_CALLBACK_H

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

#ifdef __cplusplus
extern "C" {
#endif

// Returns libcrypto's digest for a hash algorithm of the library (43 SHA-256, 44 SHA-384, 45 SHA-512), a static object;
// null for any other number.
const EVP_MD *SkvGetOpensslEvpmd(uint32_t aoid);

// Returns its argument. It belongs to the set of callbacks; nothing calls it.
uint32_t SkvOpensslUnint(uint32_t value);

#ifdef __cplusplus
}
#endif

#endif
