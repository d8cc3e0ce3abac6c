// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// A CRL file and what it says.
#ifndef CRLTOOL_CRL_FILE_H
#define CRLTOOL_CRL_FILE_H

#include <stdint.h>

#include "sigkit/sigkit.h"

struct LoadedCrlFile {
    const char *path = nullptr;     // borrowed
    SigkitVerifyCtx *ctx = nullptr; // owned; of this file alone, so that no file's certificates vouch for the other's
    SigkitCrlBundle *bundle = nullptr; // owned
    // What the file brought into the context.
    uint32_t firstCert = 0;   // place in the store of its first certificate
    uint32_t certs = 0;       // certificates; those that are self-signed, or there already, are left out
    uint32_t images = 0;      // DER images: one of a file in DER, one for each block of one in PEM
    uint32_t decodedCrls = 0; // slots of `bundle` in use, those included that are null for want of a summary
    uint32_t skippedCrls = 0; // "X509 CRL" blocks that do not decode, or for which there was no space

    LoadedCrlFile() = default;
    LoadedCrlFile(const LoadedCrlFile &) = delete;
    LoadedCrlFile &operator=(const LoadedCrlFile &) = delete;
    ~LoadedCrlFile();
};

// Loads the trust anchor from `rootPath` and the CRLs from `path`, which must outlive the record. Returns SIGKIT_OK, or
// the code of the first failure with `failedPath` set to the file that it is about.
uint32_t LoadCrlFile(const char *rootPath, const char *path, LoadedCrlFile *file, const char **failedPath);

#endif
