// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Who signs a package and who stamps it: certificates and keys of a PKI folder, or of files.
#ifndef PKGSIGN_AUTHORITY_PARTY_H
#define PKGSIGN_AUTHORITY_PARTY_H

#include <string>
#include <vector>

#include "pkgsign/authority/device.h"
#include "pkgsign/authority/issue.h"

namespace pkgsign
{

struct Party {
    Entry entry; // of a certificate in a file: the path as its name, and its subject
    Certificate certificate;
    Certificate ca;
    Key key; // null: it is not needed here
};

Status LoadRoot(const Workplace &place, const Pki &pki, Certificate *rootOut);

// A party of the folder. name: empty to choose. needsKey: false where the key may be elsewhere, and is not loaded.
Status LoadParty(const Workplace &place, const Pki &pki, Role role, const std::string &name, int64_t time,
                 Party *partyOut, bool needsKey = true);

// The CRL file that devices have, or one made up from what the folder has revoked, as of `time`.
Status ChooseCrls(const Workplace &place, const Pki &pki, const std::string &path, int64_t time, Setting *setting);

// A signer whose certificate is a file.
struct PartyFiles {
    std::string certificate;
    std::string key;   // URI; empty: the key is elsewhere
    std::string root;  // what devices have built in
    std::string chain; // CA certificates; empty: the root or the CRL file has them
    std::string crls;  // the CRL file of devices; empty: none
};

// authoritiesOut: the CA certificates above the signer's, the root last.
Status LoadPartyFiles(const PartyFiles &files, Secrets *secrets, Party *partyOut,
                      std::vector<Certificate> *authoritiesOut);

} // namespace pkgsign

#endif
