// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/explain/log.h"

#include <algorithm>
#include <deque>
#include <map>

#include "pkgsign/explain/log_line.h"
#include "pkgsign/explain/log_step.h"
#include "pkgsign/files/files.h"

namespace pkgsign
{
namespace
{

constexpr size_t HALF = LOG_EVENTS_MAX / 2;

// A run whose lines are still being read.
struct OpenRun {
    LogRun run;
    std::deque<LogEvent> last; // events behind the first HALF
    bool hasStarted = false;   // the command line is read
    bool hasEnded = false;     // no line but the tool's last word can follow
    bool wasConsole = false;   // of the last event
    bool isPaired = false;     // the last event was read twice, once from each log
};

struct Reader {
    std::string line; // as far as it is read
    bool isInLine = false;
    std::map<std::string, OpenRun> open; // by process
    std::string lastProcess;
    size_t runs = 0;
};

LogEvent *LastEvent(OpenRun *open)
{
    std::vector<LogEvent> &first = open->run.events;
    return !open->last.empty() ? &open->last.back() : !first.empty() ? &first.back() : nullptr;
}

bool IsSame(const LogEvent &event, const LogLine &line)
{
    return line.isLibrary && event.function == line.function && event.text == line.text;
}

void AddEvent(const LogLine &line, OpenRun *open)
{
    LogEvent *const before = LastEvent(open);
    // Both logs in one file: the library's lines stand there twice, and one of the two has the code.
    if (before != nullptr && !open->isPaired && line.isConsole != open->wasConsole && IsSame(*before, line)) {
        before->code = before->code ? before->code : line.code;
        open->wasConsole = line.isConsole;
        open->isPaired = true;
        return;
    }
    LogEvent event = {line.function, line.text, line.code, line.isWarning};
    open->wasConsole = line.isConsole;
    open->isPaired = false;
    if (open->run.events.size() < HALF) {
        open->run.events.push_back(std::move(event));
        return;
    }
    open->last.push_back(std::move(event));
    if (open->last.size() > HALF) {
        open->last.pop_front();
        open->run.left += 1;
    }
}

// What stands between `before` and the text's last `after` characters.
bool TakePath(const std::string &text, const std::string &before, size_t after, std::string *pathOut)
{
    if (text.rfind(before, 0) != 0 || text.size() < before.size() + after) {
        return false;
    }
    *pathOut = text.substr(before.size(), text.size() - before.size() - after);
    return true;
}

// A line of the tool's command line. Returns whether it is one.
bool TakeOption(const LogLine &line, LogRun *run)
{
    return line.function == "UPGRADE_CmdParseSingle" &&
           (TakePath(line.text, "The path of cms file is (", 2, &run->signature) ||
            TakePath(line.text, "The path of checksum file is : ", 1, &run->checksums) ||
            TakePath(line.text, "The path of crl file is : ", 1, &run->crls) ||
            line.text.rfind("The Opcode is : ", 0) == 0);
}

// What the tool itself ends with -1 for.
bool IsRefusalOfTheTool(const std::string &text)
{
    constexpr const char *REFUSALS[] = {"Verify signature not match.", "API parameter error.",
                                        "API parameter parse fail.", "VERIFY_TOOL: Cannot find opcode(",
                                        "Parameter is NULL."};
    return std::any_of(std::begin(REFUSALS), std::end(REFUSALS),
                       [&](const char *refusal) { return text.rfind(refusal, 0) == 0; });
}

void TakeToolLine(const LogLine &line, OpenRun *open)
{
    LogRun *const run = &open->run;
    if (TakeOption(line, run)) {
        return;
    }
    open->hasStarted = true;
    if (const auto code = NumberBetween(line.text, "Execute ret(", ").", 10); code) {
        run->answer = static_cast<uint32_t>(*code);
        open->hasEnded = *code == 0; // else the tool's last word follows
        return;
    }
    const auto code = NumberBetween(line.text, "Verify signature error, code ", ".", 16);
    if (code) {
        run->answer = static_cast<uint32_t>(*code);
    } else if (line.text.find("CheckSum file is valid.") == 0) {
        run->answer = 0;
    } else if (line.function == "UPGRADE_MainExe") {
        open->hasEnded = true;
    } else if (!line.isInformation) {
        AddEvent(line, open);
        run->answer = IsRefusalOfTheTool(line.text) ? UINT32_MAX : run->answer;
    }
}

// Whether a line cannot belong to the run that its process has logged so far.
bool BeginsRun(const LogLine &line, OpenRun *open)
{
    if (line.function == "UPGRADE_MainExe") {
        return open->hasEnded;
    }
    if (line.function == "UPGRADE_CmdParseSingle") {
        return open->hasStarted;
    }
    const bool isFirst = line.text.find("VERIFY_TOOL: Execute function (") == 0;
    if (isFirst || !line.isLibrary) {
        return open->hasEnded || (isFirst && open->hasStarted);
    }
    if (open->hasEnded || open->run.answer) {
        return true;
    }
    // Standard output has nothing between two runs; the outermost function ends one.
    const LogEvent *const last = LastEvent(open);
    const bool isOutermost = last != nullptr && StepDepth(last->function) == OPERATION_DEPTH && !last->isWarning;
    return isOutermost && (!IsSame(*last, line) || open->isPaired || line.isConsole == open->wasConsole);
}

OpenRun *RunOf(const LogLine &line, Reader *reader)
{
    const bool isKnown = reader->open.count(line.process) != 0;
    if (!isKnown && reader->open.size() == LOG_RUNS_OPEN_MAX) {
        reader->open.erase(reader->open.begin());
    }
    OpenRun &open = reader->open[line.process];
    if (!isKnown || BeginsRun(line, &open)) {
        open = OpenRun();
        reader->runs += 1;
    }
    reader->lastProcess = line.process;
    return &open;
}

void EndLine(Reader *reader)
{
    LogLine line;
    if (ReadLogLine(reader->line, &line)) {
        OpenRun *const open = RunOf(line, reader);
        if (line.isLibrary) {
            open->hasStarted = true;
            AddEvent(line, open);
        } else {
            TakeToolLine(line, open);
        }
    } else if (const auto found = reader->open.find(reader->lastProcess); found != reader->open.end()) {
        LogEvent *const event = LastEvent(&found->second);
        const std::optional<uint32_t> code = ReadCodeLine(reader->line);
        if (event != nullptr && code && !event->code && found->second.wasConsole) {
            event->code = code;
        }
    }
    reader->line.clear();
    reader->isInLine = false;
}

void Take(const uint8_t *data, size_t size, Reader *reader)
{
    for (size_t i = 0; i < size; ++i) {
        if (data[i] == '\n') {
            EndLine(reader);
            continue;
        }
        reader->isInLine = true;
        if (reader->line.size() < LOG_LINE_MAX) {
            reader->line.push_back(static_cast<char>(data[i]));
        }
    }
}

} // namespace

Status ReadLog(const std::string &path, LogFindings *findingsOut)
{
    Reader reader;
    uint64_t total = 0;
    const Status status = ReadPieces(path, [&](const uint8_t *data, size_t size) {
        total += size;
        if (total > LOG_SIZE_MAX) {
            return Fail("'" + Printable(path) + "' has more than " + std::to_string(LOG_SIZE_MAX) +
                        " octets; give its end alone, as with tail -n 10000");
        }
        Take(data, size, &reader);
        return Status();
    });
    if (!status.ok) {
        return status;
    }
    if (reader.isInLine) {
        EndLine(&reader);
    }
    LogFindings findings;
    findings.runs = reader.runs;
    if (const auto last = reader.open.find(reader.lastProcess); last != reader.open.end()) {
        findings.last = std::move(last->second.run);
        findings.last.events.insert(findings.last.events.end(), last->second.last.begin(), last->second.last.end());
    }
    *findingsOut = std::move(findings);
    return {};
}

} // namespace pkgsign
