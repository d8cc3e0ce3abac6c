// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The tool as a process: its exit status, what it prints, and where the platform's log goes.
#include <sstream>

#include <gtest/gtest.h>

#include "tests/forge/forge.h"
#include "tests/support/process.h"

namespace
{

using Words = std::vector<std::string>;

ProcessResult RunTool(const Words &arguments, const Words &environment = {"QZLOG=stderr"},
                      const char *tool = VERIFY_TOOL)
{
    Words command = {tool};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return RunProcess(command, environment);
}

bool Contains(const std::string &text, const std::string &part)
{
    return text.find(part) != std::string::npos;
}

// Lines of the log as syslog(3) gets them from a user's program: each with its priority before it.
std::string WithPriorities(const std::string &log)
{
    std::string lines;
    std::istringstream stream(log);
    for (std::string line; std::getline(stream, line);) {
        lines += (line.find("ERROR ") == 0 ? "<11>" : "<14>") + line + "\n"; // LOG_USER with LOG_ERR or LOG_INFO
    }
    return lines;
}

const Words MISSING_FILES = {"-f", "CHECK_PKG_INTEGRITY", "-h", "/nonexistent/m",
                             "-e", "/nonexistent/e",      "-c", "/nonexistent/c"};

// A run on files that are not there, and what syslog(3) got of it.
struct Recorded {
    ProcessResult result;
    std::string log;
};

// syslog: "there", or "gone" for a machine on which no socket takes its lines.
Recorded RunRecorded(const std::string &target, const std::string &syslog)
{
    const TemporaryDirectory directory;
    const std::string record = directory.File("record");
    const ProcessResult result =
        RunTool(MISSING_FILES, {target, "LD_PRELOAD=" SYSLOG_RECORDER, "SYSLOG_RECORD=" + record,
                                "SYSLOG_SOCKET=" + syslog, "ASAN_OPTIONS=verify_asan_link_order=0"});
    forge::Bytes log;
    (void)forge::ReadFile(record, &log); // no file where nothing was logged
    return {result, std::string(log.begin(), log.end())};
}

} // namespace

TEST(Tool, WithoutArgumentsFailsAndSaysHowItIsUsed)
{
    const ProcessResult result = RunTool({});
    EXPECT_EQ(255, result.exitStatus);
    EXPECT_EQ("", result.output) << "standard output belongs to the library";
    EXPECT_EQ("usage: verify_tool -f CHECK_PKG_INTEGRITY -h SIGNATURE -e CHECKSUMS -c CRLS\n"
              "Only exit status 0 means that CHECKSUMS is authentic.\n"
              "ERROR 1014 verify_frame_main(111) UPGRADE_CmdExe: VERIFY_TOOL: Cannot find opcode().\n"
              "ERROR 1014 verify_frame_main(130) UPGRADE_MainExe: Verify VKB Command exec fail!\n",
              result.errors);
}

TEST(Tool, WithAnUnknownOperationFails)
{
    const ProcessResult result = RunTool({"-f", "CHECK_PKG", "-h", "m", "-e", "e", "-c", "c"});
    EXPECT_EQ(255, result.exitStatus);
    EXPECT_EQ("", result.output);
}

TEST(Tool, EndsWithTheLowOctetOfTheStatus)
{
    const ProcessResult result = RunTool(MISSING_FILES);
    EXPECT_EQ(0x01, result.exitStatus) << "of 88000101";
    const std::string text = "):(InternalReadFile):Can not open file '/nonexistent/c'.";
    EXPECT_EQ(0u, result.output.find("[ERROR]sigkit_log.log("));
    EXPECT_TRUE(Contains(result.output, text + "(err:88000101)\r\n")) << result.output;
    EXPECT_TRUE(Contains(result.errors, "ERROR 1014 upgrade_sigkit_sdk_callback(283) SigkitLogPrint: sigkit_log.log("));
    EXPECT_TRUE(Contains(result.errors, text + "\n")) << result.errors;
    EXPECT_TRUE(Contains(result.errors, "VERIFY_TOOL: Execute ret(")) << result.errors;
}

TEST(Tool, LogsToTheFileThatTheEnvironmentNames)
{
    const TemporaryDirectory directory;
    const ProcessResult result = RunTool(MISSING_FILES, {"QZLOG=" + directory.File("log")});
    EXPECT_EQ("", result.errors);
    forge::Bytes log;
    ASSERT_TRUE(forge::ReadFile(directory.File("log"), &log).ok);
    EXPECT_TRUE(Contains(std::string(log.begin(), log.end()), "InternalReadFile"));
}

TEST(Tool, LogsToTheSystemWhereNothingElseIsNamed)
{
    const Recorded run = RunRecorded("QZLOG=", "there");
    EXPECT_EQ(0x01, run.result.exitStatus);
    EXPECT_EQ("", run.result.errors);
    EXPECT_FALSE(Contains(run.result.output, "VERIFY_TOOL")) << "never to standard output";
    EXPECT_EQ(WithPriorities(RunTool(MISSING_FILES).errors), run.log);
}

// Else a tool in a container would be mute.
TEST(Tool, LogsToStandardErrorWhereNoSyslogTakesTheLines)
{
    const std::string lines = RunTool(MISSING_FILES).errors;
    const Recorded run = RunRecorded("QZLOG=", "gone");
    EXPECT_EQ(0x01, run.result.exitStatus);
    EXPECT_EQ(lines, run.result.errors);
    EXPECT_FALSE(Contains(run.result.output, "VERIFY_TOOL")) << "never to standard output";
    EXPECT_EQ("", run.log) << "nor to where nobody reads it";
}

TEST(Tool, SaysOnceThatTheFileForItsLogCannotBeOpenedAndLogsWhereItWouldWithoutOne)
{
    const std::string lines = RunTool(MISSING_FILES).errors;
    const std::string complaint =
        "qzlog: cannot open '/nonexistent/\\x1blog' of QZLOG: No such file or directory; the log goes to ";
    const Recorded there = RunRecorded("QZLOG=/nonexistent/\x1blog", "there");
    EXPECT_EQ(0x01, there.result.exitStatus);
    EXPECT_EQ(complaint + "syslog\n", there.result.errors);
    EXPECT_EQ(WithPriorities(lines), there.log);
    const Recorded gone = RunRecorded("QZLOG=/nonexistent/\x1blog", "gone");
    EXPECT_EQ(0x01, gone.result.exitStatus);
    EXPECT_EQ(complaint + "standard error\n" + lines, gone.result.errors);
    EXPECT_EQ("", gone.log);
    const ProcessResult longest = RunTool(MISSING_FILES, {"QZLOG=/" + std::string(100000, 'x')});
    EXPECT_EQ(0x01, longest.exitStatus);
    EXPECT_TRUE(Contains(longest.errors, "; the log goes to ")) << longest.errors;
}

TEST(Tool, EscapesControlOctetsInThePlatformsLogAndPrintsThemAsTheyAre)
{
    Words arguments = MISSING_FILES;
    arguments[7] = "/nonexistent/\x1b[2J\n[ERROR]forged";
    const ProcessResult result = RunTool(arguments);
    EXPECT_TRUE(Contains(result.errors, "/nonexistent/\\x1b[2J\\x0a[ERROR]forged")) << result.errors;
    EXPECT_TRUE(Contains(result.output, "Can not open file '/nonexistent/\x1b[2J\n[ERROR]forged'."));
}

TEST(Tool, OverTheDevicesSharedLibrariesDoesTheSame)
{
    const ProcessResult result =
        RunTool(MISSING_FILES, {"QZLOG=stderr", "LD_LIBRARY_PATH=" STAND_IN_DIRECTORY}, VERIFY_TOOL_ON_STAND_IN);
    const ProcessResult same = RunTool(MISSING_FILES);
    EXPECT_EQ(same.exitStatus, result.exitStatus);
    EXPECT_EQ(same.output, result.output);
    EXPECT_EQ(same.errors, result.errors);
    const ProcessResult needs = RunProcess({"readelf", "-d", VERIFY_TOOL_ON_STAND_IN});
    for (const char *const library : {"[libqzlog.so]", "[libqzosax.so]", "[libannexk.so]", "[libcrypto.so"}) {
        EXPECT_TRUE(Contains(needs.output, library)) << needs.output;
    }
#ifndef __SANITIZE_ADDRESS__ // the sanitizers' own support needs it
    EXPECT_FALSE(Contains(needs.output, "[libstdc++"));
#endif
}
