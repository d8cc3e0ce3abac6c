// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include <unistd.h>

#include "pkgsign/authority/crl_file.h"
#include "pkgsign/authority/trial.h"
#include "pkgsign/commands/command.h"
#include "pkgsign/files/files.h"

namespace pkgsign
{
namespace
{

struct Options {
    std::string out;
    std::string nextUpdate;
    std::string tryDirectory;
    std::string datedAhead;
    std::vector<std::string> added;
    bool isPart = false;
};

std::string Summary(const CrlFile &file)
{
    std::string text;
    for (const FileCrl &crl : file.crls) {
        text += std::string(crl.isNew ? "new  " : "kept ") + Printable(NameText(X509_CRL_get_issuer(crl.crl.get()))) +
                ": number " + CrlNumber(crl.crl.get()) + ", " + std::to_string(CrlEntries(crl.crl.get(), "").size()) +
                " entries, " + FormatTime(TimeSeconds(X509_CRL_get0_lastUpdate(crl.crl.get()))) + " to " +
                FormatTime(TimeSeconds(X509_CRL_get0_nextUpdate(crl.crl.get()))) + "\n";
    }
    for (const std::string &warning : file.warnings) {
        text += "nearly full: " + Printable(warning) + "\n";
    }
    return text;
}

// The answers that change with the new file, beside those with the file that it replaces.
Status TryFile(const Options &options, const CrlFile &file, std::string *report)
{
    if (options.tryDirectory.empty()) {
        return {};
    }
    Setting before = file.setting;
    const bool hasBefore = options.out != "-" && Exists(options.out);
    if (hasBefore) {
        const Status status = ReadWhole(options.out, &before.crlFile);
        if (!status.ok) {
            return status;
        }
    }
    return TryPackages(options.tryDirectory, hasBefore ? &before : nullptr, file.setting, report);
}

Status ParseDatedAhead(const std::string &text, DatedAhead *datedAhead)
{
    if (!text.empty() && text != "released" && text != "unreleased") {
        return FailUsage("--dated-ahead is released or unreleased: whether devices may have the CRLs dated ahead");
    }
    *datedAhead = text.empty()         ? DatedAhead::Refused
                  : text == "released" ? DatedAhead::Released
                                       : DatedAhead::Unreleased;
    return {};
}

Status MakeCrlFile(const Options &options, Session *session)
{
    CrlFileOrder order;
    order.added = options.added;
    order.replaced = options.out;
    order.isPart = options.isPart;
    CrlFile file;
    std::string answers;
    Status status = options.nextUpdate.empty() ? Status() : Usage(ParseTime(options.nextUpdate, &order.nextUpdate));
    if (status.ok) {
        status = ParseDatedAhead(options.datedAhead, &order.datedAhead);
    }
    if (status.ok && options.tryDirectory.empty()) {
        status = CheckWritable(options.out);
    }
    if (status.ok) {
        status = ComposeCrlFile(session->place, order, &file);
    }
    if (status.ok && !options.datedAhead.empty() && !file.isDatedAhead) {
        status = Fail("no CRL of this folder's keys is dated ahead; leave out --dated-ahead");
    }
    if (status.ok) {
        status = TryFile(options, file, &answers);
    }
    if (!status.ok) {
        return status;
    }
    const std::string report = DescribeNewCrls(file) + answers;
    if (session->place.dryRun || !options.tryDirectory.empty()) {
        session->out = report + Summary(file);
        return {};
    }
    status = SignCrlFile(session->place, order, &file);
    if (status.ok) {
        status = WriteWhole(options.out, file.setting.crlFile);
    }
    if (status.ok && options.out != "-") { // standard output is the file's then
        session->out = DescribeNewCrls(file) + Summary(file);
    }
    session->next = "bring " + options.out + " to the devices; any mirror will do, it proves itself";
    return status;
}

} // namespace

Command CrlCommand()
{
    return MakeCommand<Options>(
        "crl", "Sign the CRLs and make the CRL file of devices", "pkgsign crl --add root-crl.der --out crls.der",
        MakeCrlFile, [](Options *options) -> std::vector<Option> {
            return {
                {"-o,--out", "FILE",
                 "the CRL file; the one that is there is replaced when devices take the new one as newer",
                 &options->out, true},
                {"--add", "FILE", "CRLs and CA certificates made elsewhere", &options->added},
                {"--part", "", "only the CRLs of the keys that are here, to be joined elsewhere with --add",
                 &options->isPart},
                {"--next-update", "TIME", "when the next CRLs are due; by the folder's cadence", &options->nextUpdate},
                {"--dated-ahead", "WHAT",
                 "go on after CRLs signed under a clock that was ahead: released, devices may have them and the new "
                 "ones are dated a second later; unreleased, no device has them",
                 &options->datedAhead},
                {"--try", "DIR", "sign nothing, list the packages in DIR whose answer would change",
                 &options->tryDirectory}};
        });
}

} // namespace pkgsign
