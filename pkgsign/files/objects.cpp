// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/files/objects.h"

#include <cstring>

#include <openssl/err.h>
#include <openssl/pem.h>

#include "pkgsign/files/files.h"

namespace pkgsign
{
namespace
{

struct PemBlock {
    char *label = nullptr;
    char *header = nullptr;
    unsigned char *data = nullptr;
    long size = 0;

    PemBlock() = default;
    PemBlock(const PemBlock &) = delete;
    PemBlock &operator=(const PemBlock &) = delete;
    ~PemBlock()
    {
        OPENSSL_free(label);
        OPENSSL_free(header);
        OPENSSL_free(data);
    }
};

bool IsPem(const Bytes &data)
{
    static constexpr char MARK[] = "-----BEGIN ";
    return std::string(data.begin(), data.end()).find(MARK) != std::string::npos && (data.empty() || data[0] != 0x30);
}

BioPtr OpenMemory(const Bytes &data)
{
    return BioPtr(BIO_new_mem_buf(data.data(), static_cast<int>(data.size())));
}

// Takes one certificate or CRL at `*next`, which it moves behind it.
bool TakeObject(const unsigned char **next, long size, Objects *objects)
{
    const unsigned char *start = *next;
    if (X509 *const certificate = d2i_X509(nullptr, &start, size); certificate != nullptr) {
        objects->certificates.push_back(ShareCertificate(certificate));
        *next = start;
        return true;
    }
    ERR_clear_error();
    start = *next;
    if (X509_CRL *const crl = d2i_X509_CRL(nullptr, &start, size); crl != nullptr) {
        objects->crls.emplace_back(crl, X509_CRL_free);
        *next = start;
        return true;
    }
    ERR_clear_error();
    return false;
}

bool DecodePem(const Bytes &data, Objects *objects)
{
    const BioPtr memory = OpenMemory(data);
    for (;;) {
        PemBlock block;
        if (PEM_read_bio(memory.get(), &block.label, &block.header, &block.data, &block.size) != 1) {
            const bool ended = ERR_GET_REASON(ERR_peek_last_error()) == PEM_R_NO_START_LINE;
            ERR_clear_error();
            return ended;
        }
        const unsigned char *next = block.data;
        if (!TakeObject(&next, block.size, objects) || next != block.data + block.size) {
            return false;
        }
    }
}

bool DecodeDer(const Bytes &data, Objects *objects)
{
    const unsigned char *next = data.data();
    const unsigned char *const end = next + data.size();
    while (next != end) {
        if (!TakeObject(&next, static_cast<long>(end - next), objects)) {
            return false;
        }
    }
    return true;
}

} // namespace

Status DecodeObjects(const Bytes &data, const std::string &source, Objects *objectsOut)
{
    Objects objects;
    const bool decoded = IsPem(data) ? DecodePem(data, &objects) : DecodeDer(data, &objects);
    if (!decoded || (objects.certificates.empty() && objects.crls.empty())) {
        return Fail("'" + Printable(source) + "' does not hold certificates or CRLs, as PEM or DER, and nothing else");
    }
    *objectsOut = std::move(objects);
    return {};
}

Status ReadObjects(const std::string &path, Objects *objectsOut)
{
    Bytes data;
    const Status status = ReadWhole(path, &data);
    return status.ok ? DecodeObjects(data, path, objectsOut) : status;
}

Status ReadCertificate(const std::string &path, Certificate *certificateOut)
{
    Objects objects;
    const Status status = ReadObjects(path, &objects);
    if (!status.ok) {
        return status;
    }
    if (objects.certificates.size() != 1 || !objects.crls.empty()) {
        return Fail("'" + Printable(path) + "' does not hold one certificate and nothing else");
    }
    *certificateOut = objects.certificates[0];
    return {};
}

Status ReadRequest(const std::string &path, RequestPtr *requestOut)
{
    Bytes data;
    Status status = ReadWhole(path, &data);
    if (!status.ok) {
        return status;
    }
    const Bytes der = RemoveArmour(data);
    const unsigned char *next = der.data();
    RequestPtr request(d2i_X509_REQ(nullptr, &next, static_cast<long>(der.size())));
    if (request == nullptr || next != der.data() + der.size()) {
        return FailCrypto("'" + Printable(path) + "' is no certificate request (PKCS #10)");
    }
    EVP_PKEY *const key = X509_REQ_get0_pubkey(request.get());
    if (key == nullptr || X509_REQ_verify(request.get(), key) != 1) { // proof that the asker has the key
        return FailCrypto("the request in '" + Printable(path) + "' is not signed by its own key");
    }
    *requestOut = std::move(request);
    return {};
}

Bytes RemoveArmour(const Bytes &data)
{
    if (!IsPem(data)) {
        return data;
    }
    const BioPtr memory = OpenMemory(data);
    PemBlock block;
    if (PEM_read_bio(memory.get(), &block.label, &block.header, &block.data, &block.size) != 1) {
        ERR_clear_error();
        return data;
    }
    return Bytes(block.data, block.data + block.size);
}

std::string AddArmour(const std::string &label, const Bytes &der)
{
    const BioPtr memory(BIO_new(BIO_s_mem()));
    (void)PEM_write_bio(memory.get(), label.c_str(), "", der.data(), static_cast<long>(der.size()));
    const Bytes text = TakeMemory(memory.get());
    return std::string(text.begin(), text.end());
}

} // namespace pkgsign
