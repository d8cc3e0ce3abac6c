// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What several commands do alike.
#ifndef PKGSIGN_COMMANDS_SHARED_H
#define PKGSIGN_COMMANDS_SHARED_H

#include <string>

#include "pkgsign/authority/issue.h"

namespace pkgsign
{

// Where a new certificate's key comes from.
struct KeyOptions {
    std::string uri;           // empty: a new key in the folder
    std::string bits = "3072"; // of a new one
    bool noEncryption = false;
};

// A folder that is being made beside its place: it appears there whole, or not at all.
struct Staging {
    std::string path;
    bool isKept = false;

    Staging() = default;
    Staging(const Staging &) = delete;
    Staging &operator=(const Staging &) = delete;
    ~Staging();
};

// The key that is asked for: the one given, or a new one, which is not in its file yet. uriOut: as pki.json keeps it, a
// path within the folder relative to it.
Status GetKey(const Workplace &place, const KeyOptions &options, const std::string &name, Key *keyOut,
              std::string *uriOut, UnsavedKey *unsavedOut);

// Reads the value of --horizon: days, or a span with its unit. Empty: nothing is written.
Status ReadHorizon(const std::string &text, int64_t *secondsOut);

// The name of a new certificate: the one asked for, or a free one after its role.
Status ChooseName(const Workplace &place, const Pki &pki, const std::string &asked, Role role, std::string *nameOut);

// What certificates of a role are like by default.
struct RoleNames {
    Role role;
    const char *commonName;
    int64_t Lifetimes::*lifetime;
};
const RoleNames &NamesOf(Role role); // not for the root

// A certificate of the folder by its name there, or by a file that holds it.
Status FindCertificate(const Workplace &place, const Pki &pki, const std::string &nameOrFile, const Entry **entryOut);

} // namespace pkgsign

#endif
