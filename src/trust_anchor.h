// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The one certificate that the tool trusts, as DER in two pieces. The pieces are made at build time from the deployer's
// file; the second one lies inside the certificate's signature value.
#ifndef SRC_TRUST_ANCHOR_H
#define SRC_TRUST_ANCHOR_H

#include <stdint.h>

inline constexpr uint32_t ROOT_CERT_FIRST_SIZE = 1232;
inline constexpr uint32_t ROOT_CERT_SECOND_SIZE = 131;
inline constexpr uint32_t ROOT_CERT_SIZE = ROOT_CERT_FIRST_SIZE + ROOT_CERT_SECOND_SIZE;

// Deliberate: the first piece lies among the data that may be written, apart from the second, so that the certificate
// stands nowhere in the file as one run of octets.
extern uint8_t g_rootCert0[ROOT_CERT_FIRST_SIZE];
extern const uint8_t g_rootCert1[ROOT_CERT_SECOND_SIZE];

#endif
