// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Passphrases of key files and PINs of tokens. Never on a command line, where every user of the machine can read them.
#ifndef PKGSIGN_CRYPTO_PASSPHRASE_H
#define PKGSIGN_CRYPTO_PASSPHRASE_H

#include <map>
#include <string>

#include "pkgsign/crypto/secret.h"
#include "pkgsign/status.h"

namespace pkgsign
{

// Where passphrases come from, in this order: the key's own file, the file for all keys, a descriptor, the terminal.
struct Secrets {
    std::map<std::string, std::string> files; // by the key's name in the PKI folder or its URI
    std::string file;
    int descriptor = -1;
    bool mayPrompt = true;

    Secret known; // what a descriptor or a prompt has yielded: one passphrase for a folder
    bool isKnown = false;
};

// Whether there is a source for the passphrase of a key: a file, a descriptor, or a terminal to ask on.
bool HasSource(const Secrets &secrets, const std::string &keyName);

// Yields the passphrase for a key: the first line of its source. confirm: asked twice on a terminal, as for a new key.
// While the terminal waits, a signal that would end the process makes this fail instead, with the echo back on.
Status GetPassphrase(Secrets *secrets, const std::string &keyName, bool confirm, Secret *passphraseOut);

// The first line of a file, without its line end. What stands behind it is not read.
Status ReadSecretFile(const std::string &path, Secret *secretOut);

} // namespace pkgsign

#endif
