// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/replay/operations.h"

#include <string.h>

#include "asn1/decode.h"
#include "asn1/records.h"
#include "core/context.h"
#include "pki/store.h"
#include "sigkit/sigkit.h"
#include "tests/replay/record_hash.h"
#include "verify/load/base64.h"
#include "x509/cert.h"
#include "x509/crl.h"
#include "x509/name.h"
#include "x509/pkcs7.h"
#include "x509/time.h"

namespace
{

constexpr uint32_t PIECE_SIZE = 4096; // octets of content that are fed at a time

uint32_t Size(const Octets &octets)
{
    return static_cast<uint32_t>(octets.size);
}

void HashName(const SigkitX509Name &name)
{
    char *text = nullptr;
    uint32_t len = 0;
    const uint32_t status = SigkitConvertFromX509Name(&name, &text, &len);
    HashNumber(status);
    if (status == SIGKIT_OK) {
        HashText(text);
        SigkitFree(text);
    }
}

void HashTime(const SigkitAsnOcts &view)
{
    uint64_t seconds = 0;
    HashNumber(SigkitConvertDatetimeToTime(&view, &seconds));
    HashNumber(seconds);
}

void RunCertificate(const Input &input)
{
    SigkitX509Cert *cert = nullptr;
    uint32_t consumed = 0;
    const uint32_t status = SigkitX509DecodeCert(input.parts[0].data, Size(input.parts[0]), &cert, &consumed);
    HashNumber(status);
    if (status != SIGKIT_OK) {
        return;
    }
    HashNumber(consumed);
    HashRecord(reinterpret_cast<const uint8_t *>(cert), g_itemSigkitX509Cert);
    HashName(cert->tbsCertificate.subject);
    HashTime(cert->tbsCertificate.validity.notBefore);
    HashTime(cert->tbsCertificate.validity.notAfter);
    uint32_t isSelfSigned = 0;
    HashNumber(SigkitX509IsSelfSigned(cert, &isSelfSigned));
    HashNumber(isSelfSigned);
    SigkitX509FreeCert(cert);
}

void RunCrl(const Input &input)
{
    SigkitX509Crl *crl = nullptr;
    uint32_t consumed = 0;
    const uint32_t status = SigkitX509DecodeCrl(input.parts[0].data, Size(input.parts[0]), &crl, &consumed);
    HashNumber(status);
    if (status != SIGKIT_OK) {
        return;
    }
    HashNumber(consumed);
    HashRecord(reinterpret_cast<const uint8_t *>(crl), g_itemSigkitX509Crl);
    HashName(crl->tbsCertList.issuer);
    HashTime(crl->tbsCertList.thisUpdate);
    HashTime(crl->tbsCertList.nextUpdate);
    SigkitX509FreeCrl(crl);
}

void RunMessage(const Input &input)
{
    SigkitPkcs7Content *message = nullptr;
    uint32_t consumed = 0;
    const uint32_t status = SigkitPkcs7DecodeSigned(input.parts[0].data, Size(input.parts[0]), &message, &consumed);
    HashNumber(status);
    if (status != SIGKIT_OK) {
        return;
    }
    HashNumber(consumed);
    HashRecord(reinterpret_cast<const uint8_t *>(message), g_itemSigkitPkcs7Content);
    const SigkitList &certificates = message->content.certList;
    HashNumber(certificates.count);
    for (uint32_t i = 0; i < certificates.count; ++i) {
        HashRecord(static_cast<const uint8_t *>(certificates.items[i]), g_itemSigkitX509Cert);
    }
    SigkitPkcs7FreeSigned(message);
}

void RunTstInfo(const Input &input)
{
    void *record = nullptr;
    uint32_t consumed = 0;
    const uint32_t status =
        SigkitAsnDecode(input.parts[0].data, Size(input.parts[0]), &g_itemSigkitTimestampInfo, 0, &record, &consumed);
    HashNumber(status);
    if (status == SIGKIT_OK) {
        HashNumber(consumed);
        HashRecord(static_cast<const uint8_t *>(record), g_itemSigkitTimestampInfo);
        HashTime(static_cast<const SigkitTimestampInfo *>(record)->genTime);
        SigkitAsnFree(record, &g_itemSigkitTimestampInfo);
    }
}

void RunBase64(const Input &input)
{
    const char *const text = reinterpret_cast<const char *>(input.parts[0].data);
    const int32_t len = static_cast<int32_t>(input.parts[0].size);
    uint32_t size = 0;
    const uint32_t status = SigkitBase64Decode(text, len, nullptr, &size);
    HashNumber(status);
    HashNumber(size);
    void *octets = nullptr;
    if (status != SIGKIT_OK || size == 0 || SigkitMalloc(&octets, size) != SIGKIT_OK) {
        return;
    }
    HashNumber(SigkitBase64Decode(text, len, static_cast<uint8_t *>(octets), &size));
    HashOctets(static_cast<const uint8_t *>(octets), size);
    SigkitFree(octets);
}

// A new context; null when memory runs out.
SigkitVerifyCtx *MakeContext()
{
    const SigkitVerifyCreateParam param = SIGKIT_VERIFY_CREATE_PARAM_INIT;
    SigkitVerifyCtx *ctx = nullptr;
    HashNumber(SigkitVerifyCreateCtx(&ctx, &param));
    return ctx;
}

void HashStore(const SigkitVerifyCtx &ctx)
{
    HashNumber(ctx.pki->certs.count);
    HashNumber(ctx.pki->crls.count);
    HashNumber(ctx.buffers.count);
    HashNumber(static_cast<uint64_t>(ctx.verifyTime));
}

void EndContext(SigkitVerifyCtx *ctx)
{
    HashStore(*ctx);
    HashNumber(SigkitVrfCtxFree(ctx));
}

void RunFile(const Input &input, uint32_t (*add)(SigkitVerifyCtx *ctx, const uint8_t *data, uint32_t len))
{
    SigkitVerifyCtx *const ctx = MakeContext();
    if (ctx != nullptr) {
        HashNumber(add(ctx, input.parts[0].data, Size(input.parts[0])));
        HashNumber(add(ctx, input.parts[0].data, Size(input.parts[0]))); // all duplicates
        EndContext(ctx);
    }
}

void RunCertificateFile(const Input &input)
{
    RunFile(input, SigkitVerifyAddCert);
}

void RunCrlFile(const Input &input)
{
    RunFile(input, SigkitVerifyAddCrl);
}

void Compare(SigkitVerifyCtx *ctx, const SigkitCrlBundle *first, const SigkitCrlBundle *second)
{
    uint32_t answer = SIGKIT_CRL_CONFLICT;
    HashNumber(SigkitCrlCompare(ctx, first, second, &answer));
    HashNumber(answer);
}

// Part 0 is the trust anchor, parts 1 and 2 are CRL files.
void RunComparison(const Input &input)
{
    SigkitVerifyCtx *const ctx = MakeContext();
    if (ctx == nullptr) {
        return;
    }
    SigkitCrlBundle *bundles[] = {nullptr, nullptr};
    HashNumber(SigkitVerifyAddCert(ctx, input.parts[0].data, Size(input.parts[0])));
    for (size_t i = 0; i < 2; ++i) {
        HashNumber(SigkitDecodeCrl(ctx, input.parts[1 + i].data, Size(input.parts[1 + i]), &bundles[i]));
        HashBundle(bundles[i]);
    }
    Compare(ctx, bundles[0], bundles[1]);
    Compare(ctx, bundles[1], bundles[0]);
    for (SigkitCrlBundle *const bundle : bundles) {
        if (bundle != nullptr) {
            HashNumber(SigkitCrlFree(ctx, bundle));
        }
    }
    EndContext(ctx);
}

uint32_t Feed(SigkitVerifyCtx *ctx, const Octets &content)
{
    uint32_t status = SIGKIT_OK;
    for (size_t at = 0; at < content.size && status == SIGKIT_OK; at += PIECE_SIZE) {
        const size_t rest = content.size - at;
        status = SigkitVerifyDetachSignatureUpdate(ctx, content.data + at,
                                                   rest < PIECE_SIZE ? static_cast<uint32_t>(rest) : PIECE_SIZE);
    }
    return status;
}

void Verify(SigkitVerifyCtx *ctx, const Octets &message, const Octets &content)
{
    uint32_t status = SigkitVerifyDetachSignatureBegin(ctx, message.data, Size(message));
    HashNumber(status);
    if (status != SIGKIT_OK) {
        return;
    }
    HashNumber(Feed(ctx, content));
    uint32_t verdict = 0;
    status = SigkitVerifyDetachSignatureFinal(ctx, &verdict);
    HashNumber(status);
    HashNumber(verdict);
    g_authentic += status == SIGKIT_OK ? verdict : 0;
}

// Part 0 is the trust anchor; then come signature message, CRL file and content.
void RunPackage(const Input &input)
{
    SigkitVerifyCtx *const ctx = MakeContext();
    if (ctx != nullptr) {
        HashNumber(SigkitVerifyAddCert(ctx, input.parts[0].data, Size(input.parts[0])));
        HashNumber(SigkitVerifyAddCrl(ctx, input.parts[2].data, Size(input.parts[2])));
        Verify(ctx, input.parts[1], input.parts[3]);
        EndContext(ctx);
    }
}

// The last two take a trust anchor and a container of parts, as the fuzz targets of that name do.
constexpr Operation OPERATIONS[] = {
    {"certificate", 1, 1, 0, RunCertificate}, {"crl", 1, 1, 0, RunCrl},
    {"signed_data", 1, 1, 0, RunMessage},     {"tst_info", 1, 1, 0, RunTstInfo},
    {"base64", 1, 1, 0, RunBase64},           {"add_cert", 1, 1, 0, RunCertificateFile},
    {"add_crl", 1, 1, 0, RunCrlFile},         {"vector", 4, 4, 1, RunPackage},
    {"crl_compare", 2, 3, 1, RunComparison},  {"detached", 2, 4, 1, RunPackage},
};

} // namespace

uint32_t g_authentic = 0;

const Operation *FindOperation(const char *name)
{
    for (const Operation &operation : OPERATIONS) {
        if (strcmp(operation.name, name) == 0) {
            return &operation;
        }
    }
    return nullptr;
}
