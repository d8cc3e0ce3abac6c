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
inline constexpr Rule SIGNER_KEY_USAGE = {"RFC 5280", "4.2.1.3", "The key of a signer may make digital signatures."};
} // namespace vectors

#endif
