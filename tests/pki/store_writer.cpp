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

Bytes SubjectKey(uint8_t key)
{
    return SubjectPublicKeyInfo(AlgorithmIdentifier("1.2.840.113549.1.1.1"),
                                BitString(0, RsaPublicKey(IntegerRaw({0x40, key}), Integer(65537))));
}

Bytes EncodeCert(const WrittenCert &cert, uint8_t counter)
{
    const uint8_t usage = static_cast<uint8_t>(0x80 | (cert.mayCertSign ? 0x04 : 0) | (cert.mayCrlSign ? 0x02 : 0));
    TbsCertificate tbs;
    tbs.serialNumber = Integer(cert.serial);
    tbs.issuer = NameOf(cert.issuer);
    tbs.subject = NameOf(cert.subject);
    tbs.validity = Validity(Time(cert.notBefore), Time(cert.notAfter));
    tbs.subjectPublicKeyInfo = SubjectKey(cert.key);
    tbs.extensions = CertExtensions({BasicConstraintsExtension(cert.cA), KeyUsageExtension(BitString(1, {usage}))});
    Certificate whole;
    whole.tbsCertificate = Encode(tbs);
    whole.signatureValue = Signature(cert.issuerKey, counter);
    return Encode(whole);
}

Bytes EncodeCrl(const WrittenCrl &crl, uint8_t counter)
{
    TbsCertList tbs;
    tbs.issuer = NameOf(crl.issuer);
    tbs.nextUpdate = crl.nextUpdateText.empty() ? Time(crl.nextUpdate) : UtcTime(crl.nextUpdateText);
    std::vector<Bytes> entries;
    for (const WrittenEntry &entry : crl.entries) {
        const Member extensions = entry.reason < 0 ? Member() : ReasonExtensions(entry.reason);
        const Bytes date = entry.dateText.empty() ? Time(entry.date) : UtcTime(entry.dateText);
        entries.push_back(RevokedEntry(Integer(entry.serial), date, extensions));
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

bool Load(SigkitVerifyCtx *ctx, const WrittenStore &store)
{
    uint8_t counter = 0;
    Bytes file;
    for (const WrittenCert &cert : store.certs) {
        const Bytes encoded = EncodeCert(cert, ++counter);
        if (counter == 1 && SigkitVerifyAddCert(ctx, encoded.data(), static_cast<uint32_t>(encoded.size())) != 0) {
            return false;
        }
        file = Concatenate({file, encoded});
    }
    for (const WrittenCrl &crl : store.crls) {
        file = Concatenate({file, EncodeCrl(crl, ++counter)});
    }
    return store.crls.empty() || SigkitVerifyAddCrl(ctx, file.data(), static_cast<uint32_t>(file.size())) == 0;
}

} // namespace

SigkitVerifyCtx *LoadStore(const WrittenStore &store)
{
    SigkitVerifyCreateParam param = {};
    param.size = sizeof(param);
    SigkitVerifyCtx *ctx = nullptr;
    if (SigkitVerifyCreateCtx(&ctx, &param) != SIGKIT_OK) {
        return nullptr;
    }
    ContextGuard guard(ctx);
    if (!Load(ctx, store)) {
        return nullptr;
    }
    ctx->verifyTime = JUDGED_AT;
    return guard.Take();
}
