// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// No time goes back and no serial number comes twice, whatever happens to the server and to its machine's clock.
#include <signal.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <random>
#include <set>
#include <thread>

#include "tests/pkgsign/serve/serving.h"
#include "tests/support/timestamp_requests.h"

namespace
{

constexpr int TIME_NOT_AVAILABLE = 14; // PKIFailureInfo of RFC 3161, 2.4.2

std::string FieldRequest()
{
    const std::vector<uint8_t> octets = timestamp_requests::Encode(timestamp_requests::FieldShapes()[0]);
    return std::string(octets.begin(), octets.end());
}

// All tokens that clients have had, and what was broken.
struct Collected {
    std::mutex access;
    std::set<std::string> serials;
    int64_t latest = 0;
    size_t tokens = 0;
    size_t steppedBack = 0;
    size_t twice = 0;
};

// `floor`: the latest time that any client had seen when the request was sent.
void Note(const Token &token, int64_t floor, Collected *collected)
{
    const std::lock_guard<std::mutex> guard(collected->access);
    ++collected->tokens;
    collected->steppedBack += token.time < floor ? 1 : 0;
    collected->twice += collected->serials.insert(token.serial).second ? 0 : 1;
    collected->latest = std::max(collected->latest, token.time);
}

// Asks without a pause until the connection ends.
void Load(const std::string &port, Collected *collected)
{
    const Connection connection(port);
    const std::string request = PostOf(FieldRequest());
    for (;;) {
        int64_t floor = 0;
        {
            const std::lock_guard<std::mutex> guard(collected->access);
            floor = collected->latest;
        }
        const HttpAnswer answer = Send(connection, request) ? Receive(connection) : HttpAnswer();
        if (answer.code != 200) {
            return;
        }
        const Token token = ReadToken(answer.body);
        if (token.isGranted) {
            Note(token, floor, collected);
        }
    }
}

size_t CountTokens(Collected *collected)
{
    const std::lock_guard<std::mutex> guard(collected->access);
    return collected->tokens;
}

void WaitForTokens(Collected *collected)
{
    const size_t before = CountTokens(collected);
    for (int i = 0; i < 6000 && CountTokens(collected) == before; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

class ServerTime : public Serving
{
protected:
    // Kills a server under load, starts it anew, and so on. prepare: is called before each start.
    void KillUnderLoad(int rounds, const std::function<void(int round)> &prepare = nullptr)
    {
        std::mt19937 random(20260115);
        Collected collected;
        for (int round = 0; round < rounds; ++round) {
            if (prepare != nullptr) {
                prepare(round);
            }
            ASSERT_TRUE(Start(ServeCommand(), environment, Path("log"), &server)) << Read("log");
            std::vector<std::thread> clients;
            for (int i = 0; i < 4; ++i) {
                clients.emplace_back(Load, server.port, &collected);
            }
            EXPECT_TRUE(WaitUntilHealthy(server.port, 60));
            if (round % 4 != 3) { // else it may be killed before its first token, too
                WaitForTokens(&collected);
            }
            std::this_thread::sleep_for(std::chrono::microseconds(random() % 300000));
            EXPECT_EQ(-1, End(&server, SIGKILL));
            for (std::thread &client : clients) {
                client.join();
            }
        }
        EXPECT_GT(collected.tokens, static_cast<size_t>(rounds));
        EXPECT_EQ(collected.tokens, collected.serials.size());
        EXPECT_EQ(0u, collected.steppedBack);
        EXPECT_EQ(0u, collected.twice);
    }

    Token Ask() const
    {
        return ReadToken(Post(server.port, FieldRequest()).body);
    }
};

TEST_F(ServerTime, NeitherGoesBackNorNumbersTwiceWhenKilledUnderLoad)
{
    KillUnderLoad(3);
}

TEST_F(ServerTime, NeitherGoesBackNorNumbersTwiceWhenKilledManyTimes)
{
    KillUnderLoad(20);
}

TEST_F(ServerTime, IsNotGivenRightAfterAKillAndIsGivenRightAfterAnOrderlyEnd)
{
    Serve();
    EXPECT_TRUE(Ask().isGranted);
    EXPECT_EQ(-1, End(&server, SIGKILL));
    ASSERT_TRUE(Start(ServeCommand(), environment, Path("log"), &server));
    EXPECT_EQ(TIME_NOT_AVAILABLE, Ask().failure);
    EXPECT_EQ(503, Get(server.port, "/health").code);
    ASSERT_TRUE(WaitUntilHealthy(server.port, 60));
    const int64_t first = Ask().time;
    EXPECT_GT(first, 0);
    while (Ask().time <= first) { // so that ten seconds are reserved again
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    EXPECT_EQ(0, End(&server, SIGTERM));
    ASSERT_TRUE(Start(ServeCommand(), environment, Path("log"), &server));
    EXPECT_TRUE(Ask().isGranted);
}

TEST_F(ServerTime, HasOneServerPerFile)
{
    Serve();
    ExpectNotStarted(ServeCommand(), "another server uses the clock's file");
    ServerProcess other;
    EXPECT_TRUE(Start(ServeCommand({"--state", Path("other.clock")}), environment, Path("other.log"), &other))
        << Read("other.log");
}

#ifdef FAKETIME_LIBRARY

// The server under a clock that the test sets while it runs.
class SteppedClock : public ServerTime
{
protected:
    void SetUp() override
    {
        Serving::SetUp();
        SetClock("2026-01-15 12:00:00");
        environment = {std::string("LD_PRELOAD=") + FAKETIME_LIBRARY,
                       "FAKETIME_TIMESTAMP_FILE=" + Path("time"),
                       "FAKETIME_NO_CACHE=1",
                       "FAKETIME_DONT_FAKE_MONOTONIC=1",
                       "DONT_FAKE_MONOTONIC=1",
                       "TZ=UTC"};
    }

    void SetClock(const std::string &time) const
    {
        Write("time.new", time + "\n");
        ASSERT_EQ(0, rename(Path("time.new").c_str(), Path("time").c_str()));
    }
};

TEST_F(SteppedClock, SetBackGetsNoTokensUntilItHasCaughtUp)
{
    Serve();
    const Token first = Ask();
    EXPECT_TRUE(first.isGranted);
    EXPECT_EQ(1768478400, first.time);
    SetClock("2026-01-15 11:59:59");
    EXPECT_EQ(TIME_NOT_AVAILABLE, Ask().failure);
    EXPECT_TRUE(Contains(Get(server.port, "/health").body, "before 2026-01-15T12:00:00Z"));
    SetClock("2026-01-15 12:00:00");
    EXPECT_EQ(1768478400, Ask().time);
    SetClock("2026-01-15 12:00:01");
    EXPECT_EQ(1768478401, Ask().time);
}

TEST_F(SteppedClock, SetBackBetweenTwoServersGetsNoTokensEither)
{
    Serve();
    EXPECT_TRUE(Ask().isGranted);
    EXPECT_EQ(0, End(&server, SIGTERM));
    SetClock("2026-01-15 11:00:00");
    ASSERT_TRUE(Start(ServeCommand(), environment, Path("log"), &server)) << Read("log");
    EXPECT_EQ(TIME_NOT_AVAILABLE, Ask().failure);
    SetClock("2026-01-15 12:00:00");
    EXPECT_EQ(1768478400, Ask().time);
}

// A clock that runs, and that is three seconds further behind after each kill. Without the steps no server would have a
// chance to go back.
TEST_F(SteppedClock, SetBackAtEachKillUnderLoadLetsNoTimeGoBack)
{
    KillUnderLoad(3, [this](int round) { SetClock("-" + std::to_string(3 * round)); });
}

TEST_F(SteppedClock, AtTheEndOfTheCertificateGetsNoTokens)
{
    Serve();
    SetClock("2050-01-01 00:00:00");
    EXPECT_TRUE(Ask().isGranted);
    SetClock("2050-01-01 00:00:01");
    EXPECT_EQ(25, Ask().failure); // systemFailure
    EXPECT_EQ(503, Get(server.port, "/health").code);
}

#endif

} // namespace
