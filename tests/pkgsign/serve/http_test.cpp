// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What a timestamp server answers over HTTP, and what it costs others when clients are slow, many or hostile.
#include <signal.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <ctime>
#include <memory>
#include <set>
#include <thread>

#include <nlohmann/json.hpp>

#include "tests/pkgsign/serve/serving.h"
#include "tests/support/timestamp_requests.h"

namespace
{

constexpr size_t MEBIBYTE = size_t{1} << 20;
constexpr int UNACCEPTED_POLICY = 15; // PKIFailureInfo of RFC 3161, 2.4.2
constexpr int TIME_NOT_AVAILABLE = 14;
constexpr int BAD_DATA_FORMAT = 5;
constexpr auto SOON = std::chrono::seconds(5); // generous: this is no measurement

std::string FieldRequest(size_t index = 0)
{
    const std::vector<uint8_t> octets = timestamp_requests::Encode(timestamp_requests::FieldShapes()[index]);
    return std::string(octets.begin(), octets.end());
}

class TimestampServer : public Serving
{
protected:
    // Asks on a new connection, and expects a token soon.
    void ExpectToken() const
    {
        const auto begin = std::chrono::steady_clock::now();
        const HttpAnswer answer = Post(server.port, FieldRequest());
        EXPECT_EQ(200, answer.code);
        EXPECT_TRUE(ReadToken(answer.body).isGranted);
        EXPECT_LT(std::chrono::steady_clock::now() - begin, SOON);
    }

    HttpAnswer Exchange(const std::string &octets) const
    {
        const Connection connection(server.port);
        EXPECT_TRUE(Send(connection, octets));
        return Receive(connection);
    }

    size_t LogLines() const
    {
        const std::string log = Read("log");
        return static_cast<size_t>(std::count(log.begin(), log.end(), '\n'));
    }
};

TEST_F(TimestampServer, GivesTokensThatOpensslVerifiesOnAnyPath)
{
    Serve();
    for (const char *const digest : {"-sha256", "-sha384", "-sha512"}) {
        const std::string query = QueryOf("content", {digest});
        const HttpAnswer answer = Exchange(PostOf(query, "/any/path?x=y"));
        ASSERT_EQ(200, answer.code);
        EXPECT_TRUE(Contains(answer.header, "Content-Type: application/timestamp-reply\r\n")) << answer.header;
        Write("answer", answer.body);
        const ProcessResult verified =
            Openssl({"ts", "-verify", "-queryfile", Path("query"), "-in", Path("answer"), "-CAfile",
                     Path("pki/certificates/root.pem"), "-untrusted", Path("pki/certificates/issuing-ca.pem")});
        EXPECT_EQ(0, verified.exitStatus) << verified.output << verified.errors;
    }
}

TEST_F(TimestampServer, AnswersEveryRequestOfTheFieldAndEveryRefusal)
{
    Serve();
    const Connection connection(server.port); // one for all
    for (size_t i = 0; i < timestamp_requests::FieldShapes().size(); ++i) {
        ASSERT_TRUE(Send(connection, PostOf(FieldRequest(i))));
        EXPECT_TRUE(ReadToken(Receive(connection).body).isGranted) << timestamp_requests::FieldShapes()[i].name;
    }
    for (const timestamp_requests::Refusal &refusal : timestamp_requests::Refusals()) {
        if (refusal.octets.size() <= 4096) {
            ASSERT_TRUE(Send(connection, PostOf(std::string(refusal.octets.begin(), refusal.octets.end()))));
            EXPECT_EQ(refusal.failure, ReadToken(Receive(connection).body).failure) << refusal.name;
        }
    }
}

TEST_F(TimestampServer, HasThePolicyItWasStartedWith)
{
    Serve({"--policy", "1.2.3.4"});
    EXPECT_TRUE(ReadToken(Post(server.port, QueryOf("content", {"-tspolicy", "1.2.3.4"})).body).isGranted);
    EXPECT_EQ(UNACCEPTED_POLICY,
              ReadToken(Post(server.port, QueryOf("content", {"-tspolicy", "1.2.3.5"})).body).failure);
}

TEST_F(TimestampServer, NumbersItsTokensAtRandom)
{
    Serve();
    std::set<std::string> serials;
    size_t longest = 0;
    for (int i = 0; i < 100; ++i) {
        const std::string serial = ReadToken(Post(server.port, FieldRequest()).body).serial;
        longest = std::max(longest, serial.size());
        EXPECT_GE(serial.size(), 26u) << "of 128 random bits two octets or more are rarely 0: " << serial;
        serials.insert(serial.substr(0, 8));
    }
    EXPECT_EQ(32u, longest);
    EXPECT_EQ(100u, serials.size());
}

TEST_F(TimestampServer, TakesTheContentTypeWithParametersAndNoOther)
{
    Serve();
    for (const char *const type : {"application/timestamp-query", "application/timestamp-query; charset=binary",
                                   "Application/Timestamp-Query ;x=y"}) {
        EXPECT_EQ(200, Exchange(PostOf(FieldRequest(), "/", type)).code) << type;
    }
    for (const char *const type : {"", "application/timestamp-queryx", "text/plain", "application/timestamp-reply"}) {
        EXPECT_EQ(415, Exchange(PostOf(FieldRequest(), "/", type)).code) << type;
    }
    EXPECT_EQ(415, Exchange("POST / HTTP/1.1\r\nHost: x\r\nContent-Length: 2\r\n\r\nab").code);
}

TEST_F(TimestampServer, RefusesOtherMethodsAndPaths)
{
    Serve();
    EXPECT_EQ(404, Get(server.port, "/").code);
    const HttpAnswer put = Exchange("PUT / HTTP/1.1\r\nHost: x\r\nContent-Length: 0\r\n\r\n");
    EXPECT_EQ(405, put.code);
    EXPECT_TRUE(Contains(put.header, "Allow: GET, HEAD, POST")) << put.header;
}

TEST_F(TimestampServer, RefusesARequestOver4096OctetsByItsHeader)
{
    Serve();
    EXPECT_EQ(BAD_DATA_FORMAT, ReadToken(Post(server.port, std::string(4096, 'x')).body).failure);
    const Connection connection(server.port);
    const std::string header = "POST / HTTP/1.1\r\nHost: x\r\nContent-Type: application/timestamp-query\r\n";
    ASSERT_TRUE(Send(connection, header + "Content-Length: 4097\r\n\r\n")); // and no body
    EXPECT_EQ(413, Receive(connection).code);
    EXPECT_TRUE(IsClosed(connection, 30));
    EXPECT_EQ(413, Exchange("GET /health HTTP/1.1\r\nHost: x\r\nContent-Length: 4097\r\n\r\n").code);
    EXPECT_NE(200, Exchange(header + "Content-Length: 99999999999999999999999\r\n\r\n").code);
}

TEST_F(TimestampServer, TakesABodyInChunksUpTo4096Octets)
{
    Serve();
    const std::string header = "POST / HTTP/1.1\r\nHost: x\r\nContent-Type: application/timestamp-query\r\n"
                               "Transfer-Encoding: chunked\r\n\r\n";
    const std::string request = FieldRequest();
    char size[16] = {};
    (void)snprintf(size, sizeof(size), "%zx\r\n", request.size() - 10);
    const HttpAnswer answer = Exchange(header + size + request.substr(10) + "\r\n0\r\n\r\n"); // not the whole request
    EXPECT_EQ(BAD_DATA_FORMAT, ReadToken(answer.body).failure);
    EXPECT_TRUE(ReadToken(Exchange(header + "a\r\n" + request.substr(0, 10) + "\r\n" + size + request.substr(10) +
                                   "\r\n0\r\n\r\n")
                              .body)
                    .isGranted);
    std::string tooMuch;
    for (int i = 0; i < 5; ++i) {
        tooMuch += "400\r\n" + std::string(1024, 'x') + "\r\n";
    }
    EXPECT_EQ(413, Exchange(header + tooMuch + "0\r\n\r\n").code);
    ExpectToken();
}

TEST_F(TimestampServer, TakesNoMemoryForABodyThatIsOnlyClaimed)
{
    Serve();
    ExpectToken();
    const size_t before = ResidentOctets(server);
    std::vector<std::unique_ptr<Connection>> clients;
    for (int i = 0; i < 50; ++i) {
        clients.push_back(std::make_unique<Connection>(server.port));
        ASSERT_TRUE(Send(*clients.back(), "POST / HTTP/1.1\r\nHost: x\r\nContent-Type: application/timestamp-query\r\n"
                                          "Content-Length: 1500000000\r\n\r\n" +
                                              std::string(1000, 'x')));
        EXPECT_EQ(413, Receive(*clients.back()).code);
    }
    EXPECT_LT(ResidentOctets(server), before + MEBIBYTE);
    ExpectToken();
}

TEST_F(TimestampServer, ShowsItsHealth)
{
    Serve();
    ExpectToken();
    (void)Post(server.port, "x");
    const HttpAnswer answer = Get(server.port, "/health");
    EXPECT_EQ(200, answer.code);
    EXPECT_TRUE(Contains(answer.header, "Content-Type: application/json\r\n")) << answer.header;
    const nlohmann::json health = nlohmann::json::parse(answer.body);
    EXPECT_EQ("ok", health["status"]);
    EXPECT_EQ("", health["reason"]);
    EXPECT_EQ(1, health["granted"]);
    EXPECT_EQ(1, health["refused"]);
    EXPECT_TRUE(health["clock"]["maxError"].is_null());
    EXPECT_EQ("2050-01-01T00:00:00Z", health["certificate"]["notAfter"]);
    const int64_t daysLeft = (2524608000 - static_cast<int64_t>(std::time(nullptr))) / 86400;
    EXPECT_NEAR(static_cast<double>(daysLeft), health["certificate"]["daysLeft"].get<double>(), 1);
}

TEST_F(TimestampServer, ShowsItsCertificates)
{
    Serve();
    const HttpAnswer answer = Get(server.port, "/certificate");
    EXPECT_EQ(200, answer.code);
    EXPECT_EQ(Read("pki/certificates/timestamp.pem") + Read("pki/certificates/issuing-ca.pem"), answer.body);
}

TEST_F(TimestampServer, GivesNoTimeForWhichTheKernelDoesNotVouch)
{
    ASSERT_TRUE(Start(ServeCommand({"--max-clock-error", "0.0000001"}), {}, Path("log"), &server)) << Read("log");
    EXPECT_EQ(TIME_NOT_AVAILABLE, ReadToken(Post(server.port, FieldRequest()).body).failure);
    const HttpAnswer answer = Get(server.port, "/health");
    EXPECT_EQ(503, answer.code);
    const nlohmann::json health = nlohmann::json::parse(answer.body);
    EXPECT_EQ("unavailable", health["status"]);
    EXPECT_TRUE(Contains(health["reason"], "the kernel's clock")) << health["reason"];
    EXPECT_EQ(0.0000001, health["clock"]["maxError"]);
}

TEST_F(TimestampServer, WritesALineForEachRequest)
{
    Serve();
    const size_t before = LogLines();
    const std::string serial = ReadToken(Post(server.port, FieldRequest()).body).serial;
    (void)Post(server.port, "x");
    (void)Get(server.port, "/a\x01\x1b[2J");
    {
        const Connection connection(server.port);
        ASSERT_TRUE(Send(connection, "POST /half HTTP/1.1\r\nHost: x\r\n"));
        ExpectToken(); // the half request has come by then
    }
    for (int i = 0; i < 500 && !Contains(Read("log"), " not finished"); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    std::string log = Read("log");
    std::transform(log.begin(), log.end(), log.begin(), [](unsigned char c) { return std::toupper(c); });
    EXPECT_TRUE(Contains(log, "127.0.0.1 POST / 200 ")) << log;
    EXPECT_TRUE(Contains(log, "SERIAL " + serial + " SHA256")) << log;
    EXPECT_TRUE(Contains(log, "BADDATAFORMAT: THIS IS NO TIMESTAMP REQUEST")) << log;
    EXPECT_TRUE(Contains(log, "POST /HALF") || Contains(log, "- /HALF")) << log;
    EXPECT_TRUE(Contains(log, " NOT FINISHED")) << log;
    EXPECT_FALSE(Contains(log, "\x1b")) << log;
    EXPECT_GE(LogLines(), before + 4);
}

TEST_F(TimestampServer, AnswersSoonBesideFiveHundredSlowClients)
{
    Serve();
    std::vector<std::unique_ptr<Connection>> clients;
    for (int i = 0; i < 500; ++i) {
        clients.push_back(std::make_unique<Connection>(server.port));
        const char *const parts[] = {"", "PO", "POST / HTTP/1.1\r\nHost: x\r\nContent-Le",
                                     "POST / HTTP/1.1\r\nHost: x\r\nContent-Type: application/timestamp-query\r\n"
                                     "Content-Length: 4096\r\n\r\n0123"};
        ASSERT_TRUE(Send(*clients.back(), parts[i % 4]));
    }
    for (int i = 0; i < 20; ++i) {
        ExpectToken();
    }
}

TEST_F(TimestampServer, DropsTheClientThatIdlesLongestForANewOne)
{
    Serve({"--connections", "20"});
    std::vector<std::unique_ptr<Connection>> clients;
    for (int i = 0; i < 40; ++i) {
        clients.push_back(std::make_unique<Connection>(server.port));
        ASSERT_GE(clients.back()->socket, 0);
        ExpectToken();
    }
    EXPECT_TRUE(IsClosed(*clients.front(), 30));
    EXPECT_FALSE(IsClosed(*clients.back(), 0));
}

TEST_F(TimestampServer, ClosesConnectionsOfClientsThatTakeTooLong)
{
    Serve({"--timeout", "1"});
    const Connection idle(server.port);
    const Connection slow(server.port);
    ASSERT_TRUE(Send(slow, "POST / HTTP/1.1\r\n"));
    for (int i = 0; i < 40 && Send(slow, "X-A: b\r\n"); ++i) { // one that keeps sending, and never ends
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
    }
    EXPECT_FALSE(Send(slow, "X-A: b\r\n"));
    EXPECT_TRUE(IsClosed(idle, 30));
    ExpectToken();
}

TEST_F(TimestampServer, RefusesHeadersThatDoNotEnd)
{
    Serve();
    const HttpAnswer answer = Exchange("POST / HTTP/1.1\r\nHost: x\r\nX-A: " + std::string(20000, 'x'));
    EXPECT_TRUE(answer.code == 0 || answer.code >= 400) << answer.code;
    ExpectToken();
}

#ifndef __SANITIZE_ADDRESS__ // which keeps freed memory

TEST_F(TimestampServer, DoesNotGrowWithTheNumberOfRequests)
{
    Serve();
    size_t before = 0;
    for (int round = 0; round < 6; ++round) {
        std::vector<std::thread> clients;
        for (int i = 0; i < 4; ++i) {
            clients.emplace_back([&] {
                const Connection connection(server.port);
                for (int k = 0; k < 1000; ++k) {
                    const bool isGood = k % 4 == 0;
                    ASSERT_TRUE(Send(connection, PostOf(isGood ? FieldRequest() : "no request")));
                    ASSERT_EQ(isGood, ReadToken(Receive(connection).body).isGranted);
                }
            });
        }
        for (std::thread &client : clients) {
            client.join();
        }
        before = round == 1 ? ResidentOctets(server) : before;
    }
    EXPECT_LT(ResidentOctets(server), before + MEBIBYTE / 2); // of 16,000 more requests
}

#endif

TEST_F(TimestampServer, FinishesWhatIsUnderWayAtSigterm)
{
    Serve();
    const std::string request = PostOf(FieldRequest());
    const Connection half(server.port);
    const Connection idle(server.port);
    ASSERT_TRUE(Send(half, request.substr(0, request.size() - 5)));
    ExpectToken(); // so that the half request has come
    ASSERT_EQ(0, kill(server.process, SIGTERM));
    for (int i = 0; i < 500 && Connection(server.port).socket >= 0; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_LT(Connection(server.port).socket, 0); // takes no more
    ASSERT_TRUE(Send(half, request.substr(request.size() - 5)));
    const HttpAnswer answer = Receive(half);
    EXPECT_TRUE(ReadToken(answer.body).isGranted);
    EXPECT_TRUE(Contains(answer.header, "Connection: close")) << answer.header;
    EXPECT_EQ(0, WaitFor(&server)) << Read("log");
}

TEST_F(TimestampServer, EndsAtSigtermThoughAClientNeverFinishes)
{
    Serve({"--timeout", "3600"});
    const Connection half(server.port);
    ASSERT_TRUE(Send(half, "POST / HTTP/1.1\r\nHost: x\r\n"));
    ExpectToken();
    EXPECT_EQ(0, End(&server, SIGTERM)) << Read("log");
}

} // namespace
