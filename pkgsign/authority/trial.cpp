// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/authority/trial.h"

#include <algorithm>
#include <filesystem>

#include "pkgsign/files/files.h"

namespace pkgsign
{
namespace
{

std::string AnswerText(const DeviceAnswer &answer)
{
    return answer.accepted ? "accepted" : "refused, " + Explain(answer);
}

} // namespace

Status TryPackages(const std::string &directory, const Setting *before, const Setting &after, std::string *reportOut)
{
    std::vector<std::string> messages;
    std::error_code error;
    for (const auto &file : std::filesystem::directory_iterator(directory, error)) {
        if (file.path().extension() == ".cms" && Exists((directory / file.path().stem()).string())) {
            messages.push_back(file.path().string());
        }
    }
    if (error || messages.empty()) {
        return Fail("'" + Printable(directory) + "' holds no package: no X.cms with its X beside it");
    }
    std::sort(messages.begin(), messages.end());
    std::string report;
    size_t changed = 0;
    for (const std::string &path : messages) {
        const std::string content = path.substr(0, path.size() - 4);
        Bytes message;
        const Status status = ReadWhole(path, &message, DEVICE_FILE_SIZE_MAX);
        if (!status.ok) {
            return status;
        }
        const std::string now = AnswerText(AskDeviceAboutFile(after, message, content));
        const std::string was =
            before == nullptr ? "accepted" : AnswerText(AskDeviceAboutFile(*before, message, content));
        if (now != was) {
            report += Printable(path) + ": " + now + (before == nullptr ? "" : " (before: " + was + ")") + "\n";
            ++changed;
        }
    }
    *reportOut = report + std::to_string(changed) + " of " + std::to_string(messages.size()) + " packages " +
                 (before == nullptr ? "would be refused\n" : "get another answer\n");
    return {};
}

} // namespace pkgsign
