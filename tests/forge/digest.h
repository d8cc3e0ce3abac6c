// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Message digests, by Digest.
#ifndef TESTS_FORGE_DIGEST_H
#define TESTS_FORGE_DIGEST_H

#include "tests/forge/forge.h"

#include <openssl/evp.h>

#include <string>

namespace forge
{
// libcrypto's digest.
const EVP_MD *DigestMethod(Digest digest);

// AlgorithmIdentifier of the digest, without parameters (RFC 5754, 2).
Bytes DigestAlgorithm(Digest digest);

Status Hash(Digest digest, const Bytes &data, Bytes *hashOut);

// Digests a file, read in pieces.
Status HashFile(Digest digest, const std::string &path, Bytes *hashOut);
} // namespace forge

#endif
