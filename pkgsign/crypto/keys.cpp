// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/crypto/keys.h"

#include <algorithm>
#include <cstring>

#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/pkcs12.h>
#include <openssl/rsa.h>
#include <openssl/store.h>
#include <openssl/ui.h>

#include "pkgsign/files/files.h"

namespace pkgsign
{
namespace
{

struct Asked {
    Secrets *secrets;
    std::string name;
    Status status; // why no passphrase was given
    bool isGiven = false;
};

// libcrypto's callback for a passphrase.
int GivePassphrase(char *buffer, int size, int, void *data)
{
    Asked *const asked = static_cast<Asked *>(data);
    Secret passphrase;
    asked->status = GetPassphrase(asked->secrets, asked->name, false, &passphrase);
    if (!asked->status.ok || passphrase.size() > static_cast<size_t>(size)) {
        return -1;
    }
    std::copy(passphrase.begin(), passphrase.end(), buffer);
    asked->isGiven = true;
    return static_cast<int>(passphrase.size());
}

// PBKDF2 with HMAC-SHA-256. libcrypto's default of 2,048 is from a time when guessing was dear.
constexpr int PASSPHRASE_ITERATIONS = 600000;

using PlainKeyPtr = std::unique_ptr<PKCS8_PRIV_KEY_INFO, Deleter<PKCS8_PRIV_KEY_INFO_free>>;
using EncryptedKeyPtr = std::unique_ptr<X509_SIG, Deleter<X509_SIG_free>>;
using StorePtr = std::unique_ptr<OSSL_STORE_CTX, Deleter<OSSL_STORE_close>>;
using UiPtr = std::unique_ptr<UI_METHOD, Deleter<UI_destroy_method>>;
using InfoPtr = std::unique_ptr<OSSL_STORE_INFO, Deleter<OSSL_STORE_INFO_free>>;

// The first private key of a store that is open; null when there is none.
Key FindKey(OSSL_STORE_CTX *store)
{
    while (OSSL_STORE_eof(store) == 0 && OSSL_STORE_error(store) == 0) {
        const InfoPtr info(OSSL_STORE_load(store));
        if (info != nullptr && OSSL_STORE_INFO_get_type(info.get()) == OSSL_STORE_INFO_PKEY) {
            return ShareKey(OSSL_STORE_INFO_get1_PKEY(info.get()));
        }
    }
    return nullptr;
}

} // namespace

bool IsUri(const std::string &text)
{
    const size_t colon = text.find(':');
    return colon != std::string::npos && colon < text.find('/');
}

bool IsTokenUri(const std::string &text)
{
    return strncasecmp(text.c_str(), "pkcs11:", 7) == 0; // RFC 3986, 3.1: a scheme in whatever case
}

Status LoadKey(const std::string &uri, const std::string &name, Secrets *secrets, Key *keyOut)
{
    if (IsUri(uri) && strcasestr(uri.c_str(), "pin-value=") != nullptr) {
        return Fail("the URI of key '" + Printable(name) +
                    "' holds a PIN, which every user of this machine can read; "
                    "use pin-source or --passphrase-file, and change the PIN");
    }
    const std::string &asked = secrets->files.count(uri) != 0 ? uri : name;
    Key key;
    Status status = IsTokenUri(uri) ? LoadTokenKey(uri, asked, secrets, &key) : LoadStoreKey(uri, asked, secrets, &key);
    if (status.ok) {
        status = CheckKeyKind(key.get(), "key '" + Printable(name) + "'");
    }
    if (status.ok) {
        *keyOut = std::move(key);
    }
    return status;
}

Status LoadStoreKey(const std::string &uri, const std::string &name, Secrets *secrets, Key *keyOut)
{
    Asked asked = {secrets, name, {}, false};
    const UiPtr ui(UI_UTIL_wrap_read_pem_callback(GivePassphrase, 0));
    const StorePtr store(OSSL_STORE_open(uri.c_str(), ui.get(), &asked, nullptr, nullptr));
    Key key = store == nullptr ? nullptr : FindKey(store.get());
    if (key == nullptr) {
        const std::string what = "cannot load a private key from '" + Printable(uri) + "'";
        const Status status = FailCrypto(what);
        if (asked.isGiven && !IsTokenUri(uri)) { // libcrypto names the cipher's trouble
            return Fail(what + ": the passphrase for key '" + Printable(name) + "' does not fit it");
        }
        return asked.status.ok ? status : asked.status;
    }
    ERR_clear_error();
    *keyOut = std::move(key);
    return {};
}

Status GenerateKey(int bits, Key *keyOut)
{
    const std::unique_ptr<EVP_PKEY_CTX, Deleter<EVP_PKEY_CTX_free>> ctx(EVP_PKEY_CTX_new_id(EVP_PKEY_RSA, nullptr));
    EVP_PKEY *key = nullptr;
    if (bits < KEY_BITS_MIN || bits > KEY_BITS_MAX) {
        return Fail("a key has " + std::to_string(KEY_BITS_MIN) + " to " + std::to_string(KEY_BITS_MAX) +
                    " bits, not " + std::to_string(bits));
    }
    if (ctx == nullptr || EVP_PKEY_keygen_init(ctx.get()) != 1 ||
        EVP_PKEY_CTX_set_rsa_keygen_bits(ctx.get(), bits) != 1 || EVP_PKEY_keygen(ctx.get(), &key) != 1) {
        return FailCrypto("cannot generate a key");
    }
    *keyOut = ShareKey(key);
    return {};
}

Status WriteKey(const std::string &path, const Key &key, const Secret *passphrase)
{
    const BioPtr memory(BIO_new(BIO_s_mem()));
    const PlainKeyPtr plain(EVP_PKEY2PKCS8(key.get()));
    bool isWritten = false;
    if (plain != nullptr && passphrase == nullptr) {
        isWritten = PEM_write_bio_PKCS8_PRIV_KEY_INFO(memory.get(), plain.get()) == 1;
    } else if (plain != nullptr) {
        const EncryptedKeyPtr encrypted(PKCS8_encrypt(-1, EVP_aes_256_cbc(), passphrase->data(),
                                                      static_cast<int>(passphrase->size()), nullptr, 0,
                                                      PASSPHRASE_ITERATIONS, plain.get()));
        isWritten = encrypted != nullptr && PEM_write_bio_PKCS8(memory.get(), encrypted.get()) == 1;
    }
    char *data = nullptr;
    const long size = BIO_get_mem_data(memory.get(), &data); // wiped with the BIO
    if (!isWritten || size <= 0) {
        return FailCrypto("cannot encode the key for '" + Printable(path) + "'");
    }
    return WriteNew(path, data, static_cast<size_t>(size), 0600);
}

Key CopyKey(const Key &key)
{
    const PlainKeyPtr plain(EVP_PKEY2PKCS8(key.get())); // wiped with the object
    const Key copy = plain == nullptr ? nullptr : ShareKey(EVP_PKCS82PKEY(plain.get()));
    ERR_clear_error();
    return copy == nullptr ? key : copy;
}

Status CheckKeyKind(const EVP_PKEY *key, const std::string &what)
{
    const int bits = EVP_PKEY_bits(key);
    if (EVP_PKEY_base_id(key) != EVP_PKEY_RSA || bits < KEY_BITS_MIN || bits > KEY_BITS_MAX) {
        return Fail(what + " is not RSA of " + std::to_string(KEY_BITS_MIN) + " to " + std::to_string(KEY_BITS_MAX) +
                    " bits, which is all that devices take");
    }
    return {};
}

Status CheckKeyFits(const Key &key, const X509 *certificate, const std::string &what)
{
    const EVP_PKEY *const certified = X509_get0_pubkey(certificate);
    if (certified == nullptr || !SamePublicKey(key.get(), certified)) {
        ERR_clear_error();
        return Fail(what + ": the private key is not the one that the certificate is for");
    }
    return {};
}

} // namespace pkgsign
