// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include <algorithm>
#include <cstdlib>
#include <memory>

#include "pkgsign/commands/command.h"
#include "pkgsign/explain/cause.h"
#include "pkgsign/explain/cause_json.h"
#include "pkgsign/explain/cause_text.h"
#include "pkgsign/explain/log.h"
#include "pkgsign/explain/log_trail.h"
#include "pkgsign/files/files.h"

namespace pkgsign
{
namespace
{

constexpr size_t EXIT_DIGITS_MAX = 3;
constexpr size_t STATUS_DIGITS = 8;
constexpr size_t DECIMAL_DIGITS_MAX = 10; // of a 32-bit number

struct Options {
    std::string what;
    bool list = false;
    bool json = false;
};

bool AreAll(const std::string &text, size_t from, const char *characters)
{
    return from < text.size() && text.find_first_not_of(characters, from) == std::string::npos;
}

bool IsExitStatus(const std::string &text)
{
    return text.size() <= EXIT_DIGITS_MAX && AreAll(text, 0, "0123456789");
}

// Eight hexadecimal digits, or the same as the tool's log has it: a negative decimal number.
bool ReadStatus(const std::string &text, uint32_t *statusOut)
{
    const bool isMarked = text.rfind("0x", 0) == 0 || text.rfind("0X", 0) == 0;
    const size_t begin = isMarked ? 2 : 0;
    if (text.size() == begin + STATUS_DIGITS && AreAll(text, begin, "0123456789abcdefABCDEF")) {
        *statusOut = static_cast<uint32_t>(std::strtoul(text.c_str() + begin, nullptr, 16));
        return true;
    }
    if (text.size() <= 1 + DECIMAL_DIGITS_MAX && text.rfind('-', 0) == 0 && AreAll(text, 1, "0123456789")) {
        *statusOut = static_cast<uint32_t>(std::strtoll(text.c_str(), nullptr, 10));
        return true;
    }
    return false;
}

Status ExplainExitStatus(const Options &options, Session *session)
{
    const int exitStatus = std::atoi(options.what.c_str());
    if (exitStatus > 255) {
        return Fail("no program has the exit status " + options.what + "; it is at most 255");
    }
    session->out = options.json ? ExplainExitJson(exitStatus) : ExplainExit(exitStatus);
    return {};
}

Status ExplainCode(const Options &options, uint32_t code, Session *session)
{
    const StatusEntry *const status = FindStatus(code);
    if (status == nullptr) {
        return Fail(StatusDigits(code) + " is no status code of the device; pkgsign explain --list has all");
    }
    session->out = options.json ? ExplainStatusJson(*status) : ExplainStatus(*status);
    return {};
}

Status ExplainLog(const Options &options, Session *session)
{
    LogFindings findings;
    const Status status = ReadLog(options.what, &findings);
    if (!status.ok) {
        return status;
    }
    const std::string name = options.what == "-" ? "standard input" : "'" + options.what + "'";
    if (findings.runs == 0) {
        return Fail("in " + name + " is no line of verify_tool");
    }
    const Trail trail = FollowTrail(findings.last);
    if (!trail.status && trail.steps.empty()) {
        return Fail("the last run of verify_tool in " + name + " has no line that says how it went");
    }
    session->out = options.json ? ExplainRunJson(findings, trail) : ExplainRun(findings, trail);
    return {};
}

Status Explain(const Options &options, Session *session)
{
    uint32_t code = 0;
    if (options.list != options.what.empty()) {
        return FailUsage(options.list ? "--list takes no CODE or LOG"
                                      : "CODE or LOG is missing: an exit status, a status, or a file with a log");
    }
    if (options.list) {
        session->out = options.json ? ListStatusesJson() : ListStatuses();
        return {};
    }
    if (IsExitStatus(options.what)) {
        return ExplainExitStatus(options, session);
    }
    return ReadStatus(options.what, &code) ? ExplainCode(options, code, session) : ExplainLog(options, session);
}

} // namespace

Command ExplainCommand()
{
    Command command = MakeCommand<Options>(
        "explain", "Say what a device's answer or log means, and what to do",
        "journalctl -t verify_tool | pkgsign explain -", Explain, [](Options *options) -> std::vector<Option> {
            return {{"WHAT", "CODE|LOG",
                     "an exit status (18), a status (88200012 or -2011168750), or a file with a device's log; - for "
                     "standard input",
                     &options->what},
                    {"--list", "", "all status codes with their exit statuses", &options->list},
                    {"--json", "", "one JSON document", &options->json}};
        });
    command.hasFolder = false;
    command.isWriting = false;
    return command;
}

} // namespace pkgsign
