// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include <filesystem>
#include <memory>

#include "pkgsign/authority/party.h"
#include "pkgsign/commands/command.h"
#include "pkgsign/commands/shared.h"
#include "pkgsign/explain/check_run.h"
#include "pkgsign/explain/report.h"
#include "pkgsign/files/files.h"

namespace pkgsign
{
namespace
{

struct Options {
    std::string content;
    std::string root;
    std::string crls;
    std::string signature;
    std::string candidates;
    std::string horizon;
    std::string html;
    bool json = false;
};

// The root of devices: a file, or the PKI folder's.
Status ReadRoot(const Options &options, const Session &session, CheckOrder *order)
{
    if (!options.root.empty()) {
        order->rootPath = options.root;
        return ReadWhole(options.root, &order->root, DEVICE_FILE_SIZE_MAX);
    }
    Pki pki;
    Certificate root;
    order->rootPath = session.place.folder + "/certificates/root.der";
    Status status = LoadPki(session.place.folder, &pki);
    if (!status.ok) {
        status.reason = "--root is missing, and there is no PKI folder to take it from: " + status.reason;
        return Usage(status);
    }
    status = LoadRoot(session.place, pki, &root);
    if (status.ok) {
        order->root = EncodeCertificate(root.get());
    }
    return status;
}

Status ReadOrder(const Options &options, const Session &session, CheckOrder *order)
{
    std::error_code ignored;
    order->content = options.content;
    order->crls = options.crls;
    order->signature = options.signature;
    order->candidates = options.candidates;
    order->now = session.place.now;
    if (!options.candidates.empty() && !std::filesystem::is_directory(options.candidates, ignored)) {
        return FailUsage("--candidates wants a directory");
    }
    const Status status = ReadHorizon(options.horizon, &order->horizon);
    return status.ok ? ReadRoot(options, session, order) : status;
}

Status RunCheckCommand(const Options &options, Session *session)
{
    CheckOrder order;
    Check check;
    Status status = ReadOrder(options, *session, &order);
    if (status.ok) {
        RunCheck(order, &check);
        session->out = options.json ? JsonReport(check) : TextReport(check);
        session->success = !check.isAuthentic ? EXIT_NOT_DONE : check.endsSoon ? EXIT_ENDS_SOON : EXIT_DONE;
    }
    if (status.ok && !options.html.empty()) {
        status = WriteWhole(options.html, HtmlReport(check));
    }
    return status;
}

} // namespace

Command CheckCommand()
{
    Command command = MakeCommand<Options>(
        "check", "Say what a device answers to a package, and why",
        "pkgsign check checksums --root root.der --crl crls.der --signature checksums.cms", RunCheckCommand,
        [](Options *options) -> std::vector<Option> {
            return {{"FILE", "FILE", "the content that was signed, of any size", &options->content, true},
                    {"--root", "FILE", "the root certificate of the devices; else the PKI folder's", &options->root},
                    {"--crl", "FILE", "the CRL file of the devices", &options->crls, true},
                    {"--signature", "FILE", "the signature file", &options->signature, true},
                    {"--candidates", "DIR", "if the content does not fit: say which file in DIR does",
                     &options->candidates},
                    {"--horizon", "DAYS", "exit status 3 when something that the package needs ends within",
                     &options->horizon},
                    {"--json", "", "one JSON document (pkgsign-check.schema.json)", &options->json},
                    {"--html", "FILE", "write the report as a page for a browser, too", &options->html}};
        });
    command.isWriting = false;
    return command;
}

} // namespace pkgsign
