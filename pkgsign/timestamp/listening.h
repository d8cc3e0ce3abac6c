// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The socket at which a timestamp server listens.
#ifndef PKGSIGN_TIMESTAMP_LISTENING_H
#define PKGSIGN_TIMESTAMP_LISTENING_H

#include <string>

#include "pkgsign/crypto/types.h"

namespace pkgsign
{

// Opens a socket that listens at the first address of `host` that this machine has; the caller closes it.
Status OpenListeningSocket(const std::string &host, const std::string &port, int *socketOut);

// Writes the address, with the port that the system has chosen where none was asked for, to standard output.
Status AnnounceAddress(int socket);

} // namespace pkgsign

#endif
