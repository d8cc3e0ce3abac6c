// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Digests of libcrypto, as the callbacks for digests and those for signatures use them.
#ifndef SRC_UPGRADE_SIGKIT_SDK_CALLBACK_DIGESTS_H
#define SRC_UPGRADE_SIGKIT_SDK_CALLBACK_DIGESTS_H

#include <stdint.h>

#include <openssl/evp.h>

extern "C" {

// Returns libcrypto's digest for a hash algorithm of the library (43 SHA-256, 44 SHA-384, 45 SHA-512), a static object;
// null for any other number.
const EVP_MD *SkvGetOpensslEvpmd(uint32_t aoid);

// Returns its argument. It belongs to the set of callbacks; nothing calls it.
uint32_t SkvOpensslUnint(uint32_t value);

} // extern "C"

// Returns whether a digest is in progress. libcrypto crashes when it is fed one that is not.
inline bool IsDigesting(const EVP_MD_CTX *mdCtx)
{
    return mdCtx != nullptr && EVP_MD_CTX_md(mdCtx) != nullptr;
}

// Starts a digest; after a failure none is in progress.
inline bool StartDigest(EVP_MD_CTX *mdCtx, const EVP_MD *digest)
{
    if (mdCtx == nullptr) {
        return false;
    }
    if (EVP_DigestInit_ex(mdCtx, digest, nullptr) != 1) {
        (void)EVP_MD_CTX_reset(mdCtx);
        return false;
    }
    return true;
}

// Feeds `len` octets to a digest; false when none is in progress, or libcrypto fails.
inline bool FeedDigest(EVP_MD_CTX *mdCtx, const void *data, uint32_t len)
{
    return IsDigesting(mdCtx) && EVP_DigestUpdate(mdCtx, data, len) == 1;
}

#endif
