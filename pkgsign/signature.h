// Signature values: RSA with PKCS #1 v1.5 padding, or ECDSA, as the key is.
#ifndef PKGSIGN_SIGNATURE_H
#define PKGSIGN_SIGNATURE_H

#include "pkgsign/pkgsign.h"

// Signs a hash that `digest` has made.
PkgsignStatus PkgsignSignHash(const PkgsignKey &key, PkgsignDigest digest, const PkgsignBytes &hash,
                              PkgsignBytes *signatureOut);

// Signs octets.
PkgsignStatus PkgsignSignOctets(const PkgsignKey &key, PkgsignDigest digest, const PkgsignBytes &data,
                                PkgsignBytes *signatureOut);

// AlgorithmIdentifier that names digest and key algorithm together, as certificates and CRLs carry it.
PkgsignStatus PkgsignSignatureAlgorithm(const PkgsignKey &key, PkgsignDigest digest, PkgsignBytes *algorithmOut);

// AlgorithmIdentifier of a SignerInfo's signature: rsaEncryption for RSA, whatever the digest (RFC 3370, 3.2).
PkgsignStatus PkgsignSignerAlgorithm(const PkgsignKey &key, PkgsignDigest digest, PkgsignBytes *algorithmOut);

// Makes SEQUENCE { toBeSigned, algorithm, BIT STRING signature }: a signed certificate or CRL.
PkgsignStatus PkgsignSignStructure(const PkgsignKey &key, PkgsignDigest digest, const PkgsignBytes &toBeSigned,
                                   PkgsignBytes *structureOut);

#endif
