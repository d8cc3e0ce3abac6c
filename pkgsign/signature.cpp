#include "pkgsign/signature.h"
#include "pkgsign/der.h"
#include "pkgsign/digest.h"
#include "pkgsign/status.h"

#include <openssl/evp.h>

namespace
{
using KeyContext = std::unique_ptr<EVP_PKEY_CTX, decltype(&EVP_PKEY_CTX_free)>;

// In the order of PkgsignDigest.
constexpr const char *RSA_IDENTIFIERS[] = {"1.2.840.113549.1.1.5", "1.2.840.113549.1.1.11", "1.2.840.113549.1.1.12",
                                           "1.2.840.113549.1.1.13"};
constexpr const char *ECDSA_IDENTIFIERS[] = {"1.2.840.10045.4.1", "1.2.840.10045.4.3.2", "1.2.840.10045.4.3.3",
                                             "1.2.840.10045.4.3.4"};

PkgsignBytes RsaAlgorithm(const char *identifier)
{
    return PkgsignDerSequence({PkgsignDerKnownIdentifier(identifier), PkgsignDerNull()}); // RFC 4055, 5: NULL stays
}

} // namespace

PkgsignStatus PkgsignSignHash(const PkgsignKey &key, PkgsignDigest digest, const PkgsignBytes &hash,
                              PkgsignBytes *signatureOut)
{
    if (key == nullptr) {
        return PkgsignFail("no key to sign with");
    }
    const KeyContext context(EVP_PKEY_CTX_new(key.get(), nullptr), EVP_PKEY_CTX_free);
    size_t size = 0;
    if (context == nullptr || EVP_PKEY_sign_init(context.get()) <= 0 ||
        EVP_PKEY_CTX_set_signature_md(context.get(), PkgsignDigestMethod(digest)) <= 0 ||
        EVP_PKEY_sign(context.get(), nullptr, &size, hash.data(), hash.size()) <= 0) {
        return PkgsignFailCrypto("cannot sign");
    }
    PkgsignBytes signature(size);
    if (EVP_PKEY_sign(context.get(), signature.data(), &size, hash.data(), hash.size()) <= 0) {
        return PkgsignFailCrypto("cannot sign");
    }
    signature.resize(size);
    *signatureOut = std::move(signature);
    return PkgsignOk();
}

PkgsignStatus PkgsignSignOctets(const PkgsignKey &key, PkgsignDigest digest, const PkgsignBytes &data,
                                PkgsignBytes *signatureOut)
{
    PkgsignBytes hash;
    const PkgsignStatus status = PkgsignHash(digest, data, &hash);
    return status.ok ? PkgsignSignHash(key, digest, hash, signatureOut) : status;
}

PkgsignStatus PkgsignSignatureAlgorithm(const PkgsignKey &key, PkgsignDigest digest, PkgsignBytes *algorithmOut)
{
    switch (key == nullptr ? EVP_PKEY_NONE : EVP_PKEY_base_id(key.get())) {
    case EVP_PKEY_RSA:
        *algorithmOut = RsaAlgorithm(RSA_IDENTIFIERS[static_cast<size_t>(digest)]);
        return PkgsignOk();
    case EVP_PKEY_EC:
        *algorithmOut = PkgsignDerSequence({PkgsignDerKnownIdentifier(ECDSA_IDENTIFIERS[static_cast<size_t>(digest)])});
        return PkgsignOk();
    default:
        return PkgsignFail("the signing key is neither RSA nor elliptic curve");
    }
}

PkgsignStatus PkgsignSignerAlgorithm(const PkgsignKey &key, PkgsignDigest digest, PkgsignBytes *algorithmOut)
{
    if (key != nullptr && EVP_PKEY_base_id(key.get()) == EVP_PKEY_RSA) {
        *algorithmOut = RsaAlgorithm("1.2.840.113549.1.1.1");
        return PkgsignOk();
    }
    return PkgsignSignatureAlgorithm(key, digest, algorithmOut);
}

PkgsignStatus PkgsignSignStructure(const PkgsignKey &key, PkgsignDigest digest, const PkgsignBytes &toBeSigned,
                                   PkgsignBytes *structureOut)
{
    PkgsignBytes algorithm;
    PkgsignBytes signature;
    PkgsignStatus status = PkgsignSignatureAlgorithm(key, digest, &algorithm);
    if (status.ok) {
        status = PkgsignSignOctets(key, digest, toBeSigned, &signature);
    }
    if (status.ok) {
        *structureOut = PkgsignDerSequence({toBeSigned, algorithm, PkgsignDerBitString(signature)});
    }
    return status;
}
