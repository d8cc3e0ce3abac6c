// Begin, Update and Final on a context with a trust anchor and a CRL file. An acceptance must hold before a second
// opinion.
#include "fuzz/target.h"

#include <string>

#include "fuzz/support/armour.h"
#include "fuzz/support/container.h"
#include "fuzz/support/mutate.h"
#include "fuzz/support/oracle.h"
#include "fuzz/support/pki.h"
#include "fuzz/support/store_check.h"

namespace
{

// The input as it goes into the library.
struct Package {
    forge::Bytes message;
    forge::Bytes crls;
    forge::Bytes content;
    uint8_t flags;
};

Package MakePackage(const FuzzContainer &container)
{
    const uint8_t flags = container.flags[0];
    const bool carriageReturn = (flags & FUZZ_CARRIAGE_RETURN) != 0;
    Package package = {container.parts[FUZZ_PART_MESSAGE], container.parts[FUZZ_PART_CRLS],
                       container.parts[FUZZ_PART_CONTENT], flags};
    if ((flags & (FUZZ_ARMOUR_CMS | FUZZ_ARMOUR_PKCS7)) != 0) {
        const bool isCms = (flags & FUZZ_ARMOUR_CMS) != 0;
        package.message = FuzzArmour(isCms ? forge::LABEL_CMS : forge::LABEL_PKCS7, package.message, carriageReturn);
    }
    if ((flags & FUZZ_ARMOUR_CRLS) != 0) {
        package.crls = FuzzArmourObjects(package.crls, carriageReturn);
    }
    if ((flags & FUZZ_ALTERED) != 0) {
        package.content.push_back(0x21);
    }
    return package;
}

uint32_t Feed(SigkitVerifyCtx *ctx, const Package &package)
{
    static const uint8_t nothing = 0;
    const forge::Bytes &content = package.content;
    const uint8_t *const data = content.empty() ? &nothing : content.data();
    if ((package.flags & FUZZ_IN_PIECES) == 0) {
        return SigkitVerifyDetachSignatureUpdate(ctx, data, static_cast<uint32_t>(content.size()));
    }
    uint32_t status = SigkitVerifyDetachSignatureUpdate(ctx, &nothing, 0);
    for (size_t i = 0; i < content.size() && status == SIGKIT_OK; ++i) {
        status = SigkitVerifyDetachSignatureUpdate(ctx, data + i, 1);
    }
    return status;
}

void Verify(SigkitVerifyCtx *ctx, const Package &package)
{
    uint32_t verdict = 0;
    uint32_t status = SIGKIT_OK;
    {
        const forge::Bytes copy = package.message; // gone before the content comes
        status = SigkitVerifyDetachSignatureBegin(ctx, copy.data(), static_cast<uint32_t>(copy.size()));
    }
    FuzzTally(status);
    if (status == SIGKIT_OK) {
        status = Feed(ctx, package);
    }
    if (status == SIGKIT_OK) {
        status = SigkitVerifyDetachSignatureFinal(ctx, &verdict);
    }
    if (verdict > 1) {
        FuzzFail("a verdict of %u", verdict);
    }
    FuzzCheckCost();
    FuzzCheckStore(ctx);
    if (status != SIGKIT_OK || verdict != 1) {
        return;
    }
    FuzzTally(FUZZ_TALLY_AUTHENTIC);
    if ((package.flags & FUZZ_NO_ROOT) != 0) {
        FuzzFail("an acceptance without a trust anchor");
    }
    FuzzRequireAuthentic(FuzzRootCertificate(), {package.crls, package.message}, package.message, package.content);
}

// Fills the context; false when memory has run out.
bool Load(SigkitVerifyCtx *ctx, const Package &package)
{
    const forge::Bytes &root = FuzzRootCertificate();
    if ((package.flags & FUZZ_NO_ROOT) == 0 &&
        SigkitVerifyAddCert(ctx, root.data(), static_cast<uint32_t>(root.size())) != SIGKIT_OK) {
        if (g_fuzzHost.failAt == 0) {
            FuzzFail("the trust anchor is refused");
        }
        return false;
    }
    const forge::Bytes copy = package.crls;
    (void)SigkitVerifyAddCrl(ctx, copy.data(), static_cast<uint32_t>(copy.size()));
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const FuzzContainer container = FuzzUnpack(data, size);
    const Package package = MakePackage(container);
    FuzzBegin();
    g_fuzzHost.failAt = FuzzFailAt(container);
    SigkitVerifyCtx *const ctx = FuzzCreateContext();
    if (ctx != nullptr) {
        if (Load(ctx, package)) {
            Verify(ctx, package);
            if ((package.flags & FUZZ_TWICE) != 0) {
                Verify(ctx, package);
            }
        }
        (void)SigkitVrfCtxFree(ctx);
    }
    FuzzEnd();
    return 0;
}

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t maxSize, unsigned int seed)
{
    return FuzzMutateDetached(data, size, maxSize, seed);
}

extern "C" size_t LLVMFuzzerCustomCrossOver(const uint8_t *data1, size_t size1, const uint8_t *data2, size_t size2,
                                            uint8_t *out, size_t maxSize, unsigned int seed)
{
    return FuzzCross(data1, size1, data2, size2, out, maxSize, seed);
}
