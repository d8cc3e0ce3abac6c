// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Decodes certificates, CRLs and messages that der_records writes, and looks at what they point to.
#ifndef X509_DECODE_HELPER_H
#define X509_DECODE_HELPER_H

#include "asn1/records.h"
#include "sigkit/sigkit.h"
#include "tests/support/der_records.h"
#include "tests/support/library_test.h"
#include "tests/support/views.h"
#include "x509/cert.h"
#include "x509/crl.h"
#include "x509/pkcs7.h"

// Octets of the identifier and length before the content of what the writers write whole.
inline constexpr size_t HEADER_SIZE = 4;

// What a decode gave; releases it.
template <typename Record, void (*Free)(Record *)>
struct Decoded {
    uint32_t status = 0;
    Record *record = nullptr;
    uint32_t consumed = 0;
    der::Bytes input;

    Decoded(uint32_t (*decode)(const uint8_t *, uint32_t, Record **, uint32_t *), const der::Bytes &encoding)
        : input(encoding)
    {
        status = decode(input.data(), static_cast<uint32_t>(input.size()), &record, &consumed);
    }
    ~Decoded()
    {
        Free(record);
    }
    Decoded(const Decoded &) = delete;
    Decoded &operator=(const Decoded &) = delete;
};

struct DecodedCert : Decoded<SigkitX509Cert, SigkitX509FreeCert> {
    explicit DecodedCert(const der::Bytes &encoding) : Decoded(SigkitX509DecodeCert, encoding)
    {
    }
    explicit DecodedCert(const der::TbsCertificate &tbs) : DecodedCert(der::CertificateOf(tbs))
    {
    }
};

struct DecodedCrl : Decoded<SigkitX509Crl, SigkitX509FreeCrl> {
    explicit DecodedCrl(const der::Bytes &encoding) : Decoded(SigkitX509DecodeCrl, encoding)
    {
    }
    explicit DecodedCrl(const der::TbsCertList &tbs) : DecodedCrl(der::CertificateListOf(tbs))
    {
    }
};

struct DecodedMessage : Decoded<SigkitPkcs7Content, SigkitPkcs7FreeSigned> {
    explicit DecodedMessage(const der::Bytes &encoding) : Decoded(SigkitPkcs7DecodeSigned, encoding)
    {
    }
    explicit DecodedMessage(const der::SignedData &data) : DecodedMessage(der::MessageOf(data))
    {
    }
};

#endif
