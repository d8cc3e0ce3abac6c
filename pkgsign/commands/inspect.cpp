// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include <memory>

#include <nlohmann/json.hpp>

#include "pkgsign/commands/command.h"
#include "pkgsign/explain/inspect.h"
#include "pkgsign/files/files.h"

namespace pkgsign
{
namespace
{

struct Options {
    std::vector<std::string> files;
    std::vector<std::string> issuers;
    std::vector<std::string> roots;
    bool json = false;
    bool all = false;
};

Status ReadIssuers(const std::vector<std::string> &names, InspectOptions *inspectOptions)
{
    for (const std::string &name : names) {
        Bytes data;
        Status status = ReadWhole(name, &data);
        if (status.ok) {
            status = AddIssuers(name, data, inspectOptions);
        }
        if (!status.ok) {
            return status;
        }
    }
    return {};
}

Status Inspect(const Options &options, Session *session)
{
    InspectOptions inspectOptions;
    inspectOptions.all = options.all;
    Status status = ReadIssuers(options.roots, &inspectOptions);
    if (status.ok) {
        status = ReadIssuers(options.issuers, &inspectOptions);
    }
    nlohmann::ordered_json files = nlohmann::ordered_json::array();
    for (const std::string &name : options.files) {
        Bytes data;
        if (status.ok) {
            status = ReadWhole(name, &data, INSPECT_SIZE_MAX);
        }
        if (!status.ok) {
            return status;
        }
        files.push_back(InspectFile(name, data, inspectOptions));
    }
    session->out = options.json ? InspectionJson(files) : InspectionText(files);
    return {};
}

} // namespace

Command InspectCommand()
{
    Command command = MakeCommand<Options>(
        "inspect", "Show what is in files, and what of it a device would not take",
        "pkgsign inspect checksums.cms crls.der", Inspect, [](Options *options) -> std::vector<Option> {
            return {
                {"FILE", "FILE",
                 "signatures, CRLs, certificates, timestamp tokens, requests and answers, DER or PEM; - is standard "
                 "input; what is found does not change the exit status",
                 &options->files, true},
                {"--root", "FILE", "a root certificate: signatures under it are verified", &options->roots},
                {"--issuer", "FILE", "certificates of further issuers, likewise", &options->issuers},
                {"--all", "", "show up to a million entries, objects and findings instead of 50", &options->all},
                {"--json", "", "one JSON document (pkgsign-inspect.schema.json)", &options->json}};
        });
    command.hasFolder = false;
    command.isWriting = false;
    return command;
}

} // namespace pkgsign
