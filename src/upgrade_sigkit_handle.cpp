// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "src/upgrade_sigkit_handle.h"

#include "annexk.h"
#include "qzlog.h"
#include "qzosax.h"
#include "src/module.h"
#include "src/trust_anchor.h"
#include "src/verify_param.h"

#define SOURCE_NAME "upgrade_sigkit_handle"

namespace
{

// The events' line numbers in the log, and those by which the memory service knows the certificate's block.
constexpr int LINE_ROOT_ALLOCATION = 108;
constexpr int LINE_ROOT_NO_MEMORY = 110;
constexpr int LINE_ROOT_RELEASE = 128;
constexpr int LINE_PARAMS_INVALID = 143;
constexpr int LINE_CREATE_FAILED = 151;
constexpr int LINE_ROOT_FAILED = 157;
constexpr int LINE_ADD_ROOT_FAILED = 163;
constexpr int LINE_ADD_CRL_FAILED = 169;
constexpr int LINE_VERIFY_ERROR = 175;
constexpr int LINE_NOT_MATCH = 179;
constexpr int LINE_VALID = 183;
constexpr int LINE_PARAMETER_NULL = 192;

constexpr uint32_t VERDICT_AUTHENTIC = 1;

uint32_t Release(uint32_t status, SigkitVerifyCtx *ctx, uint8_t *rootCert)
{
    return static_cast<uint32_t>(VerifyProcessPostHandle(static_cast<int>(status), ctx, rootCert));
}

} // namespace

int UPGRADE_CheckPkgIntegrity(void *param)
{
    if (param == nullptr) {
        LOG_EVENT(QZLOG_ERROR, LINE_PARAMETER_NULL, "Parameter is NULL.");
        return -1;
    }
    const VerifyParam *const paths = static_cast<const VerifyParam *>(param);
    return static_cast<int>(VerifyCmsFile(paths->cmsPath, paths->checksumPath, paths->crlPath));
}

uint32_t VerifyCmsFile(const char *cmsPath, const char *checksumPath, const char *crlPath)
{
    if (cmsPath == nullptr || checksumPath == nullptr || crlPath == nullptr) {
        LOG_EVENT(QZLOG_ERROR, LINE_PARAMS_INVALID, "Params are invalid.");
        return SIGKIT_ERR_PARAM;
    }
    SigkitVerifyCreateParam param = SIGKIT_VERIFY_CREATE_PARAM_INIT;
    SigkitVerifyCtx *ctx = nullptr;
    uint32_t status = SigkitVerifyCreateCtx(&ctx, &param);
    if (status != SIGKIT_OK) {
        LOG_EVENT(QZLOG_ERROR, LINE_CREATE_FAILED, "Create verify context failed.");
        return status;
    }
    uint8_t *rootCert = nullptr;
    uint32_t rootLen = 0;
    status = GenerateRootCert(&rootCert, &rootLen);
    if (status != SIGKIT_OK) {
        LOG_EVENT(QZLOG_ERROR, LINE_ROOT_FAILED, "Combine root certificate failed.");
        return Release(status, ctx, rootCert);
    }
    status = SigkitVerifyAddCert(ctx, rootCert, rootLen);
    if (status != SIGKIT_OK) {
        LOG_EVENT(QZLOG_ERROR, LINE_ADD_ROOT_FAILED, "Add root certificate failed.");
        return Release(status, ctx, rootCert);
    }
    status = SigkitVerifyAddCrlFile(ctx, crlPath);
    if (status != SIGKIT_OK) {
        LOG_EVENT(QZLOG_ERROR, LINE_ADD_CRL_FAILED, "Add CRL file %s failed.", crlPath);
        return Release(status, ctx, rootCert);
    }
    uint32_t matched = 0;
    status = SigkitVerifyDetachSignatureQuick(ctx, checksumPath, cmsPath, &matched);
    if (status != SIGKIT_OK) {
        LOG_EVENT(QZLOG_ERROR, LINE_VERIFY_ERROR, "Verify signature error, code %x.", status);
        return Release(status, ctx, rootCert);
    }
    if (matched != VERDICT_AUTHENTIC) {
        LOG_EVENT(QZLOG_ERROR, LINE_NOT_MATCH, "Verify signature not match.");
        return Release(UINT32_MAX, ctx, rootCert);
    }
    LOG_EVENT(QZLOG_INFO, LINE_VALID, "CheckSum file is valid.");
    return Release(SIGKIT_OK, ctx, rootCert);
}

uint32_t GenerateRootCert(uint8_t **certOut, uint32_t *lenOut)
{
    uint8_t second[ROOT_CERT_SECOND_SIZE];
    (void)memcpy_s(second, sizeof(second), g_rootCert1, sizeof(g_rootCert1));
    uint8_t *const cert =
        static_cast<uint8_t *>(qzax_mallocsubstandard(MODULE_ID, ROOT_CERT_SIZE, 0, __func__, LINE_ROOT_ALLOCATION));
    if (cert == nullptr) {
        LOG_EVENT(QZLOG_ERROR, LINE_ROOT_NO_MEMORY, "Initialize root certificate failed.");
        return SIGKIT_ERR_NO_MEMORY;
    }
    // Copies of constant sizes into areas of the same sizes cannot fail.
    (void)memcpy_s(cert, ROOT_CERT_SIZE, g_rootCert0, sizeof(g_rootCert0));
    (void)memcpy_s(cert + ROOT_CERT_FIRST_SIZE, ROOT_CERT_SECOND_SIZE, second, sizeof(second));
    *certOut = cert;
    *lenOut = ROOT_CERT_SIZE;
    return SIGKIT_OK;
}

int VerifyProcessPostHandle(int ret, SigkitVerifyCtx *ctx, uint8_t *rootCert)
{
    if (ctx != nullptr) {
        (void)SigkitVrfCtxFree(ctx); // fails for null only
    }
    if (rootCert != nullptr) {
        qzax_freesub(rootCert, __func__, LINE_ROOT_RELEASE);
    }
    return ret;
}
