// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// A timestamp server as a process, and HTTP spoken to it octet by octet.
#ifndef TESTS_PKGSIGN_SERVE_SERVING_H
#define TESTS_PKGSIGN_SERVE_SERVING_H

#include <sys/types.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "pkgsign/crypto/types.h"
#include "tests/support/process.h"

// A process of `pkgsign serve`; killed at the end of the scope when it still runs.
struct ServerProcess {
    pid_t process = -1;
    std::string port;
    std::string announced; // its line with its address
    std::string log;       // the file of its standard error

    ServerProcess() = default;
    ServerProcess(const ServerProcess &) = delete;
    ServerProcess &operator=(const ServerProcess &) = delete;
    ~ServerProcess();
};

// Starts a program and waits for the line with its address. False when it ends without one.
bool Start(const std::vector<std::string> &command, const std::vector<std::string> &environment, const std::string &log,
           ServerProcess *server);

// Sends a signal and waits. The exit status, or -1 for an end by a signal.
int End(ServerProcess *server, int signal);

// Waits for an end of its own accord.
int WaitFor(ServerProcess *server);

// Octets of its memory that are resident.
size_t ResidentOctets(const ServerProcess &server);

// A connection to a server; closed at the end of the scope.
struct Connection {
    int socket = -1;

    explicit Connection(const std::string &port);
    ~Connection();
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;
};

struct HttpAnswer {
    int code = 0; // 0: the connection ended without an answer
    std::string header;
    std::string body;
};

bool Send(const Connection &connection, const std::string &octets);
HttpAnswer Receive(const Connection &connection);

// Whether the server has closed the connection within so many seconds.
bool IsClosed(const Connection &connection, int seconds);

std::string PostOf(const std::string &body, const std::string &path = "/",
                   const std::string &type = "application/timestamp-query");
HttpAnswer Post(const std::string &port, const std::string &body);
HttpAnswer Get(const std::string &port, const std::string &path);

// What an answer says.
struct Token {
    bool isGranted = false;
    int64_t time = 0;
    std::string serial; // hexadecimal
    int failure = -1;   // bit of PKIFailureInfo
};
Token ReadToken(const std::string &answer);

// A test in a directory of its own with a copy of the development PKI, whose certificates live from 2015 to 2049.
class Serving : public testing::Test
{
protected:
    void SetUp() override;

    std::string Path(const std::string &name) const
    {
        return directory.File(name);
    }
    std::string Read(const std::string &name) const;
    void Write(const std::string &name, const std::string &text) const;

    // The command line of a server of the folder at a free port.
    std::vector<std::string> ServeCommand(const std::vector<std::string> &options = {}) const;

    // Starts a server and waits until it gives out time.
    void Serve(const std::vector<std::string> &options = {});

    ProcessResult Pkgsign(const std::vector<std::string> &arguments) const;
    ProcessResult Openssl(const std::vector<std::string> &arguments) const;

    // A request that openssl has made over a file of the directory.
    std::string QueryOf(const std::string &name, const std::vector<std::string> &options = {}) const;

    // A server that is not expected to start. status: 2 when the command line is at fault.
    void ExpectNotStarted(const std::vector<std::string> &command, const std::string &reason, int status = 1) const;

    std::vector<std::string> environment;
    ServerProcess server;
    TemporaryDirectory directory;
};

bool WaitUntilHealthy(const std::string &port, int seconds);

bool Contains(const std::string &text, const std::string &part);

#endif
