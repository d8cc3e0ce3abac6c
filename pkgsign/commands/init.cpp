// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "pkgsign/authority/import.h"
#include "pkgsign/authority/requests.h"
#include "pkgsign/commands/command.h"
#include "pkgsign/commands/shared.h"
#include "pkgsign/files/files.h"

namespace pkgsign
{
namespace
{

struct Options {
    std::string folder;
    std::string only;
    std::string rootFile;
    std::string country = "DE";
    std::string organization = "Sigkit";
    std::string rootName = "Root CA";
    KeyOptions key;
    std::string notBefore;
    std::string notAfter;
    std::string confirm;
    std::vector<std::string> lifetimes;
};

Status ReadLifetimes(const std::vector<std::string> &texts, Lifetimes *lifetimes)
{
    for (const std::string &text : texts) {
        const size_t equals = text.find('=');
        const std::string name = text.substr(0, equals);
        int64_t *const span = name == "issuing-ca"  ? &lifetimes->issuingCa
                              : name == "signer"    ? &lifetimes->signer
                              : name == "timestamp" ? &lifetimes->timestamp
                              : name == "crl"       ? &lifetimes->crl
                                                    : nullptr;
        if (span == nullptr || equals == std::string::npos) {
            return FailUsage(
                "--lifetime wants issuing-ca, signer, timestamp or crl with a span, for instance signer=1y");
        }
        const Status status = Usage(ParseSpan(text.substr(equals + 1), span));
        if (!status.ok) {
            return status;
        }
    }
    return {};
}

Status MakeRoot(const Workplace &place, const Options &options, std::string *report)
{
    IssueOrder order;
    order.name = RoleName(Role::Root);
    order.fields.role = Role::Root;
    order.fields.notBefore = ROOT_NOT_BEFORE;
    order.fields.notAfter = ROOT_NOT_AFTER;
    Status status = MakeName(options.country, options.organization, options.rootName, &order.fields.subject);
    if (status.ok) {
        KeyOptions key = options.key;
        key.bits = std::to_string(ROOT_KEY_BITS);
        status = GetKey(place, key, order.name, &order.fields.publicKey, &order.keyUri, &order.unsaved);
    }
    if (status.ok && EVP_PKEY_bits(order.fields.publicKey.get()) != ROOT_KEY_BITS) {
        return Fail("the root key must have " + std::to_string(ROOT_KEY_BITS) + " bits");
    }
    if (status.ok) {
        status = FitRootSerial(&order.fields, options.organization.size() + options.rootName.size());
    }
    order.privateKey = order.fields.publicKey;
    Certificate certificate;
    return status.ok ? IssueCertificate(place, &order, &certificate, report) : status;
}

// The times of a new certificate: as given, or from now on for the lifetime of its role, and never beyond its CA's.
Status ChooseTimes(const Workplace &place, const Options &options, const Lifetimes &lifetimes, const RoleNames &role,
                   int64_t latest, CertificateFields *fields)
{
    fields->notBefore = place.now;
    Status status = options.notBefore.empty() ? Status() : Usage(ParseTime(options.notBefore, &fields->notBefore));
    fields->notAfter = std::min(fields->notBefore + lifetimes.*role.lifetime, latest);
    if (status.ok && !options.notAfter.empty()) {
        status = Usage(ParseTime(options.notAfter, &fields->notAfter));
    }
    return status;
}

Status MakeSubordinate(const Workplace &place, const Options &options, const Lifetimes &lifetimes,
                       const RoleNames &role, int64_t *latest)
{
    IssueOrder order;
    std::string report;
    Certificate certificate;
    order.name = RoleName(role.role);
    order.issuer = RoleName(role.role == Role::IssuingCa ? Role::Root : Role::IssuingCa);
    order.fields.role = role.role;
    Status status = MakeName(options.country, options.organization, role.commonName, &order.fields.subject);
    if (status.ok) {
        status = ChooseTimes(place, options, lifetimes, role, *latest, &order.fields);
    }
    if (status.ok) {
        status = GetKey(place, options.key, order.name, &order.fields.publicKey, &order.keyUri, &order.unsaved);
    }
    if (status.ok) {
        status = IssueCertificate(place, &order, &certificate, &report);
    }
    if (status.ok && role.role == Role::IssuingCa) {
        *latest = order.fields.notAfter;
    }
    return status;
}

Status MakeWholePki(const Workplace &place, const Options &options, const Lifetimes &lifetimes)
{
    std::string report;
    int64_t latest = ROOT_NOT_AFTER;
    Status status = MakeRoot(place, options, &report);
    for (const Role role : {Role::IssuingCa, Role::Signer, Role::Timestamp}) {
        status = status.ok ? MakeSubordinate(place, options, lifetimes, NamesOf(role), &latest) : status;
    }
    return status;
}

// A machine of its own: a root, or a key and a request under a root made elsewhere. report: what is signed.
Status MakePart(const Workplace &place, const Options &options, Role role, std::string *report)
{
    if (role == Role::Root) {
        return MakeRoot(place, options, report);
    }
    std::string imported;
    Objects objects;
    Status status = ReadObjects(options.rootFile, &objects);
    if (status.ok) {
        status = ImportObjects(place, objects, options.rootFile, &imported);
    }
    const RoleNames &names = NamesOf(role);
    RequestOrder order;
    order.name = RoleName(role);
    order.role = role;
    if (status.ok) {
        status = MakeName(options.country, options.organization, names.commonName, &order.subject);
    }
    if (status.ok) {
        status = GetKey(place, options.key, order.name, &order.key, &order.keyUri, &order.unsaved);
    }
    Bytes request;
    return status.ok ? MakeRequest(place, order, &request, report) : status;
}

Status CheckOptions(const Options &options)
{
    Role role = Role::Root;
    if (!options.only.empty()) {
        const Status status = Usage(ParseRole(options.only, &role));
        if (!status.ok) {
            return status;
        }
    }
    if (options.only.empty() ? !options.rootFile.empty() : (role == Role::Root) != options.rootFile.empty()) {
        return FailUsage("--root FILE belongs to --only issuing-ca, signer or timestamp, which need it");
    }
    if (options.only.empty() && !options.key.uri.empty()) {
        return FailUsage("--key names one key and belongs to --only; a whole PKI has four");
    }
    return {};
}

// A root key that is replaced cuts off every device that trusts it, so the user says its name. asideOut: where the PKI
// goes that is there; empty when there is none, so that one which appears meanwhile is not touched.
Status CheckExisting(const Options &options, int64_t now, std::string *asideOut)
{
    if (!Exists(options.folder + "/pki.json")) {
        std::error_code error;
        const bool isEmpty = !Exists(options.folder) || std::filesystem::is_empty(options.folder, error);
        return isEmpty ? Status()
                       : Fail("'" + Printable(options.folder) + "' is there and not empty; name another folder");
    }
    Pki pki;
    const Entry *root = nullptr;
    Certificate certificate;
    Status status = LoadPki(options.folder, &pki);
    if (status.ok && FindRoot(pki, &root).ok) {
        status = LoadCertificate(options.folder, *root, &certificate);
    }
    if (!status.ok) {
        return status;
    }
    const std::string name =
        certificate == nullptr ? "" : NameAttribute(X509_get_subject_name(certificate.get()), NID_commonName);
    *asideOut = options.folder + ".replaced-" + FormatTime(now);
    return !name.empty() && options.confirm == name
               ? Status()
               : Fail("'" + Printable(options.folder) +
                      "' holds a PKI; name another folder, or set it aside with --confirm='" + name +
                      "': devices that trust its root take nothing of the new one");
}

// Makes the folder beside its place, and moves it there.
Status MakeFolder(const Options &options, const Pki &pki, const std::string &aside, Session *session)
{
    Staging staging;
    Status status = MakeDirectoryBeside(options.folder, &staging.path);
    Workplace place = session->place;
    place.folder = staging.path;
    place.dryRun = session->place.dryRun && !options.only.empty(); // else no key signs but new ones that go away again
    if (status.ok) {
        status = CreatePki(place.folder, pki);
    }
    Role role = Role::Root;
    if (status.ok && options.only.empty()) {
        status = MakeWholePki(place, options, pki.lifetimes);
    } else if (status.ok) {
        status = ParseRole(options.only, &role);
        status = status.ok ? MakePart(place, options, role, &session->out) : status;
    }
    if (status.ok && !session->place.dryRun) {
        staging.isKept = !aside.empty(); // from here on it may be the name of what was there
        status = PlaceDirectory(staging.path, options.folder, aside);
        session->next = role == Role::Root ? "pkgsign list --pki " + options.folder
                                           : "carry " + RequestPath(options.folder, RoleName(role)) +
                                                 " to the CA: pkgsign issue --as " + RoleName(role) + " --request FILE";
    }
    return status;
}

Status Init(const Options &given, Session *session)
{
    Options options = given;
    std::string aside;
    while (options.folder.size() > 1 && options.folder.back() == '/') {
        options.folder.pop_back();
    }
    Pki pki;
    pki.country = options.country;
    pki.organization = options.organization;
    Status status = ReadLifetimes(options.lifetimes, &pki.lifetimes);
    if (status.ok) {
        status = CheckOptions(options);
    }
    if (status.ok) {
        status = CheckExisting(options, session->place.now, &aside);
    }
    return status.ok ? MakeFolder(options, pki, aside, session) : status;
}

} // namespace

Command InitCommand()
{
    return MakeCommand<Options>(
        "init", "Make a PKI folder: a whole PKI, or the part of one machine",
        "pkgsign init pki --passphrase-file secret", Init, [](Options *options) -> std::vector<Option> {
            return {
                {"DIR", "DIR", "the folder to make", &options->folder, true},
                {"--only", "ROLE", "make only this: root, or the key and request of an issuing-ca, signer or timestamp",
                 &options->only},
                {"--root", "FILE", "the root certificate made elsewhere, for --only", &options->rootFile},
                {"--country", "CC", "country of all names, two letters; DE", &options->country},
                {"--organization", "TEXT", "organization of all names; Sigkit", &options->organization},
                {"--root-name", "TEXT", "common name of the root, with the organization 11 to 20 octets; Root CA",
                 &options->rootName},
                {"--key", "URI", "the key of --only: a path, file: or pkcs11:; else one is made", &options->key.uri},
                {"--key-bits", "N", "length of new keys but the root's, which has 4096; 3072", &options->key.bits},
                {"--not-before", "TIME", "beginning of all but the root; now", &options->notBefore},
                {"--not-after", "TIME", "end of all but the root; by lifetime", &options->notAfter},
                {"--lifetime", "ROLE=SPAN", "default lifetime of issuing-ca, signer, timestamp or crl: signer=1y",
                 &options->lifetimes},
                {"--no-encryption", "", "keys in files are not encrypted", &options->key.noEncryption},
                {"--confirm", "NAME", "set the PKI that is there aside; NAME is that of its root", &options->confirm}};
        });
}

} // namespace pkgsign
