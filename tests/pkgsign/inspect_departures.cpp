// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/pkgsign/inspect_departures.h"

#include <gtest/gtest.h>

#include "pkgsign/files/objects.h"

using pkgsign::Bytes;

namespace
{

// A token around a TSTInfo.
Bytes TokenOf(const Bytes &info, const std::function<void(der::SignedData *)> &change = nullptr)
{
    der::SignedData data;
    data.encapContentInfo =
        der::Sequence({der::Oid("1.2.840.113549.1.9.16.1.4"), der::Explicit(0, der::OctetString(info))});
    if (change) {
        change(&data);
    }
    return der::MessageOf(data);
}

} // namespace

Bytes CertificateWith(const std::function<void(der::TbsCertificate *)> &change)
{
    der::TbsCertificate certificate;
    change(&certificate);
    return der::CertificateOf(certificate);
}

Bytes MessageWith(const std::function<void(der::SignedData *, der::SignerInfo *)> &change)
{
    der::SignedData data;
    der::SignerInfo signer;
    data.signerInfos.reset();
    change(&data, &signer);
    if (!data.signerInfos.has_value()) {
        data.signerInfos = der::Set({der::Encode(signer)});
    }
    return der::MessageOf(data);
}

Bytes TokenWith(const std::function<void(der::TstInfo *)> &change)
{
    der::TstInfo info;
    change(&info);
    return TokenOf(der::Encode(info));
}

namespace
{

Bytes Text(const std::string &text)
{
    return {text.begin(), text.end()};
}

Bytes CrlWith(const std::function<void(der::TbsCertList *)> &change)
{
    der::TbsCertList list;
    change(&list);
    return der::CertificateListOf(list);
}

Bytes CertificateExtension(const Bytes &extension)
{
    return CertificateWith([&](auto *c) { c->extensions = der::CertExtensions({extension}); });
}

std::string Pem(const std::string &label, const Bytes &der)
{
    return pkgsign::AddArmour(label, der);
}

Bytes Changed(std::string text, const std::string &from, const std::string &to)
{
    const size_t at = text.find(from);
    EXPECT_NE(std::string::npos, at);
    return Text(text.replace(at, from.size(), to));
}

// CRLs with different signature values.
Bytes DifferentCrl(uint8_t octet)
{
    der::CertificateList list;
    der::TbsCertList tbs;
    tbs.issuer = der::NameOf("CA " + std::to_string(octet));
    list.tbsCertList = der::Encode(tbs);
    list.signatureValue = der::BitString(0, der::Fill(256, octet));
    return der::Encode(list);
}

Bytes DifferentCertificate(uint8_t octet)
{
    der::Certificate certificate;
    certificate.tbsCertificate = der::Encode(der::TbsCertificate());
    certificate.signatureValue = der::BitString(0, der::Fill(256, octet));
    return der::Encode(certificate);
}

Bytes Many(int count, Bytes (*make)(uint8_t))
{
    Bytes all;
    for (int i = 1; i <= count; ++i) {
        const Bytes one = make(static_cast<uint8_t>(i));
        all.insert(all.end(), one.begin(), one.end());
    }
    return all;
}

std::vector<Departure> FileDepartures()
{
    const Bytes certificate = der::CertificateOf({});
    const Bytes crl = der::CertificateListOf({});
    const std::string pem = Pem("X509 CRL", crl);
    const Bytes huge = der::Concatenate({Text(pem), Bytes(2000000, '\n')});
    std::string images;
    for (uint8_t i = 0; i < 16; ++i) {
        images += Pem("X509 CRL", DifferentCrl(i));
    }
    return {
        {"file-empty", "", {}},
        {"file-too-large", "", huge},
        {"file-too-short", "", der::Sequence({der::Integer(1)})},
        {"not-recognised", "", Bytes(100, 0x55)},
        {"tail-dropped", "", der::Concatenate({crl, Bytes(32, 0)})},
        {"tail-not-read", "", der::Concatenate({crl, Bytes(33, 0)})},
        {"trailing-octets", "", der::Concatenate({MessageWith([](auto *, auto *) {}), {0}})},
        {"armour-text-before", "", Text("CRLs:\n" + pem)},
        {"armour-marker", "", Text(pem + "----BEGIN X509 CRL-----\n")},
        {"armour-end-missing", "", Changed(pem, "-----END X509 CRL-----", "-----END CERTIFICATE-----")},
        {"armour-end-missing", "", Text(pem + "-----BEGIN NOTE-----\n" + pem)},
        {"armour-label", "", Text(Pem("CRL", crl))},
        {"armour-label", "", Changed(pem, "-----BEGIN X509 CRL-----", "-----BEGIN_X509 CRL-----")},
        {"armour-not-first", "", Text(pem + Pem("CMS", MessageWith([](auto *, auto *) {})))},
        {"trailing-octets", "", Text(Pem("CMS", MessageWith([](auto *, auto *) {})) + pem)},
        {"trailing-octets", "", Text(Pem("CERTIFICATE", der::Concatenate({certificate, {0}})))},
        {"armour-other", "", Text(pem + Pem("PUBLIC KEY", der::SubjectPublicKeyInfo()))},
        {"armour-base64", "", Changed(pem, "\nMII", "\nM II")},
        {"armour-base64", "", Text(pem + "-----BEGIN X509 CRL-----\n=\n-----END X509 CRL-----\n")},
        {"armour-base64", "", Changed(Pem("CERTIFICATE", certificate), "CERTIFICATE-----\nMII", "CERTIFICATE-----MII")},
        {"armour-foreign-character", "", Changed(pem, "\nMII", "\nMI*")},
        {"armour-null", "", der::Concatenate({Text(pem), {0}, Text(pem)})},
        {"armour-second-object", "", Text(Pem("X509 CRL", der::Concatenate({crl, crl})))},
        {"armour-images", "", Text(images)},
        {"crls-too-many", "", Many(17, DifferentCrl)},
        {"crls-too-many", "", der::Repeat(17, crl)},
        {"file-certificates-too-many", "", der::Repeat(17, certificate)},
        {"store-full", "", Many(16, DifferentCertificate)},
        {"crl-twice", "",
         der::Concatenate({DifferentCrl(1), CrlWith([](auto *l) { l->issuer = der::NameOf("CA 1"); })})},
    };
}

std::vector<Departure> ElementDepartures()
{
    const Bytes name = der::NameOf("Test CA");
    const Bytes part = der::RelativeName({der::NameAttribute("2.5.4.3", der::Utf8("x"))});
    const Bytes attribute = der::NameAttribute("2.5.4.3", der::Utf8("x"));
    const Bytes content(name.begin() + 2, name.end());
    const auto named = [](const Bytes &issuer) { return CrlWith([&](auto *l) { l->issuer = issuer; }); };
    const std::vector<std::string> purposes(11, "1.3.6.1.5.5.7.3.3");
    const Bytes reason = der::Extension("2.5.29.21", der::Tlv(der::ENUMERATED, der::Fill(5, 1)));
    const Bytes entries = der::Repeat(21, der::RevokedEntry(der::Integer(7)));
    return {
        {"tag-number-high", "tbsCertList.thisUpdate", CrlWith([](auto *l) {
             l->thisUpdate = Bytes{0x1F, 0x81, 0x01, 0x00};
         })},
        {"length-indefinite", "tbsCertList.issuer", named(der::TlvIndefinite(der::SEQUENCE, content))},
        {"length-of-many-octets", "tbsCertList.issuer", named(der::TlvLong(der::SEQUENCE, content, 5))},
        {"length-long-form", "tbsCertList.issuer", named(der::TlvLong(der::SEQUENCE, content, 2))},
        {"length-beyond", "", der::Truncate(der::CertificateListOf({}), 5)},
        {"read-to", "signatureValue", der::Truncate(der::CertificateListOf({}), 5)},
        {"member-missing", "tbsCertList.version", CrlWith([](auto *l) { l->version.reset(); })},
        {"member-type", "tbsCertificate.subject", CertificateWith([](auto *c) { c->subject = der::Integer(1); })},
        {"member-unexpected", "tbsCertList", CrlWith([](auto *l) { l->trailing = der::Integer(1); })},
        {"type-not-read", "messageImprint.hashedMessage",
         der::Sequence({der::Integer(1), der::MessageImprint(der::AlgorithmIdentifier("2.16.840.1.101.3.4.2.1"),
                                                             der::Utf8(std::string(32, 'x')))})},
        {"string-in-pieces", "content.signerInfos[0].signature",
         MessageWith([](auto *, auto *s) { s->signature = der::Tlv(0x24, der::OctetString(der::Fill(256, 1))); })},
        {"wrapper-length", "tbsCertificate.version",
         CertificateWith([](auto *c) { c->version = der::TlvOfLength(0xA0, 7, der::Integer(2)); })},
        {"integer-too-long", "tbsCertList.version",
         CrlWith([](auto *l) { l->version = der::IntegerRaw(der::Fill(5, 1)); })},
        {"boolean-length", "tbsCertificate.extensions[0].basicConstraints",
         CertificateExtension(der::Extension("2.5.29.19", der::Sequence({der::Tlv(1, {0xFF, 0xFF})})))},
        {"boolean-value", "tbsCertificate.extensions[0].basicConstraints.cA",
         CertificateExtension(der::Extension("2.5.29.19", der::Sequence({der::Boolean(1)})))},
        {"bits-empty", "tbsCertificate.subjectUniqueID",
         CertificateWith([](auto *c) { c->subjectUniqueID = der::Implicit(2, false, {}); })},
        {"value-empty", "tbsCertificate.extensions[0]", CertificateExtension(der::Extension("1.2.3", {}))},
        {"certificates-too-many", "content.certificates", MessageWith([](auto *d, auto *) {
             d->certificates =
                 der::CertificateSet({der::CertificateOf({}), der::CertificateOf({}), der::CertificateOf({})});
         })},
        {"signers-too-many", "content.signerInfos", MessageWith([](auto *d, auto *s) {
             d->signerInfos = der::Set({der::Encode(*s), der::Encode(*s)});
         })},
        {"entries-too-many", "tbsCertList.revokedCertificates",
         CrlWith([&](auto *l) { l->revokedCertificates = der::Tlv(der::SEQUENCE, entries); })},
        {"name-parts-too-many", "tbsCertList.issuer", named(der::Name(std::vector<Bytes>(11, part)))},
        {"name-attributes-too-many", "tbsCertList.issuer[0]",
         named(der::Name({der::RelativeName(std::vector<Bytes>(11, attribute))}))},
        {"purposes-too-many", "tbsCertificate.extensions[0].extKeyUsage",
         CertificateExtension(der::ExtKeyUsageExtension(purposes))},
        {"key-usage-size", "tbsCertificate.extensions[0].keyUsage",
         CertificateExtension(der::KeyUsageExtension(der::BitString(0, {1, 2, 3})))},
        {"key-usage-octets", "tbsCertificate.extensions[0].keyUsage",
         CertificateExtension(der::KeyUsageExtension(der::BitString(7, {0x06, 0x80})))},
        {"integer-too-long", "tbsCertList.revokedCertificates[0].crlEntryExtensions[0].reasonCode",
         CrlWith([&](auto *l) {
             l->revokedCertificates = der::Sequence(
                 {der::RevokedEntry(der::Integer(7), der::UtcTime("220101000000Z"), der::Sequence({reason}))});
         })},
    };
}

std::vector<Departure> CertificateDepartures()
{
    const Bytes rsa = der::AlgorithmIdentifier("1.2.840.113549.1.1.1");
    const auto keyed = [&](const Bytes &modulus, const Bytes &exponent) {
        return CertificateWith([&](auto *c) {
            c->subjectPublicKeyInfo =
                der::SubjectPublicKeyInfo(rsa, der::BitString(0, der::RsaPublicKey(modulus, exponent)));
        });
    };
    const auto extended = [](const std::vector<Bytes> &extensions) {
        return CertificateWith([&](auto *c) { c->extensions = der::CertExtensions(extensions); });
    };
    der::Certificate sha1;
    sha1.tbsCertificate = der::Encode(der::TbsCertificate());
    sha1.signatureAlgorithm = der::AlgorithmIdentifier("1.2.840.113549.1.1.5");
    der::Certificate padded = sha1; // SHA-256 with RSA, with a zero to spare in front of a number of its identifier
    padded.signatureAlgorithm = der::Sequence(
        {der::Tlv(der::OBJECT_IDENTIFIER, {0x2A, 0x80, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x01, 0x0B}), der::Null()});
    const Bytes usage = der::KeyUsageExtension(der::BitString(7, {0x80}));
    const Bytes odd = der::IntegerRaw(der::Concatenate({{0x00}, der::Fill(512, 0xA5), {0x01}}));
    const Bytes point = der::Sequence({der::Implicit(1, false, {0xFF})});
    return {
        {"key-not-rsa", "tbsCertificate.subjectPublicKeyInfo.subjectPublicKey", CertificateWith([](auto *c) {
             c->subjectPublicKeyInfo = der::SubjectPublicKeyInfo(der::AlgorithmIdentifier("1.2.840.10045.2.1"),
                                                                 der::BitString(0, {4, 1, 2, 3}));
         })},
        {"key-too-long", "tbsCertificate.subjectPublicKeyInfo", keyed(odd, der::Integer(65537))},
        {"key-weak", "tbsCertificate.subjectPublicKeyInfo",
         keyed(der::IntegerRaw(der::Fill(64, 0x5B)), der::Integer(1))},
        {"signature-algorithm", "signatureAlgorithm", der::Encode(sha1)},
        {"signature-algorithm", "signatureAlgorithm", der::Encode(padded)},
        {"algorithms-differ", "signatureAlgorithm",
         CertificateWith([](auto *c) { c->signature = der::AlgorithmIdentifier("1.2.840.113549.1.1.12"); })},
        {"time-form", "tbsCertificate.validity.notAfter", CertificateWith([](auto *c) {
             c->validity = der::Validity(der::UtcTime("200101000000Z"), der::GeneralizedTime("20400101000000.5Z"));
         })},
        {"time-digits", "tbsCertificate.validity.notAfter", CertificateWith([](auto *c) {
             c->validity = der::Validity(der::UtcTime("200101000000Z"), der::UtcTime("401301000000Z"));
         })},
        {"time-digits", "tbsCertificate.validity.notBefore", CertificateWith([](auto *c) {
             c->validity = der::Validity(der::GeneralizedTime("18500101000000Z"), der::UtcTime("400101000000Z"));
         })},
        {"validity-reversed", "tbsCertificate.validity", CertificateWith([](auto *c) {
             c->validity = der::Validity(der::UtcTime("200101000000Z"), der::UtcTime("190101000000Z"));
         })},
        {"serial-form", "tbsCertificate.serialNumber",
         CertificateWith([](auto *c) { c->serialNumber = der::Integer(-1); })},
        {"extension-twice", "tbsCertificate.extensions[1]", extended({usage, usage})},
        {"extension-critical", "tbsCertificate.extensions[0]",
         extended({der::Extension("1.2.3", der::Null(), der::Boolean())})},
        {"extension-critical", "tbsCertList.revokedCertificates[0].crlEntryExtensions[0]", CrlWith([](auto *l) {
             const Bytes issuer = der::Extension("2.5.29.29", der::Sequence({}), der::Boolean());
             l->revokedCertificates = der::Sequence(
                 {der::RevokedEntry(der::Integer(7), der::UtcTime("220101000000Z"), der::Sequence({issuer}))});
         })},
        {"certificate-without-use", "", extended({usage})},
        {"ca-by-halves", "", extended({der::BasicConstraintsExtension(true), usage})},
        {"ca-by-halves", "", extended({der::KeyUsageExtension(der::BitString(2, {0x04}))})},
        {"key-usage-octets", "tbsCertificate.extensions[0].keyUsage",
         extended({der::KeyUsageExtension(der::BitString(7, {0x00, 0x80}))})},
        {"crl-scope", "tbsCertList.crlExtensions[0]", CrlWith([](auto *l) {
             const Bytes named = der::Sequence({der::Implicit(0, true, der::Implicit(0, true, {}))});
             l->crlExtensions = der::CrlExtensions({der::Extension("2.5.29.28", named, der::Boolean())});
         })},
        {"entry-removes", "tbsCertList.revokedCertificates[0]", CrlWith([](auto *l) {
             l->revokedCertificates = der::Sequence(
                 {der::RevokedEntry(der::Integer(7), der::UtcTime("220101000000Z"), der::ReasonExtensions(8))});
         })},
        {"length-long-form", "tbsCertificate.subjectPublicKeyInfo.subjectPublicKey.rsaPublicKey.publicExponent",
         keyed(der::IntegerRaw(der::Fill(256, 0x5B)), der::TlvLong(der::INTEGER, {3}, 2))},
        {"request-signature", "",
         der::Sequence({der::Sequence({der::Integer(0), der::NameOf("x"), der::SubjectPublicKeyInfo(),
                                       der::Implicit(0, true, {})}),
                        der::AlgorithmIdentifier("1.2.840.113549.1.1.11"), der::BitString(0, der::Fill(256, 1))})},
        {"name-encoding", "tbsCertificate.subject",
         CertificateWith([](auto *c) { c->subject = der::NameOf("\x1B[2J\xFF"); })},
        {"crl-scope", "tbsCertList.crlExtensions[0]", CrlWith([&](auto *l) {
             l->crlExtensions = der::CrlExtensions({der::Extension("2.5.29.28", point, der::Boolean())});
         })},
        {"this-update", "tbsCertList.thisUpdate", CrlWith([](auto *l) { l->thisUpdate = der::UtcTime("21010100Z"); })},
        {"time-form", "tbsCertList.revokedCertificates[0].revocationDate", CrlWith([](auto *l) {
             l->revokedCertificates = der::Sequence({der::RevokedEntry(der::Integer(7), der::UtcTime("2201010000Z"))});
         })},
    };
}

std::vector<Departure> SignerDepartures()
{
    const std::string signer = "content.signerInfos[0]";
    const Bytes digest = der::Attribute("1.2.840.113549.1.9.4", {der::OctetString(der::Fill(32, 1))});
    const Bytes token = der::Attribute("1.2.840.113549.1.9.16.2.14", {TokenWith([](auto *) {})});
    const auto with = [](const std::function<void(der::SignerInfo *)> &change) {
        return MessageWith([&](auto *, auto *s) { change(s); });
    };
    const auto named = [](const Bytes &name, const Bytes &serial) { return der::IssuerAndSerialNumber(name, serial); };
    const Bytes certificate = der::CertificateOf({});
    return {
        {"signer-by-key-identifier", signer + ".sid",
         with([](auto *s) { s->sid = der::Implicit(0, false, der::Fill(20, 1)); })},
        {"signer-none", "content.signerInfos", MessageWith([](auto *d, auto *) { d->signerInfos = der::Set({}); })},
        {"signer-serial-zero", signer + ".sid.serialNumber",
         with([&](auto *s) { s->sid = named(der::NameOf("Test CA"), der::Integer(0)); })},
        {"signer-name-empty", signer + ".sid.issuer",
         with([&](auto *s) { s->sid = named(der::Name({}), der::Integer(1)); })},
        {"signer-certificate-missing", signer + ".sid", with([](auto *) {})},
        {"signer-usage", signer,
         MessageWith([&](auto *d, auto *) { d->certificates = der::CertificateSet({certificate}); })},
        {"signer-purpose", signer,
         MessageWith([&](auto *d, auto *) { d->certificates = der::CertificateSet({certificate}); })},
        {"signature-wrong", signer + ".signature",
         MessageWith([&](auto *d, auto *) { d->certificates = der::CertificateSet({certificate}); })},
        {"digest-algorithm", signer + ".digestAlgorithm",
         with([](auto *s) { s->digestAlgorithm = der::AlgorithmIdentifier("1.3.14.3.2.26"); })},
        {"digest-size", signer + ".signedAttrs.messageDigest",
         with([](auto *s) { s->signedAttrs = der::SignedAttributes(der::PlainSignedAttributes(der::Fill(20, 1))); })},
        {"digest-missing", signer + ".signedAttrs", with([](auto *s) {
             s->signedAttrs = der::SignedAttributes({der::Attribute("1.2.840.113549.1.9.3", {der::Oid("1.2.3")})});
         })},
        {"digest-missing", signer + ".signedAttrs", with([](auto *s) {
             s->signedAttrs =
                 der::SignedAttributes({der::Attribute("1.2.840.113549.1.9.4", {der::OctetString(Bytes())})});
         })},
        {"signer-not-valid", signer, MessageWith([](auto *d, auto *s) {
             const Bytes late = TokenWith([](auto *i) { i->genTime = der::GeneralizedTime("20991301000000Z"); });
             d->certificates = der::CertificateSet({der::CertificateOf({})});
             s->unsignedAttrs = der::UnsignedAttributes({der::Attribute("1.2.840.113549.1.9.16.2.14", {late})});
         })},
        {"digest-twice", signer + ".signedAttrs[1]", with([&](auto *s) {
             s->signedAttrs = der::SignedAttributes({digest, digest});
         })},
        {"signature-algorithm-not-read", signer + ".signatureAlgorithm",
         with([](auto *s) { s->signatureAlgorithm = der::AlgorithmIdentifier("1.2.840.113549.1.1.10"); })},
        {"signature-size", signer + ".signature",
         with([](auto *s) { s->signature = der::OctetString(der::Fill(517, 1)); })},
        {"content-inside", "content", MessageWith([](auto *d, auto *) {
             d->encapContentInfo =
                 der::Sequence({der::Oid("1.2.840.113549.1.7.1"), der::Explicit(0, der::OctetString({1}))});
         })},
        {"crls-inside", "content",
         MessageWith([](auto *d, auto *) { d->crls = der::Implicit(1, true, der::CertificateListOf({})); })},
        {"token-missing", signer + ".unsignedAttrs", with([](auto *) {})},
        {"token-twice", signer + ".unsignedAttrs[1]", with([&](auto *s) {
             s->unsignedAttrs = der::UnsignedAttributes({token, token});
         })},
        {"token-imprint", signer + ".unsignedAttrs[0].timeStampToken.TSTInfo.messageImprint.hashedMessage",
         with([&](auto *s) { s->unsignedAttrs = der::UnsignedAttributes({token}); })},
    };
}

std::vector<Departure> TokenDepartures()
{
    const Bytes info = der::Encode(der::TstInfo());
    const Bytes certificate = der::CertificateOf({});
    return {
        {"token-content", "content.encapContentInfo.eContent",
         TokenOf({}, [](auto *d) { d->encapContentInfo = der::Sequence({der::Oid("1.2.840.113549.1.9.16.1.4")}); })},
        {"token-time", "TSTInfo.genTime",
         TokenWith([](auto *i) { i->genTime = der::GeneralizedTime("20240102030405.5Z"); })},
        {"token-digest", "content.signerInfos[0].signedAttrs.messageDigest", TokenOf(info)},
        {"token-extension", "TSTInfo.extensions",
         TokenWith([](auto *i) { i->extensions = der::Implicit(1, true, der::Extension("1.2.3", der::Null())); })},
        {"token-unsigned", "content.signerInfos", TokenOf(info, [](auto *d) { d->signerInfos = der::Set({}); })},
        {"authority-purpose", "content.signerInfos[0]",
         TokenOf(info, [&](auto *d) { d->certificates = der::CertificateSet({certificate}); })},
        {"digest-algorithm", "TSTInfo.messageImprint.hashAlgorithm", TokenWith([](auto *i) {
             i->messageImprint =
                 der::MessageImprint(der::AlgorithmIdentifier("1.3.14.3.2.26"), der::OctetString(der::Fill(20, 1)));
         })},
        {"digest-size", "messageImprint.hashedMessage",
         der::Sequence({der::Integer(1), der::MessageImprint(der::AlgorithmIdentifier("2.16.840.1.101.3.4.2.1"),
                                                             der::OctetString(der::Fill(31, 1)))})},
        {"member-missing", "timeStampToken", der::Sequence({der::Sequence({der::Integer(0)})})},
        {"answer-refused", "status",
         der::Sequence({der::Sequence({der::Integer(2), der::Sequence({der::Utf8("no such digest, "
                                                                                 "and more text")})})})},
    };
}

} // namespace

std::vector<Departure> AllDepartures()
{
    std::vector<Departure> all;
    for (const auto &part :
         {FileDepartures(), ElementDepartures(), CertificateDepartures(), SignerDepartures(), TokenDepartures()}) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}
