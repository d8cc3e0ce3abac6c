// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/explain/log_trail.h"

#include <algorithm>
#include <cstring>

#include "pkgsign/explain/log_step.h"
#include "sigkit/sigkit.h"

namespace pkgsign
{
namespace
{

// Functions that put a status of their own in the place of what failed below them.
struct Mapping {
    uint32_t status;
    const char *function;
};
constexpr Mapping MAPPINGS[] = {{SIGKIT_ERR_CMS_DECODE, "SigkitVerifyDetachSignatureBegin"},
                                {SIGKIT_ERR_CRL_LOAD, "SigkitVerifyAddCrl"},
                                {SIGKIT_ERR_SIGNATURE, "InternalVerifyCms"},
                                {SIGKIT_ERR_SIGNATURE, "InternalVerifyAttributeSign"}};

bool Maps(const std::string &function, uint32_t status)
{
    return std::any_of(std::begin(MAPPINGS), std::end(MAPPINGS), [&](const Mapping &mapping) {
        return mapping.status == status && function == mapping.function;
    });
}

// Where the failure arose that ended the run: from the last line back, as long as each stands deeper than the next.
size_t FirstOfChain(const std::vector<LogEvent> &events)
{
    size_t first = events.size();
    int depth = 0;
    while (first > 0 && !events[first - 1].isWarning && StepDepth(events[first - 1].function) > depth) {
        first -= 1;
        depth = StepDepth(events[first].function);
    }
    return first;
}

bool Matches(const char *pattern, const std::string &function)
{
    const size_t length = std::strlen(pattern);
    if (length > 0 && pattern[length - 1] == '*') {
        return function.compare(0, length - 1, pattern, length - 1) == 0;
    }
    return length == 0 || function == pattern;
}

bool Matches(const Cause &cause, const LogEvent &event)
{
    return Matches(cause.function, event.function) && event.text.find(cause.text) != std::string::npos;
}

bool IsClued(const Cause &cause, const std::vector<LogEvent> &events, const LogEvent *first)
{
    switch (cause.where) {
    case Where::FIRST:
        return first != nullptr && Matches(cause, *first);
    case Where::LINE:
        return std::any_of(events.begin(), events.end(), [&](const LogEvent &event) { return Matches(cause, event); });
    case Where::CODE:
        break;
    }
    return true;
}

bool IsOfOneClue(const Cause &a, const Cause &b)
{
    return a.status == b.status && a.where == b.where && std::strcmp(a.function, b.function) == 0 &&
           std::strcmp(a.text, b.text) == 0;
}

// A log that ends before the answer: by the last code in it, or by a text that only one status has.
std::optional<uint32_t> GuessStatus(const std::vector<LogEvent> &events)
{
    for (auto event = events.rbegin(); event != events.rend(); ++event) {
        if (event->code && !event->isWarning) {
            return event->code;
        }
    }
    for (const Cause &cause : AllCauses()) {
        if (cause.where == Where::LINE && cause.text[0] != '\0' && IsClued(cause, events, nullptr)) {
            return cause.status;
        }
    }
    return {};
}

std::string WhoseCertificate(const std::vector<LogEvent> &events, size_t first)
{
    const auto begin = events.begin() + static_cast<ptrdiff_t>(first);
    const auto has = [&](const char *function) {
        return std::any_of(begin, events.end(), [&](const LogEvent &event) { return event.function == function; });
    };
    if (has("InternalFindBestCrlOfCert")) {
        return "a CA's";
    }
    return has("InternalVerifyTsSignerInfo") ? "the timestamp authority's"
           : has("InternalVerifyCms")        ? "the signer's"
                                             : "the";
}

// The tool's own lines repeat what the library's have said.
bool IsRepetition(const LogEvent &event)
{
    return event.function == "VerifyCmsFile" && event.text.find("Verify signature error, code ") == 0;
}

} // namespace

std::vector<const Cause *> FindCauses(uint32_t status, const std::vector<LogEvent> &events, const LogEvent *first)
{
    std::vector<const Cause *> found;
    for (const Cause &cause : AllCauses()) {
        const bool isNext = found.empty() ? IsClued(cause, events, first) : IsOfOneClue(cause, *found.front());
        if (cause.status == status && isNext) {
            found.push_back(&cause);
        }
    }
    return found;
}

Trail FollowTrail(const LogRun &run)
{
    std::vector<LogEvent> events;
    std::remove_copy_if(run.events.begin(), run.events.end(), std::back_inserter(events), IsRepetition);
    const size_t first = FirstOfChain(events);
    Trail trail;
    trail.isAnswered = run.answer.has_value();
    trail.status = trail.isAnswered ? run.answer : GuessStatus(events);
    trail.left = run.left;
    trail.whose = WhoseCertificate(events, first);
    bool isPassedOn = first < events.size() && trail.status && *trail.status != SIGKIT_OK;
    for (const LogEvent &event : events) {
        trail.steps.push_back({event.function, event.text.empty() ? StepWords(event.function) : event.text,
                               !event.text.empty(), event.code});
    }
    // What the platform's log has no code of: from the last line back to the one that made the status.
    for (size_t i = events.size(); isPassedOn && i > first; --i) {
        TrailStep &step = trail.steps[i - 1];
        step.status = step.status ? step.status : trail.status;
        isPassedOn = !Maps(step.function, *trail.status);
    }
    if (trail.status) {
        trail.causes = FindCauses(*trail.status, events, first < events.size() ? &events[first] : nullptr);
    }
    return trail;
}

} // namespace pkgsign
