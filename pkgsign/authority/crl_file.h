// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The CRL file of devices: one CRL of each CA, with the CA certificates.
#ifndef PKGSIGN_AUTHORITY_CRL_FILE_H
#define PKGSIGN_AUTHORITY_CRL_FILE_H

#include <string>
#include <vector>

#include "pkgsign/authority/crl_sources.h"
#include "pkgsign/authority/device.h"

namespace pkgsign
{

// A CRL and who made it.
struct FileCrl {
    Certificate issuer;
    Crl crl;
    std::string authority; // in the folder; empty: it does not know the issuer
    bool isNew = false;    // to be signed here
    CrlFields fields;      // of a new one
};

// A CRL file as it is going to be: new CRLs bear throwaway signatures until SignCrlFile.
struct CrlFile {
    std::vector<FileCrl> crls; // the root's first
    Setting setting;           // root, octets of the file, stand-ins of those who sign it
    std::vector<std::string> warnings;
    bool isDatedAhead = false; // the last CRL of some key of this folder
};

// Puts a CRL file together: a new CRL of each CA whose key is here and that is not revoked outright; of the others the
// last that the added files, the replaced one and the folder have. Refuses what devices would not take: limits, CRLs
// that they do not trust, a file that is not newer than the replaced one. Refuses as well when a file shows revocations
// or numbers of a CA of this folder that its memory lacks.
Status ComposeCrlFile(const Workplace &place, const CrlFileOrder &order, CrlFile *fileOut);

// Signs the new CRLs of a composed file with the real keys: their numbers are remembered before. The file is judged
// again. fileOut->setting has no stand-ins afterwards.
Status SignCrlFile(const Workplace &place, const CrlFileOrder &order, CrlFile *file);

// What is to be signed: each new CRL as text with its digest.
std::string DescribeNewCrls(const CrlFile &file);

} // namespace pkgsign

#endif
