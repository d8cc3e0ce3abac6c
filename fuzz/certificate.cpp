// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// One certificate: decoding, its names and dates, the self-signed test.
#include "fuzz/target.h"

#include "asn1/decode.h"
#include "asn1/records.h"
#include "fuzz/support/mutate.h"
#include "fuzz/support/views.h"
#include "sigkit/sigkit_host.h"
#include "x509/cert.h"
#include "x509/name.h"
#include "x509/pubkey.h"
#include "x509/time.h"

namespace
{

void PrintName(const SigkitX509Name &name)
{
    char *text = nullptr;
    uint32_t length = 0;
    if (SigkitConvertFromX509Name(&name, &text, &length) != SIGKIT_OK) {
        return;
    }
    if (length >= SIGKIT_NAME_TEXT_SIZE || text[length] != '\0') {
        FuzzFail("a name of %u characters", length);
    }
    SigkitFree(text);
}

void ReadTime(const SigkitAsnOcts &time)
{
    uint64_t seconds = 0;
    (void)SigkitConvertDatetimeToTime(&time, &seconds);
}

void Inspect(SigkitX509Cert *cert)
{
    const SigkitX509CertInfo &info = cert->tbsCertificate;
    PrintName(info.issuer);
    PrintName(info.subject);
    ReadTime(info.validity.notBefore);
    ReadTime(info.validity.notAfter);
    if (SigkitCompareX509Name(&info.subject, &info.subject) != 0) {
        FuzzFail("a name is not its own equal");
    }
    uint32_t isSelfSigned = 0;
    const uint32_t status = SigkitX509IsSelfSigned(cert, &isSelfSigned);
    uint32_t verified = 0;
    if (SigkitCompareX509Name(&info.subject, &info.issuer) == 0) {
        (void)SigkitX509PubKeyVerify(cert->encoded.data, cert->encoded.len, cert->signatureValue.data,
                                     cert->signatureValue.len, &info.subjectPublicKeyInfo.subjectPublicKey.rsaPublicKey,
                                     &cert->signatureAlgorithm.algorithm, &verified);
    }
    if (isSelfSigned != verified || (status != SIGKIT_OK && isSelfSigned != 0)) {
        FuzzFail("self-signed: %u", isSelfSigned);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzBegin();
    SigkitX509Cert *cert = nullptr;
    uint32_t consumed = 0;
    const uint32_t status = SigkitX509DecodeCert(data, static_cast<uint32_t>(size), &cert, &consumed);
    if (status == SIGKIT_OK) {
        if (consumed == 0 || consumed > size) {
            FuzzFail("%u of %zu octets are consumed", consumed, size);
        }
        FuzzCheckViews(cert, g_itemSigkitX509Cert, data, size);
        Inspect(cert);
        SigkitX509FreeCert(cert);
    } else if (cert != nullptr) {
        FuzzFail("a certificate together with %08x", status);
    }
    FuzzTally(status);
    FuzzEnd();
    return 0;
}

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t maxSize, unsigned int seed)
{
    return FuzzMutateObjects(data, size, maxSize, seed);
}
