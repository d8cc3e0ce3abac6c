// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Every fault of the machine, one at a time, and pairs of them: memory that runs out, files that cannot be read,
// digests and signature checks that fail, bounds-checked functions and the log formatter.
#include <gtest/gtest.h>

#include <random>

#include "sigkit/sigkit.h"
#include "tests/faults/scenarios.h"
#include "tests/support/library_test.h"

namespace
{

constexpr uint32_t RANDOM_PAIRS = 10000;

// What a fault of a service may pass by without an end to the verification.
enum Absorbed : unsigned {
    NOTHING = 0,
    CLOSING = 1,  // a file that does not close is logged, and nothing else can be done
    LOGGING = 2,  // a line that cannot be formatted is logged as it is
    TRIALS = 4,   // a CRL among DER objects is tried as a certificate first; that trial may fail for any reason
    ENDING = 8,   // a read at the end of the content gives nothing anyway
    ZEROING = 16, // a signature context is usable whether it was zeroed or not: every field is set
};

// One thing that can fail: how often it was asked for, and how to make its n-th time fail.
struct Service {
    const char *name;
    WatchedCall RecordingHost::*call; // null: memory
    unsigned absorbed;
};

const Service SERVICES[] = {
    {"memory", nullptr, LOGGING | TRIALS},
    {"file open", &RecordingHost::fileOpen, NOTHING},
    {"file read", &RecordingHost::fileRead, ENDING},
    {"file close", &RecordingHost::fileClose, CLOSING},
    {"file size", &RecordingHost::fileGetSize, NOTHING},
    {"digest create", &RecordingHost::mdCreateCtx, NOTHING},
    {"digest init", &RecordingHost::mdInit, NOTHING},
    {"digest update", &RecordingHost::mdUpdate, NOTHING},
    {"digest final", &RecordingHost::mdFinal, NOTHING},
    {"signature create", &RecordingHost::cryptoCreateCtx, NOTHING},
    {"signature init", &RecordingHost::cryptoInit, NOTHING},
    {"signature update", &RecordingHost::cryptoUpdate, NOTHING},
    {"signature final", &RecordingHost::cryptoFinal, NOTHING},
    {"memcpy_s", &RecordingHost::memcpyS, NOTHING},
    {"memset_s", &RecordingHost::memsetS, LOGGING | TRIALS | ZEROING},
    {"strcpy_s", &RecordingHost::strcpyS, NOTHING},
    {"strncpy_s", &RecordingHost::strncpyS, NOTHING},
    {"strcat_s", &RecordingHost::strcatS, NOTHING},
    {"log formatter", &RecordingHost::vsnprintfS, LOGGING},
};

uint32_t Calls(const Service &service)
{
    return service.call == nullptr ? g_recordingPlatform.allocations : (g_recordingHost.*service.call).calls;
}

void FailCall(const Service &service, uint32_t n)
{
    if (service.call == nullptr) {
        g_recordingPlatform.failAt = n;
    } else {
        (g_recordingHost.*service.call).failAt = n;
    }
}

bool IsDocumented(uint32_t status)
{
    return StatusName(status).rfind("SIGKIT_", 0) == 0;
}

// How many single faults of a service a run like the last one absorbs.
uint32_t AbsorbedFaults(const Service &service, const Scenario &scenario)
{
    uint32_t faults = 0;
    faults += (service.absorbed & CLOSING) != 0 ? g_recordingHost.fileClose.calls : 0;
    faults += (service.absorbed & LOGGING) != 0 ? static_cast<uint32_t>(g_recordingHost.lines.size()) : 0;
    faults += (service.absorbed & TRIALS) != 0 ? scenario.derCrls : 0;
    faults += (service.absorbed & ENDING) != 0 ? scenario.contentFiles : 0;
    faults += (service.absorbed & ZEROING) != 0 ? g_recordingHost.cryptoCreateCtx.calls : 0;
    return faults;
}

// Runs a scenario and holds it to what every run promises.
Outcome RunChecked(const Scenario &scenario)
{
    const Outcome outcome = scenario.run();
    EXPECT_EQ(0, LiveBlocks()) << "blocks that nobody freed";
    EXPECT_EQ(0, LiveHostObjects()) << "files or contexts that nobody released";
    EXPECT_TRUE(IsDocumented(outcome.status)) << std::hex << outcome.status;
    EXPECT_TRUE(outcome.status == SIGKIT_OK || (outcome.status & 0xFF) != 0) << "reads as success in an exit status";
    return outcome;
}

class FaultSweep : public testing::TestWithParam<std::string>
{
protected:
    static const Scenario &Find(const std::string &name)
    {
        for (const Scenario &scenario : Scenarios()) {
            if (scenario.name == name) {
                return scenario;
            }
        }
        abort();
    }
};

std::vector<std::string> Names()
{
    std::vector<std::string> names;
    for (const Scenario &scenario : Scenarios()) {
        names.push_back(scenario.name);
    }
    return names;
}

} // namespace

TEST_P(FaultSweep, NoSingleFaultEverMakesARefusalAnAcceptance)
{
    const Scenario &scenario = Find(GetParam());
    const bool expectsAcceptance = IsAcceptance(scenario, scenario.expected);
    uint32_t faults = 0;
    for (const Service &service : SERVICES) {
        SCOPED_TRACE(service.name);
        ResetRecordings();
        ASSERT_EQ(scenario.expected, RunChecked(scenario)) << "without a fault";
        const uint32_t calls = Calls(service);
        const uint32_t absorbed = expectsAcceptance ? AbsorbedFaults(service, scenario) : 0;
        uint32_t accepted = 0;
        for (uint32_t n = 1; n <= calls; ++n) {
            SCOPED_TRACE(n);
            ResetRecordings();
            FailCall(service, n);
            accepted += IsAcceptance(scenario, RunChecked(scenario)) ? 1 : 0;
        }
        EXPECT_EQ(absorbed, accepted);
        faults += calls;
    }
    ResetRecordings();
    EXPECT_EQ(scenario.expected, RunChecked(scenario)) << "after all faults";
    printf("%s: %u faults\n", GetParam().c_str(), faults);
}

INSTANTIATE_TEST_SUITE_P(Scenarios, FaultSweep, testing::ValuesIn(Names()),
                         [](const auto &test) { return test.param; });

TEST(FaultPairs, NeverMakeARefusalAnAcceptance)
{
    std::mt19937 dice(20261121);
    const std::vector<Scenario> &scenarios = Scenarios();
    std::vector<std::vector<uint32_t>> calls;
    for (const Scenario &scenario : scenarios) {
        ResetRecordings();
        ASSERT_EQ(scenario.expected, RunChecked(scenario));
        calls.emplace_back();
        for (const Service &service : SERVICES) {
            calls.back().push_back(Calls(service));
        }
    }
    for (uint32_t i = 0; i < RANDOM_PAIRS && !HasFailure(); ++i) {
        const size_t which = dice() % scenarios.size();
        ResetRecordings();
        std::string trace = scenarios[which].name;
        bool mayAccept = IsAcceptance(scenarios[which], scenarios[which].expected);
        for (int fault = 0; fault < 2; ++fault) {
            size_t service = dice() % std::size(SERVICES);
            while (calls[which][service] == 0) {
                service = dice() % std::size(SERVICES);
            }
            const uint32_t n = 1 + static_cast<uint32_t>(dice() % calls[which][service]);
            FailCall(SERVICES[service], n);
            mayAccept = mayAccept && SERVICES[service].absorbed != NOTHING;
            trace += std::string(", ") + SERVICES[service].name + " " + std::to_string(n);
        }
        SCOPED_TRACE(trace);
        const Outcome outcome = RunChecked(scenarios[which]);
        EXPECT_TRUE(mayAccept || !IsAcceptance(scenarios[which], outcome));
    }
}
