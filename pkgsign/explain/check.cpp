// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/explain/check.h"

#include <algorithm>

namespace pkgsign
{
namespace
{

struct StepRow {
    const char *name;
    const char *title;
};

constexpr StepRow STEPS[STEP_COUNT] = {
    {"root", "the root certificate is loaded"},
    {"crl-file", "the CRL file is loaded"},
    {"signature-file", "the signature file is a message that devices read"},
    {"message-certificates", "the message's certificates are taken"},
    {"token", "the signer has a timestamp token that devices read"},
    {"token-content", "the token's content is read"},
    {"token-imprint", "the token was made for this signature"},
    {"token-time", "the token's time is read; from here on it counts"},
    {"token-certificates", "the token's certificates are taken"},
    {"authority", "the timestamp authority's certificate is there"},
    {"authority-usage", "the authority's certificate may sign timestamps"},
    {"authority-path", "the authority's certificate is valid, up to the root"},
    {"token-signature", "the token's signature holds"},
    {"signer", "the signer's certificate is there"},
    {"signer-usage", "the signer's certificate may sign packages"},
    {"signer-path", "the signer's certificate is valid, up to the root"},
    {"signature", "the signature holds"},
    {"content", "the content is the one that was signed"},
};

} // namespace

const char *StepName(Step step)
{
    return STEPS[static_cast<size_t>(step)].name;
}

const char *StepTitle(Step step)
{
    return STEPS[static_cast<size_t>(step)].title;
}

void AddNote(Check *check, const std::string &note)
{
    if (std::find(check->notes.begin(), check->notes.end(), note) == check->notes.end()) {
        check->notes.push_back(note);
    }
}

std::vector<size_t> PathUp(const Check &check, size_t certificate)
{
    std::vector<size_t> path;
    while (certificate != NONE && std::find(path.begin(), path.end(), certificate) == path.end()) {
        path.push_back(certificate);
        certificate = check.issuers[certificate];
    }
    return path;
}

std::optional<Step> FailedStep(const Check &check)
{
    for (size_t i = 0; i < STEP_COUNT; ++i) {
        if (check.steps[i].state == StepState::Failed) {
            return static_cast<Step>(i);
        }
    }
    return std::nullopt;
}

} // namespace pkgsign
