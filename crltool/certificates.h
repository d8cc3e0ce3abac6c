// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Which of the certificates in a CRL file the root stands behind.
#ifndef CRLTOOL_CERTIFICATES_H
#define CRLTOOL_CERTIFICATES_H

#include <stdint.h>

#include "asn1/records.h"
#include "crltool/crl_file.h"

// Finds a certificate of the file that somebody may have slipped in. With the name and the key of a CA it would stand
// for that CA in every verification, wherever it was found first, and no package would be accepted any more.
//
// A certificate is none when the trust anchor has issued it; when its path is valid at the thisUpdate of a CRL that it
// has signed, as that of a CA which ended after its last CRL; or when it is valid at the newest thisUpdate of the file.
// What the trust anchor has issued nobody else can make, so there revocations and dates do not matter: a file may still
// hold a CA that its own CRLs revoke.
//
//   file    in, loaded; the time of judgement of its context is left anywhere.
//   status  out, what its path ends with. Not written when there is none.
//
// Returns the first such certificate, the context's, or null.
const SigkitX509Cert *FindStrayCert(const LoadedCrlFile &file, uint32_t *status);

#endif
