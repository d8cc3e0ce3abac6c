// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// How a host starts libcrypto.
#ifndef HOST_LIBCRYPTO_H
#define HOST_LIBCRYPTO_H

// Starts libcrypto without its configuration file, which the environment can name and which can load modules into the
// process. Call it first: libcrypto starts by itself with the first thing that it is asked for, and then reads the
// file.
void HostStartLibcrypto(void);

#endif
