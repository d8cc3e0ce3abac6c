// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/authority/device.h"

#include "pkgsign/crypto/keys.h"
#include "pkgsign/files/files.h"
#include "sigkit/sigkit.h"

namespace pkgsign
{
namespace
{

// A verify context with the root and, for packages, the CRLs of a setting.
struct Context {
    SigkitVerifyCtx *held = nullptr;

    Context() = default;
    Context(const Context &) = delete;
    Context &operator=(const Context &) = delete;
    ~Context()
    {
        if (held != nullptr) {
            (void)SigkitVrfCtxFree(held);
        }
    }
};

uint32_t Open(const Setting &setting, Context *context)
{
    SigkitVerifyCreateParam param = SIGKIT_VERIFY_CREATE_PARAM_INIT;
    const Bytes root = EncodeCertificate(setting.root.get());
    const uint32_t status = SigkitVerifyCreateCtx(&context->held, &param);
    return status != SIGKIT_OK ? status
                               : SigkitVerifyAddCert(context->held, root.data(), static_cast<uint32_t>(root.size()));
}

uint32_t OpenWithCrls(const Setting &setting, Context *context)
{
    const uint32_t status = Open(setting, context);
    return status != SIGKIT_OK ? status
                               : SigkitVerifyAddCrl(context->held, setting.crlFile.data(),
                                                    static_cast<uint32_t>(setting.crlFile.size()));
}

uint32_t Begin(const Setting &setting, const Bytes &message, Context *context)
{
    uint32_t status = OpenWithCrls(setting, context);
    if (status == SIGKIT_OK) {
        status = SigkitVerifyDetachSignatureBegin(context->held, message.data(), static_cast<uint32_t>(message.size()));
    }
    return status;
}

void Finish(const Context &context, DeviceAnswer *answer)
{
    uint32_t verdict = 0;
    if (answer->status == SIGKIT_OK) {
        answer->status = SigkitVerifyDetachSignatureFinal(context.held, &verdict);
    }
    answer->accepted = answer->status == SIGKIT_OK && verdict == 1;
}

// The summaries of a CRL file.
struct Summaries {
    Context context;
    SigkitCrlBundle *held = nullptr;

    Summaries() = default;
    Summaries(const Summaries &) = delete;
    Summaries &operator=(const Summaries &) = delete;
    ~Summaries()
    {
        if (held != nullptr) {
            (void)SigkitCrlFree(context.held, held);
        }
    }
};

uint32_t Summarise(const Setting &setting, const Bytes &crlFile, Summaries *summaries)
{
    const uint32_t status = Open(setting, &summaries->context);
    return status != SIGKIT_OK ? status
                               : SigkitDecodeCrl(summaries->context.held, crlFile.data(),
                                                 static_cast<uint32_t>(crlFile.size()), &summaries->held);
}

const char *ComparisonProblem(uint32_t status)
{
    switch (status) {
    case SIGKIT_ERR_CRL_BUNDLE_UNVERIFIED:
        return "a CRL of one of them has an issuer that is not trusted at its thisUpdate";
    case SIGKIT_ERR_CRL_ISSUER_TWICE:
        return "one of them has two CRLs of one issuer";
    case SIGKIT_ERR_CRL_COVERAGE:
        return "the new one lacks the CRL of an issuer that it does not revoke";
    default:
        return "they cannot be compared";
    }
}

} // namespace

Status StandInFor(const Key &real, Setting *setting, Key *throwawayOut)
{
    for (const StandIn &standIn : setting->standIns) {
        if (SamePublicKey(standIn.real.get(), real.get())) {
            *throwawayOut = standIn.throwaway;
            return {};
        }
    }
    StandIn standIn = {real, nullptr};
    const Status status = ThrowawayKey(EVP_PKEY_bits(real.get()), &standIn.throwaway);
    if (status.ok) {
        setting->standIns.push_back(standIn);
        *throwawayOut = standIn.throwaway;
    }
    return status;
}

DeviceAnswer AskDevice(const Setting &setting, const Bytes &message, const Bytes *content)
{
    DeviceAnswer answer;
    const HostScope host(setting.standIns, &answer.log);
    Context context;
    answer.status = Begin(setting, message, &context);
    if (content == nullptr) {
        answer.accepted = answer.status == SIGKIT_OK;
        return answer;
    }
    if (answer.status == SIGKIT_OK) {
        answer.status =
            SigkitVerifyDetachSignatureUpdate(context.held, content->data(), static_cast<uint32_t>(content->size()));
    }
    Finish(context, &answer);
    return answer;
}

DeviceAnswer AskDeviceAboutFile(const Setting &setting, const Bytes &message, const std::string &contentPath)
{
    DeviceAnswer answer;
    const HostScope host(setting.standIns, &answer.log);
    Context context;
    answer.status = Begin(setting, message, &context);
    if (answer.status == SIGKIT_OK) {
        const Status status = ReadPieces(contentPath, [&](const uint8_t *data, size_t size) {
            answer.status = SigkitVerifyDetachSignatureUpdate(context.held, data, static_cast<uint32_t>(size));
            return answer.status == SIGKIT_OK ? Status() : Fail("update");
        });
        answer.status = status.ok ? answer.status : SIGKIT_ERR_FILE_READ;
    }
    Finish(context, &answer);
    return answer;
}

Status CheckLoads(const Setting &setting, const std::string &source)
{
    std::string log;
    const HostScope host(setting.standIns, &log);
    Context context;
    const uint32_t status = OpenWithCrls(setting, &context);
    return status == SIGKIT_OK
               ? Status()
               : Fail("'" + Printable(source) +
                      "' is no CRL file that devices take: CRLs and CA certificates, DER or PEM (code " +
                      StatusDigits(status) + ")");
}

Status CheckCrlFile(const Setting &setting)
{
    std::string log;
    const HostScope host(setting.standIns, &log);
    Summaries summaries;
    const uint32_t status = Summarise(setting, setting.crlFile, &summaries);
    if (status != SIGKIT_OK) {
        return Fail("a device would not take the CRL file: " + Explain({status, false, log}));
    }
    for (const SigkitCrlInfo *const info : summaries.held->crls) {
        if (info != nullptr && info->verified != 1) {
            return Fail("a device would not trust the CRL of '" + Printable(info->issuerName) +
                        "' at its thisUpdate: " + Explain({SIGKIT_ERR_CRL_BUNDLE_UNVERIFIED, false, log}));
        }
    }
    return {};
}

Status CheckNewer(const Setting &newer, const Bytes &olderCrlFile)
{
    std::string log;
    const HostScope host(newer.standIns, &log);
    Summaries first;
    Summaries second;
    uint32_t status = Summarise(newer, newer.crlFile, &first);
    if (status == SIGKIT_OK) {
        status = Summarise(newer, olderCrlFile, &second);
    }
    uint32_t result = SIGKIT_CRL_CONFLICT;
    if (status == SIGKIT_OK) {
        status = SigkitCrlCompare(first.context.held, first.held, second.held, &result);
    }
    if (status != SIGKIT_OK) {
        return Fail("a device could not compare the new CRL file with the one that it replaces (" +
                    StatusDigits(status) + "): " + ComparisonProblem(status));
    }
    if (result != SIGKIT_CRL_FIRST_NEWER) {
        return Fail(std::string("a device would not take the new CRL file in the place of the one that it replaces: ") +
                    (result == SIGKIT_CRL_EQUAL ? "both are equally new" : "it has an older CRL of some issuer"));
    }
    return {};
}

std::string Explain(const DeviceAnswer &answer)
{
    if (answer.status == SIGKIT_OK) {
        return "the content is not the one that was signed";
    }
    const std::string code = StatusDigits(answer.status);
    const size_t line = answer.log.find(code + "|"); // the cause is logged first, then each caller under its own name
    const size_t start = line == std::string::npos ? line : line + code.size() + 1;
    const std::string cause =
        line == std::string::npos ? "" : answer.log.substr(start, answer.log.find('\n', start) - start);
    const bool isSaid = cause.find_first_not_of(' ') != std::string::npos;
    return "code " + code + (isSaid ? " (" + Printable(cause) + ")" : "");
}

} // namespace pkgsign
