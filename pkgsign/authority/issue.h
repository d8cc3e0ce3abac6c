// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Issuing certificates into a PKI folder.
#ifndef PKGSIGN_AUTHORITY_ISSUE_H
#define PKGSIGN_AUTHORITY_ISSUE_H

#include <string>

#include "pkgsign/authority/certificates.h"
#include "pkgsign/authority/folder.h"

namespace pkgsign
{

// Where and how an operation on a folder works.
struct Workplace {
    std::string folder;
    Secrets *secrets = nullptr;
    int64_t now = 0;
    bool dryRun = false; // try everything, print what would be signed, sign and write nothing
};

// A new key that is not in its file yet: it is written when all has been tried.
struct UnsavedKey {
    std::string path; // empty: there is none
    bool isEncrypted = false;
    Secret passphrase;
};

struct IssueOrder {
    std::string name;         // in the folder
    CertificateFields fields; // `serial` and `issuer` are filled in here
    std::string issuer;       // name of the CA's certificate in the folder; empty: a root
    std::string keyUri;       // as pki.json keeps it; empty: the key is not here
    Key privateKey;           // of a root: signs
    UnsavedKey unsaved;       // of fields.publicKey
};

// Issues a certificate: tried before the device's library with a throwaway key, then remembered, signed and kept.
// reportOut: what is signed, as text, and its digest; the same for a dry run and the run that follows with the same
// fields.
Status IssueCertificate(const Workplace &place, IssueOrder *order, Certificate *certificateOut, std::string *reportOut);

// Whether the CA of a certificate is revoked, as far as this folder knows.
bool IsCaRevoked(const Pki &pki, const Entry &entry);

// The certificate of a role to work with: issued, with a key here, neither revoked nor its CA, in its lifetime at
// `now`, and of several the one that ends last. name: not empty asks for this one, and says why it will not do.
// needsKey: false where the key may be elsewhere.
Status ChooseCertificate(const Pki &pki, Role role, const std::string &name, int64_t now, const Entry **entryOut,
                         bool needsKey = true);

// The root of a folder.
Status FindRoot(const Pki &pki, const Entry **rootOut);

// Makes a key for a file of the folder: encrypted unless `encrypt` is false. uriOut: as pki.json keeps it.
Status MakeNewKey(const Workplace &place, const std::string &name, int bits, bool encrypt, Key *keyOut,
                  std::string *uriOut, UnsavedKey *unsavedOut);

// Writes it.
Status SaveNewKey(const UnsavedKey &unsaved, const Key &key);

} // namespace pkgsign

#endif
