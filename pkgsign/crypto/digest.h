// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The digests that devices take.
#ifndef PKGSIGN_CRYPTO_DIGEST_H
#define PKGSIGN_CRYPTO_DIGEST_H

#include <string>

#include "pkgsign/crypto/types.h"

namespace pkgsign
{

// "sha256", "sha384" or "sha512".
Status FindDigest(const std::string &name, const EVP_MD **digestOut);

// The one whose values have this many octets; null when there is none.
const EVP_MD *FindDigestBySize(size_t size);

// The name by which FindDigest knows it.
std::string DigestName(const EVP_MD *digest);

// Two lower-case digits for each octet.
std::string HexText(const Bytes &data);

} // namespace pkgsign

#endif
