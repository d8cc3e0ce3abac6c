// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The input of the targets that verify a package: a container's parts as they go into the library.
#ifndef FUZZ_PACKAGE_INPUT_H
#define FUZZ_PACKAGE_INPUT_H

#include "fuzz/support/container.h"
#include "sigkit/sigkit.h"

struct FuzzPackageInput {
    forge::Bytes message;
    forge::Bytes crls;
    forge::Bytes content;
    uint8_t flags;
};

FuzzPackageInput FuzzMakePackageInput(const FuzzContainer &container);

// Feeds the content to a verification that has begun, whole or octet by octet.
uint32_t FuzzFeed(SigkitVerifyCtx *ctx, const FuzzPackageInput &package);

#endif
