// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/forge/signature.h"
#include "tests/forge/der.h"
#include "tests/forge/digest.h"
#include "tests/forge/keys.h"
#include "tests/forge/status.h"

#include <openssl/evp.h>

namespace forge
{
namespace
{
// In the order of Digest.
constexpr const char *RSA_IDENTIFIERS[] = {"1.2.840.113549.1.1.5", "1.2.840.113549.1.1.11", "1.2.840.113549.1.1.12",
                                           "1.2.840.113549.1.1.13"};
constexpr const char *ECDSA_IDENTIFIERS[] = {"1.2.840.10045.4.1", "1.2.840.10045.4.3.2", "1.2.840.10045.4.3.3",
                                             "1.2.840.10045.4.3.4"};

Bytes RsaAlgorithm(const char *identifier)
{
    return DerSequence({DerKnownIdentifier(identifier), DerNull()}); // RFC 4055, 5: NULL stays
}

} // namespace

Status SignHash(const Key &key, Digest digest, const Bytes &hash, Bytes *signatureOut)
{
    if (key == nullptr) {
        return Fail("no key to sign with");
    }
    const KeyContext context(EVP_PKEY_CTX_new(key.get(), nullptr), EVP_PKEY_CTX_free);
    size_t size = 0;
    if (context == nullptr || EVP_PKEY_sign_init(context.get()) <= 0 ||
        EVP_PKEY_CTX_set_signature_md(context.get(), DigestMethod(digest)) <= 0 ||
        EVP_PKEY_sign(context.get(), nullptr, &size, hash.data(), hash.size()) <= 0) {
        return FailCrypto("cannot sign");
    }
    Bytes signature(size);
    if (EVP_PKEY_sign(context.get(), signature.data(), &size, hash.data(), hash.size()) <= 0) {
        return FailCrypto("cannot sign");
    }
    signature.resize(size);
    *signatureOut = std::move(signature);
    return Ok();
}

Status SignOctets(const Key &key, Digest digest, const Bytes &data, Bytes *signatureOut)
{
    Bytes hash;
    const Status status = Hash(digest, data, &hash);
    return status.ok ? SignHash(key, digest, hash, signatureOut) : status;
}

Status SignatureAlgorithm(const Key &key, Digest digest, Bytes *algorithmOut)
{
    switch (key == nullptr ? EVP_PKEY_NONE : EVP_PKEY_base_id(key.get())) {
    case EVP_PKEY_RSA:
        *algorithmOut = RsaAlgorithm(RSA_IDENTIFIERS[static_cast<size_t>(digest)]);
        return Ok();
    case EVP_PKEY_EC:
        *algorithmOut = DerSequence({DerKnownIdentifier(ECDSA_IDENTIFIERS[static_cast<size_t>(digest)])});
        return Ok();
    default:
        return Fail("the signing key is neither RSA nor elliptic curve");
    }
}

Status SignerAlgorithm(const Key &key, Digest digest, Bytes *algorithmOut)
{
    if (key != nullptr && EVP_PKEY_base_id(key.get()) == EVP_PKEY_RSA) {
        *algorithmOut = RsaAlgorithm("1.2.840.113549.1.1.1");
        return Ok();
    }
    return SignatureAlgorithm(key, digest, algorithmOut);
}

Status SignStructure(const Key &key, Digest digest, const Bytes &toBeSigned, Bytes *structureOut)
{
    Bytes algorithm;
    Bytes signature;
    Status status = SignatureAlgorithm(key, digest, &algorithm);
    if (status.ok) {
        status = SignOctets(key, digest, toBeSigned, &signature);
    }
    if (status.ok) {
        *structureOut = DerSequence({toBeSigned, algorithm, DerBitString(signature)});
    }
    return status;
}
} // namespace forge
