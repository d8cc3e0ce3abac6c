// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Who issued a certificate or CRL. What was found out is kept in the record, so that no signature is checked twice
// under one key, however often path validation comes by.
#ifndef X509_ISSUER_H
#define X509_ISSUER_H

#include <stdint.h>

#include "asn1/records.h"

// Failures of checks of one record in one operation after which those that are known to fail are answered from memory,
// so that a record which nobody can check does not fill the log. No ordinary store comes near.
inline constexpr uint32_t SIGKIT_ISSUER_ERRORS_MAX = 256;

// Finds out whether a record bears the subject of `issuer` as its issuer name and the key of `issuer` verifies its
// signature: RFC 5280, 6.1.3 (a)(1) and (a)(4) for a certificate, 6.3.3 (g) for a CRL. Not checked: usages, dates.
//
//   record  in/out, keeps the answer for itself and for certificates that are stored, and failures that are not the
//           host's. What the host reports as a signature that does not hold is kept as that, whatever was behind it.
//   issued  out, the answer; false on failure.
//
// Returns SIGKIT_OK, or the code of SigkitX509PubKeyVerify.
//
// Logs: nothing.
[[nodiscard]] uint32_t InternalIsCertIssuedBy(SigkitX509Cert *record, const SigkitX509Cert &issuer, bool *issued);
[[nodiscard]] uint32_t InternalIsCrlIssuedBy(SigkitX509Crl *record, const SigkitX509Cert &issuer, bool *issued);

#endif
