// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// A second opinion about an acceptance: the same octets judged over libcrypto by other code, which shares nothing with
// the library but the standards of the formats.
//
// It asks for what must be true of every authentic message, whatever the library is lenient about:
//   - some certificate in reach is signed, over certificates of CAs, by the key of the trust anchor;
//   - its key has signed attributes with the digest of the content, or the content itself;
//   - a TSTInfo beside that signature bears the digest of the signature;
//   - the certificate is valid at that TSTInfo's time and may sign code;
//   - a CRL that is signed by a certificate below the trust anchor speaks about its issuer, or is indirect, and does
//     not revoke it at that time.
// Structures are looked for at every offset, so that nothing depends on how the library finds its way to them.
#ifndef FUZZ_ORACLE_H
#define FUZZ_ORACLE_H

#include <vector>

#include "tests/forge/forge.h"

// Fails when the message is no proof that the content is authentic.
//
//   anchor   in, the certificate that is trusted.
//   files    in, CRL files and messages, DER or PEM, in which certificates and CRLs may be.
//   message  in, the signature message, DER or PEM.
void FuzzRequireAuthentic(const forge::Bytes &anchor, const std::vector<forge::Bytes> &files,
                          const forge::Bytes &message, const forge::Bytes &content);

// Returns whether a message has a signer. One without is accepted by design, and settled by the first piece of content:
// only a file without any content stays accepted.
bool FuzzHasSigner(const forge::Bytes &message);

#endif
