// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/timestamp/exchange.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <strings.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>

#include <nlohmann/json.hpp>

#include "pkgsign/authority/certificates.h"
#include "pkgsign/files/files.h"
#include "pkgsign/files/objects.h"
#include "pkgsign/files/time.h"
#include "pkgsign/timestamp/http_libraries.h"

namespace pkgsign
{
namespace
{

constexpr char QUERY_TYPE[] = "application/timestamp-query"; // RFC 3161, 3.4
constexpr char REPLY_TYPE[] = "application/timestamp-reply";
constexpr char TEXT_TYPE[] = "text/plain";
constexpr char CERTIFICATE_TYPE[] = "application/pem-certificate-chain"; // RFC 8555, 9.1
constexpr size_t MAPPED_IPV4 = 12;   // where an address of IPv4 stands in its form for IPv6 (RFC 4291, 2.5.5.2)
constexpr size_t EXCESS_MAX = 65536; // octets that are read and dropped of a body without a length

// What goes to the client.
struct Reply {
    std::string type;
    std::string body;
};

bool IsReading(const std::string &method)
{
    return method == MHD_HTTP_METHOD_GET || method == MHD_HTTP_METHOD_HEAD;
}

// The media type counts, its parameters do not (RFC 9110, 8.3.1).
bool IsQuery(const char *type)
{
    const std::string text = type == nullptr ? "" : type;
    const size_t end = std::min(text.find(';'), text.size());
    const size_t last = text.substr(0, end).find_last_not_of(" \t");
    const std::string media = last == std::string::npos ? "" : text.substr(0, last + 1);
    return strcasecmp(media.c_str(), QUERY_TYPE) == 0;
}

unsigned CodeByHeader(const Exchange &exchange)
{
    const char *const length = g_libmicrohttpd.MHD_lookup_connection_value(exchange.connection, MHD_HEADER_KIND,
                                                                           MHD_HTTP_HEADER_CONTENT_LENGTH);
    if (length != nullptr && std::strtoull(length, nullptr, 10) > TIMESTAMP_REQUEST_SIZE_MAX) {
        return MHD_HTTP_CONTENT_TOO_LARGE;
    }
    if (IsReading(exchange.method)) {
        return exchange.path == "/health" || exchange.path == "/certificate" ? 0 : MHD_HTTP_NOT_FOUND;
    }
    if (exchange.method != MHD_HTTP_METHOD_POST) {
        return MHD_HTTP_METHOD_NOT_ALLOWED;
    }
    return IsQuery(g_libmicrohttpd.MHD_lookup_connection_value(exchange.connection, MHD_HEADER_KIND,
                                                               MHD_HTTP_HEADER_CONTENT_TYPE))
               ? 0
               : MHD_HTTP_UNSUPPORTED_MEDIA_TYPE;
}

const char *Explanation(unsigned code)
{
    switch (code) {
    case MHD_HTTP_CONTENT_TOO_LARGE:
        return "a timestamp request has at most 4096 octets";
    case MHD_HTTP_NOT_FOUND:
        return "there are /health and /certificate to read, and timestamps by POST";
    case MHD_HTTP_METHOD_NOT_ALLOWED:
        return "a timestamp is asked for by POST";
    default:
        return "the content type of a timestamp request is application/timestamp-query";
    }
}
static_assert(TIMESTAMP_REQUEST_SIZE_MAX == 4096, "stands in a text");

Status CheckHealth(const ServerOrder &order, int64_t now)
{
    const Status status = CheckClock(*order.clock);
    if (status.ok && (now < order.authority->notBefore || now > order.authority->notAfter)) {
        return Fail("the authority's certificate is not valid at this time");
    }
    return status;
}

Reply Health(const Premises &premises, unsigned *code)
{
    const ServerOrder &order = *premises.order;
    const int64_t now = g_clockCalls.now();
    const Status status = CheckHealth(order, now);
    const ClockError error = AskKernel();
    nlohmann::ordered_json json;
    json["status"] = status.ok ? "ok" : "unavailable";
    json["reason"] = status.reason;
    json["time"] = FormatTime(now);
    json["policy"] = order.policy;
    json["certificate"] = {{"subject", NameText(X509_get_subject_name(order.certificate.get()))},
                           {"notAfter", FormatTime(order.authority->notAfter)},
                           {"daysLeft", std::max<int64_t>(0, order.authority->notAfter - now) / SECONDS_PER_DAY}};
    json["clock"] = {{"isSynchronised", error.isSynchronised},
                     {"error", error.seconds},
                     {"maxError", order.clock->errorMax < 0 ? nlohmann::ordered_json()
                                                            : nlohmann::ordered_json(order.clock->errorMax)}};
    json["granted"] = premises.granted;
    json["refused"] = premises.refused;
    json["connections"] = premises.connections;
    *code = status.ok ? MHD_HTTP_OK : MHD_HTTP_SERVICE_UNAVAILABLE;
    return {"application/json", json.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n"};
}

Reply ReplyTo(Exchange *exchange, Premises *premises)
{
    if (exchange->code != 0) {
        exchange->outcome = Explanation(exchange->code);
        return {TEXT_TYPE, exchange->outcome + "\n"};
    }
    exchange->code = MHD_HTTP_OK;
    if (exchange->method == MHD_HTTP_METHOD_POST) {
        const Answer &answer = exchange->job.answer;
        (answer.isGranted ? premises->granted : premises->refused) += 1;
        exchange->outcome = answer.summary;
        return {REPLY_TYPE, std::string(answer.octets.begin(), answer.octets.end())};
    }
    if (exchange->path == "/health") {
        return Health(*premises, &exchange->code);
    }
    return {CERTIFICATE_TYPE, AddArmour("CERTIFICATE", EncodeCertificate(premises->order->certificate.get())) +
                                  AddArmour("CERTIFICATE", EncodeCertificate(premises->order->ca.get()))};
}

std::string ClientOf(MHD_Connection *connection)
{
    const MHD_ConnectionInfo *const info =
        g_libmicrohttpd.MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CLIENT_ADDRESS);
    char host[NI_MAXHOST] = "-";
    const auto *const address = info == nullptr ? nullptr : reinterpret_cast<struct sockaddr_in6 *>(info->client_addr);
    if (address != nullptr && address->sin6_family == AF_INET6 && IN6_IS_ADDR_V4MAPPED(&address->sin6_addr)) {
        (void)inet_ntop(AF_INET, &address->sin6_addr.s6_addr[MAPPED_IPV4], host, sizeof(host));
    } else if (info != nullptr) {
        (void)getnameinfo(info->client_addr, sizeof(struct sockaddr_in6), host, sizeof(host), nullptr, 0,
                          NI_NUMERICHOST);
    }
    return host;
}

} // namespace

void JudgeHeader(Exchange *exchange)
{
    exchange->code = CodeByHeader(*exchange);
    exchange->phase = Phase::Body;
}

bool CollectBody(const char *data, size_t size, Exchange *exchange)
{
    exchange->received += size;
    if (exchange->received > TIMESTAMP_REQUEST_SIZE_MAX) {
        exchange->code = MHD_HTTP_CONTENT_TOO_LARGE;
        exchange->job.request = Bytes();
        return exchange->received <= EXCESS_MAX;
    }
    exchange->job.request.insert(exchange->job.request.end(), data, data + size);
    return true;
}

bool WantsToken(const Exchange &exchange)
{
    return exchange.code == 0 && exchange.method == MHD_HTTP_METHOD_POST;
}

MHD_Result SendAnswer(Exchange *exchange, Premises *premises)
{
    exchange->phase = Phase::Answering;
    const Reply reply = ReplyTo(exchange, premises);
    MHD_Response *const response = g_libmicrohttpd.MHD_create_response_from_buffer(
        reply.body.size(), const_cast<char *>(reply.body.data()), MHD_RESPMEM_MUST_COPY);
    if (response == nullptr) {
        return MHD_NO;
    }
    (void)g_libmicrohttpd.MHD_add_response_header(response, MHD_HTTP_HEADER_CONTENT_TYPE, reply.type.c_str());
    (void)g_libmicrohttpd.MHD_add_response_header(response, MHD_HTTP_HEADER_CACHE_CONTROL, "no-store");
    if (exchange->code == MHD_HTTP_METHOD_NOT_ALLOWED) {
        (void)g_libmicrohttpd.MHD_add_response_header(response, MHD_HTTP_HEADER_ALLOW, "GET, HEAD, POST");
    }
    if (premises->isEnding) {
        (void)g_libmicrohttpd.MHD_add_response_header(response, MHD_HTTP_HEADER_CONNECTION, "close");
    }
    const MHD_Result result = g_libmicrohttpd.MHD_queue_response(exchange->connection, exchange->code, response);
    g_libmicrohttpd.MHD_destroy_response(response);
    return result;
}

std::string DescribeExchange(const Exchange &exchange, bool isComplete)
{
    const std::string method = exchange.method.empty() ? "-" : exchange.method;
    return FormatTime(g_clockCalls.now()) + " " + ClientOf(exchange.connection) + " " + method + " " +
           (exchange.path.empty() ? "-" : exchange.path) + " " +
           (exchange.code == 0 ? "-" : std::to_string(exchange.code)) + " " +
           std::to_string(Milliseconds() - exchange.begun) + " ms" + (isComplete ? "" : " not finished") +
           (exchange.outcome.empty() ? "" : " " + exchange.outcome) + "\n";
}

int64_t Milliseconds()
{
    struct timespec now = {};
    (void)clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

} // namespace pkgsign
