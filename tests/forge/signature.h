// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Signature values: RSA with PKCS #1 v1.5 padding, or ECDSA, as the key is.
#ifndef TESTS_FORGE_SIGNATURE_H
#define TESTS_FORGE_SIGNATURE_H

#include "tests/forge/forge.h"

namespace forge
{
// Signs a hash that `digest` has made.
Status SignHash(const Key &key, Digest digest, const Bytes &hash, Bytes *signatureOut);

// Signs octets.
Status SignOctets(const Key &key, Digest digest, const Bytes &data, Bytes *signatureOut);

// AlgorithmIdentifier that names digest and key algorithm together, as certificates and CRLs carry it.
Status SignatureAlgorithm(const Key &key, Digest digest, Bytes *algorithmOut);

// AlgorithmIdentifier of a SignerInfo's signature: rsaEncryption for RSA, whatever the digest (RFC 3370, 3.2).
Status SignerAlgorithm(const Key &key, Digest digest, Bytes *algorithmOut);

// Makes SEQUENCE { toBeSigned, algorithm, BIT STRING signature }: a signed certificate or CRL.
Status SignStructure(const Key &key, Digest digest, const Bytes &toBeSigned, Bytes *structureOut);
} // namespace forge

#endif
