// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <thread>

#include "pkgsign/authority/rehearsal.h"
#include "pkgsign/commands/command.h"
#include "pkgsign/files/files.h"
#include "pkgsign/files/objects.h"
#include "pkgsign/timestamp/server.h"
#include "pkgsign/timestamp/signers.h"

namespace pkgsign
{
namespace
{

constexpr long WORKERS_MAX = 64;
constexpr long CONNECTIONS_MAX = 65536;
constexpr long CLIENT_SECONDS_MAX = 3600;
constexpr size_t PORT_DIGITS_MAX = 5;
constexpr long PORT_MAX = 65535;
constexpr char LOOPBACK[] = "127.0.0.1";
constexpr size_t QUICK_BATCH = 4;  // of a key in this process; more would save little and delay answers
constexpr size_t CHAIN_LENGTH = 3; // authority, issuing CA, root

struct Options {
    std::string listen = "127.0.0.1:3161";
    std::string timestamp;
    std::string key;
    std::string certificates;
    std::string policy = TIMESTAMP_POLICY;
    std::string state;
    std::string errorMax;
    std::string workers;
    std::string connections = "1024";
    std::string timeout = "30";
};

// Who stamps: certificates, and how to come by the key.
struct Stamper {
    Chain chain;
    std::string keyUri;
    std::string keyName; // by which its passphrase or PIN is asked for
    std::string state;   // the clock's file, where none is named
    std::function<Status(Key *)> load;
};

Status ParseCount(const std::string &option, const std::string &text, long max, long *countOut)
{
    char *end = nullptr;
    const long count = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || count < 1 || count > max) {
        return FailUsage(option + " wants a number from 1 to " + std::to_string(max));
    }
    *countOut = count;
    return {};
}

// An address of IPv6 stands in brackets, so that its colons are not the one before the port.
Status ParseListen(const std::string &text, ServerOrder *order)
{
    const size_t colon = text.rfind(':');
    std::string host = text.substr(0, std::min(colon, text.size()));
    const std::string port = colon == std::string::npos ? "" : text.substr(colon + 1);
    const bool isBracketed = host.size() > 2 && host.front() == '[' && host.back() == ']';
    if (port.empty() || port.size() > PORT_DIGITS_MAX || port.find_first_not_of("0123456789") != std::string::npos ||
        std::stol(port) > PORT_MAX || (!isBracketed && host.find(':') != std::string::npos)) {
        return FailUsage("--listen wants HOST:PORT, for instance 127.0.0.1:3161 or [::1]:3161");
    }
    if (isBracketed) {
        host = host.substr(1, host.size() - 2);
    }
    order->host = host.empty() ? LOOPBACK : host;
    order->port = port;
    return {};
}

Status ParseErrorMax(const std::string &text, double *secondsOut)
{
    if (text.empty()) {
        *secondsOut = -1; // the kernel is not asked
        return {};
    }
    char *end = nullptr;
    *secondsOut = std::strtod(text.c_str(), &end);
    return *end == '\0' && *secondsOut > 0 && std::isfinite(*secondsOut)
               ? Status()
               : FailUsage("--max-clock-error wants seconds, for instance 0.5");
}

// The authority of the folder.
Status FromFolder(const Options &options, const Workplace &place, Stamper *stamper)
{
    Pki pki;
    const Entry *entry = nullptr;
    const Entry *root = nullptr;
    Status status = LoadPki(place.folder, &pki);
    if (status.ok) {
        status = ChooseCertificate(pki, Role::Timestamp, options.timestamp, place.now, &entry);
    }
    if (status.ok) {
        status = LoadCertificate(place.folder, *entry, &stamper->chain.timestamp);
    }
    const Entry *const ca = status.ok ? FindAuthority(pki, entry->issuer) : nullptr;
    if (status.ok) {
        status = ca == nullptr
                     ? Fail("the certificate of the CA '" + entry->issuer + "' is not in the folder; import it")
                     : LoadCertificate(place.folder, *ca, &stamper->chain.issuingCa);
    }
    if (status.ok) {
        status = FindRoot(pki, &root);
    }
    if (status.ok) {
        status = LoadCertificate(place.folder, *root, &stamper->chain.root);
    }
    if (!status.ok) {
        return status;
    }
    stamper->keyUri = entry->key;
    stamper->keyName = entry->name;
    stamper->state = place.folder + "/" + entry->name + ".clock";
    stamper->load = [known = *entry, certificate = stamper->chain.timestamp, place](Key *key) {
        return LoadEntryKey(place.folder, known, certificate.get(), place.secrets, key);
    };
    return {};
}

// The authority of a key and of a file of certificates.
Status FromFiles(const Options &options, const Workplace &place, Stamper *stamper)
{
    Objects objects;
    if (options.certificates.empty() || options.state.empty()) {
        return FailUsage("--key needs --certificates, with the authority's, its CA's and the root's, and --state");
    }
    const Status status = ReadObjects(options.certificates, &objects);
    if (status.ok && objects.certificates.size() != CHAIN_LENGTH) {
        return Fail("'" + Printable(options.certificates) +
                    "' holds another number of certificates than three: the authority's, its CA's and the root's");
    }
    if (status.ok) {
        stamper->chain = {objects.certificates[2], objects.certificates[1], nullptr, objects.certificates[0]};
    }
    stamper->keyUri = options.key;
    stamper->keyName = options.key;
    stamper->load = [uri = options.key, certificate = stamper->chain.timestamp, place](Key *key) {
        const Status loaded = LoadKey(uri, uri, place.secrets, key);
        return loaded.ok ? CheckKeyFits(*key, certificate.get(), "'" + Printable(uri) + "'") : loaded;
    };
    return status;
}

// A signer for each thread: of the key in this process, or of a process of its own each for a key in a token.
Status MakeSigners(const Stamper &stamper, const Workplace &place, size_t count, Workers *workers, ServerOrder *order)
{
    Status status;
    Key key;
    if (IsTokenUri(stamper.keyUri)) {
        Secret pin; // asked for once; the workers find it in the secrets
        if (stamper.keyUri.find("pin-source=") == std::string::npos) {
            status = GetPassphrase(place.secrets, stamper.keyName, false, &pin);
        }
        if (status.ok) {
            status = StartWorkers(count, stamper.load, workers);
        }
        std::transform(workers->held.begin(), workers->held.end(), std::back_inserter(order->signers), SignByWorker);
        return status;
    }
    order->batch = QUICK_BATCH;
    status = stamper.load(&key);
    for (size_t i = 0; status.ok && i < count; ++i) {
        order->signers.emplace_back();
        status = SignWithKey(CopyKey(key), &order->signers.back());
    }
    return status;
}

// One real token before the device's library; after that, the fields of each are compared.
Status Rehearse(const Stamper &stamper, const ServerOrder &order, int64_t now)
{
    return RehearseStamp(stamper.chain, now, [&](const Bytes &signature, Bytes *tokenOut) {
        return StampBy(*order.authority, signature, now, order.signers.front(), tokenOut);
    });
}

void BlockEndingSignals()
{
    sigset_t ending;
    (void)sigemptyset(&ending);
    (void)sigaddset(&ending, SIGTERM);
    (void)sigaddset(&ending, SIGINT);
    (void)sigprocmask(SIG_BLOCK, &ending, nullptr);
    (void)std::signal(SIGPIPE, SIG_IGN);
}

struct Numbers {
    double errorMax = -1;
    long workers = 0;
    long connections = 0;
    long timeout = 0;
};

Status ParseNumbers(const Options &options, Numbers *numbers)
{
    const unsigned processors = std::max(1U, std::thread::hardware_concurrency());
    const std::string workers = options.workers.empty() ? std::to_string(processors) : options.workers;
    Status status = ParseErrorMax(options.errorMax, &numbers->errorMax);
    if (status.ok) {
        status = ParseCount("--workers", workers, WORKERS_MAX, &numbers->workers);
    }
    if (status.ok) {
        status = ParseCount("--connections", options.connections, CONNECTIONS_MAX, &numbers->connections);
    }
    return status.ok ? ParseCount("--timeout", options.timeout, CLIENT_SECONDS_MAX, &numbers->timeout) : status;
}

Status RunAuthority(const Options &options, const Workplace &place, const Stamper &stamper, const Numbers &numbers,
                    ServerOrder *order)
{
    Workers workers;
    Clock clock;
    Authority authority;
    Status status =
        Usage(PrepareAuthority(stamper.chain.timestamp, stamper.chain.issuingCa, options.policy, &authority));
    order->authority = &authority;
    order->clock = &clock;
    BlockEndingSignals();
    if (status.ok) {
        status = OpenClock(options.state.empty() ? stamper.state : options.state, numbers.errorMax, &clock);
    }
    if (status.ok) {
        status = MakeSigners(stamper, place, static_cast<size_t>(numbers.workers), &workers, order);
    }
    if (status.ok) {
        status = Rehearse(stamper, *order, place.now);
    }
    if (!status.ok) {
        return status;
    }
    const Status served = ServeRequests(*order);
    status = CloseClock(&clock);
    return served.ok ? status : served;
}

Status Serve(const Options &options, Session *session)
{
    ServerOrder order;
    Stamper stamper;
    Numbers numbers;
    if (std::abs(session->place.now - static_cast<int64_t>(std::time(nullptr))) > 1) {
        return FailUsage("serve gives out the time of this machine; --now is for the rehearsals of other commands");
    }
    if (options.key.empty() && !options.certificates.empty()) {
        return FailUsage("--certificates belongs to --key");
    }
    if (!options.key.empty() && !options.timestamp.empty()) {
        return FailUsage("--timestamp is of the folder, --key of a file; choose one");
    }
    Status status = ParseListen(options.listen, &order);
    if (status.ok) {
        status = ParseNumbers(options, &numbers);
    }
    if (status.ok) {
        status = options.key.empty() ? FromFolder(options, session->place, &stamper)
                                     : FromFiles(options, session->place, &stamper);
    }
    if (!status.ok) {
        return status;
    }
    order.certificate = stamper.chain.timestamp;
    order.ca = stamper.chain.issuingCa;
    order.policy = options.policy;
    order.connectionsMax = static_cast<size_t>(numbers.connections);
    order.clientSeconds = numbers.timeout;
    return RunAuthority(options, session->place, stamper, numbers, &order);
}

} // namespace

Command ServeCommand()
{
    Command command = MakeCommand<Options>(
        "serve", "Give out timestamps over HTTP (RFC 3161) until SIGTERM",
        "pkgsign serve --pki pki --listen 127.0.0.1:3161", Serve, [](Options *options) -> std::vector<Option> {
            return {
                {"--listen", "HOST:PORT", "where to listen; port 0 takes a free one; 127.0.0.1:3161", &options->listen},
                {"--timestamp", "NAME", "the timestamp authority, by its name in the folder; the one that ends last",
                 &options->timestamp},
                {"--key", "URI", "the authority's key, a path, file: or pkcs11:, in the place of the folder's",
                 &options->key},
                {"--certificates", "FILE", "for --key: the authority's certificate, its CA's and the root's",
                 &options->certificates},
                {"--policy", "OID", "the policy of all tokens", &options->policy},
                {"--state", "FILE", "the clock's file, one for each server; NAME.clock in the folder", &options->state},
                {"--max-clock-error", "S",
                 "give no time when the kernel's clock may be wrong by more than so many seconds", &options->errorMax},
                {"--workers", "N", "threads that sign, or processes for a key in a token; one per processor",
                 &options->workers},
                {"--connections", "N", "connections at a time; of more, the one that idles longest is closed; 1024",
                 &options->connections},
                {"--timeout", "S", "seconds that a client may take for its request, its answer and between two; 30",
                 &options->timeout}};
        });
    command.isWriting = false;
    return command;
}

} // namespace pkgsign
