#include "crltool/crl_file.h"

#include <stdio.h>

CrlFile::~CrlFile()
{
    if (bundle != nullptr) {
        (void)SigkitCrlFree(ctx, bundle);
    }
    if (ctx != nullptr) {
        (void)SigkitVrfCtxFree(ctx);
    }
}

uint32_t LoadCrlFile(const std::string &rootPath, const std::string &path, CrlFile *file, std::string *failedPath)
{
    file->path = path;
    SigkitVerifyCreateParam param = SIGKIT_VERIFY_CREATE_PARAM_INIT;
    *failedPath = rootPath;
    uint32_t status = SigkitVerifyCreateCtx(&file->ctx, &param);
    if (status == SIGKIT_OK) {
        status = SigkitVerifyAddCertFile(file->ctx, rootPath.c_str());
    }
    if (status == SIGKIT_OK) {
        *failedPath = path;
        status = SigkitDecodeCrlFile(file->ctx, path.c_str(), &file->bundle);
    }
    return status;
}

std::string LoadFailure(uint32_t status)
{
    switch (status) {
    case SIGKIT_ERR_PARAM:
        return "the path is empty";
    case SIGKIT_ERR_CRL_LOAD:
        return "the file does not hold 1 to 16 CRLs with certificates of their issuers";
    case SIGKIT_ERR_UNKNOWN:
        return "the file holds no certificate";
    default: {
        char code[16] = {};
        (void)snprintf(code, sizeof(code), " (%08x)", status);
        return SigkitStatusText(status) + std::string(code);
    }
    }
}
