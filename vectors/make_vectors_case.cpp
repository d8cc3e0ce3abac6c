// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "vectors/make_vectors_case.h"

namespace vectors
{
namespace
{
Case &Add(Group *group, const Refusal &refusal, const Rule &rule, Change change)
{
    Case added;
    added.name = refusal.name;
    added.twin = refusal.twin;
    added.difference = refusal.difference;
    added.ours = refusal.status;
    added.rule = &rule;
    added.change = std::move(change);
    group->cases.push_back(std::move(added));
    return group->cases.back();
}
} // namespace

Case &Accepted(Group *group, const std::string &name, const Rule &rule, Change change)
{
    return Add(group, {name, "", "", SIGKIT_OK}, rule, std::move(change));
}

Case &Refused(Group *group, const Refusal &refusal, const Rule &rule, Change change)
{
    Case &added = Add(group, refusal, rule, std::move(change));
    added.rfc = Answer::Refuse;
    return added;
}

Case &Lenient(Group *group, const Refusal &refusal, const Rule &rule, const std::string &reason, Change change)
{
    Case &added = Add(group, refusal, rule, std::move(change));
    added.rfc = Answer::Refuse;
    added.ours = SIGKIT_OK;
    added.reason = reason;
    added.importance = "medium";
    return added;
}

Case &Narrow(Group *group, const Refusal &refusal, const Rule &rule, const std::string &reason, Change change)
{
    Case &added = Add(group, refusal, rule, std::move(change));
    added.reason = reason;
    added.importance = "low";
    return added;
}
} // namespace vectors
