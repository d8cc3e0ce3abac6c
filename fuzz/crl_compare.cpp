// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Two CRL files: each is summarised, and the summaries are compared both ways round.
#include "fuzz/target.h"

#include <cstring>
#include <iterator>

#include "core/context.h"
#include "fuzz/support/armour.h"
#include "fuzz/support/container.h"
#include "fuzz/support/mutate.h"
#include "fuzz/support/pki.h"
#include "fuzz/support/store_check.h"

namespace
{

void CheckSummary(const SigkitCrlInfo &info)
{
    const bool terminated = std::memchr(info.issuerName, '\0', sizeof(info.issuerName)) != nullptr;
    if (info.verified > 1 || !terminated || info.issuerSerial.len > sizeof(info.issuerSerial.serial) ||
        info.revokedCount < 0 || (info.revokedCount > 0 && info.revokedSerials == nullptr)) {
        FuzzFail("a malformed summary");
    }
    for (int32_t i = 0; i < info.revokedCount; ++i) {
        const uint32_t length = info.revokedSerials[i].len;
        if (length == 0 || length > sizeof(info.revokedSerials[i].serial)) {
            FuzzFail("a revoked serial number of %u octets", length);
        }
    }
}

void CheckBundle(const SigkitVerifyCtx &ctx, const SigkitCrlBundle &bundle)
{
    int32_t count = 0;
    for (uint32_t i = 0; i < std::size(bundle.crls); ++i) {
        if (bundle.crls[i] != nullptr) {
            CheckSummary(*bundle.crls[i]);
            ++count;
        }
        if (bundle.crls[i] != nullptr && i >= ctx.decodedCrls) {
            FuzzFail("%u CRLs were decoded, and there is a summary at %u", ctx.decodedCrls, i);
        }
    }
    for (const uint8_t octet : bundle.reserved) {
        if (octet != 0) {
            FuzzFail("a reserved octet is not zero");
        }
    }
    if (bundle.count != count || bundle.size != sizeof(bundle)) {
        FuzzFail("%d summaries are reported, %d are there", bundle.count, count);
    }
}

// Summarises a file. Null when that fails.
SigkitCrlBundle *Summarise(SigkitVerifyCtx *ctx, const forge::Bytes &file)
{
    SigkitCrlBundle *bundle = nullptr;
    const uint32_t status = SigkitDecodeCrl(ctx, file.data(), static_cast<uint32_t>(file.size()), &bundle);
    FuzzTally(status);
    if ((status == SIGKIT_OK) != (bundle != nullptr)) {
        FuzzFail("a summary together with %08x", status);
    }
    if (bundle != nullptr) {
        CheckBundle(*ctx, *bundle);
    }
    return bundle;
}

uint32_t Mirrored(uint32_t answer)
{
    if (answer == SIGKIT_CRL_FIRST_NEWER) {
        return SIGKIT_CRL_SECOND_NEWER;
    }
    return answer == SIGKIT_CRL_SECOND_NEWER ? SIGKIT_CRL_FIRST_NEWER : answer;
}

bool AllVerified(const SigkitCrlBundle &bundle)
{
    for (const SigkitCrlInfo *const info : bundle.crls) {
        if (info != nullptr && info->verified != 1) {
            return false;
        }
    }
    return true;
}

// A difference is the same whichever file is named first, and nothing unverified ever counts as newer.
void Compare(SigkitVerifyCtx *ctx, const SigkitCrlBundle &first, const SigkitCrlBundle &second)
{
    uint32_t answer = SIGKIT_CRL_CONFLICT;
    uint32_t mirrored = SIGKIT_CRL_CONFLICT;
    const uint32_t status = SigkitCrlCompare(ctx, &first, &second, &answer);
    const uint32_t other = SigkitCrlCompare(ctx, &second, &first, &mirrored);
    FuzzTally(status);
    if (answer > SIGKIT_CRL_CONFLICT || mirrored > SIGKIT_CRL_CONFLICT) {
        FuzzFail("answers %u and %u", answer, mirrored);
    }
    if (status == SIGKIT_OK && other == SIGKIT_OK && answer != Mirrored(mirrored)) {
        FuzzFail("answer %u one way, %u the other", answer, mirrored);
    }
    if (status == SIGKIT_OK && answer != SIGKIT_CRL_CONFLICT && (!AllVerified(first) || !AllVerified(second))) {
        FuzzFail("an unverified CRL counts");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const FuzzContainer container = FuzzUnpack(data, size);
    const bool armoured = (container.flags[0] & FUZZ_ARMOUR_CRLS) != 0;
    const bool carriageReturn = (container.flags[0] & FUZZ_CARRIAGE_RETURN) != 0;
    const forge::Bytes &root = FuzzRootCertificate();
    FuzzBegin();
    g_fuzzHost.failAt = FuzzFailAt(container);
    SigkitVerifyCtx *contexts[] = {FuzzCreateContext(), FuzzCreateContext()};
    SigkitCrlBundle *bundles[] = {nullptr, nullptr};
    for (size_t i = 0; i < 2; ++i) {
        if (contexts[i] != nullptr) {
            const forge::Bytes file =
                armoured ? FuzzArmourObjects(container.parts[i], carriageReturn) : container.parts[i];
            if (SigkitVerifyAddCert(contexts[i], root.data(), static_cast<uint32_t>(root.size())) != SIGKIT_OK &&
                g_fuzzHost.failAt == 0) {
                FuzzFail("the trust anchor is refused");
            }
            bundles[i] = Summarise(contexts[i], file);
            FuzzCheckCost();
            FuzzCheckStore(contexts[i]);
        }
    }
    if (bundles[0] != nullptr && bundles[1] != nullptr) {
        Compare(contexts[0], *bundles[0], *bundles[1]);
        Compare(contexts[1], *bundles[0], *bundles[0]);
    }
    for (size_t i = 0; i < 2; ++i) {
        if (bundles[i] != nullptr) {
            (void)SigkitCrlFree(contexts[i], bundles[i]);
        }
        if (contexts[i] != nullptr) {
            (void)SigkitVrfCtxFree(contexts[i]);
        }
    }
    FuzzEnd();
    return 0;
}

FUZZ_CONTAINER_HOOKS(FuzzMutateCrlFiles)
