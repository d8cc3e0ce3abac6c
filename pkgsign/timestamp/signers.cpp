// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/timestamp/signers.h"

#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>

#include <openssl/rsa.h>

#include "pkgsign/crypto/keys.h"

namespace pkgsign
{
namespace
{

using ContextPtr = std::shared_ptr<EVP_PKEY_CTX>;

constexpr size_t MESSAGE_SIZE_MAX = 1024;    // of a line: a signature of KEY_BITS_MAX, or a reason
constexpr time_t ANSWER_SECONDS = 30;        // after which a worker is given up
constexpr useconds_t ENDING_LIMIT = 2000000; // microseconds after which workers that hang in their token are killed
constexpr useconds_t ENDING_PAUSE = 1000;
constexpr uint8_t DONE = 0; // first octet of what a worker says
constexpr uint8_t NOT_DONE = 1;

bool Prepare(EVP_PKEY_CTX *ctx, int (*begin)(EVP_PKEY_CTX *))
{
    return ctx != nullptr && begin(ctx) == 1 && EVP_PKEY_CTX_set_rsa_padding(ctx, RSA_PKCS1_PADDING) == 1 &&
           EVP_PKEY_CTX_set_signature_md(ctx, EVP_sha256()) == 1;
}

// ---- In the worker process -----------------------------------------------------------------------------------------

// A message keeps its limits on the line (SOCK_SEQPACKET).
bool Say(int line, uint8_t kind, const Bytes &content)
{
    Bytes message = {kind};
    message.insert(message.end(), content.begin(), content.end());
    message.resize(std::min(message.size(), MESSAGE_SIZE_MAX));
    return send(line, message.data(), message.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(message.size());
}

void SayWhyNot(int line, const Status &status)
{
    (void)Say(line, NOT_DONE, Bytes(status.reason.begin(), status.reason.end()));
}

bool Receive(int line, Bytes *messageOut)
{
    Bytes message(MESSAGE_SIZE_MAX);
    ssize_t size = -1;
    do {
        size = recv(line, message.data(), message.size(), 0);
    } while (size < 0 && errno == EINTR);
    message.resize(size > 0 ? static_cast<size_t>(size) : 0);
    *messageOut = std::move(message);
    return size > 0;
}

Key PublicHalf(const Key &key)
{
    const Bytes der = EncodeDer(i2d_PUBKEY, key.get());
    const unsigned char *next = der.data();
    return ShareKey(d2i_PUBKEY(nullptr, &next, static_cast<long>(der.size())));
}

// Whether a signature is one: a token may hand out what its key has not made.
bool Holds(const Key &publicKey, const Bytes &digest, const Bytes &signature)
{
    const ContextPtr ctx(EVP_PKEY_CTX_new(publicKey.get(), nullptr), EVP_PKEY_CTX_free);
    return Prepare(ctx.get(), EVP_PKEY_verify_init) &&
           EVP_PKEY_verify(ctx.get(), signature.data(), signature.size(), digest.data(), digest.size()) == 1;
}

// Signs what comes over the line until it is closed. The result is the exit status.
int Work(int line, const std::function<Status(Key *)> &load)
{
    Key key;
    SignDigest sign;
    Status status = load(&key);
    if (status.ok) {
        status = SignWithKey(key, &sign);
    }
    if (!status.ok) {
        SayWhyNot(line, status);
        return 1;
    }
    (void)Say(line, DONE, {});
    const Key publicKey = PublicHalf(key);
    Bytes digest;
    Bytes signature;
    while (Receive(line, &digest)) {
        status = sign(digest, &signature);
        if (status.ok && !Holds(publicKey, digest, signature)) {
            status = Fail("the token has made a signature that does not hold");
        }
        if (!status.ok) {
            SayWhyNot(line, status);
            return 1;
        }
        if (!Say(line, DONE, signature)) {
            break;
        }
    }
    return 0;
}

[[noreturn]] void BeWorker(int line, const Workers &others, const std::function<Status(Key *)> &load)
{
    for (const Worker &other : others.held) {
        (void)close(other.line); // else that worker would not see its line end
    }
    (void)prctl(PR_SET_PDEATHSIG, SIGKILL);
    (void)std::signal(SIGTERM, SIG_IGN); // sent to all of a service at once, while what is under way is finished
    (void)std::signal(SIGINT, SIG_IGN);
    _exit(Work(line, load));
}

// ---- In the server -------------------------------------------------------------------------------------------------

Status Understand(const Bytes &message, Bytes *contentOut)
{
    Bytes content(message.begin() + 1, message.end());
    if (message[0] != DONE) {
        return Fail(std::string(content.begin(), content.end()));
    }
    *contentOut = std::move(content);
    return {};
}

Status Listen(int line, Bytes *contentOut)
{
    Bytes message;
    errno = 0;
    if (Receive(line, &message)) {
        return Understand(message, contentOut);
    }
    return errno == EAGAIN ? Fail("a worker process has not answered for " + std::to_string(ANSWER_SECONDS) +
                                  " seconds; does its token hang?")
                           : Fail("a worker process has ended");
}

Status StartWorker(const std::function<Status(Key *)> &load, Workers *workers)
{
    int ends[2] = {-1, -1};
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) {
        return Fail(std::string("cannot start a worker process: ") + std::strerror(errno));
    }
    const pid_t process = fork();
    if (process == 0) {
        (void)close(ends[0]);
        BeWorker(ends[1], *workers, load);
    }
    const int error = errno;
    (void)close(ends[1]);
    if (process < 0) {
        (void)close(ends[0]);
        return Fail(std::string("cannot start a worker process: ") + std::strerror(error));
    }
    workers->held.push_back({process, ends[0]});
    const struct timeval limit = {ANSWER_SECONDS, 0};
    (void)setsockopt(ends[0], SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
    return {};
}

} // namespace

Status SignWithKey(const Key &key, SignDigest *signOut)
{
    const ContextPtr ctx(EVP_PKEY_CTX_new(key.get(), nullptr), EVP_PKEY_CTX_free);
    if (!Prepare(ctx.get(), EVP_PKEY_sign_init)) {
        return FailCrypto("cannot sign with the key");
    }
    *signOut = [ctx, key](const Bytes &digest, Bytes *signatureOut) {
        Bytes signature(static_cast<size_t>(EVP_PKEY_size(key.get())));
        size_t size = signature.size();
        if (EVP_PKEY_sign(ctx.get(), signature.data(), &size, digest.data(), digest.size()) != 1) {
            return FailCrypto("cannot sign");
        }
        signature.resize(size);
        *signatureOut = std::move(signature);
        return Status();
    };
    return {};
}

Status StartWorkers(size_t count, const std::function<Status(Key *)> &load, Workers *workers)
{
    Status status;
    Bytes nothing;
    for (size_t i = 0; status.ok && i < count; ++i) {
        status = StartWorker(load, workers);
        if (status.ok) {
            status = Listen(workers->held.back().line, &nothing);
        }
    }
    return status;
}

SignDigest SignByWorker(const Worker &worker)
{
    const int line = worker.line;
    return [line](const Bytes &digest, Bytes *signatureOut) {
        const bool isSent =
            send(line, digest.data(), digest.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(digest.size());
        const Status status = isSent ? Listen(line, signatureOut) : Fail("a worker process has ended");
        if (!status.ok) {
            (void)shutdown(line, SHUT_RDWR); // an answer that comes too late is not the next one's
        }
        return status;
    };
}

Workers::~Workers()
{
    for (const Worker &worker : held) {
        (void)close(worker.line);
    }
    useconds_t waited = 0; // for all together
    for (const Worker &worker : held) {
        bool hasEnded = false;
        for (; !hasEnded && waited < ENDING_LIMIT; waited += ENDING_PAUSE) {
            hasEnded = waitpid(worker.process, nullptr, WNOHANG) != 0;
            (void)usleep(hasEnded ? 0 : ENDING_PAUSE);
        }
        if (!hasEnded) {
            (void)kill(worker.process, SIGKILL);
            (void)waitpid(worker.process, nullptr, 0);
        }
    }
}

} // namespace pkgsign
