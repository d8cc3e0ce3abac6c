// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/crypto/signature.h"

#include <openssl/err.h>

namespace pkgsign
{

SignOctets SignWithKey(const Key &key, const EVP_MD *digest)
{
    return [key, digest](const Bytes &octets, Bytes *signatureOut) {
        const MdCtxPtr ctx(EVP_MD_CTX_new());
        size_t size = static_cast<size_t>(EVP_PKEY_size(key.get()));
        Bytes signature(size);
        if (ctx == nullptr || EVP_DigestSignInit(ctx.get(), nullptr, digest, nullptr, key.get()) != 1 ||
            EVP_DigestSign(ctx.get(), signature.data(), &size, octets.data(), octets.size()) != 1) {
            return FailCrypto("cannot sign");
        }
        signature.resize(size);
        *signatureOut = std::move(signature);
        return Status();
    };
}

Status CheckSignature(const X509 *certificate, const EVP_MD *digest, const Bytes &octets, const Bytes &signature,
                      const std::string &what)
{
    EVP_PKEY *const key = X509_get0_pubkey(certificate);
    const size_t size = key == nullptr ? 0 : static_cast<size_t>(EVP_PKEY_size(key));
    const MdCtxPtr ctx(EVP_MD_CTX_new());
    if (signature.size() != size) {
        return Fail(what + " has " + std::to_string(signature.size()) + " octets; a raw signature of this key has " +
                    std::to_string(size));
    }
    if (ctx == nullptr || EVP_DigestVerifyInit(ctx.get(), nullptr, digest, nullptr, key) != 1) {
        return FailCrypto("cannot check " + what);
    }
    const int verified = EVP_DigestVerify(ctx.get(), signature.data(), signature.size(), octets.data(), octets.size());
    ERR_clear_error();
    return verified == 1 ? Status()
                         : Fail(what + " is no PKCS #1 v1.5 signature by the signer's key over what was asked for");
}

} // namespace pkgsign
