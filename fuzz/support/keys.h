// Keys that everybody can derive: they follow from texts in the source, so that committed inputs stay signed without any
// private key in a file. They protect nothing.
#ifndef FUZZ_KEYS_H
#define FUZZ_KEYS_H

#include <cstddef>

#include "pkgsign/pkgsign.h"

inline constexpr size_t FUZZ_KEY_COUNT = 8;
inline constexpr size_t FUZZ_NO_KEY = FUZZ_KEY_COUNT;

// Returns an RSA key of 1024 bits with the exponent 65537. index: below FUZZ_KEY_COUNT.
const PkgsignKey &FuzzKey(size_t index);

// Returns the SubjectPublicKeyInfo of a key.
const PkgsignBytes &FuzzPublicKey(size_t index);

// Returns the key with this SubjectPublicKeyInfo, or FUZZ_NO_KEY.
size_t FuzzFindPublicKey(const PkgsignBytes &publicKeyInfo);

// Signs octets; remembers what was signed, as mutation leaves most objects as they were.
PkgsignBytes FuzzSign(size_t key, PkgsignDigest digest, const PkgsignBytes &data);

// Returns the key that has made a signature, or FUZZ_NO_KEY.
size_t FuzzFindSigner(PkgsignDigest digest, const PkgsignBytes &data, const PkgsignBytes &signature);

// Returns the digest of octets.
PkgsignBytes FuzzHash(PkgsignDigest digest, const PkgsignBytes &data);

#endif
