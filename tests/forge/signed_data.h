// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// SignedData (RFC 5652, 5): what a detached signature and a timestamp token have in common.
#ifndef TESTS_FORGE_SIGNED_DATA_H
#define TESTS_FORGE_SIGNED_DATA_H

#include "tests/forge/forge.h"

#include <vector>

namespace forge
{
// Who signs, and how.
struct Signer {
    Bytes certificate;
    Key key;
    Digest digest = Digest::Sha256;
    bool signedAttributes = true;
    std::vector<Bytes> furtherAttributes; // signed, besides content type and message digest
};

// What has been signed.
struct SignedContent {
    Bytes contentType; // object identifier, encoded
    Bytes hash;        // of the content, by the signer's digest
};

// The parts of a SignerInfo that exist once the signature has been made.
struct Signature {
    Bytes signedAttributes; // with their tag [0]; empty: none
    Bytes value;
};

// Attribute ::= SEQUENCE { type, SET OF value }, with one value. identifier: dotted, from our own source.
Bytes EncodeAttribute(const char *identifier, const Bytes &value);

// Signs the signed attributes, or the content itself when there are to be none.
Status SignContent(const Signer &signer, const SignedContent &content, Signature *signatureOut);

// Encodes a SignerInfo. unsignedAttributes: encoded attributes; empty: none.
Status EncodeSignerInfo(const Signer &signer, const Signature &signature, const std::vector<Bytes> &unsignedAttributes,
                        Bytes *signerInfoOut);

// The parts of a SignedData.
struct SignedData {
    int version = 1;   // 1 for plain data, 3 for another content type (RFC 5652, 5.1)
    Bytes contentType; // object identifier, encoded
    Bytes content;     // not empty: carried in the message
    Digest digest = Digest::Sha256;
    std::vector<Bytes> certificates;
    std::vector<Bytes> signerInfos;
};

// Encodes a SignedData inside its ContentInfo.
Bytes EncodeSignedData(const SignedData &signedData);
} // namespace forge

#endif
