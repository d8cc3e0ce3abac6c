// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Summaries of CRL files.
#include "annexk.h"
#include "core/context.h"
#include "core/guard.h"
#include "core/log.h"
#include "core/memory.h"
#include "pki/chain.h"
#include "pki/path.h"
#include "pki/store.h"
#include "sigkit/sigkit.h"
#include "verify/admission.h"
#include "verify/load/file.h"
#include "verify/load/loading.h"
#include "x509/name.h"
#include "x509/time.h"

static_assert(sizeof(SigkitCrlBundle) == (sizeof(void *) == 8 ? 208 : 144), "the size tag that hosts know");
static_assert(sizeof(SigkitCrlBundle::reserved) == 68, "all that stands behind the count");
static_assert(sizeof(SigkitCrlBundle::crls) / sizeof(SigkitCrlInfo *) == SIGKIT_LIST_CAPACITY, "a slot for each CRL");
static_assert(sizeof(SigkitCrlInfo::issuerName) >= SIGKIT_NAME_TEXT_SIZE, "no name of a file makes the copy fail");

namespace
{

void FreeSummary(SigkitCrlInfo *info)
{
    SigkitFree(info->revokedSerials);
    SigkitFree(info);
}

using SummaryGuard = InternalGuard<SigkitCrlInfo, FreeSummary>;

uint32_t InternalCheckParamDecodeCrl(const SigkitVerifyCtx *ctx, const uint8_t *data, uint32_t len,
                                     SigkitCrlBundle *const *out)
{
    const uint32_t status = InternalCheckContext(ctx);
    if (status == SIGKIT_OK && (data == nullptr || len == 0)) {
        return SIGKIT_TRAIL(SIGKIT_ERR_PARAM);
    }
    return status == SIGKIT_OK && out == nullptr ? SIGKIT_ERR_PARAM : status;
}

uint32_t InternalCheckParamDecodeCrlFile(const SigkitVerifyCtx *ctx, const char *path, SigkitCrlBundle *const *out)
{
    const uint32_t status = InternalCheckContext(ctx);
    if (status == SIGKIT_OK && path == nullptr) {
        return SIGKIT_TRAIL(SIGKIT_ERR_PARAM);
    }
    return status == SIGKIT_OK && out == nullptr ? SIGKIT_ERR_PARAM : status;
}

// Prints the issuer's name. A name that cannot be printed stays empty.
void InternalGetCrlIssuerName(SigkitVerifyCtx *ctx, const SigkitX509Crl &crl, SigkitCrlInfo *info)
{
    InternalBlockGuard<char> text;
    uint32_t len = 0;
    const uint32_t status = SigkitConvertFromX509Name(&crl.tbsCertList.issuer, &text.held, &len);
    InternalPassOver(ctx, status);
    if (status != SIGKIT_OK) {
        return;
    }
    const int failure = strcpy_s(info->issuerName, sizeof(info->issuerName), text.held);
    InternalPassOver(ctx, static_cast<uint32_t>(failure));
    if (failure != 0) {
        info->issuerName[0] = '\0';
        SigkitLogCallback(SIGKIT_LOG_WARNING, SIGKIT_LOG_TAG, __LINE__, __func__, static_cast<uint32_t>(failure),
                          nullptr);
    }
}

uint32_t ConvertTimes(const SigkitX509CrlInfo &crl, SigkitCrlInfo *info)
{
    uint64_t thisUpdate = 0;
    uint64_t nextUpdate = 0;
    uint32_t status = SigkitConvertDatetimeToTime(&crl.thisUpdate, &thisUpdate);
    if (status == SIGKIT_OK) {
        status = SigkitConvertDatetimeToTime(&crl.nextUpdate, &nextUpdate);
    }
    info->thisUpdate = static_cast<int64_t>(thisUpdate);
    info->nextUpdate = static_cast<int64_t>(nextUpdate);
    return status;
}

// Copies a serial number of 1 to 32 octets; `len` stays 0 when that fails.
uint32_t CopySerial(const SigkitAsnOcts &serialNumber, SigkitCrlSerial *out)
{
    const int failure = memcpy_s(out->serial, sizeof(out->serial), serialNumber.data, serialNumber.len);
    out->len = failure == 0 ? serialNumber.len : 0;
    return static_cast<uint32_t>(failure);
}

bool FitsSerial(const SigkitAsnOcts &serialNumber)
{
    return serialNumber.len != 0 && serialNumber.len <= sizeof(SigkitCrlSerial::serial);
}

// Copies the revoked serial numbers of a root's CRL. Longer ones are left out: they can never justify a dropped issuer.
uint32_t CopyRevokedSerials(SigkitVerifyCtx *ctx, const SigkitX509Revoked &revoked, SigkitCrlInfo *info)
{
    if (revoked.count == 0) {
        return SIGKIT_OK;
    }
    void *block = nullptr;
    const uint32_t status = SigkitMallocWith0(&block, revoked.count * sizeof(SigkitCrlSerial));
    if (status != SIGKIT_OK) {
        return status;
    }
    info->revokedSerials = static_cast<SigkitCrlSerial *>(block);
    for (uint32_t i = 0; i < revoked.count; ++i) {
        if (FitsSerial(revoked.items[i].userCertificate)) {
            InternalPassOver(ctx,
                             CopySerial(revoked.items[i].userCertificate, &info->revokedSerials[info->revokedCount]));
            info->revokedCount += 1;
        }
    }
    return SIGKIT_OK;
}

// Adds what the issuer's certificate says: whether it is trusted, its serial number, and a root's revoked serials.
uint32_t DescribeIssuer(SigkitVerifyCtx *ctx, const SigkitX509Crl &crl, SigkitX509Cert *issuer, SigkitCrlInfo *info)
{
    // RFC 5280, 6.3.3 (f), as of the CRL's issue (5.1.2.4): no signature lends a file its time, and the clock is never
    // asked. Strictly, as what a stolen key signed may bear any thisUpdate.
    ctx->verifyTime = info->thisUpdate;
    uint32_t ok = 0;
    const uint32_t verdict = SigkitPkiVerifyCert(ctx, issuer, 1, 1, &ok);
    info->verified = verdict == SIGKIT_OK && ok == 1 ? 1 : 0;
    InternalPassOver(ctx, verdict);

    uint32_t isSelfSigned = 0;
    uint32_t status = SigkitX509IsSelfSigned(issuer, &isSelfSigned);
    if (status == SIGKIT_OK && isSelfSigned == 1) {
        status = CopyRevokedSerials(ctx, crl.tbsCertList.revokedCertificates, info);
    }
    const SigkitAsnOcts &serialNumber = issuer->tbsCertificate.serialNumber;
    if (status == SIGKIT_OK && FitsSerial(serialNumber)) {
        status = CopySerial(serialNumber, &info->issuerSerial);
    }
    return status;
}

// Summarises one CRL; null when that fails, which is logged.
SigkitCrlInfo *InternalGetCrlInfo(SigkitVerifyCtx *ctx, SigkitX509Crl *crl)
{
    SummaryGuard info;
    uint32_t status = InternalNewRecord(&info.held);
    if (status == SIGKIT_OK) {
        InternalGetCrlIssuerName(ctx, *crl, info.held);
        status = ConvertTimes(crl->tbsCertList, info.held);
    }
    if (status == SIGKIT_OK) {
        SigkitX509Cert *const issuer = SigkitPkiFindCrlIssuer(ctx, crl);
        status = issuer == nullptr ? SIGKIT_OK : DescribeIssuer(ctx, *crl, issuer, info.held);
    }
    InternalPassOver(ctx, status);
    if (status != SIGKIT_OK) {
        (void)SIGKIT_TRAIL(status);
        return nullptr;
    }
    return info.Take();
}

// Summarises each CRL in the slot of its place in the file. A summary that is lost makes the file look like one without
// that CRL. When the machine lost it, or anything else on this context, none of them may count, those made before the
// failure included.
void Summarise(SigkitVerifyCtx *ctx, const SigkitList &crls, SigkitCrlBundle *bundle)
{
    for (uint32_t i = 0; i < crls.count; ++i) {
        SigkitX509Crl *const crl = static_cast<SigkitX509Crl *>(crls.items[i]);
        bundle->crls[i] = crl == nullptr ? nullptr : InternalGetCrlInfo(ctx, crl);
        bundle->count += bundle->crls[i] == nullptr ? 0 : 1;
    }
    for (SigkitCrlInfo *const info : bundle->crls) {
        if (info != nullptr && ctx->hostFailure != SIGKIT_OK) {
            info->verified = 0;
        }
    }
}

// Adds what was decoded to the store. The CRLs stay there even when their certificates are missing.
uint32_t AddToStore(SigkitVerifyCtx *ctx, const SigkitList &certs, const SigkitList &crls)
{
    if (InternalAddCrlToStore(ctx, crls) != SIGKIT_OK || certs.count == 0 ||
        InternalAddCertToStore(ctx, certs, 0) != SIGKIT_OK) {
        return SIGKIT_ERR_CRL_LOAD;
    }
    return SIGKIT_OK;
}

} // namespace

uint32_t SigkitDecodeCrl(SigkitVerifyCtx *ctx, const uint8_t *data, uint32_t len, SigkitCrlBundle **out)
{
    if (out != nullptr) {
        *out = nullptr;
    }
    uint32_t status = InternalCheckParamDecodeCrl(ctx, data, len, out);
    if (status != SIGKIT_OK) {
        return status;
    }
    SigkitList certs = {};
    SigkitList crls = {};
    const InternalCertsGuard certsGuard(&certs);
    const InternalCrlsGuard crlsGuard(&crls);
    status = InternalDecodeCertCrl(ctx, data, len, &certs, &crls);
    if (status != SIGKIT_OK || crls.count == 0) {
        return SIGKIT_TRAIL(SIGKIT_ERR_CRL_LOAD);
    }
    if (crls.count > SIGKIT_LIST_CAPACITY) { // not reached: the list takes no more
        return SIGKIT_FAIL(SIGKIT_ERR_CRL_DECODE, "Decode CRL failed.");
    }
    status = AddToStore(ctx, certs, crls);
    SigkitCrlBundle *bundle = nullptr;
    if (status != SIGKIT_OK || InternalNewRecord(&bundle) != SIGKIT_OK) {
        return SIGKIT_TRAIL(SIGKIT_ERR_CRL_LOAD);
    }
    bundle->size = sizeof(*bundle);
    ctx->decodedCrls = crls.count;
    InternalRenewTrail(ctx);
    Summarise(ctx, crls, bundle);
    *out = bundle;
    return SIGKIT_OK;
}

uint32_t SigkitDecodeCrlFile(SigkitVerifyCtx *ctx, const char *path, SigkitCrlBundle **out)
{
    if (out != nullptr) {
        *out = nullptr;
    }
    uint32_t status = InternalCheckParamDecodeCrlFile(ctx, path, out);
    if (status != SIGKIT_OK) {
        return status;
    }
    InternalBytesGuard bytes;
    uint32_t len = 0;
    status = InternalReadFile(path, &bytes.held, &len);
    if (status == SIGKIT_OK) {
        status = SigkitDecodeCrl(ctx, bytes.held, len, out);
    }
    return status == SIGKIT_OK ? status : SIGKIT_TRAIL(status);
}

uint32_t SigkitCrlFree(SigkitVerifyCtx *ctx, SigkitCrlBundle *bundle)
{
    if (ctx == nullptr || bundle == nullptr) {
        return SIGKIT_ERR_PARAM;
    }
    for (SigkitCrlInfo *const info : bundle->crls) { // all slots: a gap leaves summaries at or above `count`
        if (info != nullptr) {
            FreeSummary(info);
        }
    }
    SigkitFree(bundle);
    return SIGKIT_OK;
}
