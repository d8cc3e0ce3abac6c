// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// A program of the user's that has the signer's key: any key service without code of ours.
#ifndef PKGSIGN_CRYPTO_SIGNING_PROGRAM_H
#define PKGSIGN_CRYPTO_SIGNING_PROGRAM_H

#include <string>
#include <vector>

#include "pkgsign/crypto/types.h"

namespace pkgsign
{

struct SigningProgram {
    std::vector<std::string> words;      // the program, found by PATH, and its arguments
    const EVP_MD *digest = EVP_sha256(); // PKGSIGN_DIGEST in its environment has the name
    int64_t secondsMax = 60;             // after these it is ended
};

// Splits a command into words, without a shell: blanks part them; '...' and "..." hold blanks; a backslash outside
// '...' takes the next character as it is. Nothing is expanded.
Status SplitCommand(const std::string &text, std::vector<std::string> *wordsOut);

// Runs the program: the raw digest of the octets on its standard input, a raw signature (RFC 8017, 8.2.1) on its
// standard output. Its standard error is this process's. The signature is not checked here.
Status RunSigningProgram(const SigningProgram &program, const Bytes &octets, Bytes *signatureOut);

} // namespace pkgsign

#endif
