// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/pki/store_writer.h"

#include <time.h>

namespace
{

using namespace der;

// A signature that holds under the key with this number; the counter makes it differ from all others.
Bytes Signature(uint8_t key, uint8_t counter)
{
    return BitString(0, {key, counter, 0x5A, 0x5A});
}

Bytes Time(int64_t seconds)
{
    const time_t instant = static_cast<time_t>(seconds);
    struct tm parts = {};
    char text[32] = {};
    (void)gmtime_r(&instant, &parts);
    (void)strftime(text, sizeof(text), "%Y%m%d%H%M%SZ", &parts);
    return UtcTime(text + 2); // without the century
}

// A date: the text when there is one, else the seconds.
Bytes Time(int64_t seconds, const std::string &text)
{
    if (text.empty()) {
        return Time(seconds);
    }
    return text[0] == 'G' ? GeneralizedTime(text.substr(1)) : UtcTime(text);
}

Bytes WrittenName(const std::string &text, NameForm form)
{
    const Bytes commonName = NameAttribute("2.5.4.3", form == NameForm::PRINTABLE ? Printable(text) : Utf8(text));
    std::vector<Bytes> parts = {RelativeName({NameAttribute("2.5.4.6", Printable("XX"))}),
                                RelativeName({NameAttribute("2.5.4.10", Utf8("Test"))})};
    switch (form) {
    case NameForm::EMPTY:
        return Name({});
    case NameForm::SHORTER:
        return Name(parts);
    case NameForm::UNIT:
        parts.push_back(RelativeName({NameAttribute("2.5.4.11", Utf8(text))}));
        return Name(parts);
    case NameForm::SECOND_ATTRIBUTE:
        parts.push_back(RelativeName({commonName, NameAttribute("2.5.4.11", Utf8("Other"))}));
        return Name(parts);
    case NameForm::LONGER:
        parts.push_back(RelativeName({commonName}));
        break;
    case NameForm::PLAIN:
    case NameForm::PRINTABLE:
        break;
    }
    parts.push_back(RelativeName({commonName}));
    return Name(parts);
}

Bytes KeyUsage(const WrittenCert &cert)
{
    Bytes usage = {static_cast<uint8_t>(0x80 | (cert.mayCertSign ? 0x04 : 0) | (cert.mayCrlSign ? 0x02 : 0))};
    if (cert.usageTail >= 0) {
        usage.push_back(static_cast<uint8_t>(cert.usageTail));
    }
    return KeyUsageExtension(BitString(1, usage));
}

Bytes SubjectKey(const WrittenCert &cert)
{
    const Bytes modulus = Concatenate({Fill(cert.longKey ? 512 : 1, 0x40), {cert.key}});
    return SubjectPublicKeyInfo(AlgorithmIdentifier("1.2.840.113549.1.1.1"),
                                BitString(0, RsaPublicKey(IntegerRaw(modulus), Integer(65537))));
}

Bytes EncodeCert(const WrittenCert &cert, uint8_t counter)
{
    TbsCertificate tbs;
    tbs.serialNumber = Integer(cert.serial);
    tbs.issuer = WrittenName(cert.issuer, cert.issuerForm);
    tbs.subject = WrittenName(cert.subject, cert.subjectForm);
    tbs.validity = Validity(Time(cert.notBefore, cert.notBeforeText), Time(cert.notAfter, cert.notAfterText));
    tbs.subjectPublicKeyInfo = SubjectKey(cert);
    tbs.extensions = CertExtensions({BasicConstraintsExtension(cert.cA), KeyUsage(cert)});
    Certificate whole;
    whole.tbsCertificate = Encode(tbs);
    whole.signatureAlgorithm = AlgorithmIdentifier(cert.algorithm);
    whole.signatureValue = Signature(cert.issuerKey, counter);
    return Encode(whole);
}

Bytes EncodeCrl(const WrittenCrl &crl, uint8_t counter)
{
    TbsCertList tbs;
    tbs.issuer = WrittenName(crl.issuer, crl.issuerForm);
    tbs.nextUpdate = Time(crl.nextUpdate, crl.nextUpdateText);
    std::vector<Bytes> entries;
    for (const WrittenEntry &entry : crl.entries) {
        const Member extensions = entry.reason < 0 ? Member() : ReasonExtensions(entry.reason);
        entries.push_back(RevokedEntry(Integer(entry.serial), Time(entry.date, entry.dateText), extensions));
    }
    if (!entries.empty()) {
        tbs.revokedCertificates = Sequence(entries);
    }
    if (crl.indirect) {
        const Bytes point = Sequence({Implicit(4, false, {0xFF})});
        tbs.crlExtensions = CrlExtensions({Extension("2.5.29.28", point, Boolean())});
    }
    CertificateList whole;
    whole.tbsCertList = Encode(tbs);
    whole.signatureAlgorithm = AlgorithmIdentifier(crl.algorithm);
    whole.signatureValue = Signature(crl.issuerKey, counter);
    return Encode(whole);
}

void Append(Bytes *file, const Bytes &encoded)
{
    file->insert(file->end(), encoded.begin(), encoded.end());
}

} // namespace

WrittenFiles WriteFiles(const WrittenStore &added, size_t anchors, size_t certsThere, size_t crlsThere)
{
    constexpr size_t firstCrl = 0x80; // signatures of certificates and CRLs are counted apart
    WrittenFiles files;
    for (size_t i = 0; i < added.certs.size(); ++i) {
        const Bytes encoded = EncodeCert(added.certs[i], static_cast<uint8_t>(certsThere + i));
        Append(i < anchors || added.crls.empty() ? &files.anchors : &files.others, encoded);
    }
    for (size_t i = 0; i < added.crls.size(); ++i) {
        Append(&files.others, EncodeCrl(added.crls[i], static_cast<uint8_t>(firstCrl + crlsThere + i)));
    }
    return files;
}

bool AddFiles(SigkitVerifyCtx *ctx, const WrittenFiles &files)
{
    const uint32_t anchors = static_cast<uint32_t>(files.anchors.size());
    const uint32_t others = static_cast<uint32_t>(files.others.size());
    return (anchors == 0 || SigkitVerifyAddCert(ctx, files.anchors.data(), anchors) == SIGKIT_OK) &&
           (others == 0 || SigkitVerifyAddCrl(ctx, files.others.data(), others) == SIGKIT_OK);
}

SigkitVerifyCtx *NewContext()
{
    SigkitVerifyCreateParam param = SIGKIT_VERIFY_CREATE_PARAM_INIT;
    SigkitVerifyCtx *ctx = nullptr;
    if (SigkitVerifyCreateCtx(&ctx, &param) != SIGKIT_OK) {
        return nullptr;
    }
    ctx->verifyTime = JUDGED_AT;
    return ctx;
}

SigkitVerifyCtx *LoadStore(const WrittenStore &store)
{
    ContextGuard guard(NewContext());
    return guard.held != nullptr && AddFiles(guard.held, WriteFiles(store, 1)) ? guard.Take() : nullptr;
}
