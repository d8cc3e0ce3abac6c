// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// RSA keys for tests. Generating them is slow, so the build makes a set of them once.
#ifndef SUPPORT_RSA_KEYS_H
#define SUPPORT_RSA_KEYS_H

#include <memory>
#include <string>

struct evp_pkey_st; // libcrypto's EVP_PKEY

using RsaKey = std::shared_ptr<evp_pkey_st>;

// Generates a key with the public exponent 65537. Null when libcrypto fails.
RsaKey GenerateTestKey(int bits);

// The path of the n-th key of its length in a set, from 0.
std::string TestKeyPath(const std::string &directory, int bits, unsigned n);

// A key that this process has not been given before: the next one of the build's set, or, when there is none left, one
// that is generated. Ends the process when that fails.
RsaKey NextRsaKey(int bits);

#endif
