// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/explain/check_seen.h"

#include "pkgsign/authority/certificates.h"
#include "pkgsign/crypto/digest.h"
#include "pkgsign/explain/wrap.h"
#include "pkgsign/files/files.h"
#include "pkgsign/timestamp/der.h"
#include "x509/oid.h"
#include "x509/time.h"

namespace pkgsign
{
namespace
{

constexpr char NOT_READABLE[] = "(a name that cannot be shown)";

// A report names a certificate in many rows, and a file of a device's size can hold one name of two million octets.
constexpr size_t NAME_CHARACTERS_MAX = 400;
constexpr size_t SERIAL_DIGITS_MAX = 80; // RFC 5280, 4.1.2.2, allows 40

// What is signed, with an algorithm and a signature that mean nothing, so that libcrypto reads it.
Bytes WrapSigned(const SigkitAsnOcts &encoded)
{
    static const Bytes unsignedTail = {0x30, 0x0D, 0x06, 0x09, 0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D,
                                       0x01, 0x01, 0x0B, 0x05, 0x00, 0x03, 0x02, 0x00, 0x00};
    return DerElement(DER_SEQUENCE, {OctetsOf(encoded), unsignedTail});
}

std::string NameOrNot(const X509_NAME *name)
{
    const std::string text = name == nullptr ? "" : Printable(NameText(name));
    return text.empty() ? NOT_READABLE : Cut(text, NAME_CHARACTERS_MAX);
}

} // namespace

Bytes OctetsOf(const SigkitAsnOcts &view)
{
    return view.data == nullptr ? Bytes() : Bytes(view.data, view.data + view.len);
}

std::string SerialText(const SigkitAsnOcts &serial)
{
    std::string text = HexText(OctetsOf(serial));
    for (char &digit : text) {
        digit = static_cast<char>(digit >= 'a' ? digit - 'a' + 'A' : digit);
    }
    return text.empty() ? "00" : Cut(text, SERIAL_DIGITS_MAX); // the library drops a leading zero
}

MaybeTime ReadTime(const SigkitAsnOcts &view)
{
    uint64_t seconds = 0;
    return SigkitConvertDatetimeToTime(&view, &seconds) == 0 ? MaybeTime(static_cast<int64_t>(seconds)) : std::nullopt;
}

size_t SeeCertificate(const SigkitX509Cert &record, Step source, SeenRecords *seen, Check *check)
{
    const auto [entry, isNew] = seen->certificates.try_emplace(
        {OctetsOf(record.encoded), OctetsOf(record.signatureValue)}, check->certificates.size());
    if (!isNew) {
        return entry->second;
    }
    const SigkitX509CertInfo &info = record.tbsCertificate;
    const Bytes der = WrapSigned(record.encoded);
    const unsigned char *octets = der.data();
    SeenCertificate certificate;
    certificate.decoded = ShareCertificate(d2i_X509(nullptr, &octets, static_cast<long>(der.size())));
    const X509 *const decoded = certificate.decoded.get();
    certificate.subject = NameOrNot(decoded == nullptr ? nullptr : X509_get_subject_name(decoded));
    certificate.issuer = NameOrNot(decoded == nullptr ? nullptr : X509_get_issuer_name(decoded));
    certificate.serial = SerialText(info.serialNumber);
    certificate.notBefore = ReadTime(info.validity.notBefore);
    certificate.notAfter = ReadTime(info.validity.notAfter);
    certificate.source = source;
    certificate.isCa = info.extensions.basicConstraints.cA == 1;
    certificate.stampsTime = (info.extensions.extKeyUsage & SIGKIT_EXKU_TIME_STAMPING) != 0;
    certificate.signsCode = (info.extensions.extKeyUsage & SIGKIT_EXKU_CODE_SIGNING) != 0;
    check->certificates.push_back(std::move(certificate));
    check->rejected.emplace_back();
    check->issuers.push_back(NONE);
    return entry->second;
}

size_t SeeCrl(const SigkitX509Crl &record, SeenRecords *seen, Check *check)
{
    const auto [entry, isNew] =
        seen->crls.try_emplace({OctetsOf(record.encoded), OctetsOf(record.signatureValue)}, check->crls.size());
    if (!isNew) {
        return entry->second;
    }
    const SigkitX509CrlInfo &info = record.tbsCertList;
    const Bytes der = WrapSigned(record.encoded);
    const unsigned char *octets = der.data();
    const CrlPtr decoded(d2i_X509_CRL(nullptr, &octets, static_cast<long>(der.size())));
    SeenCrl crl;
    crl.issuer = NameOrNot(decoded == nullptr ? nullptr : X509_CRL_get_issuer(decoded.get()));
    crl.thisUpdate = ReadTime(info.thisUpdate);
    crl.nextUpdate = ReadTime(info.nextUpdate);
    crl.entries = info.revokedCertificates.count;
    crl.isIndirect = info.crlExtensions.issuingDistributionPoint.indirectCRL == 1;
    check->crls.push_back(std::move(crl));
    return entry->second;
}

} // namespace pkgsign
