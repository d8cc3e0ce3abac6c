// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/crypto/types.h"

#include <ctime>

#include <openssl/err.h>

namespace pkgsign
{
namespace
{

static_assert(sizeof(time_t) == 8, "certificates outlive 2038: glibc of 32-bit machines wants 2.34 and _TIME_BITS=64");

TimePtr MakeTimeOf(int64_t seconds, bool isShort)
{
    const time_t instant = seconds;
    struct tm parts = {};
    char text[64] = {};
    if (gmtime_r(&instant, &parts) == nullptr) {
        return nullptr;
    }
    const bool hasTwoDigits = isShort && 1950 - 1900 <= parts.tm_year && parts.tm_year < 2050 - 1900;
    TimePtr time(ASN1_TIME_new());
    const bool made = time != nullptr && strftime(text, sizeof(text), "%Y%m%d%H%M%SZ", &parts) != 0 &&
                      ASN1_TIME_set_string(time.get(), hasTwoDigits ? text + 2 : text) == 1;
    return made ? std::move(time) : nullptr;
}

} // namespace

Status FailCrypto(const std::string &what)
{
    const unsigned long error = ERR_peek_last_error();
    const char *const reason = ERR_reason_error_string(error);
    ERR_clear_error();
    return Fail(reason == nullptr ? what : what + ": " + reason);
}

Bytes EncodeCertificate(const X509 *certificate)
{
    return EncodeDer(i2d_X509, const_cast<X509 *>(certificate)); // const only from OpenSSL 3.0 on
}

Bytes EncodeCrl(const X509_CRL *crl)
{
    return EncodeDer(i2d_X509_CRL, const_cast<X509_CRL *>(crl));
}

Bytes Digest(const EVP_MD *method, const Bytes &data)
{
    Bytes digest(EVP_MAX_MD_SIZE);
    unsigned int size = 0;
    (void)EVP_Digest(data.data(), data.size(), digest.data(), &size, method, nullptr);
    digest.resize(size);
    return digest;
}

Bytes TakeMemory(BIO *memory)
{
    char *data = nullptr;
    const long size = BIO_get_mem_data(memory, &data);
    return Bytes(data, data + (size > 0 ? size : 0));
}

int64_t TimeSeconds(const ASN1_TIME *time)
{
    struct tm parts = {};
    return time != nullptr && ASN1_TIME_to_tm(time, &parts) == 1 ? static_cast<int64_t>(timegm(&parts)) : 0;
}

TimePtr MakeTime(int64_t seconds)
{
    return MakeTimeOf(seconds, true);
}

TimePtr MakeGeneralizedTime(int64_t seconds)
{
    return MakeTimeOf(seconds, false);
}

bool SamePublicKey(const EVP_PKEY *a, const EVP_PKEY *b)
{
    const Bytes first = EncodeDer(i2d_PUBKEY, const_cast<EVP_PKEY *>(a));
    return !first.empty() && first == EncodeDer(i2d_PUBKEY, const_cast<EVP_PKEY *>(b));
}

} // namespace pkgsign
