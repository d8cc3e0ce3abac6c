// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/explain/check_content.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <memory>

#include "pkgsign/authority/device.h"
#include "pkgsign/explain/text_variant.h"
#include "pkgsign/files/files.h"
#include "sigkit/sigkit.h"

namespace pkgsign
{
namespace
{

// A verification of the order's message that waits for content.
struct Trial {
    VerifyContext context;
    TextVariant variant;
};

bool Begin(const CheckOrder &order, VerifyContext *context)
{
    Bytes message;
    return OpenContext(order, context) == SIGKIT_OK &&
           SigkitVerifyAddCrlFile(context->held, order.crls.c_str()) == SIGKIT_OK &&
           ReadWhole(order.signature, &message, DEVICE_FILE_SIZE_MAX).ok &&
           SigkitVerifyDetachSignatureBegin(context->held, message.data(), static_cast<uint32_t>(message.size())) ==
               SIGKIT_OK;
}

bool Feed(const VerifyContext &context, const Bytes &data)
{
    return data.empty() || SigkitVerifyDetachSignatureUpdate(context.held, data.data(),
                                                             static_cast<uint32_t>(data.size())) == SIGKIT_OK;
}

bool Fits(const VerifyContext &context)
{
    uint32_t verdict = 0;
    return SigkitVerifyDetachSignatureFinal(context.held, &verdict) == SIGKIT_OK && verdict == 1;
}

// Reads the content once, for all of its variants. The first that fits has the fewest changes.
void TryVariants(const CheckOrder &order, Check *check)
{
    std::vector<std::unique_ptr<Trial>> trials;
    for (const TextVariant &variant : TextVariants()) {
        trials.push_back(std::make_unique<Trial>());
        trials.back()->variant = variant;
        if (!Begin(order, &trials.back()->context)) {
            return;
        }
    }
    const Status status = ReadPieces(order.content, [&](const uint8_t *data, size_t size) {
        check->content.isBinary = std::memchr(data, 0, size) != nullptr;
        if (check->content.isBinary) {
            return Fail("no text");
        }
        for (const auto &trial : trials) {
            if (!Feed(trial->context, trial->variant.Convert(data, size))) {
                return Fail("update");
            }
        }
        return Status();
    });
    for (const auto &trial : trials) {
        if (status.ok && check->content.fits.empty() && Feed(trial->context, trial->variant.Finish()) &&
            Fits(trial->context)) {
            check->content.fits = trial->variant.Describe();
        }
    }
}

void TryFile(const CheckOrder &order, const std::string &path, Check *check)
{
    VerifyContext context;
    if (!Begin(order, &context)) {
        return;
    }
    const Status status = ReadPieces(path, [&](const uint8_t *data, size_t size) {
        return Feed(context, Bytes(data, data + size)) ? Status() : Fail("update");
    });
    if (status.ok && Fits(context)) {
        check->content.candidates.push_back(path);
    }
}

} // namespace

VerifyContext::~VerifyContext()
{
    if (held != nullptr) {
        (void)SigkitVrfCtxFree(held);
    }
}

uint32_t OpenContext(const CheckOrder &order, VerifyContext *context)
{
    SigkitVerifyCreateParam param = SIGKIT_VERIFY_CREATE_PARAM_INIT;
    const uint32_t status = SigkitVerifyCreateCtx(&context->held, &param);
    return status != SIGKIT_OK
               ? status
               : SigkitVerifyAddCert(context->held, order.root.data(), static_cast<uint32_t>(order.root.size()));
}

void FindFittingContent(const CheckOrder &order, Check *check)
{
    namespace fs = std::filesystem;
    if (!check->content.differs) {
        return;
    }
    const std::vector<StandIn> noStandIns;
    std::string log;
    const HostScope host(noStandIns, &log);
    TryVariants(order, check);
    std::error_code error;
    std::vector<std::string> paths;
    if (!order.candidates.empty()) {
        for (const fs::directory_entry &entry : fs::directory_iterator(order.candidates, error)) {
            std::error_code ignored;
            if (entry.is_regular_file(ignored)) {
                paths.push_back(entry.path().string());
            }
        }
    }
    std::sort(paths.begin(), paths.end());
    for (const std::string &path : paths) {
        TryFile(order, path, check);
    }
}

} // namespace pkgsign
