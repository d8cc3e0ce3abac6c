// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/explain/cause.h"

#include <cctype>

#include "sigkit/sigkit.h"

namespace pkgsign
{
namespace
{

constexpr StatusEntry STATUSES[] = {
#define SIGKIT_STATUS(name, value, met, meaning, remedy) {#name, name, Met::met, meaning, remedy},
#include "sigkit/core/status_list.def"
#undef SIGKIT_STATUS
};

constexpr Cause CAUSES[] = {
#define PKGSIGN_CAUSE(name, where, function, text, cause, remedy) {name, Where::where, function, text, cause, remedy},
#include "pkgsign/explain/cause_list.def"
#undef PKGSIGN_CAUSE
};

constexpr bool HasCause(uint32_t status)
{
    for (const Cause &cause : CAUSES) {
        if (cause.status == status && cause.where == Where::CODE) {
            return true;
        }
    }
    return false;
}

#define SIGKIT_STATUS(name, value, met, meaning, remedy)                                                               \
    static_assert(Met::met != Met::PACKAGE || HasCause(name), #name " has no row CODE in cause_list.def");
#include "sigkit/core/status_list.def"
#undef SIGKIT_STATUS

constexpr char WHOSE[] = "{whose}";

} // namespace

const std::vector<StatusEntry> &AllStatuses()
{
    static const std::vector<StatusEntry> statuses(std::begin(STATUSES), std::end(STATUSES));
    return statuses;
}

const std::vector<Cause> &AllCauses()
{
    static const std::vector<Cause> causes = [] {
        std::vector<Cause> rows(std::begin(CAUSES), std::end(CAUSES));
        for (Cause &cause : rows) {
            cause.remedy = cause.remedy[0] == '\0' ? FindStatus(cause.status)->remedy : cause.remedy;
        }
        return rows;
    }();
    return causes;
}

const StatusEntry *FindStatus(uint32_t value)
{
    for (const StatusEntry &entry : STATUSES) {
        if (entry.value == value) {
            return &entry;
        }
    }
    return nullptr;
}

int ExitStatusOf(uint32_t value)
{
    return static_cast<int>(value & 0xFFu);
}

std::vector<const StatusEntry *> StatusesOf(int exitStatus)
{
    std::vector<const StatusEntry *> found;
    for (const StatusEntry &entry : STATUSES) {
        if (entry.met == Met::PACKAGE && ExitStatusOf(entry.value) == exitStatus) {
            found.push_back(&entry);
        }
    }
    return found;
}

std::string ExitMeaning(int exitStatus)
{
    constexpr int CANNOT_BE_RUN = 126; // these three are a shell's
    constexpr int NOT_FOUND = 127;
    constexpr int SIGNALLED = 128;
    if (exitStatus == CANNOT_BE_RUN) {
        return "the shell could not run it, the file being no program or not executable";
    }
    if (exitStatus == NOT_FOUND) {
        return "the shell did not find it";
    }
    if (exitStatus > SIGNALLED && StatusesOf(exitStatus).empty()) {
        return "signal " + std::to_string(exitStatus - SIGNALLED) + " ended it, 6 being an abort and 9 a kill";
    }
    return StatusesOf(exitStatus).empty() ? "no status ends with it; it is a refusal all the same" : "";
}

std::string CauseText(const Cause &cause, const std::string &whose)
{
    std::string text = cause.cause;
    for (size_t at = text.find(WHOSE); at != std::string::npos; at = text.find(WHOSE)) {
        text.replace(at, sizeof(WHOSE) - 1, whose);
    }
    text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
    return text;
}

} // namespace pkgsign
