// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include <algorithm>

#include "pkgsign/authority/crl_file.h"
#include "pkgsign/authority/trial.h"
#include "pkgsign/commands/command.h"
#include "pkgsign/commands/shared.h"
#include "pkgsign/files/files.h"

namespace pkgsign
{
namespace
{

struct Options {
    std::string certificate;
    std::string serial;
    std::string issuer;
    std::string reason = "unspecified";
    std::string date;
    std::string tryDirectory;
    std::string crlFile;
    std::vector<std::string> added;
};

// What is revoked. `entry` is null for a serial number that the folder does not know.
struct Subject {
    std::string issuer;
    std::string serial;
    const Entry *entry = nullptr;
};

Status FindSubject(const Workplace &place, const Pki &pki, const Options &options, Subject *subjectOut)
{
    if (options.certificate.empty() == options.serial.empty()) {
        return FailUsage("name the certificate, or its --serial");
    }
    if (!options.certificate.empty()) {
        const Status status = FindCertificate(place, pki, options.certificate, &subjectOut->entry);
        if (status.ok) {
            subjectOut->issuer = subjectOut->entry->issuer;
            subjectOut->serial = subjectOut->entry->serial;
        }
        return status;
    }
    std::string serial;
    const Entry *ca = nullptr;
    Status status = Usage(ParseSerial(options.serial, &serial));
    if (!status.ok) {
        return status;
    }
    status = options.issuer.empty() ? ChooseCertificate(pki, Role::IssuingCa, "", place.now, &ca)
                                    : FindCertificate(place, pki, options.issuer, &ca);
    if (!status.ok) {
        return status;
    }
    *subjectOut = {ca->authority, serial, FindSerial(pki, ca->authority, serial)};
    return {};
}

Status CheckSubject(const Pki &pki, const Subject &subject)
{
    const Entry *const issuer = FindAuthority(pki, subject.issuer);
    if (subject.entry != nullptr && subject.entry->role == Role::Root) {
        return Fail("a root cannot be revoked: devices trust it because it is built in; see 'A new root' in the "
                    "operations guide");
    }
    if (subject.entry != nullptr && subject.entry->state == State::Requested) {
        return Fail("'" + subject.entry->name + "' is requested, not issued");
    }
    if (issuer == nullptr || issuer->key.empty()) {
        return Fail("the key of the CA '" + subject.issuer +
                    "' is not on this machine; revoke where its CRLs are signed");
    }
    if (FindRevocation(pki, subject.issuer, subject.serial) != nullptr) {
        return Fail(subject.serial + " of '" + subject.issuer + "' is revoked already, and a revocation is for good");
    }
    return {};
}

// The date from which the revocation counts.
Status ChooseDate(const Workplace &place, const Pki &pki, const Options &options, const Subject &subject,
                  int64_t *dateOut)
{
    const bool isStolenSigner =
        subject.entry != nullptr && subject.entry->role == Role::Signer && options.reason == "keyCompromise";
    const bool isSuperseded =
        subject.entry != nullptr && subject.entry->role == Role::IssuingCa && IsOrdinaryEnd(options.reason);
    const PublishedCrl *const last = isSuperseded ? FindCrl(pki, subject.entry->authority) : nullptr;
    const int64_t earliest = last == nullptr ? place.now : std::max(place.now, last->thisUpdate + 1);
    int64_t date = isStolenSigner ? subject.entry->notBefore : earliest;
    const Status status = options.date.empty() ? Status() : Usage(ParseTime(options.date, &date));
    if (!status.ok) {
        return status;
    }
    if (date > earliest) {
        return Fail("the date " + FormatTime(date) + " is later than the next CRL; revoke when it has come");
    }
    // Devices judge a CRL's issuer at thisUpdate.
    if (last != nullptr && date <= last->thisUpdate) {
        return Fail("the last CRL of '" + subject.entry->name + "' is dated " + FormatTime(last->thisUpdate) +
                    "; give a later --date, or devices could not trust that CRL any more");
    }
    *dateOut = date;
    return {};
}

// What the revocation does on a device (it judges by reason, date and whose certificate it is).
std::string Meaning(const Subject &subject, const std::string &reason, int64_t date)
{
    const Role role = subject.entry == nullptr ? Role::Signer : subject.entry->role;
    const std::string who = subject.entry == nullptr ? subject.serial : "'" + subject.entry->name + "'";
    if (role != Role::Signer && !IsOrdinaryEnd(reason)) {
        return "devices will refuse every package that depends on " + who + ", whenever it was stamped";
    }
    return "devices will refuse packages of " + who + " stamped from " + FormatTime(date) +
           " on; those stamped before stay good";
}

// The answers that would change with the next CRL file.
Status TryRevocation(const Session &session, const Options &options, const Revocation &revocation, std::string *report)
{
    CrlFileOrder order;
    CrlFile before;
    CrlFile after;
    order.added = options.added;
    order.replaced = options.crlFile;
    order.datedAhead = DatedAhead::Released; // a trial signs nothing
    Status status = ComposeCrlFile(session.place, order, &before);
    order.further = {revocation};
    if (status.ok) {
        status = ComposeCrlFile(session.place, order, &after);
    }
    return status.ok ? TryPackages(options.tryDirectory, &before.setting, after.setting, report) : status;
}

Status Revoke(const Options &options, Session *session)
{
    const Workplace &place = session->place;
    Subject subject;
    Pki pki;
    int64_t date = 0;
    Status status = LoadPki(place.folder, &pki);
    if (status.ok) {
        status = Usage(CheckReason(options.reason));
    }
    if (status.ok) {
        status = FindSubject(place, pki, options, &subject);
    }
    if (status.ok) {
        status = CheckSubject(pki, subject);
    }
    if (status.ok) {
        status = ChooseDate(place, pki, options, subject, &date);
    }
    const Revocation revocation = {subject.issuer, subject.serial, options.reason, date, place.now};
    if (status.ok && !options.tryDirectory.empty()) {
        status = TryRevocation(*session, options, revocation, &session->out);
    }
    if (!status.ok) {
        return status;
    }
    const bool isTried = !options.tryDirectory.empty() || place.dryRun;
    session->out += "revocation of " + subject.serial + " of '" + subject.issuer + "', " + options.reason + ": " +
                    Meaning(subject, options.reason, date) + "\n";
    if (isTried) {
        session->out += "Nothing was changed; without --try and --dry-run it is remembered for good.\n";
        return {};
    }
    session->out += "No device knows yet: pkgsign crl --pki " + place.folder + " --out FILE makes the file for them.\n";
    return UpdatePki(place.folder, [&](Pki *now) {
        const Status known = CheckSubject(*now, {subject.issuer, subject.serial, nullptr});
        if (known.ok) {
            now->revocations.push_back(revocation);
        }
        return known;
    });
}

} // namespace

Command RevokeCommand()
{
    return MakeCommand<Options>(
        "revoke", "Remember, for good, that a certificate is revoked",
        "pkgsign revoke pki/certificates/signer.pem --reason keyCompromise --try released", Revoke,
        [](Options *options) -> std::vector<Option> {
            return {{"CERT", "CERT", "the certificate: name in the folder, or file", &options->certificate},
                    {"--serial", "HEX", "its serial number, in the place of CERT", &options->serial},
                    {"--issuer", "NAME", "the CA of --serial; the issuing CA", &options->issuer},
                    {"--reason", "REASON", "as RFC 5280, 5.3.1 names it, for instance keyCompromise or superseded",
                     &options->reason},
                    {"--date", "TIME", "from when it counts; now, and for a signer's keyCompromise its beginning",
                     &options->date},
                    {"--try", "DIR", "change nothing, list the packages in DIR whose answer would change",
                     &options->tryDirectory},
                    {"--crl-file", "FILE", "for --try: the CRL file that devices have", &options->crlFile},
                    {"--add", "FILE", "for --try: CRLs made elsewhere", &options->added}};
        });
}

} // namespace pkgsign
