// A CRL file and what it says.
#ifndef CRLTOOL_CRL_FILE_H
#define CRLTOOL_CRL_FILE_H

#include <stdint.h>

#include <string>

#include "sigkit/sigkit.h"

struct CrlFile {
    std::string path;
    SigkitVerifyCtx *ctx = nullptr; // owned; of this file alone, so that no file's certificates vouch for the other's
    SigkitCrlBundle *bundle = nullptr; // owned

    CrlFile() = default;
    CrlFile(const CrlFile &) = delete;
    CrlFile &operator=(const CrlFile &) = delete;
    ~CrlFile();
};

// Loads the trust anchor from `rootPath` and the CRLs from `path`. Returns SIGKIT_OK, or the code of the first failure
// with `failedPath` set to the file that it is about.
uint32_t LoadCrlFile(const std::string &rootPath, const std::string &path, CrlFile *file, std::string *failedPath);

// Says in words why a file could not be loaded.
std::string LoadFailure(uint32_t status);

#endif
