// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/pkgsign/support.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "pkgsign/authority/certificates.h"
#include "pkgsign/authority/crls.h"
#include "pkgsign/authority/device.h"
#include "pkgsign/commands/command.h"
#include "pkgsign/crypto/pointers.h"
#include "pkgsign/files/files.h"
#include "pkgsign/files/objects.h"

namespace
{

int g_realSignatures = 0;
std::function<void(const std::string &)> g_onSignature;

std::vector<pkgsign::Key> g_keys; // of SameKeys, in the order in which a command asks for them
size_t g_given = 0;
bool g_areSameKeys = false;

// Which of the calls fails, or is the last one before a crash.
int g_left = 0;
bool g_crashes = false;
pkgsign::SystemCalls g_calls;

constexpr size_t PIECE = 1024; // octets of one write, so that there are writes of several

// True when this call is to fail. A crash happens behind the call that it follows.
bool Fails()
{
    --g_left;
    return g_left == 0 && !g_crashes;
}

template <typename T>
T After(T result)
{
    if (g_left == 0 && g_crashes) {
        _exit(CRASHED);
    }
    return result;
}

int Broken()
{
    errno = EIO;
    return -1;
}

pkgsign::SystemCalls Watched()
{
    return {[](const char *path, int flags, mode_t mode) {
                return Fails() ? Broken() : After(g_calls.open(path, flags, mode));
            },
            [](int file, const void *data, size_t size) -> ssize_t {
                return Fails() ? Broken() : After(g_calls.write(file, data, std::min(size, PIECE)));
            },
            [](int file) { return Fails() ? Broken() : After(g_calls.fsync(file)); },
            [](int file) { // a close that fails has closed
                const int result = g_calls.close(file);
                return Fails() ? Broken() : After(result);
            },
            [](const char *from, const char *to) { return Fails() ? Broken() : After(g_calls.rename(from, to)); },
            [](const char *from, const char *to) { return Fails() ? Broken() : After(g_calls.renameNew(from, to)); },
            [](const char *path) { return Fails() ? Broken() : After(g_calls.unlink(path)); },
            [](const char *path, mode_t mode) { return Fails() ? Broken() : After(g_calls.mkdir(path, mode)); },
            [](const char *a, const char *b) { return Fails() ? Broken() : After(g_calls.exchange(a, b)); }};
}

bool IsThrowaway(const EVP_PKEY *key)
{
    pkgsign::Key throwaway;
    const int bits = EVP_PKEY_bits(key);
    return (bits == 2048 || bits == 3072 || bits == 4096) && pkgsign::ThrowawayKey(bits, &throwaway).ok &&
           pkgsign::SamePublicKey(key, throwaway.get());
}

void Note(const EVP_PKEY *key, const std::string &number = "")
{
    if (IsThrowaway(key)) {
        return;
    }
    ++g_realSignatures;
    if (g_onSignature != nullptr && !number.empty()) {
        g_onSignature(number);
    }
}

std::string ReadText(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

void ExpectOneLine(const Outcome &outcome, const std::string &reason)
{
    EXPECT_EQ("", outcome.out);
    EXPECT_EQ(0u, outcome.errors.rfind("pkgsign", 0)) << outcome.errors;
    EXPECT_TRUE(outcome.errors.find(reason) != std::string::npos) << outcome.errors;
    ASSERT_FALSE(outcome.errors.empty());
    EXPECT_EQ(outcome.errors.size() - 1, outcome.errors.find('\n')) << outcome.errors;
}

// Leads a descriptor into a file for as long as it lives.
struct Redirection {
    int descriptor;
    int before;

    Redirection(int target, const std::string &path) : descriptor(target), before(dup(target))
    {
        const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        (void)dup2(file, descriptor);
        (void)close(file);
    }
    ~Redirection()
    {
        (void)dup2(before, descriptor);
        (void)close(before);
    }
    Redirection(const Redirection &) = delete;
    Redirection &operator=(const Redirection &) = delete;
};

} // namespace

extern "C" {
int __real_X509_sign(X509 *certificate, EVP_PKEY *key, const EVP_MD *digest);
int __wrap_X509_sign(X509 *certificate, EVP_PKEY *key, const EVP_MD *digest)
{
    Note(key, pkgsign::SerialText(certificate));
    return __real_X509_sign(certificate, key, digest);
}
int __real_EVP_PKEY_keygen(EVP_PKEY_CTX *ctx, EVP_PKEY **key);
int __wrap_EVP_PKEY_keygen(EVP_PKEY_CTX *ctx, EVP_PKEY **key)
{
    if (!g_areSameKeys) {
        return __real_EVP_PKEY_keygen(ctx, key);
    }
    if (g_given == g_keys.size()) {
        EVP_PKEY *made = nullptr;
        if (__real_EVP_PKEY_keygen(ctx, &made) != 1) {
            return 0;
        }
        g_keys.push_back(pkgsign::ShareKey(made));
    }
    *key = g_keys[g_given++].get();
    return EVP_PKEY_up_ref(*key);
}
int __real_X509_CRL_sign(X509_CRL *crl, EVP_PKEY *key, const EVP_MD *digest);
int __wrap_X509_CRL_sign(X509_CRL *crl, EVP_PKEY *key, const EVP_MD *digest)
{
    Note(key, pkgsign::CrlNumber(crl));
    return __real_X509_CRL_sign(crl, key, digest);
}
int __real_EVP_DigestSignInit(EVP_MD_CTX *ctx, EVP_PKEY_CTX **keyOut, const EVP_MD *digest, ENGINE *engine,
                              EVP_PKEY *key);
int __wrap_EVP_DigestSignInit(EVP_MD_CTX *ctx, EVP_PKEY_CTX **keyOut, const EVP_MD *digest, ENGINE *engine,
                              EVP_PKEY *key)
{
    Note(key);
    return __real_EVP_DigestSignInit(ctx, keyOut, digest, engine, key);
}
int __real_X509_REQ_sign(X509_REQ *request, EVP_PKEY *key, const EVP_MD *digest);
int __wrap_X509_REQ_sign(X509_REQ *request, EVP_PKEY *key, const EVP_MD *digest)
{
    Note(key);
    return __real_X509_REQ_sign(request, key, digest);
}
PKCS7_SIGNER_INFO *__real_PKCS7_add_signature(PKCS7 *message, X509 *certificate, EVP_PKEY *key, const EVP_MD *digest);
PKCS7_SIGNER_INFO *__wrap_PKCS7_add_signature(PKCS7 *message, X509 *certificate, EVP_PKEY *key, const EVP_MD *digest)
{
    Note(key);
    return __real_PKCS7_add_signature(message, certificate, key, digest);
}
}

int RealSignatures()
{
    return g_realSignatures;
}

SignatureWatch::SignatureWatch(std::function<void(const std::string &)> onSignature)
{
    g_onSignature = std::move(onSignature);
}

SignatureWatch::~SignatureWatch()
{
    g_onSignature = nullptr;
}

SameKeys::SameKeys()
{
    g_keys.clear();
    g_areSameKeys = true;
}

SameKeys::~SameKeys()
{
    g_areSameKeys = false;
}

Fault::Fault(int n, bool crashes)
{
    g_left = n;
    g_crashes = crashes;
    g_calls = pkgsign::g_systemCalls;
    pkgsign::g_systemCalls = Watched();
}

Fault::~Fault()
{
    pkgsign::g_systemCalls = g_calls;
}

bool Fault::Struck() const
{
    return g_left <= 0;
}

Outcome Pkgsign(std::vector<std::string> arguments)
{
    const TemporaryDirectory directory;
    Outcome outcome;
    g_given = 0;
    arguments.insert(arguments.begin(), "pkgsign");
    std::vector<char *> argv = pkgsign::Pointers(&arguments);
    {
        const Redirection out(STDOUT_FILENO, directory.File("out"));
        const Redirection errors(STDERR_FILENO, directory.File("errors"));
        outcome.status =
            pkgsign::RunCommandLine(static_cast<int>(arguments.size()), argv.data(), pkgsign::AllCommands());
        (void)fflush(stderr);
    }
    outcome.out = ReadText(directory.File("out"));
    outcome.errors = ReadText(directory.File("errors"));
    return outcome;
}

bool HasTerminals()
{
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    const bool isNamed = terminal >= 0 && ptsname(terminal) != nullptr && access(ptsname(terminal), F_OK) == 0;
    (void)close(terminal);
    return isNamed;
}

bool Contains(const std::string &text, const std::string &part)
{
    return text.find(part) != std::string::npos;
}

void ExpectRefused(const Outcome &outcome, const std::string &reason)
{
    EXPECT_EQ(1, outcome.status) << outcome.out << outcome.errors;
    ExpectOneLine(outcome, reason);
}

void ExpectUsage(const Outcome &outcome, const std::string &reason)
{
    EXPECT_EQ(2, outcome.status) << outcome.out << outcome.errors;
    ExpectOneLine(outcome, reason);
}

void ExpectDone(const Outcome &outcome)
{
    EXPECT_EQ(0, outcome.status) << outcome.errors;
    EXPECT_EQ("", outcome.errors);
}

void InFolder::SetUp()
{
    std::filesystem::copy(PKGSIGN_TEMPLATE, Path("pki"), std::filesystem::copy_options::recursive);
    Write("content", "content\n");
}

std::string InFolder::Path(const std::string &name) const
{
    return directory.File(name);
}

void InFolder::Write(const std::string &name, const std::string &text) const
{
    std::ofstream(Path(name), std::ios::binary) << text;
}

std::string InFolder::Read(const std::string &name) const
{
    return ReadText(Path(name));
}

bool InFolder::Made(const std::string &name) const
{
    return std::filesystem::exists(Path(name));
}

Outcome InFolder::At(const std::string &now, std::vector<std::string> arguments) const
{
    arguments.insert(arguments.end(), {"--pki", Path("pki"), "--now", now, "--no-input"});
    return Pkgsign(arguments);
}

Outcome InFolder::Run(std::vector<std::string> arguments) const
{
    return At(NOW, std::move(arguments));
}

bool InFolder::DeviceTakes(const std::string &message, const std::string &content, const std::string &crls) const
{
    pkgsign::Setting setting;
    pkgsign::Bytes data;
    EXPECT_TRUE(pkgsign::ReadCertificate(Path("pki/certificates/root.pem"), &setting.root).ok);
    EXPECT_TRUE(pkgsign::ReadWhole(Path(crls), &setting.crlFile).ok);
    EXPECT_TRUE(pkgsign::ReadWhole(Path(message), &data).ok);
    return pkgsign::AskDeviceAboutFile(setting, data, Path(content)).accepted;
}

ProcessResult InFolder::Openssl(const std::vector<std::string> &arguments) const
{
    std::vector<std::string> command = {OPENSSL_PROGRAM};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return RunProcess(command);
}

pkgsign::Pki InFolder::Memory() const
{
    pkgsign::Pki pki;
    const pkgsign::Status status = pkgsign::LoadPki(Path("pki"), &pki);
    EXPECT_TRUE(status.ok) << status.reason;
    return pki;
}
