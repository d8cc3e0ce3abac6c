// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/timestamp/listening.h"

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>

#include "pkgsign/files/files.h"

namespace pkgsign
{
namespace
{

// An open socket that listens; -1 with errno.
int ListenAt(const struct addrinfo &address)
{
    const int one = 1;
    const int zero = 0;
    const int file = socket(address.ai_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (file < 0) {
        return -1;
    }
    (void)setsockopt(file, SOL_SOCKET, SO_REUSEADDR, &one, sizeof(one));
    (void)setsockopt(file, IPPROTO_TCP, TCP_NODELAY, &one, sizeof(one)); // accepted sockets inherit it
    if (address.ai_family == AF_INET6) {                                 // [::] is both, whatever the system's default
        (void)setsockopt(file, IPPROTO_IPV6, IPV6_V6ONLY, &zero, sizeof(zero));
    }
    if (bind(file, address.ai_addr, address.ai_addrlen) == 0 && listen(file, SOMAXCONN) == 0) {
        return file;
    }
    const int error = errno;
    (void)close(file);
    errno = error;
    return -1;
}

// An address of IPv6 stands in brackets (RFC 3986, 3.2.2).
std::string HostAndPort(const std::string &host, const std::string &port)
{
    const bool isBracketed = host.find(':') != std::string::npos;
    return (isBracketed ? "[" + host + "]" : host) + ":" + port;
}

} // namespace

Status OpenListeningSocket(const std::string &host, const std::string &port, int *socketOut)
{
    struct addrinfo hints = {};
    struct addrinfo *found = nullptr;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_PASSIVE;
    const int failure = getaddrinfo(host.c_str(), port.c_str(), &hints, &found);
    const std::string where = "cannot listen at '" + Printable(HostAndPort(host, port)) + "': ";
    if (failure != 0) {
        return Fail(where + gai_strerror(failure));
    }
    const std::unique_ptr<struct addrinfo, Deleter<freeaddrinfo>> owned(found);
    *socketOut = -1;
    for (const struct addrinfo *address = found; address != nullptr && *socketOut < 0; address = address->ai_next) {
        *socketOut = ListenAt(*address); // a name may have addresses that this machine lacks
    }
    return *socketOut >= 0 ? Status() : Fail(where + std::strerror(errno));
}

Status AnnounceAddress(int socket)
{
    struct sockaddr_storage address = {};
    socklen_t size = sizeof(address);
    char host[NI_MAXHOST] = {};
    char port[NI_MAXSERV] = {};
    if (getsockname(socket, reinterpret_cast<struct sockaddr *>(&address), &size) != 0 ||
        getnameinfo(reinterpret_cast<struct sockaddr *>(&address), size, host, sizeof(host), port, sizeof(port),
                    NI_NUMERICHOST | NI_NUMERICSERV) != 0) {
        return Fail(std::string("cannot read the address: ") + std::strerror(errno));
    }
    return WriteStandardOutput("Listening at http://" + HostAndPort(host, port) + "/\n");
}

} // namespace pkgsign
