// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What the second opinion rests on: certificates and CRLs, found at every offset of what a verifier was given, and the
// signatures under their keys.
#ifndef FUZZ_EVIDENCE_H
#define FUZZ_EVIDENCE_H

#include <vector>

#include "fuzz/support/elements.h"
#include "tests/forge/forge.h"

struct EvidenceKey {
    forge::Bytes modulus;
    forge::Bytes exponent;
};

// Elements point into the octets in which they were found.
struct EvidenceCertificate {
    forge::Bytes encoded;
    forge::Bytes toBeSigned;
    forge::Bytes signature;
    Element serial;
    Element issuer;
    EvidenceKey key;
    bool trusted;
};

struct EvidenceCrl {
    forge::Bytes toBeSigned;
    forge::Bytes signature;
    Element issuer;
    Element nextUpdate;
    std::vector<Element> revoked; // entries
};

// Everything in reach.
struct Evidence {
    std::vector<EvidenceCertificate> certificates;
    std::vector<EvidenceCrl> crls;
};

// Adds every certificate and CRL that begins at some offset of `octets`, which must outlive the evidence.
void EvidenceCollect(const forge::Bytes &octets, Evidence *evidence);

// Adds the trust anchor, which must outlive the evidence too, and marks what is signed by its key, over certificates of
// CAs, as trusted.
void EvidenceTrust(const forge::Bytes &anchor, Evidence *evidence);

// Returns whether a certificate is clearly out of date at a time.
bool EvidenceIsClearlyOutOfDate(const EvidenceCertificate &certificate, const Element &time);

// Returns whether a signature over `data` holds under a key, with one digest or with any.
bool EvidenceVerifies(const EvidenceKey &key, forge::Digest digest, const forge::Bytes &data,
                      const forge::Bytes &signature);
bool EvidenceVerifiesByAny(const EvidenceKey &key, const forge::Bytes &data, const forge::Bytes &signature);

// Reads the digest that an AlgorithmIdentifier names, alone or with RSA.
bool EvidenceReadDigest(const Element &algorithm, forge::Digest *out);

#endif
