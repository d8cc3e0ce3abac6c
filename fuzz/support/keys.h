// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Keys that everybody can derive: they follow from texts in the source, so that committed inputs stay signed without
// any private key in a file. They protect nothing.
#ifndef FUZZ_KEYS_H
#define FUZZ_KEYS_H

#include <cstddef>

#include "tests/forge/forge.h"

inline constexpr size_t FUZZ_KEY_COUNT = 8;
inline constexpr size_t FUZZ_NO_KEY = FUZZ_KEY_COUNT;

// Returns an RSA key of 1024 bits with the exponent 65537. index: below FUZZ_KEY_COUNT.
const forge::Key &FuzzKey(size_t index);

// Returns the SubjectPublicKeyInfo of a key.
const forge::Bytes &FuzzPublicKey(size_t index);

// Returns the key with this SubjectPublicKeyInfo, or FUZZ_NO_KEY.
size_t FuzzFindPublicKey(const forge::Bytes &publicKeyInfo);

// Signs octets; remembers what was signed, as mutation leaves most objects as they were.
forge::Bytes FuzzSign(size_t key, forge::Digest digest, const forge::Bytes &data);

// Returns the key that has made a signature, or FUZZ_NO_KEY.
size_t FuzzFindSigner(forge::Digest digest, const forge::Bytes &data, const forge::Bytes &signature);

// Returns the digest of octets.
forge::Bytes FuzzHash(forge::Digest digest, const forge::Bytes &data);

#endif
