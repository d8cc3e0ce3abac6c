#include "pkgsign/status.h"

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pem.h>

#include <algorithm>
#include <string_view>

namespace
{
constexpr size_t LINE_WIDTH = 64; // RFC 7468, 2
constexpr std::string_view BLOCK_START = "-----BEGIN ";

std::string Base64(const PkgsignBytes &data)
{
    PkgsignBytes text(4 * ((data.size() + 2) / 3) + 1); // EVP_EncodeBlock ends with a NUL
    const int length = EVP_EncodeBlock(text.data(), data.data(), static_cast<int>(data.size()));
    return std::string(text.begin(), text.begin() + length);
}

PkgsignStatus ReadBlock(const PkgsignBytes &data, PkgsignBytes *derOut)
{
    const std::unique_ptr<BIO, decltype(&BIO_free_all)> bio(BIO_new_mem_buf(data.data(), static_cast<int>(data.size())),
                                                            BIO_free_all);
    char *label = nullptr;
    char *header = nullptr;
    unsigned char *octets = nullptr;
    long length = 0;
    if (bio == nullptr || PEM_read_bio(bio.get(), &label, &header, &octets, &length) != 1) {
        return PkgsignFailCrypto("broken PEM block");
    }
    derOut->assign(octets, octets + length);
    OPENSSL_free(label);
    OPENSSL_free(header);
    OPENSSL_free(octets);
    return PkgsignOk();
}

} // namespace

std::string PkgsignArmour(const std::string &label, const PkgsignBytes &der, PkgsignLineEnd lineEnd)
{
    const std::string end = lineEnd == PkgsignLineEnd::CrLf ? "\r\n" : "\n";
    const std::string body = Base64(der);
    std::string text = "-----BEGIN " + label + "-----" + end;
    for (size_t position = 0; position < body.size(); position += LINE_WIDTH) {
        text += body.substr(position, LINE_WIDTH) + end;
    }
    return text + "-----END " + label + "-----" + end;
}

PkgsignStatus PkgsignUnarmour(const PkgsignBytes &data, PkgsignBytes *derOut)
{
    if (std::search(data.begin(), data.end(), BLOCK_START.begin(), BLOCK_START.end()) == data.end()) {
        *derOut = data;
        return PkgsignOk();
    }
    return ReadBlock(data, derOut);
}
