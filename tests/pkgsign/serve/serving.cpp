// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/pkgsign/serve/serving.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "pkgsign/authority/certificates.h"
#include "tests/support/timestamp_requests.h"

namespace
{

constexpr int ANSWER_SECONDS = 60; // a busy machine answers late, a broken server never
constexpr char ANNOUNCEMENT[] = "Listening at http://";

std::string ReadText(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

// Reads a line, octet by octet; empty at the end.
std::string ReadLine(int file)
{
    std::string line;
    for (char octet = 0; read(file, &octet, 1) == 1;) {
        if (octet == '\n') {
            return line;
        }
        line += octet;
    }
    return "";
}

// Reads until `text` holds `size` octets. False when the connection ends before.
bool Fill(const Connection &connection, size_t size, std::string *text)
{
    char buffer[4096];
    while (text->size() < size) {
        struct pollfd source = {connection.socket, POLLIN, 0};
        const ssize_t got = poll(&source, 1, ANSWER_SECONDS * 1000) == 1
                                ? recv(connection.socket, buffer, std::min(sizeof(buffer), size - text->size()), 0)
                                : -1;
        if (got <= 0) {
            return false;
        }
        text->append(buffer, static_cast<size_t>(got));
    }
    return true;
}

} // namespace

ServerProcess::~ServerProcess()
{
    if (process > 0) {
        (void)End(this, SIGKILL);
    }
}

bool Start(const std::vector<std::string> &command, const std::vector<std::string> &environment, const std::string &log,
           ServerProcess *server)
{
    int out[2] = {-1, -1};
    if (pipe2(out, O_CLOEXEC) != 0) {
        return false;
    }
    const int errors = open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    server->log = log;
    server->process = StartProcess(command, environment, out[1], errors);
    (void)close(errors);
    (void)close(out[1]);
    const std::string line = ReadLine(out[0]);
    (void)close(out[0]);
    const size_t colon = line.rfind(':');
    if (line.rfind(ANNOUNCEMENT, 0) != 0 || line.back() != '/') {
        return false;
    }
    server->announced = line;
    server->port = line.substr(colon + 1, line.size() - colon - 2);
    return true;
}

int End(ServerProcess *server, int signal)
{
    (void)kill(server->process, signal);
    return WaitFor(server);
}

int WaitFor(ServerProcess *server)
{
    int state = 0;
    const bool hasEnded = waitpid(server->process, &state, 0) == server->process;
    server->process = -1;
    return hasEnded && WIFEXITED(state) ? WEXITSTATUS(state) : -1;
}

size_t ResidentOctets(const ServerProcess &server)
{
    std::ifstream file("/proc/" + std::to_string(server.process) + "/statm");
    size_t total = 0;
    size_t resident = 0;
    file >> total >> resident;
    return resident * static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

Connection::Connection(const std::string &port) : socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    struct sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(std::stoi(port)));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(socket, reinterpret_cast<struct sockaddr *>(&address), sizeof(address)) != 0) {
        (void)close(socket);
        socket = -1;
    }
}

Connection::~Connection()
{
    if (socket >= 0) {
        (void)close(socket);
    }
}

bool Send(const Connection &connection, const std::string &octets)
{
    return send(connection.socket, octets.data(), octets.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(octets.size());
}

HttpAnswer Receive(const Connection &connection)
{
    HttpAnswer answer;
    while (!Contains(answer.header, "\r\n\r\n")) {
        if (!Fill(connection, answer.header.size() + 1, &answer.header)) {
            return {};
        }
    }
    const size_t length = answer.header.find("Content-Length: ");
    const size_t size = length == std::string::npos ? 0 : std::stoul(answer.header.substr(length + 16));
    if (!Fill(connection, size, &answer.body)) {
        return {};
    }
    answer.code = std::stoi(answer.header.substr(answer.header.find(' ')));
    return answer;
}

bool IsClosed(const Connection &connection, int seconds)
{
    char octet = 0;
    struct pollfd source = {connection.socket, POLLIN, 0};
    return poll(&source, 1, seconds * 1000) == 1 && recv(connection.socket, &octet, 1, 0) <= 0;
}

std::string PostOf(const std::string &body, const std::string &path, const std::string &type)
{
    return "POST " + path + " HTTP/1.1\r\nHost: localhost\r\nContent-Type: " + type +
           "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

HttpAnswer Post(const std::string &port, const std::string &body)
{
    const Connection connection(port);
    return Send(connection, PostOf(body)) ? Receive(connection) : HttpAnswer();
}

HttpAnswer Get(const std::string &port, const std::string &path)
{
    const Connection connection(port);
    return Send(connection, "GET " + path + " HTTP/1.1\r\nHost: localhost\r\n\r\n") ? Receive(connection)
                                                                                    : HttpAnswer();
}

Token ReadToken(const std::string &answer)
{
    Token token;
    const unsigned char *next = reinterpret_cast<const unsigned char *>(answer.data());
    const pkgsign::TsResponsePtr response(d2i_TS_RESP(nullptr, &next, static_cast<long>(answer.size())));
    if (response == nullptr) {
        ADD_FAILURE() << "no timestamp response";
        return token;
    }
    TS_TST_INFO *const info = TS_RESP_get_tst_info(response.get());
    const ASN1_BIT_STRING *const bits = TS_STATUS_INFO_get0_failure_info(TS_RESP_get_status_info(response.get()));
    for (int i = 0; bits != nullptr && i < 32; ++i) {
        token.failure = ASN1_BIT_STRING_get_bit(bits, i) == 1 ? i : token.failure;
    }
    if (info != nullptr) {
        token = {true, pkgsign::TimeSeconds(TS_TST_INFO_get_time(info)),
                 pkgsign::SerialText(TS_TST_INFO_get_serial(info)), token.failure};
    }
    return token;
}

void Serving::SetUp()
{
    std::filesystem::copy(DEVELOPMENT_PKI, Path("pki"), std::filesystem::copy_options::recursive);
    Write("content", "content\n");
}

std::string Serving::Read(const std::string &name) const
{
    return ReadText(Path(name));
}

void Serving::Write(const std::string &name, const std::string &text) const
{
    std::ofstream(Path(name), std::ios::binary) << text;
}

std::vector<std::string> Serving::ServeCommand(const std::vector<std::string> &options) const
{
    std::vector<std::string> command = {PKGSIGN_PROGRAM, "serve", "--listen", "127.0.0.1:0", "--no-input"};
    command.insert(command.end(), options.begin(), options.end());
    command.insert(command.end(), {"--pki", Path("pki")});
    return command;
}

void Serving::Serve(const std::vector<std::string> &options)
{
    ASSERT_TRUE(Start(ServeCommand(options), environment, Path("log"), &server)) << Read("log");
    ASSERT_TRUE(WaitUntilHealthy(server.port, ANSWER_SECONDS)) << Get(server.port, "/health").body;
}

ProcessResult Serving::Pkgsign(const std::vector<std::string> &arguments) const
{
    std::vector<std::string> command = {PKGSIGN_PROGRAM};
    command.insert(command.end(), arguments.begin(), arguments.end());
    command.insert(command.end(), {"--pki", Path("pki"), "--no-input"});
    return RunProcess(command, environment);
}

ProcessResult Serving::Openssl(const std::vector<std::string> &arguments) const
{
    std::vector<std::string> command = {OPENSSL_PROGRAM};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return RunProcess(command);
}

std::string Serving::QueryOf(const std::string &name, const std::vector<std::string> &options) const
{
    std::vector<std::string> arguments = {"ts", "-query", "-data", Path(name), "-cert", "-out", Path("query")};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const ProcessResult result = Openssl(arguments);
    EXPECT_EQ(0, result.exitStatus) << result.errors;
    return Read("query");
}

void Serving::ExpectNotStarted(const std::vector<std::string> &command, const std::string &reason, int status) const
{
    const ProcessResult result = RunProcess(command, environment);
    EXPECT_EQ(status, result.exitStatus) << reason;
    EXPECT_EQ("", result.output);
    EXPECT_TRUE(Contains(result.errors, reason)) << result.errors;
}

bool WaitUntilHealthy(const std::string &port, int seconds)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    while (Get(port, "/health").code != 200) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return true;
}

bool Contains(const std::string &text, const std::string &part)
{
    return text.find(part) != std::string::npos;
}
