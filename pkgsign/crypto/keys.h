// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Private keys by URI, and new ones.
#ifndef PKGSIGN_CRYPTO_KEYS_H
#define PKGSIGN_CRYPTO_KEYS_H

#include <string>

#include "pkgsign/crypto/passphrase.h"
#include "pkgsign/crypto/types.h"

namespace pkgsign
{

// Lengths of RSA keys that are made and used, in bits. A device takes up to 4096; less than 2048 is too weak.
inline constexpr int KEY_BITS_MIN = 2048;
inline constexpr int KEY_BITS_MAX = 4096;

// Whether this is a URI: what has a colon before its first slash. Else it is a path.
bool IsUri(const std::string &text);

// Whether this names a key in a token: a URI of RFC 7512.
bool IsTokenUri(const std::string &text);

// Loads a private key.
//
//   uri   a path, or what OSSL_STORE knows ("file:..."); "pkcs11:..." for a token, through libcrypto's pkcs11 provider
//         where one is loaded, else through its engine. A pin-value in it is refused, a pin-source is read.
//   name  by which passphrases are asked for; a passphrase file may be given for it or for the URI.
Status LoadKey(const std::string &uri, const std::string &name, Secrets *secrets, Key *keyOut);

// Loads the key of a token: LoadKey for "pkcs11:".
Status LoadTokenKey(const std::string &uri, const std::string &name, Secrets *secrets, Key *keyOut);

// A copy for a thread: those that sign with one key wait for each other at its blinding. The key itself when it cannot
// leave its holder.
Key CopyKey(const Key &key);

// Loads the first private key that OSSL_STORE finds under a URI.
Status LoadStoreKey(const std::string &uri, const std::string &name, Secrets *secrets, Key *keyOut);

// Makes an RSA key with exponent 65537. bits: KEY_BITS_MIN to KEY_BITS_MAX.
Status GenerateKey(int bits, Key *keyOut);

// Writes a key as PKCS #8 in PEM, for its owner only. A file that is there is not overwritten. passphrase:
// null for a key that is not encrypted.
Status WriteKey(const std::string &path, const Key &key, const Secret *passphrase);

// Refuses what no device takes: keys that are not RSA of KEY_BITS_MIN to KEY_BITS_MAX.
Status CheckKeyKind(const EVP_PKEY *key, const std::string &what);

// Refuses a private key that the certificate is not for.
Status CheckKeyFits(const Key &key, const X509 *certificate, const std::string &what);

// A key that stands in for a real one of the same length while an object is tried. It is made of primes that everybody
// knows where that gives the length, so it is there at once and protects nothing; else it is generated.
Status ThrowawayKey(int bits, Key *keyOut);

} // namespace pkgsign

#endif
