// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Decoders side by side with libcrypto's, on the same octets.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include <openssl/cms.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include "sigkit/sigkit.h"
#include "tests/support/parties.h"
#include "verify/load/base64.h"
#include "x509/cert.h"
#include "x509/crl.h"
#include "x509/pkcs7.h"

namespace
{

using benchmark::State;

constexpr uint8_t CRL_ENTRIES = 20;
constexpr size_t TEXT_SIZE = 1000000; // of Base64, a multiple of four

forge::Bytes CrlOfManyEntries()
{
    forge::CrlRequest request = CrlRequest(AllParties().issuingCa);
    for (uint8_t i = 0; i < CRL_ENTRIES; ++i) {
        forge::RevokedCertificate entry;
        entry.serialNumber = {0x40, i};
        entry.revocationDate = PACKAGE_TIME;
        entry.reasonCode = 1;
        request.revoked.push_back(entry);
    }
    return MakeCrl(request);
}

const forge::Bytes g_certificate = AllParties().signer.certificate;
const forge::Bytes g_crl = CrlOfManyEntries();
const forge::Bytes g_message = MakeMessage(MessageRequest("f4d1b0 firmware.bin\n"));

long Size(const forge::Bytes &der)
{
    return static_cast<long>(der.size());
}

void CheckDecoded(bool decoded)
{
    if (!decoded) {
        std::fputs("decoders: what is measured does not decode\n", stderr);
        std::abort();
    }
}

// One of the library's decoders: decodes and releases.
template <typename Record, uint32_t (*decode)(const uint8_t *, uint32_t, Record **, uint32_t *),
          void (*release)(Record *)>
void Decode(State &state, const forge::Bytes &der)
{
    for (auto step : state) {
        Record *record = nullptr;
        uint32_t consumed = 0;
        CheckDecoded(decode(der.data(), static_cast<uint32_t>(der.size()), &record, &consumed) == SIGKIT_OK);
        release(record);
    }
}

// One of libcrypto's.
template <typename Record, Record *(*decode)(Record **, const unsigned char **, long), void (*release)(Record *)>
void DecodeByLibcrypto(State &state, const forge::Bytes &der)
{
    for (auto step : state) {
        const unsigned char *place = der.data();
        Record *const record = decode(nullptr, &place, Size(der));
        CheckDecoded(record != nullptr);
        release(record);
    }
}

void Certificate(State &state)
{
    Decode<SigkitX509Cert, SigkitX509DecodeCert, SigkitX509FreeCert>(state, g_certificate);
}

void CertificateByLibcrypto(State &state)
{
    DecodeByLibcrypto<X509, d2i_X509, X509_free>(state, g_certificate);
}

void Crl(State &state)
{
    Decode<SigkitX509Crl, SigkitX509DecodeCrl, SigkitX509FreeCrl>(state, g_crl);
}

void CrlByLibcrypto(State &state)
{
    DecodeByLibcrypto<X509_CRL, d2i_X509_CRL, X509_CRL_free>(state, g_crl);
}

void SignedData(State &state)
{
    Decode<SigkitPkcs7Content, SigkitPkcs7DecodeSigned, SigkitPkcs7FreeSigned>(state, g_message);
}

void SignedDataByLibcrypto(State &state)
{
    DecodeByLibcrypto<CMS_ContentInfo, d2i_CMS_ContentInfo, CMS_ContentInfo_free>(state, g_message);
}

std::string Text()
{
    std::string text(TEXT_SIZE, 'A');
    for (size_t i = 0; i < text.size(); ++i) {
        text[i] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/"[i * 7 % 64];
    }
    return text;
}

void Base64(State &state)
{
    const std::string text = Text();
    forge::Bytes octets(text.size());
    for (auto step : state) {
        uint32_t len = static_cast<uint32_t>(octets.size());
        CheckDecoded(SigkitBase64Decode(text.data(), static_cast<int32_t>(text.size()), octets.data(), &len) ==
                     SIGKIT_OK);
        benchmark::DoNotOptimize(octets.data());
    }
}

void Base64ByLibcrypto(State &state)
{
    const std::string text = Text();
    forge::Bytes octets(text.size());
    for (auto step : state) {
        CheckDecoded(EVP_DecodeBlock(octets.data(), reinterpret_cast<const unsigned char *>(text.data()),
                                     static_cast<int>(text.size())) > 0);
        benchmark::DoNotOptimize(octets.data());
    }
}

} // namespace

BENCHMARK(Certificate);
BENCHMARK(CertificateByLibcrypto);
BENCHMARK(Crl);
BENCHMARK(CrlByLibcrypto);
BENCHMARK(SignedData);
BENCHMARK(SignedDataByLibcrypto);
BENCHMARK(Base64);
BENCHMARK(Base64ByLibcrypto);
BENCHMARK_MAIN();
