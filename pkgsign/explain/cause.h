// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What the device's status codes mean, what is behind them, and what to do: the lists, to be asked.
#ifndef PKGSIGN_EXPLAIN_CAUSE_H
#define PKGSIGN_EXPLAIN_CAUSE_H

#include <cstdint>
#include <string>
#include <vector>

namespace pkgsign
{

// Who meets a code: as in sigkit/core/status_list.def.
enum class Met { PACKAGE, COMPARISON, HOST, LOG, GUARD };

// A row of sigkit/core/status_list.def.
struct StatusEntry {
    const char *name;
    uint32_t value;
    Met met;
    const char *meaning; // a phrase
    const char *remedy;  // sentences, code between backticks
};

// What points to a cause: as in cause_list.def.
enum class Where { FIRST, LINE, CODE };

// A row of cause_list.def.
struct Cause {
    uint32_t status;
    Where where;
    const char *function;
    const char *text;
    const char *cause;
    const char *remedy; // never empty: the status's own, where the row has none
};

// Both in the order of their lists.
const std::vector<StatusEntry> &AllStatuses();
const std::vector<Cause> &AllCauses();

// Null: the value is no status code.
const StatusEntry *FindStatus(uint32_t value);

// With what verify_tool ends: the low octet of the status.
int ExitStatusOf(uint32_t value);

// The statuses that verify_tool can have ended with. exitStatus: 0 to 255.
std::vector<const StatusEntry *> StatusesOf(int exitStatus);

// What an exit status means that is no status's low octet: a phrase, empty where it is nothing but that.
std::string ExitMeaning(int exitStatus);

// A cause in sentences. whose: what stands for {whose}, such as "the signer's".
std::string CauseText(const Cause &cause, const std::string &whose);

} // namespace pkgsign

#endif
