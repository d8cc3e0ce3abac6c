// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Owned objects of libcrypto.
#ifndef PKGSIGN_CRYPTO_TYPES_H
#define PKGSIGN_CRYPTO_TYPES_H

#include <memory>
#include <string>

#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/cms.h>
#include <openssl/evp.h>
#include <openssl/pkcs7.h>
#include <openssl/ts.h>
#include <openssl/x509.h>

#include "pkgsign/status.h"

namespace pkgsign
{

template <auto Free>
struct Deleter {
    template <typename T>
    void operator()(T *object) const
    {
        Free(object);
    }
};

using BioPtr = std::unique_ptr<BIO, Deleter<BIO_free_all>>;
using BnPtr = std::unique_ptr<BIGNUM, Deleter<BN_free>>;
using CmsPtr = std::unique_ptr<CMS_ContentInfo, Deleter<CMS_ContentInfo_free>>;
using CrlPtr = std::unique_ptr<X509_CRL, Deleter<X509_CRL_free>>;
using ExtensionPtr = std::unique_ptr<X509_EXTENSION, Deleter<X509_EXTENSION_free>>;
using IntegerPtr = std::unique_ptr<ASN1_INTEGER, Deleter<ASN1_INTEGER_free>>;
using MdCtxPtr = std::unique_ptr<EVP_MD_CTX, Deleter<EVP_MD_CTX_free>>;
using NamePtr = std::unique_ptr<X509_NAME, Deleter<X509_NAME_free>>;
using Pkcs7Ptr = std::unique_ptr<PKCS7, Deleter<PKCS7_free>>;
using RequestPtr = std::unique_ptr<X509_REQ, Deleter<X509_REQ_free>>;
using RevokedPtr = std::unique_ptr<X509_REVOKED, Deleter<X509_REVOKED_free>>;
using TimePtr = std::unique_ptr<ASN1_TIME, Deleter<ASN1_TIME_free>>;
using TsRequestPtr = std::unique_ptr<TS_REQ, Deleter<TS_REQ_free>>;
using TsResponsePtr = std::unique_ptr<TS_RESP, Deleter<TS_RESP_free>>;

// Keys and certificates are shared between the records that hold them; the last share frees them.
using Key = std::shared_ptr<EVP_PKEY>;
using Certificate = std::shared_ptr<X509>;

inline Key ShareKey(EVP_PKEY *key)
{
    return Key(key, EVP_PKEY_free);
}

inline Certificate ShareCertificate(X509 *certificate)
{
    return Certificate(certificate, X509_free);
}

// A failure of libcrypto: `what` and libcrypto's own reason. Empties its error queue.
Status FailCrypto(const std::string &what);

// The DER encoding of an object, by its i2d function; empty when there is no memory.
template <typename T, typename Encode>
Bytes EncodeDer(Encode encode, T *object)
{
    unsigned char *octets = nullptr;
    const int size = encode(object, &octets);
    const Bytes der(octets, octets + (size > 0 ? size : 0));
    OPENSSL_free(octets);
    return der;
}

Bytes EncodeCertificate(const X509 *certificate);
Bytes EncodeCrl(const X509_CRL *crl);

Bytes Digest(const EVP_MD *method, const Bytes &data);

// What a BIO in memory holds.
Bytes TakeMemory(BIO *memory);

// Seconds since 1970; 0 for what is no time.
int64_t TimeSeconds(const ASN1_TIME *time);

// A time as RFC 5280, 4.1.2.5 wants it: UTCTime before 2050, GeneralizedTime from then on. Null for a year of more than
// four digits, and without memory. No time_t goes to libcrypto: on 32-bit machines its own may be smaller than ours.
TimePtr MakeTime(int64_t seconds);

// The same as GeneralizedTime of whatever year.
TimePtr MakeGeneralizedTime(int64_t seconds);

// Whether two keys have the same public half.
bool SamePublicKey(const EVP_PKEY *a, const EVP_PKEY *b);

} // namespace pkgsign

#endif
