// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Whose key a timestamp server signs with, and what it refuses to begin with.
#include <netdb.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <thread>

#include "tests/pkgsign/serve/serving.h"
#include "tests/support/timestamp_requests.h"

namespace
{

constexpr int SYSTEM_FAILURE = 25; // PKIFailureInfo of RFC 3161, 2.4.2

std::string FieldRequest()
{
    const std::vector<uint8_t> octets = timestamp_requests::Encode(timestamp_requests::FieldShapes()[0]);
    return std::string(octets.begin(), octets.end());
}

class ServerKeys : public Serving
{
protected:
    // Signs a package, stamps it over HTTP, and asks the device's tool.
    void ExpectStampedPackageIsAccepted()
    {
        ASSERT_EQ(0, Pkgsign({"sign", Path("content"), "--no-timestamp", "--out", Path("message")}).exitStatus);
        ASSERT_EQ(0, Pkgsign({"crl", "--out", Path("crls")}).exitStatus);
        EXPECT_NE(0, VerifyTool("message").exitStatus);
        const ProcessResult stamped = Pkgsign(
            {"timestamp", Path("message"), "--tsa-url", "http://127.0.0.1:" + server.port, "--out", Path("stamped")});
        ASSERT_EQ(0, stamped.exitStatus) << stamped.errors;
        const ProcessResult verified = VerifyTool("stamped");
        EXPECT_EQ(0, verified.exitStatus) << Read("tool.log");
    }

    ProcessResult VerifyTool(const std::string &message) const
    {
        return RunProcess(
            {VERIFY_TOOL, "-f", "CHECK_PKG_INTEGRITY", "-h", Path(message), "-e", Path("content"), "-c", Path("crls")},
            {"QZLOG=" + Path("tool.log")});
    }

    std::string Chain(const std::vector<std::string> &names) const
    {
        std::string text;
        for (const std::string &name : names) {
            text += Read("pki/certificates/" + name + ".pem");
        }
        return text;
    }
};

TEST_F(ServerKeys, InFilesStampPackagesThatDevicesAccept)
{
    Serve({"--workers", "3"});
    ExpectStampedPackageIsAccepted();
}

TEST_F(ServerKeys, AreNamedByUriWithTheirCertificates)
{
    Write("chain", Chain({"timestamp", "issuing-ca", "root"}));
    Serve({"--key", "file:" + Path("pki/private/timestamp.key"), "--certificates", Path("chain"), "--state",
           Path("clock")});
    ExpectStampedPackageIsAccepted();
    EXPECT_TRUE(std::filesystem::exists(Path("clock")));
}

TEST_F(ServerKeys, OfAnotherCertificateAreRefused)
{
    Write("chain", Chain({"timestamp", "issuing-ca", "root"}));
    ExpectNotStarted(ServeCommand({"--key", Path("pki/private/signer.key"), "--certificates", Path("chain"), "--state",
                                   Path("clock")}),
                     "the private key is not the one that the certificate is for");
}

TEST_F(ServerKeys, ThatDevicesWouldNotTakeForTimestampsAreRefusedAtTheStart)
{
    Write("chain", Chain({"signer", "issuing-ca", "root"}));
    ExpectNotStarted(ServeCommand({"--key", Path("pki/private/signer.key"), "--certificates", Path("chain"), "--state",
                                   Path("clock")}),
                     "a device would refuse packages of this certificate");
}

TEST_F(ServerKeys, WithoutTheirCertificatesAreRefused)
{
    ExpectNotStarted(ServeCommand({"--key", Path("pki/private/timestamp.key")}), "--key needs --certificates", 2);
    Write("chain", Chain({"timestamp", "issuing-ca"}));
    ExpectNotStarted(ServeCommand({"--key", Path("pki/private/timestamp.key"), "--certificates", Path("chain"),
                                   "--state", Path("clock")}),
                     "holds another number of certificates than three");
}

TEST_F(ServerKeys, AreNotServedWithoutLibmicrohttpd)
{
    Write("libmicrohttpd.so.12", "no library");
    environment = {"LD_LIBRARY_PATH=" + directory.path};
    ExpectNotStarted(ServeCommand(), "nothing can be served without libmicrohttpd: ");
}

TEST_F(ServerKeys, ThatAreRevokedAreNotServed)
{
    ASSERT_EQ(0, Pkgsign({"revoke", "timestamp", "--reason", "keyCompromise"}).exitStatus);
    ExpectNotStarted(ServeCommand(), "'timestamp' is revoked");
}

TEST_F(ServerKeys, AreNotTriedWithOptionsThatMakeNoSense)
{
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{"--now", "2026-01-15"}, "serve gives out the time of this machine"},
        {{"--workers", "0"}, "--workers wants a number from 1 to 64"},
        {{"--workers", "x"}, "--workers wants"},
        {{"--connections", "0"}, "--connections wants"},
        {{"--timeout", "0"}, "--timeout wants"},
        {{"--policy", "policy"}, "is no object identifier"},
        {{"--max-clock-error", "-1"}, "--max-clock-error wants seconds"},
        {{"--max-clock-error", "inf"}, "--max-clock-error wants seconds"},
        {{"--certificates", "chain"}, "--certificates belongs to --key"},
        {{"--key", "key", "--certificates", "chain", "--state", "clock", "--timestamp", "timestamp"},
         "--timestamp is of the folder, --key of a file"},
        {{"--dry-run"}, "--dry-run"}};
    for (const auto &[options, reason] : cases) {
        ExpectNotStarted(ServeCommand(options), reason, 2);
    }
    for (const char *const where : {"127.0.0.1", "127.0.0.1:", "127.0.0.1:x", "::1", "::1:0", "127.0.0.1:99999"}) {
        ExpectNotStarted({PKGSIGN_PROGRAM, "serve", "--listen", where, "--pki", Path("pki")},
                         "--listen wants HOST:PORT", 2);
    }
    ExpectNotStarted(ServeCommand({"--state", Path("no/directory")}), "cannot lock");
    ExpectNotStarted(ServeCommand({"--timestamp", "signer"}), "'signer' is for the role signer, not timestamp");
    for (const std::string where : {"192.0.2.1:0", "[2001:db8::1]:0"}) { // addresses of documents
        ExpectNotStarted({PKGSIGN_PROGRAM, "serve", "--listen", where, "--pki", Path("pki")},
                         "cannot listen at '" + where + "': ");
    }
}

TEST_F(ServerKeys, ListenOnLoopbackUnlessToldOtherwise)
{
    ASSERT_TRUE(
        Start({PKGSIGN_PROGRAM, "serve", "--listen", ":0", "--pki", Path("pki")}, environment, Path("log"), &server))
        << Read("log");
    std::ifstream table("/proc/" + std::to_string(server.process) + "/net/tcp");
    char port[8] = {};
    (void)snprintf(port, sizeof(port), "%04X", std::stoi(server.port));
    const std::string text{std::istreambuf_iterator<char>(table), std::istreambuf_iterator<char>()};
    EXPECT_TRUE(Contains(text, std::string(" 0100007F:") + port + " ")) << text; // 127.0.0.1
    EXPECT_FALSE(Contains(text, std::string(" 00000000:") + port + " ")) << text;
}

// Whether a client comes through at a URL: a token that openssl can read, put into a package.
class ServerAddress : public ServerKeys
{
protected:
    void ServeAt(const std::string &where)
    {
        ASSERT_TRUE(Start({PKGSIGN_PROGRAM, "serve", "--listen", where, "--pki", Path("pki")}, environment, Path("log"),
                          &server))
            << Read("log");
    }

    bool IsReached(const std::string &host)
    {
        EXPECT_EQ(0, Pkgsign({"sign", Path("content"), "--no-timestamp", "--out", Path("message")}).exitStatus);
        const ProcessResult stamped = Pkgsign({"timestamp", Path("message"), "--tsa-url",
                                               "http://" + host + ":" + server.port, "--out", Path("stamped")});
        return stamped.exitStatus == 0;
    }

    // A machine may have no IPv6, or no address of it.
    static bool HasAddress(const struct in6_addr &wanted)
    {
        struct sockaddr_in6 address = {};
        address.sin6_family = AF_INET6;
        address.sin6_addr = wanted;
        const int file = socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const bool isBound =
            file >= 0 && bind(file, reinterpret_cast<struct sockaddr *>(&address), sizeof(address)) == 0;
        if (file >= 0) {
            (void)close(file);
        }
        return isBound;
    }

    void ExpectNoSuchAddress(const std::string &where)
    {
        ExpectNotStarted({PKGSIGN_PROGRAM, "serve", "--listen", where, "--pki", Path("pki")},
                         "cannot listen at '" + where + "': ");
    }
};

TEST_F(ServerAddress, MayBeTheLoopbackOfIpv6AndIsThatAlone)
{
    if (!HasAddress(in6addr_loopback)) {
        ExpectNoSuchAddress("[::1]:0");
        return;
    }
    ServeAt("[::1]:0");
    EXPECT_TRUE(Contains(server.announced, "http://[::1]:" + server.port + "/")) << server.announced;
    EXPECT_TRUE(IsReached("[::1]"));
    EXPECT_FALSE(IsReached("127.0.0.1"));
    EXPECT_TRUE(Contains(Read("log"), " ::1 POST / 200 ")) << Read("log");
}

TEST_F(ServerAddress, OfTheWildcardOfIpv6IsReachedOverBoth)
{
    if (!HasAddress(in6addr_any)) {
        ExpectNoSuchAddress("[::]:0");
        return;
    }
    ServeAt("[::]:0");
    EXPECT_EQ(HasAddress(in6addr_loopback), IsReached("[::1]"));
    EXPECT_TRUE(IsReached("127.0.0.1"));
    EXPECT_EQ(0, End(&server, SIGTERM));
    EXPECT_EQ(HasAddress(in6addr_loopback), Contains(Read("log"), " ::1 POST / 200 ")) << Read("log");
    EXPECT_TRUE(Contains(Read("log"), " 127.0.0.1 POST / 200 ")) << Read("log"); // as every other log has it
}

TEST_F(ServerAddress, OfTheWildcardOfIpv4IsReachedOverThatAlone)
{
    ServeAt("0.0.0.0:0");
    EXPECT_TRUE(IsReached("127.0.0.1"));
    EXPECT_FALSE(IsReached("[::1]"));
}

bool IsKnown(const char *host)
{
    struct addrinfo *found = nullptr;
    const bool isKnown = getaddrinfo(host, nullptr, nullptr, &found) == 0;
    if (isKnown) {
        freeaddrinfo(found);
    }
    return isKnown;
}

TEST_F(ServerAddress, MayBeANameThatTheMachineKnows)
{
    if (!IsKnown("localhost")) { // as where nobody has written /etc/hosts yet
        ExpectNoSuchAddress("localhost:0");
        return;
    }
    ServeAt("localhost:0");
    EXPECT_TRUE(IsReached("localhost"));
}

// A key in SoftHSM2.
class ServerTokenKeys : public ServerKeys
{
protected:
    void SetUp() override
    {
        ServerKeys::SetUp();
        std::filesystem::create_directory(Path("tokens"));
        Write("softhsm.conf", "directories.tokendir = " + Path("tokens") + "\nlog.level = ERROR\n");
        Write("pin", "1234\n");
        environment = {"SOFTHSM2_CONF=" + Path("softhsm.conf"), std::string("PKCS11_MODULE_PATH=") + SOFTHSM_MODULE};
        RunUtil({"--init-token", "--free", "--label", "hsm", "--so-pin", "0000", "--pin", "1234"});
        RunUtil({"--import", Path("pki/private/timestamp.key"), "--token", "hsm", "--label", "stamp", "--id", "01",
                 "--pin", "1234"});
        std::filesystem::remove(Path("pki/private/timestamp.key"));
        std::string text = Read("pki/pki.json");
        const std::string path = "private/timestamp.key";
        text.replace(text.find(path), path.size(), "pkcs11:token=hsm;object=stamp");
        Write("pki/pki.json", text);
    }

    void RunUtil(std::vector<std::string> arguments) const
    {
        arguments.insert(arguments.begin(), SOFTHSM_UTIL);
        const ProcessResult result = RunProcess(arguments, environment);
        ASSERT_EQ(0, result.exitStatus) << result.output << result.errors;
    }

    std::vector<pid_t> WorkerProcesses() const
    {
        const std::string process = std::to_string(server.process);
        std::ifstream file("/proc/" + process + "/task/" + process + "/children");
        return {std::istream_iterator<pid_t>(file), std::istream_iterator<pid_t>()};
    }
};

TEST_F(ServerTokenKeys, StampPackagesThatDevicesAccept)
{
    Serve({"--passphrase-file", Path("pin")});
    ExpectStampedPackageIsAccepted();
}

TEST_F(ServerTokenKeys, SignInProcessesOfTheirOwnThatEndWithTheServer)
{
    Serve({"--passphrase-file", Path("pin"), "--workers", "3"});
    const std::vector<pid_t> workers = WorkerProcesses();
    EXPECT_EQ(3u, workers.size());
    std::vector<std::thread> clients;
    std::atomic<int> granted = 0;
    for (int i = 0; i < 6; ++i) {
        clients.emplace_back([&] {
            for (int k = 0; k < 20; ++k) {
                granted += ReadToken(Post(server.port, FieldRequest()).body).isGranted ? 1 : 0;
            }
        });
    }
    for (std::thread &client : clients) {
        client.join();
    }
    EXPECT_EQ(120, granted);
    EXPECT_EQ(0, End(&server, SIGTERM)) << Read("log");
    for (const pid_t worker : workers) {
        EXPECT_EQ(-1, kill(worker, 0)) << "still runs";
    }
}

TEST_F(ServerTokenKeys, WhoseProcessIsKilledEndTheServerAfterAnAnswer)
{
    Serve({"--passphrase-file", Path("pin"), "--workers", "1"});
    ASSERT_EQ(1u, WorkerProcesses().size());
    ASSERT_EQ(0, kill(WorkerProcesses()[0], SIGKILL));
    EXPECT_EQ(SYSTEM_FAILURE, ReadToken(Post(server.port, FieldRequest()).body).failure);
    EXPECT_EQ(1, WaitFor(&server));
    EXPECT_TRUE(Contains(Read("log"), "pkgsign serve: a signer has failed")) << Read("log");
}

TEST_F(ServerTokenKeys, DieWithAServerThatIsKilled)
{
    Serve({"--passphrase-file", Path("pin"), "--workers", "2"});
    const std::vector<pid_t> workers = WorkerProcesses();
    ASSERT_EQ(2u, workers.size());
    EXPECT_EQ(-1, End(&server, SIGKILL));
    for (const pid_t worker : workers) {
        const std::string state = "/proc/" + std::to_string(worker) + "/exe";
        std::error_code failure;
        for (int i = 0; i < 500 && !std::filesystem::read_symlink(state, failure).empty(); ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        EXPECT_TRUE(std::filesystem::read_symlink(state, failure).empty()) << "still runs";
    }
}

TEST_F(ServerTokenKeys, WithAPinThatIsRefusedAreTriedOnce)
{
    Write("wrong", "4321\n");
    const ProcessResult result =
        RunProcess(ServeCommand({"--passphrase-file", Path("wrong"), "--workers", "4"}), environment);
    EXPECT_EQ(1, result.exitStatus);
    EXPECT_EQ("pkgsign serve: the token refuses the PIN for key 'timestamp'\n", result.errors);
}

TEST_F(ServerTokenKeys, AreNotServedWithoutTheirPin)
{
    ExpectNotStarted(ServeCommand(), "key 'timestamp' needs a passphrase or PIN");
}

} // namespace
