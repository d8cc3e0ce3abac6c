// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Rules that several groups of cases refer to, and the case from which most of them differ.
#ifndef VECTORS_RULES_H
#define VECTORS_RULES_H

#include "vectors/make_vectors_case.h"

namespace vectors
{
inline constexpr char GOOD[] = "signature::good";

inline constexpr Rule STRONG_DIGEST = {"protocol", "algorithms", "Digests are SHA-256, SHA-384 or SHA-512."};
inline constexpr Rule SIGNER_ALGORITHM = {"RFC 5652", "5.3",
                                          "digestAlgorithm and signatureAlgorithm say how the signature was made."};
inline constexpr Rule MESSAGE_DIGEST = {"RFC 5652", "11.2",
                                        "messageDigest is the digest of the content, by the signer's algorithm."};
inline constexpr Rule WHOLE_SIGNATURE = {"RFC 5652", "5.6",
                                         "Signature, digest, certificate and content belong together."};
inline constexpr Rule WHO_SIGNED = {"RFC 5652", "5.3",
                                    "The signature is made with the key of the certificate that sid names."};
inline constexpr Rule ANY_CERTIFICATES = {"RFC 5652", "5.1",
                                          "There may be more or fewer certificates than are needed, in any order."};
inline constexpr Rule TRUST_ANCHOR = {"protocol", "trust anchor",
                                      "A path ends at the one root that is given, and nowhere else."};
inline constexpr Rule SIGNING_KEYS = {"protocol", "roles",
                                      "The keys of the signer and of the authority may make digital signatures."};
} // namespace vectors

#endif
