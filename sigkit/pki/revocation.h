// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The revocation test of one certificate against one CRL.
#ifndef PKI_REVOCATION_H
#define PKI_REVOCATION_H

#include <stdint.h>

#include "asn1/records.h"

// Returns whether a CRL lists a serial number.
[[nodiscard]] bool InternalCrlListsSerial(const SigkitX509Crl &crl, const SigkitAsnOcts &serialNumber);

// Checks a certificate against the entries of a CRL at `verifyTime`. The name is part of the log: the CRL itself is
// taken as proved. For a CA, and where `strictRevocation` is 1, an entry revokes whatever its date unless its reason is
// affiliationChanged, superseded or cessationOfOperation; in every other case it revokes from its revocationDate on.
//
// Returns SIGKIT_OK, SIGKIT_ERR_CERT_REVOKED or SIGKIT_ERR_TIME_FORMAT.
//
// Logs: SIGKIT_ERR_CERT_REVOKED.
[[nodiscard]] uint32_t InternalCheckCrlOfCert(const SigkitX509Cert &cert, const SigkitX509Crl &crl, int64_t verifyTime,
                                              uint32_t strictRevocation);

#endif
