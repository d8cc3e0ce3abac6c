// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// How the programs start libcrypto. The header is C as well.
#ifndef SRC_LIBCRYPTO_START_H
#define SRC_LIBCRYPTO_START_H

#ifdef __cplusplus
extern "C" {
#endif

// Starts libcrypto with no more than digests and RSA need, and above all without its configuration file. Call it before
// anything else asks libcrypto for something: then it starts by itself, with everything.
//
// Returns 1, or 0 when libcrypto could not be started.
int StartLibcrypto(void);

#ifdef __cplusplus
}
#endif

#endif
