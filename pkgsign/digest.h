// Message digests, by PkgsignDigest.
#ifndef PKGSIGN_DIGEST_H
#define PKGSIGN_DIGEST_H

#include "pkgsign/pkgsign.h"

#include <openssl/evp.h>

#include <string>

// libcrypto's digest.
const EVP_MD *PkgsignDigestMethod(PkgsignDigest digest);

// AlgorithmIdentifier of the digest, without parameters (RFC 5754, 2).
PkgsignBytes PkgsignDigestAlgorithm(PkgsignDigest digest);

PkgsignStatus PkgsignHash(PkgsignDigest digest, const PkgsignBytes &data, PkgsignBytes *hashOut);

// Digests a file, read in pieces.
PkgsignStatus PkgsignHashFile(PkgsignDigest digest, const std::string &path, PkgsignBytes *hashOut);

#endif
