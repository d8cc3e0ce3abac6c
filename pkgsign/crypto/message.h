// Detached CMS signatures (RFC 5652) of one signer, with signed attributes.
#ifndef PKGSIGN_CRYPTO_MESSAGE_H
#define PKGSIGN_CRYPTO_MESSAGE_H

#include <string>
#include <vector>

#include "pkgsign/crypto/types.h"

namespace pkgsign
{

struct MessageFields {
    Certificate signer;
    std::vector<Certificate> certificates; // carried along
    const EVP_MD *digest = EVP_sha256();
    Bytes contentDigest; // of the content, by `digest`
    int64_t signingTime = 0;
};

// Makes a message over content that is known by its digest. key: the signer's, or a throwaway one in its place.
Status MakeMessage(const MessageFields &fields, const Key &key, Bytes *messageOut);

// Reads a message of one signer. source: for the reason.
Status DecodeMessage(const Bytes &der, const std::string &source, CmsPtr *messageOut);

// The signer's signature value: what a timestamp token is made over.
Status SignatureValue(const Bytes &message, Bytes *signatureOut);

// The digest of the content that a message states.
Status StatedDigest(const Bytes &message, Bytes *digestOut);

// Puts a token into a message, in the place of one that is there.
Status AddToken(const Bytes &message, const Bytes &token, Bytes *messageOut);

// "sha256", "sha384" or "sha512": those that devices take.
Status FindDigest(const std::string &name, const EVP_MD **digestOut);

// The certificate with another public key: what libcrypto wants beside a throwaway key.
Status CertificateForKey(const Certificate &certificate, const Key &key, Certificate *out);

} // namespace pkgsign

#endif
