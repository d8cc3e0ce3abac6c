// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Makes signatures true again after a mutation, so that it is judged for what it says and not refused for a broken
// signature.
#ifndef FUZZ_RESIGN_H
#define FUZZ_RESIGN_H

#include "fuzz/support/random.h"
#include "fuzz/support/tlv.h"

// Returns whether an element has the shape of a certificate, or of a CRL.
bool FuzzIsCertificate(const TlvNode &node);
bool FuzzIsCrl(const TlvNode &node);

// Places of members, in the TBSCertificate and in the TBSCertList.
enum { CERT_SERIAL = 1, CERT_ALGORITHM, CERT_ISSUER, CERT_VALIDITY, CERT_SUBJECT, CERT_KEY, CERT_EXTENSIONS };
enum { CRL_ALGORITHM = 1, CRL_ISSUER, CRL_THIS_UPDATE, CRL_NEXT_UPDATE };

// Before the mutation: notes at each certificate and CRL which key has signed it.
void FuzzRememberSigners(TlvForest *forest);

// Signs every certificate and CRL again: under the key that had signed it while it still names the same issuer, else
// under the key of the issuer that it names.
void FuzzResignObjects(TlvForest *forest, FuzzRandom *random);

// Sets the messageDigest of every signer of a message for `content` and signs its attributes; then makes its timestamp
// tokens anew: imprint, messageDigest, signature. Now and then a digest or a signature is left as it is, so that what
// comes behind a good token is tried with bad ones.
//
//   others  in, where else than in the message the signers' certificates may be.
void FuzzResignMessage(TlvForest *message, const TlvForest &others, const forge::Bytes &content, FuzzRandom *random);

#endif
