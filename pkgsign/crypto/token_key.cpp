// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Keys in tokens and HSMs (PKCS #11), named by URI (RFC 7512).
#include <unistd.h>

#include <algorithm>
#include <vector>

#include <openssl/err.h>
#include <openssl/opensslv.h>
#ifndef OPENSSL_NO_ENGINE
#include <openssl/engine.h>
#endif
#if OPENSSL_VERSION_NUMBER >= 0x30000000L
#include <openssl/provider.h>
#endif

#include "pkgsign/crypto/keys.h"
#include "pkgsign/files/files.h"

namespace pkgsign
{
namespace
{

// A URI without what only this program reads, and that.
struct TokenUri {
    std::string uri;
    std::string pinSource;
    std::string modulePath;
};

bool TakePrefix(const std::string &text, const std::string &prefix, std::string *rest)
{
    if (text.rfind(prefix, 0) != 0) {
        return false;
    }
    *rest = text.substr(prefix.size());
    return true;
}

std::string Unescape(const std::string &text)
{
    std::string plain;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 2 < text.size()) {
            plain += static_cast<char>(std::strtoul(text.substr(i + 1, 2).c_str(), nullptr, 16));
            i += 2;
        } else {
            plain += text[i];
        }
    }
    return plain;
}

// RFC 7512, 2.3: query attributes stand behind '?', with '&' between them.
TokenUri ParseTokenUri(const std::string &text)
{
    const size_t question = text.find('?');
    TokenUri parsed = {text.substr(0, question), {}, {}};
    std::string query = question == std::string::npos ? "" : text.substr(question + 1);
    std::string kept;
    while (!query.empty()) {
        const size_t end = std::min(query.find('&'), query.size());
        const std::string attribute = query.substr(0, end);
        query.erase(0, end + 1);
        if (!TakePrefix(attribute, "pin-source=", &parsed.pinSource) &&
            !TakePrefix(attribute, "module-path=", &parsed.modulePath)) {
            kept += (kept.empty() ? "?" : "&") + attribute;
        }
    }
    parsed.uri += kept;
    parsed.pinSource = Unescape(parsed.pinSource);
    parsed.modulePath = Unescape(parsed.modulePath);
    return parsed;
}

Status GetPin(const TokenUri &uri, const std::string &name, Secrets *secrets, Secret *pinOut)
{
    std::string path = uri.pinSource;
    if (path.empty()) {
        return GetPassphrase(secrets, name, false, pinOut);
    }
    if (TakePrefix(uri.pinSource, "file:", &path) && path.rfind("//", 0) == 0) {
        path.erase(0, std::min(path.find('/', 2), path.size())); // file://host/path
    }
    return ReadSecretFile(path, pinOut);
}

#ifndef OPENSSL_NO_ENGINE

constexpr int OPENING_ATTEMPTS = 5; // tokens that were just plugged in, or are busy with another process
constexpr useconds_t OPENING_PAUSE = 200000;

// The engine stays until the end of the process: keys refer to it.
ENGINE *OpenEngine(const std::string &modulePath)
{
    static ENGINE *engine = nullptr;
    if (engine != nullptr) {
        return engine;
    }
    ENGINE *const found = ENGINE_by_id("pkcs11");
    if (found == nullptr) {
        return nullptr;
    }
    const bool configured =
        modulePath.empty() || ENGINE_ctrl_cmd_string(found, "MODULE_PATH", modulePath.c_str(), 0) == 1;
    (void)ENGINE_ctrl_cmd_string(found, "QUIET", nullptr, 0); // its failures are reported here, in one line
    if (!configured || ENGINE_init(found) != 1) {
        ENGINE_free(found);
        return nullptr;
    }
    engine = found;
    return engine;
}

// Whether the last failure was about the PIN. Trying again would use up the token's attempts and lock it.
bool IsPinRefused()
{
    bool refused = false;
    for (unsigned long error = ERR_get_error(); error != 0; error = ERR_get_error()) {
        const char *const reason = ERR_reason_error_string(error);
        std::string text = reason == nullptr ? "" : reason;
        std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
        refused = refused || text.find("pin") != std::string::npos || text.find("login") != std::string::npos;
    }
    return refused;
}

Status LoadEngineKey(const TokenUri &uri, const std::string &name, const Secret &pin, Key *keyOut)
{
    ENGINE *const engine = OpenEngine(uri.modulePath);
    if (engine == nullptr) {
        return FailCrypto("no pkcs11 provider is loaded and the pkcs11 engine cannot be opened (package "
                          "libengine-pkcs11-openssl; PKCS11_MODULE_PATH or module-path names the token's library)");
    }
    Secret text = pin;
    text.push_back('\0');
    for (int attempt = 1;; ++attempt) {
        if (ENGINE_ctrl_cmd_string(engine, "PIN", text.data(), 0) != 1) {
            return FailCrypto("the pkcs11 engine takes no PIN");
        }
        if (EVP_PKEY *const key = ENGINE_load_private_key(engine, uri.uri.c_str(), nullptr, nullptr); key != nullptr) {
            ERR_clear_error();
            *keyOut = ShareKey(key);
            return {};
        }
        if (IsPinRefused()) {
            return Fail("the token refuses the PIN for key '" + Printable(name) + "'");
        }
        if (attempt == OPENING_ATTEMPTS) {
            return Fail("no token has the key '" + Printable(uri.uri) + "'; see pkcs11-tool --list-objects");
        }
        (void)usleep(OPENING_PAUSE);
    }
}

#endif

bool HasProvider()
{
#if OPENSSL_VERSION_NUMBER >= 0x30000000L
    return OSSL_PROVIDER_available(nullptr, "pkcs11") == 1;
#else
    return false;
#endif
}

} // namespace

Status LoadTokenKey(const std::string &text, const std::string &name, Secrets *secrets, Key *keyOut)
{
    const TokenUri uri = ParseTokenUri(text);
    Secret pin;
    const Status status = GetPin(uri, name, secrets, &pin);
    if (!status.ok) {
        return status;
    }
    if (HasProvider()) {
        Secrets own;
        own.known = pin;
        own.isKnown = true;
        return LoadStoreKey(uri.uri, name, &own, keyOut);
    }
#ifdef OPENSSL_NO_ENGINE
    return Fail("libcrypto has no engines here, and no pkcs11 provider is loaded");
#else
    return LoadEngineKey(uri, name, pin, keyOut);
#endif
}

} // namespace pkgsign
