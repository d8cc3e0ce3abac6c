// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Detached CMS signatures (RFC 5652) of one signer, with signed attributes.
#ifndef PKGSIGN_CRYPTO_MESSAGE_H
#define PKGSIGN_CRYPTO_MESSAGE_H

#include <string>
#include <vector>

#include "pkgsign/crypto/digest.h"
#include "pkgsign/crypto/signature.h"
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

// The signed attributes (RFC 5652, 11) as they are signed: the DER encoding of the SET OF them (5.4).
Status EncodeAttributes(const MessageFields &fields, Bytes *derOut);

// Reads what EncodeAttributes has made, and refuses all else: digest, contentDigest and signingTime are filled in.
// source: for the reason.
Status DecodeAttributes(const Bytes &der, const std::string &source, MessageFields *fields);

// Such an encoding as text, a line for each attribute, and the SHA-256 digest of its octets.
std::string DescribeAttributes(const Bytes &der);

// Makes a message over content that is known by its digest. signature: the raw one over its attributes.
Status MakeMessage(const MessageFields &fields, const Bytes &signature, Bytes *messageOut);

// The same, with the signature that `sign` gives.
Status SignMessage(const MessageFields &fields, const SignOctets &sign, Bytes *messageOut);

// Reads a message of one signer. source: for the reason.
Status DecodeMessage(const Bytes &der, const std::string &source, CmsPtr *messageOut);

// The signer's signature value: what a timestamp token is made over.
Status SignatureValue(const Bytes &message, Bytes *signatureOut);

// The issuer of the signer's certificate, by which the message names it.
Status SignerIssuer(const Bytes &message, NamePtr *issuerOut);

// The certificates that a message carries.
Status CarriedCertificates(const Bytes &message, std::vector<Certificate> *certificatesOut);

// The token of a message; empty when it has none.
Status FindToken(const Bytes &message, Bytes *tokenOut);

// The digest of the content that a message states.
Status StatedDigest(const Bytes &message, Bytes *digestOut);

// Puts a token into a message, in the place of one that is there.
Status AddToken(const Bytes &message, const Bytes &token, Bytes *messageOut);

} // namespace pkgsign

#endif
