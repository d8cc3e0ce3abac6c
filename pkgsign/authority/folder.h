// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The PKI folder: an authority's memory on disk.
//
//   pki.json               what is known (pki.h)
//   certificates/NAME.pem  certificates; root.der beside root.pem
//   private/NAME.key       keys that are kept in files
//   crls/AUTHORITY.crl     the last CRL of each CA (DER)
#ifndef PKGSIGN_AUTHORITY_FOLDER_H
#define PKGSIGN_AUTHORITY_FOLDER_H

#include <functional>
#include <string>

#include "pkgsign/authority/pki.h"
#include "pkgsign/crypto/keys.h"
#include "pkgsign/crypto/types.h"

namespace pkgsign
{

// Reads pki.json. Waits for a process that is writing it.
Status LoadPki(const std::string &folder, Pki *pkiOut);

// Reads pki.json, lets `change` change it, and writes it as a whole, all of it under the lock of the folder. Nothing is
// written when `change` fails. after (may be null): what was written.
Status UpdatePki(const std::string &folder, const std::function<Status(Pki *)> &change, Pki *after = nullptr);

// Makes pki.json and the directories in the directory of a new folder. Fails where there is a PKI already.
Status CreatePki(const std::string &folder, const Pki &pki);

std::string CertificatePath(const std::string &folder, const std::string &name);
std::string KeyPath(const std::string &name); // relative to the folder
std::string CrlPath(const std::string &folder, const std::string &authority);

// The certificate of an entry that is issued.
Status LoadCertificate(const std::string &folder, const Entry &entry, Certificate *certificateOut);

// Writes certificates/NAME.pem and, for the root, root.der.
Status SaveCertificate(const std::string &folder, const Entry &entry, const X509 *certificate);

// Loads the key of an entry, and refuses one that its certificate (null: there is none yet) is not for.
Status LoadEntryKey(const std::string &folder, const Entry &entry, const X509 *certificate, Secrets *secrets,
                    Key *keyOut);

} // namespace pkgsign

#endif
