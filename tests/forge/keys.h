// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The public half of a key, as certificates and key identifiers need it, and what works with a key.
#ifndef TESTS_FORGE_KEYS_H
#define TESTS_FORGE_KEYS_H

#include <memory>

#include <openssl/evp.h>

#include "tests/forge/forge.h"

namespace forge
{
using KeyContext = std::unique_ptr<EVP_PKEY_CTX, decltype(&EVP_PKEY_CTX_free)>;

// SubjectPublicKeyInfo.
Status EncodePublicKey(const Key &key, Bytes *publicKeyInfoOut);

// SHA-1 of the subjectPublicKey bits: method (1) of RFC 5280, 4.2.1.2.
Status KeyIdentifier(const Key &key, Bytes *identifierOut);
} // namespace forge

#endif
