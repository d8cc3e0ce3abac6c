// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/forge/status.h"

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pem.h>

#include <algorithm>
#include <string_view>

namespace forge
{
namespace
{
constexpr size_t LINE_WIDTH = 64; // RFC 7468, 2
constexpr std::string_view BLOCK_START = "-----BEGIN ";

std::string Base64(const Bytes &data)
{
    Bytes text(4 * ((data.size() + 2) / 3) + 1); // EVP_EncodeBlock ends with a NUL
    const int length = EVP_EncodeBlock(text.data(), data.data(), static_cast<int>(data.size()));
    return std::string(text.begin(), text.begin() + length);
}

Status ReadBlock(const Bytes &data, Bytes *derOut)
{
    const std::unique_ptr<BIO, decltype(&BIO_free_all)> bio(BIO_new_mem_buf(data.data(), static_cast<int>(data.size())),
                                                            BIO_free_all);
    char *label = nullptr;
    char *header = nullptr;
    unsigned char *octets = nullptr;
    long length = 0;
    if (bio == nullptr || PEM_read_bio(bio.get(), &label, &header, &octets, &length) != 1) {
        return FailCrypto("broken PEM block");
    }
    derOut->assign(octets, octets + length);
    OPENSSL_free(label);
    OPENSSL_free(header);
    OPENSSL_free(octets);
    return Ok();
}

} // namespace

std::string Armour(const std::string &label, const Bytes &der, LineEnd lineEnd)
{
    const std::string end = lineEnd == LineEnd::CrLf ? "\r\n" : "\n";
    const std::string body = Base64(der);
    std::string text = "-----BEGIN " + label + "-----" + end;
    for (size_t position = 0; position < body.size(); position += LINE_WIDTH) {
        text += body.substr(position, LINE_WIDTH) + end;
    }
    return text + "-----END " + label + "-----" + end;
}

Status Unarmour(const Bytes &data, Bytes *derOut)
{
    if (std::search(data.begin(), data.end(), BLOCK_START.begin(), BLOCK_START.end()) == data.end()) {
        *derOut = data;
        return Ok();
    }
    return ReadBlock(data, derOut);
}
} // namespace forge
