// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Taking certificates and CRLs into memory.
#ifndef PKGSIGN_AUTHORITY_IMPORT_H
#define PKGSIGN_AUTHORITY_IMPORT_H

#include <string>

#include "pkgsign/authority/issue.h"
#include "pkgsign/files/objects.h"

namespace pkgsign
{

// Remembers what the objects say: certificates under the folder's root (the first root, where it has none), the entries
// and numbers of CRLs. A certificate that was requested here gets the key of its request. reportOut: a line for each
// thing that is new.
Status ImportObjects(const Workplace &place, const Objects &objects, const std::string &source, std::string *reportOut);

} // namespace pkgsign

#endif
