// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/timestamp/server.h"

#include <poll.h>
#include <sys/resource.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <list>
#include <memory>

#include <openssl/rand.h>

#include "pkgsign/files/files.h"
#include "pkgsign/timestamp/exchange.h"
#include "pkgsign/timestamp/http_libraries.h"
#include "pkgsign/timestamp/listening.h"

namespace pkgsign
{
namespace
{

constexpr size_t CONNECTION_MEMORY = 8192;     // octets for headers; no real client sends a tenth of it
constexpr unsigned CONNECTIONS_BEYOND = 64;    // are let in while others are closed
constexpr size_t OTHER_DESCRIPTORS = 64;       // files, workers, events
constexpr int64_t ENDING_MILLISECONDS = 10000; // for clients that have begun a request when the server ends
constexpr int64_t SWEEP_MILLISECONDS = 1000;   // between two looks at how long clients take
constexpr int PASSES_MAX = 4;                  // of the daemon, between two looks at what else has come
constexpr size_t PATH_LOGGED_MAX = 200;        // octets

// The library's callbacks are noexcept: it is C, which an exception (no memory) must not pass through.

// A client. The event loop's thread alone sees it.
struct Client {
    int socket = -1;
    int64_t since = 0; // milliseconds: of its connection, or of the end of its last request
    Exchange *exchange = nullptr;
};

struct Server {
    Premises premises;
    Jobs *jobs = nullptr;
    MHD_Daemon *daemon = nullptr;
    std::list<Client> clients;
    size_t underWay = 0; // exchanges
    bool hasFailed = false;
    int64_t endingSince = 0;
};

// ---- Clients -------------------------------------------------------------------------------------------------------

// While a thread works on the answer, the client is not who is slow.
bool IsWaitedFor(const Client &client)
{
    return client.exchange == nullptr || client.exchange->phase != Phase::Job;
}

// The library closes the connection when it finds it at its end.
void Drop(Client *client)
{
    (void)shutdown(client->socket, SHUT_RDWR);
    client->since = Milliseconds();
}

void DropSlowClients(Server *server)
{
    const int64_t limit = Milliseconds() - server->premises.order->clientSeconds * 1000;
    for (Client &client : server->clients) {
        if (IsWaitedFor(client) && client.since < limit) {
            Drop(&client);
        }
    }
}

// Those without a request first: whoever only holds a connection loses it before somebody who is at work.
void DropLongestIdle(Server *server)
{
    const auto first =
        std::min_element(server->clients.begin(), server->clients.end(), [](const Client &a, const Client &b) {
            return std::make_tuple(!IsWaitedFor(a), a.exchange != nullptr, a.since) <
                   std::make_tuple(!IsWaitedFor(b), b.exchange != nullptr, b.since);
        });
    if (first != server->clients.end() && IsWaitedFor(*first)) {
        Drop(&*first);
    }
}

void NoteConnection(void *data, MHD_Connection *connection, void **context,
                    MHD_ConnectionNotificationCode code) noexcept
{
    Server *const server = static_cast<Server *>(data);
    if (code == MHD_CONNECTION_NOTIFY_CLOSED) {
        const Client *const gone = static_cast<Client *>(*context);
        server->clients.remove_if([&](const Client &client) { return &client == gone; });
        return;
    }
    if (server->clients.size() >= server->premises.order->connectionsMax) {
        DropLongestIdle(server);
    }
    const MHD_ConnectionInfo *const info =
        g_libmicrohttpd.MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD);
    server->clients.push_back({info == nullptr ? -1 : info->connect_fd, Milliseconds(), nullptr});
    *context = &server->clients.back();
}

Client *ClientOn(MHD_Connection *connection)
{
    const MHD_ConnectionInfo *const info =
        g_libmicrohttpd.MHD_get_connection_info(connection, MHD_CONNECTION_INFO_SOCKET_CONTEXT);
    return info == nullptr ? nullptr : static_cast<Client *>(info->socket_context);
}

// ---- Requests ------------------------------------------------------------------------------------------------------

void SetPhase(Exchange *exchange, Phase phase)
{
    exchange->phase = phase;
    ClientOn(exchange->connection)->since = Milliseconds();
}

// The request line has come.
void *BeginExchange(void *data, const char *uri, MHD_Connection *connection) noexcept
{
    Server *const server = static_cast<Server *>(data);
    Exchange *const exchange = std::make_unique<Exchange>().release(); // EndExchange frees it
    const std::string text = uri;
    exchange->connection = connection;
    exchange->path = Printable(text.substr(0, std::min(text.find('?'), PATH_LOGGED_MAX)));
    exchange->begun = Milliseconds();
    exchange->job.owner = exchange;
    ClientOn(connection)->exchange = exchange;
    SetPhase(exchange, Phase::Header);
    ++server->underWay;
    return exchange;
}

// NOLINTNEXTLINE(readability-function-size): the library's parameters
MHD_Result HandleRequest(void *data, MHD_Connection *connection, const char *, const char *method, const char *,
                         const char *body, size_t *size, void **context) noexcept
{
    Server *const server = static_cast<Server *>(data);
    Exchange *const exchange = static_cast<Exchange *>(*context);
    if (exchange->phase == Phase::Header) {
        exchange->method = Printable(std::string(method).substr(0, PATH_LOGGED_MAX));
        JudgeHeader(exchange);
        // An answer before the body closes the connection, so that the body is never read.
        return exchange->code == 0 ? MHD_YES : SendAnswer(exchange, &server->premises);
    }
    if (*size > 0) {
        const bool goesOn = CollectBody(body, *size, exchange);
        *size = 0;
        return goesOn ? MHD_YES : MHD_NO;
    }
    if (exchange->phase == Phase::Body && WantsToken(*exchange)) {
        SetPhase(exchange, Phase::Job);
        g_libmicrohttpd.MHD_suspend_connection(connection);
        AddJob(&exchange->job, server->jobs);
        return MHD_YES;
    }
    SetPhase(exchange, Phase::Answering);
    return SendAnswer(exchange, &server->premises);
}

void EndExchange(void *data, MHD_Connection *connection, void **context, MHD_RequestTerminationCode code) noexcept
{
    Server *const server = static_cast<Server *>(data);
    const std::unique_ptr<Exchange> exchange(static_cast<Exchange *>(*context));
    *context = nullptr;
    if (exchange == nullptr) {
        return;
    }
    const std::string line = DescribeExchange(*exchange, code == MHD_REQUEST_TERMINATED_COMPLETED_OK);
    (void)!write(STDERR_FILENO, line.data(), line.size());
    Client *const client = ClientOn(connection);
    client->exchange = nullptr;
    client->since = Milliseconds();
    --server->underWay;
}

// ---- The event loop ------------------------------------------------------------------------------------------------

void ResumeDone(Server *server)
{
    for (Job *const job : TakeDone(server->jobs, &server->hasFailed)) {
        Exchange *const exchange = static_cast<Exchange *>(job->owner);
        SetPhase(exchange, Phase::Answering);
        g_libmicrohttpd.MHD_resume_connection(exchange->connection);
    }
}

// Takes no new connections; what has been begun is finished.
void BeginEnding(Server *server)
{
    if (server->premises.isEnding) {
        return;
    }
    server->premises.isEnding = true;
    server->endingSince = Milliseconds();
    const int listening = g_libmicrohttpd.MHD_quiesce_daemon(server->daemon);
    if (listening >= 0) {
        (void)close(listening);
    }
}

// Whether all is finished, or all that is left waits for a client that takes too long.
bool HasEnded(const Server &server)
{
    const bool isLate = Milliseconds() - server.endingSince > ENDING_MILLISECONDS;
    return server.premises.isEnding &&
           (server.underWay == 0 || (isLate && std::all_of(server.clients.begin(), server.clients.end(), IsWaitedFor)));
}

int NextTimeout(const Server &server)
{
    MHD_UNSIGNED_LONG_LONG wanted = SWEEP_MILLISECONDS;
    (void)g_libmicrohttpd.MHD_get_timeout(server.daemon, &wanted);
    return static_cast<int>(std::min<MHD_UNSIGNED_LONG_LONG>(wanted, SWEEP_MILLISECONDS));
}

// What is left over after a pass, the next step of a connection, is done at once: to ask first what else has come would
// cost more than the step.
void RunDaemon(MHD_Daemon *daemon)
{
    MHD_UNSIGNED_LONG_LONG wanted = 0;
    for (int pass = 0; pass < PASSES_MAX && wanted == 0; ++pass) {
        (void)g_libmicrohttpd.MHD_run(daemon);
        if (g_libmicrohttpd.MHD_get_timeout(daemon, &wanted) != MHD_YES) {
            return;
        }
    }
}

void RunLoop(Server *server, int events, int signals)
{
    int64_t swept = Milliseconds();
    while (!HasEnded(*server)) {
        struct pollfd sources[] = {{events, POLLIN, 0}, {server->jobs->doneSignal, POLLIN, 0}, {signals, POLLIN, 0}};
        (void)poll(sources, std::size(sources), NextTimeout(*server));
        if ((sources[1].revents & POLLIN) != 0) {
            ResumeDone(server);
        }
        server->premises.connections = server->clients.size();
        RunDaemon(server->daemon);
        struct signalfd_siginfo received = {};
        const bool isAskedToEnd = (sources[2].revents & POLLIN) != 0 && read(signals, &received, sizeof(received)) > 0;
        if (server->hasFailed || isAskedToEnd) {
            BeginEnding(server);
        }
        if (Milliseconds() - swept >= SWEEP_MILLISECONDS) {
            DropSlowClients(server);
            swept = Milliseconds();
        }
    }
}

// ---- Start ---------------------------------------------------------------------------------------------------------

struct Descriptor {
    int held = -1;

    Descriptor() = default;
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    ~Descriptor()
    {
        if (held >= 0) {
            (void)close(held);
        }
    }
};

Status AllowDescriptors(size_t connections)
{
    struct rlimit limit = {};
    const rlim_t wanted = connections + CONNECTIONS_BEYOND + OTHER_DESCRIPTORS;
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur >= wanted) {
        return {};
    }
    limit.rlim_cur = wanted;
    return setrlimit(RLIMIT_NOFILE, &limit) == 0
               ? Status()
               : Fail("this process may not open the files for " + std::to_string(connections) +
                      " connections (--connections, ulimit -n)");
}

Status StartDaemon(int socket, Server *server)
{
    const unsigned limit = static_cast<unsigned>(server->premises.order->connectionsMax) + CONNECTIONS_BEYOND;
    server->daemon = g_libmicrohttpd.MHD_start_daemon(
        MHD_USE_EPOLL | MHD_ALLOW_SUSPEND_RESUME, 0, nullptr, nullptr, HandleRequest, server, MHD_OPTION_LISTEN_SOCKET,
        socket, MHD_OPTION_CONNECTION_LIMIT, limit, MHD_OPTION_CONNECTION_MEMORY_LIMIT, CONNECTION_MEMORY,
        MHD_OPTION_STRICT_FOR_CLIENT, 1, MHD_OPTION_URI_LOG_CALLBACK, BeginExchange, server,
        MHD_OPTION_NOTIFY_COMPLETED, EndExchange, server, MHD_OPTION_NOTIFY_CONNECTION, NoteConnection, server,
        MHD_OPTION_END);
    return server->daemon == nullptr ? Fail("cannot start the HTTP server") : Status();
}

Status RunServer(const ServerOrder &order, int socket, int signals)
{
    Jobs jobs;
    Server server;
    server.premises.order = &order;
    server.jobs = &jobs;
    const TakeMoment takeMoment = [&order](Moment *moment) {
        moment->serial.resize(TOKEN_SERIAL_SIZE);
        return RAND_bytes(moment->serial.data(), static_cast<int>(TOKEN_SERIAL_SIZE)) == 1
                   ? TakeTime(order.clock, &moment->time)
                   : FailCrypto("there are no random octets");
    };
    Status status = StartJobs(*order.authority, takeMoment, order.signers, order.batch, &jobs);
    if (status.ok) {
        status = StartDaemon(socket, &server);
    }
    if (!status.ok) {
        return status;
    }
    status = AnnounceAddress(socket);
    if (status.ok) {
        RunLoop(&server, g_libmicrohttpd.MHD_get_daemon_info(server.daemon, MHD_DAEMON_INFO_EPOLL_FD)->epoll_fd,
                signals);
    }
    g_libmicrohttpd.MHD_stop_daemon(server.daemon);
    return status.ok && server.hasFailed ? Fail("a signer has failed; see the answers with systemFailure") : status;
}

} // namespace

Status ServeRequests(const ServerOrder &order)
{
    int socket = -1;
    Descriptor signals;
    sigset_t ending;
    (void)sigemptyset(&ending);
    (void)sigaddset(&ending, SIGTERM);
    (void)sigaddset(&ending, SIGINT);
    signals.held = signalfd(-1, &ending, SFD_NONBLOCK | SFD_CLOEXEC);
    Status status = LoadLibmicrohttpd();
    if (status.ok && signals.held < 0) {
        status = Fail(std::string("cannot take signals: ") + std::strerror(errno));
    }
    if (status.ok) {
        status = AllowDescriptors(order.connectionsMax);
    }
    if (status.ok) {
        status = OpenListeningSocket(order.host, order.port, &socket);
    }
    return status.ok ? RunServer(order, socket, signals.held) : status; // the daemon closes the socket
}

} // namespace pkgsign
