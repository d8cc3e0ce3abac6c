// SignedData (RFC 5652, 5): what a detached signature and a timestamp token have in common.
#ifndef PKGSIGN_SIGNED_DATA_H
#define PKGSIGN_SIGNED_DATA_H

#include "pkgsign/pkgsign.h"

#include <vector>

// Who signs, and how.
struct PkgsignSigner {
    PkgsignBytes certificate;
    PkgsignKey key;
    PkgsignDigest digest = PkgsignDigest::Sha256;
    bool signedAttributes = true;
    std::vector<PkgsignBytes> furtherAttributes; // signed, besides content type and message digest
};

// What has been signed.
struct PkgsignSignedContent {
    PkgsignBytes contentType; // object identifier, encoded
    PkgsignBytes hash;        // of the content, by the signer's digest
};

// The parts of a SignerInfo that exist once the signature has been made.
struct PkgsignSignature {
    PkgsignBytes signedAttributes; // with their tag [0]; empty: none
    PkgsignBytes value;
};

// Attribute ::= SEQUENCE { type, SET OF value }, with one value. identifier: dotted, from our own source.
PkgsignBytes PkgsignEncodeAttribute(const char *identifier, const PkgsignBytes &value);

// Signs the signed attributes, or the content itself when there are to be none.
PkgsignStatus PkgsignSignContent(const PkgsignSigner &signer, const PkgsignSignedContent &content,
                                 PkgsignSignature *signatureOut);

// Encodes a SignerInfo. unsignedAttributes: encoded attributes; empty: none.
PkgsignStatus PkgsignEncodeSignerInfo(const PkgsignSigner &signer, const PkgsignSignature &signature,
                                      const std::vector<PkgsignBytes> &unsignedAttributes, PkgsignBytes *signerInfoOut);

// The parts of a SignedData.
struct PkgsignSignedData {
    int version = 1;          // 1 for plain data, 3 for another content type (RFC 5652, 5.1)
    PkgsignBytes contentType; // object identifier, encoded
    PkgsignBytes content;     // not empty: carried in the message
    PkgsignDigest digest = PkgsignDigest::Sha256;
    std::vector<PkgsignBytes> certificates;
    std::vector<PkgsignBytes> signerInfos;
};

// Encodes a SignedData inside its ContentInfo.
PkgsignBytes PkgsignEncodeSignedData(const PkgsignSignedData &signedData);

#endif
