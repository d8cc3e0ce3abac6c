// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/forge/digest.h"
#include "tests/forge/der.h"
#include "tests/forge/status.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace forge
{
namespace
{
using DigestContext = std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)>;
using File = std::unique_ptr<std::FILE, int (*)(std::FILE *)>;

constexpr size_t READ_SIZE = 65536; // octets read at a time

Status UpdateFromFile(std::FILE *file, const std::string &path, EVP_MD_CTX *context)
{
    Bytes piece(READ_SIZE);
    size_t count = 0;
    while ((count = std::fread(piece.data(), 1, piece.size(), file)) != 0) {
        if (EVP_DigestUpdate(context, piece.data(), count) != 1) {
            return FailCrypto("cannot digest '" + path + "'");
        }
    }
    if (std::ferror(file) != 0) {
        return Fail("cannot read '" + path + "': " + std::strerror(errno));
    }
    return Ok();
}

} // namespace

const EVP_MD *DigestMethod(Digest digest)
{
    switch (digest) {
    case Digest::Sha1:
        return EVP_sha1();
    case Digest::Sha256:
        return EVP_sha256();
    case Digest::Sha384:
        return EVP_sha384();
    case Digest::Sha512:
        return EVP_sha512();
    }
    return nullptr;
}

Bytes DigestAlgorithm(Digest digest)
{
    static constexpr const char *IDENTIFIERS[] = {"1.3.14.3.2.26", "2.16.840.1.101.3.4.2.1", "2.16.840.1.101.3.4.2.2",
                                                  "2.16.840.1.101.3.4.2.3"};
    return DerSequence({DerKnownIdentifier(IDENTIFIERS[static_cast<size_t>(digest)])});
}

Status Hash(Digest digest, const Bytes &data, Bytes *hashOut)
{
    unsigned char hash[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    if (EVP_Digest(data.data(), data.size(), hash, &length, DigestMethod(digest), nullptr) != 1) {
        return FailCrypto("cannot compute a digest");
    }
    hashOut->assign(hash, hash + length);
    return Ok();
}

Status HashFile(Digest digest, const std::string &path, Bytes *hashOut)
{
    const File file(std::fopen(path.c_str(), "rb"), std::fclose);
    if (file == nullptr) {
        return Fail("cannot open '" + path + "': " + std::strerror(errno));
    }
    const DigestContext context(EVP_MD_CTX_new(), EVP_MD_CTX_free);
    if (context == nullptr || EVP_DigestInit_ex(context.get(), DigestMethod(digest), nullptr) != 1) {
        return FailCrypto("cannot start a digest");
    }
    const Status status = UpdateFromFile(file.get(), path, context.get());
    if (!status.ok) {
        return status;
    }
    unsigned char hash[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    if (EVP_DigestFinal_ex(context.get(), hash, &length) != 1) {
        return FailCrypto("cannot digest '" + path + "'");
    }
    hashOut->assign(hash, hash + length);
    return Ok();
}
} // namespace forge
