// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/crypto/digest.h"

#include <cstdio>

#include "pkgsign/files/files.h"

namespace pkgsign
{
namespace
{

struct Known {
    const char *name;
    const EVP_MD *(*method)();
};

constexpr Known KNOWN[] = {{"sha256", EVP_sha256}, {"sha384", EVP_sha384}, {"sha512", EVP_sha512}};

} // namespace

Status FindDigest(const std::string &name, const EVP_MD **digestOut)
{
    for (const Known &known : KNOWN) {
        if (name == known.name) {
            *digestOut = known.method();
            return {};
        }
    }
    return Fail("'" + Printable(name) + "' is none of sha256, sha384 and sha512, which devices take");
}

const EVP_MD *FindDigestBySize(size_t size)
{
    for (const Known &known : KNOWN) {
        if (size == static_cast<size_t>(EVP_MD_size(known.method()))) {
            return known.method();
        }
    }
    return nullptr;
}

std::string DigestName(const EVP_MD *digest)
{
    for (const Known &known : KNOWN) {
        if (EVP_MD_type(digest) == EVP_MD_type(known.method())) {
            return known.name;
        }
    }
    return "";
}

std::string HexText(const Bytes &data)
{
    std::string text;
    for (const uint8_t octet : data) {
        char digits[4] = {};
        (void)std::snprintf(digits, sizeof(digits), "%02x", static_cast<unsigned>(octet));
        text += digits;
    }
    return text;
}

} // namespace pkgsign
