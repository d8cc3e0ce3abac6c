// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What explains a status, an exit status or a log, for people: at most TEXT_COLUMNS wide (wrap.h).
#ifndef PKGSIGN_EXPLAIN_CAUSE_TEXT_H
#define PKGSIGN_EXPLAIN_CAUSE_TEXT_H

#include <string>

#include "pkgsign/explain/cause.h"
#include "pkgsign/explain/log_trail.h"

namespace pkgsign
{

// "88200012 SIGKIT_ERR_NO_CRL", or without a name for what is no status code.
std::string StatusTitle(uint32_t status);

// What the answer of a run means, in a phrase: where it is -1, by the run's last line.
std::string TrailMeaning(const Trail &trail);

// What is to be known of any status, exit status and run.
std::string ExplainStatus(const StatusEntry &status);
std::string ExplainExit(int exitStatus);
std::string ExplainRun(const LogFindings &findings, const Trail &trail);

// One line for each status.
std::string ListStatuses();

// The command that helps next, empty where none does: with the names of the run's files.
std::string NextCommand(const LogRun &run, const Trail &trail);

} // namespace pkgsign

#endif
