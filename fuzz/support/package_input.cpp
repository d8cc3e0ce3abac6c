// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "fuzz/support/package_input.h"

#include "fuzz/support/armour.h"

FuzzPackageInput FuzzMakePackageInput(const FuzzContainer &container)
{
    const uint8_t flags = container.flags[0];
    const bool carriageReturn = (flags & FUZZ_CARRIAGE_RETURN) != 0;
    FuzzPackageInput package = {container.parts[FUZZ_PART_MESSAGE], container.parts[FUZZ_PART_CRLS],
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

uint32_t FuzzFeed(SigkitVerifyCtx *ctx, const FuzzPackageInput &package)
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
