// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Members read back from a certificate, with libcrypto's decoder.
#include "tests/forge/status.h"

#include <openssl/x509.h>

namespace forge
{
namespace
{
using Certificate = std::unique_ptr<X509, decltype(&X509_free)>;

Status Decode(const Bytes &encoding, Certificate *certificateOut)
{
    const unsigned char *cursor = encoding.data();
    certificateOut->reset(d2i_X509(nullptr, &cursor, static_cast<long>(encoding.size())));
    if (*certificateOut == nullptr) {
        return FailCrypto("not a certificate");
    }
    return Ok();
}

Status EncodeLibcryptoName(X509_NAME *name, Bytes *nameOut)
{
    unsigned char *encoding = nullptr;
    const int length = i2d_X509_NAME(name, &encoding);
    if (length <= 0) {
        return FailCrypto("cannot encode a name");
    }
    nameOut->assign(encoding, encoding + length);
    OPENSSL_free(encoding);
    return Ok();
}

} // namespace

Status GetSubject(const Bytes &certificate, Bytes *nameOut)
{
    Certificate decoded(nullptr, X509_free);
    const Status status = Decode(certificate, &decoded);
    return status.ok ? EncodeLibcryptoName(X509_get_subject_name(decoded.get()), nameOut) : status;
}

Status GetIssuer(const Bytes &certificate, Bytes *nameOut)
{
    Certificate decoded(nullptr, X509_free);
    const Status status = Decode(certificate, &decoded);
    return status.ok ? EncodeLibcryptoName(X509_get_issuer_name(decoded.get()), nameOut) : status;
}

Status GetSerialNumber(const Bytes &certificate, Bytes *serialNumberOut)
{
    Certificate decoded(nullptr, X509_free);
    const Status status = Decode(certificate, &decoded);
    if (status.ok) {
        const ASN1_INTEGER *serial = X509_get0_serialNumber(decoded.get());
        const unsigned char *octets = ASN1_STRING_get0_data(serial);
        serialNumberOut->assign(octets, octets + ASN1_STRING_length(serial));
    }
    return status;
}
} // namespace forge
