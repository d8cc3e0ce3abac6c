// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// A package in the making, and what signing and timestamping one share.
#ifndef PKGSIGN_AUTHORITY_PACKAGE_H
#define PKGSIGN_AUTHORITY_PACKAGE_H

#include "pkgsign/authority/horizon.h"
#include "pkgsign/authority/party.h"

namespace pkgsign
{

struct Package {
    Pki pki;
    Party signer;
    Party timestamp; // of the folder
    Certificate root;
    std::vector<Certificate> authorities; // CAs above signer and timestamp, the root among them
    Setting setting;
    Horizon horizon; // of new packages
    Bytes contentDigest;
    Bytes content; // when it is short
    bool isWhole = false;
};

Key PublicKeyOf(const Certificate &certificate);

// The certificates that a message or token of this party brings: at most two, so that devices have space; not a root,
// which they have.
std::vector<Certificate> Carried(const Party &party);

// Puts a token of `party`, signed with `key`, into the message `bare`. time: the token's.
Status StampWith(const Party &party, int64_t time, const EVP_MD *digest, const Key &key, const Bytes &bare,
                 Bytes *messageOut);

// Puts in a throwaway token, issued below `ca`, in the place of one that is not at hand; `setting` learns to trust it.
Status StampMadeUp(const Certificate &ca, int64_t time, const EVP_MD *digest, const Bytes &bare, Setting *setting,
                   Bytes *messageOut);

// Whether a device in this setting accepts the package with this message; else the reason.
Status JudgePackage(const Setting &setting, const Package &package, const Bytes &message);

} // namespace pkgsign

#endif
