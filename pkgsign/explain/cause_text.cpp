// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/explain/cause_text.h"

#include <algorithm>
#include <cstdio>

#include "pkgsign/explain/wrap.h"
#include "pkgsign/files/files.h"
#include "sigkit/sigkit.h"

namespace pkgsign
{
namespace
{

constexpr size_t STEPS_SHOWN = 9;   // of a trail; a screen holds no more
constexpr size_t STEPS_BESIDES = 6; // of one that leads to several causes
constexpr size_t STEPS_FIRST = 2;   // of them from its beginning
constexpr size_t FUNCTION_COLUMNS = 33;

// `words` in lines, the first behind `head`. Marks of code are for documents.
std::string Fold(const std::string &head, std::string words)
{
    words.erase(std::remove(words.begin(), words.end(), '`'), words.end());
    return head + Wrap(words, head.size()) + "\n";
}

std::string Sentence(const char *phrase)
{
    std::string text = std::string(phrase) + ".";
    text[0] = static_cast<char>(text[0] >= 'a' && text[0] <= 'z' ? text[0] - 'a' + 'A' : text[0]);
    return text;
}

// Only who meets a code that verify_tool never ends with.
std::string MetText(Met met)
{
    switch (met) {
    case Met::PACKAGE:
        return "";
    case Met::COMPARISON:
        return "Only a comparison of CRL files ends with it (crl_compare).";
    case Met::HOST:
        return "Only programs that use the library get it; verify_tool does not.";
    case Met::LOG:
        return "It only stands in the log; nothing ends with it.";
    case Met::GUARD:
        return "It is a check behind other checks, which this version does not meet.";
    }
    return "";
}

// The line of the log that points to a cause; empty: none does.
std::string ClueText(const Cause &cause)
{
    if (cause.where == Where::CODE) {
        return "";
    }
    const std::string function = cause.function;
    const std::string text = cause.text[0] == '\0' ? "" : "\"" + std::string(cause.text) + "\"";
    const std::string clue = function + (function.empty() || text.empty() ? "" : " ") + text;
    return "    in the log: " + clue + (cause.where == Where::FIRST ? ", first of all\n" : "\n");
}

std::string CauseList(const std::vector<const Cause *> &causes, const std::string &whose, bool withClues)
{
    std::string list;
    for (const Cause *cause : causes) {
        list += Fold("  - ", CauseText(*cause, whose)) + (withClues ? ClueText(*cause) : "");
        list += Fold("    > ", cause->remedy);
    }
    return list;
}

std::string StepText(const TrailStep &step)
{
    char head[80] = {};
    (void)std::snprintf(head, sizeof(head), "  %-8s  %-*s  ", step.status ? StatusDigits(*step.status).c_str() : "",
                        static_cast<int>(FUNCTION_COLUMNS), Cut(step.function, FUNCTION_COLUMNS).c_str());
    const std::string line = head;
    const std::string text = step.isText ? Printable(step.text) : "(" + step.text + ")";
    return line + Cut(text, TEXT_COLUMNS - line.size()) + "\n";
}

std::string TrailText(const Trail &trail)
{
    const size_t count = trail.steps.size();
    const size_t shown = trail.causes.size() > 1 ? STEPS_BESIDES : STEPS_SHOWN;
    const size_t skipped = count > shown ? count - shown + 1 : 0;
    std::string text;
    for (size_t i = 0; i < count; ++i) {
        if (skipped != 0 && i == STEPS_FIRST) {
            text += "            ... " + std::to_string(skipped + trail.left) + " more\n";
            i += skipped;
        }
        text += StepText(trail.steps[i]);
    }
    return text;
}

std::string BaseName(const std::string &path)
{
    return Printable(path.substr(path.rfind('/') + 1));
}

// "Signature a, content b, CRLs c; the last of 2 runs in the log."
std::string RunLine(const LogFindings &findings)
{
    std::string line;
    const std::pair<const char *, const std::string &> files[] = {{"signature ", findings.last.signature},
                                                                  {"content ", findings.last.checksums},
                                                                  {"CRL file ", findings.last.crls}};
    for (const auto &[what, path] : files) {
        line += path.empty() ? "" : (line.empty() ? "" : ", ") + std::string(what) + Cut(BaseName(path), 40);
    }
    if (findings.runs > 1) {
        line += (line.empty() ? "" : "; ") + std::string("the last of ") + std::to_string(findings.runs) +
                " runs in the log";
    }
    return line.empty() ? "" : Fold("", Sentence(line.c_str()));
}

std::string OutcomeText(const Trail &trail)
{
    if (!trail.status) {
        return "The log ends before the answer, and no line of it points to one status.\n";
    }
    const uint32_t status = *trail.status;
    if (status == SIGKIT_OK && trail.isAnswered) {
        return "Accepted: the package is authentic.\n";
    }
    const std::string refused = trail.isAnswered ? "Refused: " : "The log ends before the answer; its lines lead to ";
    const std::string number = StatusTitle(status) + ", exit status " + std::to_string(ExitStatusOf(status)) + ".";
    const std::string meaning = TrailMeaning(trail);
    // -1 is no name for anything, so what it stands for comes first.
    return status == SIGKIT_ERR_UNKNOWN ? Fold("", refused + meaning + ".") + number + "\n"
                                        : Fold("", refused + number) + Fold("", Sentence(meaning.c_str()));
}

// What was behind the answer, and what to do.
std::string AdviceText(const Trail &trail)
{
    if (trail.causes.size() == 1) {
        return "\n" + Fold("Cause:      ", CauseText(*trail.causes[0], trail.whose)) +
               Fold("What to do: ", trail.causes[0]->remedy);
    }
    if (!trail.causes.empty()) {
        return "\nCause: one of these, the likeliest first; the log says no more.\n" +
               CauseList(trail.causes, trail.whose, false);
    }
    if (!trail.status) {
        return "";
    }
    const StatusEntry *const entry = FindStatus(*trail.status);
    return "\n" + Fold("What to do: ", entry != nullptr ? entry->remedy
                                                        : "Report it: it is no status code, but the error number of a "
                                                          "function.");
}

// A command that is too wide for the screen goes on in a second line, as a shell reads it.
std::string InTwoLines(std::string command)
{
    const size_t option = command.rfind(" --");
    if (command.size() > TEXT_COLUMNS && option != std::string::npos) {
        command.insert(option, " \\\n     ");
    }
    return command;
}

// Whether the run had no file for one of its options.
bool IsIncomplete(const LogRun &run)
{
    const bool isKnown = !run.signature.empty() || !run.checksums.empty() || !run.crls.empty();
    return isKnown && (run.signature.empty() || run.checksums.empty() || run.crls.empty());
}

// A file's name as an argument, or its stand-in where the log has none that a shell would take as it is.
std::string Argument(const std::string &path, const char *standIn)
{
    const std::string name = path.substr(path.rfind('/') + 1);
    const bool isPlain =
        !name.empty() && name[0] != '-' && name.size() <= 24 &&
        std::all_of(name.begin(), name.end(), [](unsigned char c) {
            return std::isalnum(c) != 0 || std::string("._-+").find(static_cast<char>(c)) != std::string::npos;
        });
    return isPlain ? name : standIn;
}

// Whether the package's files say more about it: not so where they could not be read or were not asked for.
bool IsOfFiles(uint32_t status)
{
    return status != SIGKIT_OK && status != SIGKIT_ERR_NO_MEMORY && status != SIGKIT_ERR_FILE_OPEN &&
           status != SIGKIT_ERR_FILE_READ && status != SIGKIT_ERR_FILE_EMPTY && status != SIGKIT_ERR_FILE_TOO_BIG;
}

bool IsMismatch(const Trail &trail)
{
    return !trail.steps.empty() && trail.steps.back().text.rfind("Verify signature not match", 0) == 0;
}

} // namespace

std::string TrailMeaning(const Trail &trail)
{
    const uint32_t status = trail.status.value_or(SIGKIT_OK);
    const std::string last = trail.steps.empty() ? "" : trail.steps.back().function;
    if (status != SIGKIT_ERR_UNKNOWN) {
        return SigkitStatusText(status);
    }
    return IsMismatch(trail)                                        ? "the content does not match its signature"
           : last == "UPGRADE_CmdParse" || last == "UPGRADE_CmdExe" ? "verify_tool did not understand its command line"
                                                                    : "a call failed that gives no reason";
}

std::string StatusTitle(uint32_t status)
{
    const StatusEntry *const entry = FindStatus(status);
    return StatusDigits(status) + (entry == nullptr ? "" : std::string(" ") + entry->name);
}

std::string ExplainStatus(const StatusEntry &status)
{
    std::vector<const Cause *> causes;
    for (const Cause &cause : AllCauses()) {
        if (cause.status == status.value) {
            causes.push_back(&cause);
        }
    }
    std::string text = StatusTitle(status.value);
    text += status.met == Met::PACKAGE ? ", exit status " + std::to_string(ExitStatusOf(status.value)) + "\n" : "\n";
    text += Fold("", Sentence(status.meaning));
    text += status.met == Met::PACKAGE ? "" : Fold("", MetText(status.met));
    text += "\n" + Fold("What to do: ", status.remedy);
    if (!causes.empty()) {
        text += "\nLikely causes:\n" + CauseList(causes, "the", true);
    }
    return text;
}

std::string ExplainExit(int exitStatus)
{
    const std::vector<const StatusEntry *> statuses = StatusesOf(exitStatus);
    const std::string meaning = ExitMeaning(exitStatus);
    std::string text = "Exit status " + std::to_string(exitStatus) + " of verify_tool";
    if (statuses.size() == 1) {
        return text + "\n\n" + ExplainStatus(*statuses[0]);
    }
    text += ": ";
    if (statuses.empty()) {
        return text + meaning + ".\n";
    }
    text += "one of these statuses, whose low octet it is.\n\n";
    for (const StatusEntry *status : statuses) {
        text += Fold("  " + StatusDigits(status->value) + "  ", Sentence(status->meaning));
    }
    return text +
           "\nThe log of the device says which: pkgsign explain LOG. What to do about one: pkgsign explain CODE.\n";
}

std::string ExplainRun(const LogFindings &findings, const Trail &trail)
{
    std::string text = OutcomeText(trail) + RunLine(findings);
    if (!trail.steps.empty()) {
        text += "\nWhat happened, in order:\n" + TrailText(trail);
    }
    if (trail.status != SIGKIT_OK) {
        text += AdviceText(trail);
    }
    const std::string next = NextCommand(findings.last, trail);
    return next.empty() ? text : text + "\n" + InTwoLines("Next: " + next) + "\n";
}

std::string ListStatuses()
{
    std::string text;
    for (const StatusEntry &status : AllStatuses()) {
        char head[80] = {};
        const std::string exit = status.met == Met::PACKAGE ? std::to_string(ExitStatusOf(status.value)) : "-";
        (void)std::snprintf(head, sizeof(head), "%08x  %3s  %-33s  ", status.value, exit.c_str(), status.name);
        text += head + Sentence(status.meaning) + "\n";
    }
    return text;
}

std::string NextCommand(const LogRun &run, const Trail &trail)
{
    const std::string signature = Argument(run.signature, "SIGNATURE");
    const uint32_t status = trail.status.value_or(SIGKIT_OK);
    if (!IsOfFiles(status) || IsIncomplete(run) || (status == SIGKIT_ERR_UNKNOWN && !IsMismatch(trail))) {
        return "";
    }
    if (status == SIGKIT_ERR_CRL_LOAD) {
        return "pkgsign inspect " + Argument(run.crls, "CRLS");
    }
    if (status == SIGKIT_ERR_CMS_DECODE || status == SIGKIT_ERR_ARMOUR) {
        return "pkgsign inspect " + signature;
    }
    return "pkgsign check " + Argument(run.checksums, "CHECKSUMS") + " --root root.der --crl " +
           Argument(run.crls, "CRLS") + " --signature " + signature;
}

} // namespace pkgsign
