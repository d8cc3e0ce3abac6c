// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Certificate requests (PKCS #10) for keys of this machine.
#ifndef PKGSIGN_AUTHORITY_REQUESTS_H
#define PKGSIGN_AUTHORITY_REQUESTS_H

#include <string>

#include "pkgsign/authority/issue.h"

namespace pkgsign
{

struct RequestOrder {
    std::string name; // in the folder
    Role role = Role::Signer;
    NamePtr subject;
    Key key;
    std::string keyUri; // as pki.json keeps it
    UnsavedKey unsaved; // of a new key
};

// Where the request of a name is kept until its certificate comes.
std::string RequestPath(const std::string &folder, const std::string &name);

// Signs a request by the key, remembers it and keeps it in the folder until its certificate is imported. Signed for
// proof of possession only: it is no certificate, so nothing can go wrong with it on a device. In a dry run nothing is
// signed, and the request stays empty. reportOut: what is signed, as text with its digest.
Status MakeRequest(const Workplace &place, const RequestOrder &order, Bytes *requestOut, std::string *reportOut);

// The entry whose request is for this public key, kept in the folder; null: there is none.
const Entry *FindRequest(const std::string &folder, const Pki &pki, const EVP_PKEY *key);

} // namespace pkgsign

#endif
