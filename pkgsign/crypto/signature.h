// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Raw signatures: RSASSA-PKCS1-v1_5 (RFC 8017, 8.2), as many octets as the key's modulus.
#ifndef PKGSIGN_CRYPTO_SIGNATURE_H
#define PKGSIGN_CRYPTO_SIGNATURE_H

#include <functional>
#include <string>

#include "pkgsign/crypto/types.h"

namespace pkgsign
{

// Whoever has a key: gives its raw signature over octets. The key may be in this process, in a program or on a machine
// without a network.
using SignOctets = std::function<Status(const Bytes &octets, Bytes *signatureOut)>;

// A key that is loaded. digest: lives as long as what is returned, as all of libcrypto's own do.
SignOctets SignWithKey(const Key &key, const EVP_MD *digest);

// Refuses what is no signature over the octets by the key of a certificate. what: the signature, for the reason.
Status CheckSignature(const X509 *certificate, const EVP_MD *digest, const Bytes &octets, const Bytes &signature,
                      const std::string &what);

} // namespace pkgsign

#endif
