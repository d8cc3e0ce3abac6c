// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include <algorithm>

#include "pkgsign/authority/crl_file.h"
#include "pkgsign/authority/rehearsal.h"
#include "pkgsign/authority/requests.h"
#include "pkgsign/authority/trial.h"
#include "pkgsign/commands/command.h"
#include "pkgsign/commands/shared.h"
#include "pkgsign/files/files.h"
#include "pkgsign/files/objects.h"

namespace pkgsign
{
namespace
{

struct Options {
    std::string role;
    std::string renew;
    std::string request;
    std::string name;
    std::string commonName;
    std::string issuer;
    std::string notBefore;
    std::string notAfter;
    std::string out;
    KeyOptions key;
    bool sameKey = false;
    std::string tryDirectory;
    std::string crlFile;
    std::vector<std::string> added;
};

// "Issuing CA" is followed by "Issuing CA 2", and that by "Issuing CA 3".
std::string NextCommonName(const std::string &name)
{
    const size_t space = name.rfind(' ');
    const std::string tail = space == std::string::npos ? "" : name.substr(space + 1);
    if (!tail.empty() && tail.size() < 6 && tail.find_first_not_of("0123456789") == std::string::npos) {
        return name.substr(0, space + 1) + std::to_string(std::stol(tail) + 1);
    }
    return name + " 2";
}

// The CA that issues: the one asked for; the root for CAs, else the issuing CA that can be used and ends last.
Status ChooseIssuer(const Workplace &place, const Pki &pki, const Options &options, Role role, std::string *nameOut)
{
    const Entry *entry = nullptr;
    Status status = role == Role::IssuingCa && options.issuer.empty()
                        ? FindRoot(pki, &entry)
                        : ChooseCertificate(pki, Role::IssuingCa, options.issuer, place.now, &entry);
    if (status.ok && entry->key.empty()) {
        return Fail("the key of '" + entry->name + "' is not on this machine; issue where it is, from a request");
    }
    if (status.ok) {
        *nameOut = entry->name;
    }
    return status;
}

Status ChooseSubject(const Pki &pki, const Options &options, const X509_REQ *request, const X509 *renewed, Role role,
                     NamePtr *subjectOut)
{
    const X509_NAME *const given = request != nullptr   ? X509_REQ_get_subject_name(request)
                                   : renewed != nullptr ? X509_get_subject_name(renewed)
                                                        : nullptr;
    if (!options.commonName.empty()) {
        return MakeName(pki.country, pki.organization, options.commonName, subjectOut);
    }
    if (given == nullptr) {
        return MakeName(pki.country, pki.organization, NamesOf(role).commonName, subjectOut);
    }
    if (renewed != nullptr && role == Role::IssuingCa && !options.sameKey) {
        return MakeName(pki.country, pki.organization, NextCommonName(NameAttribute(given, NID_commonName)),
                        subjectOut);
    }
    subjectOut->reset(X509_NAME_dup(const_cast<X509_NAME *>(given)));
    return {};
}

Status ChooseTimes(const Workplace &place, const Pki &pki, const Options &options, const Certificate &renewed,
                   CertificateFields *fields)
{
    const bool keepsBeginning = renewed != nullptr && options.sameKey && fields->role == Role::IssuingCa;
    fields->notBefore = keepsBeginning ? NotBefore(renewed.get()) : place.now;
    Status status = options.notBefore.empty() ? Status() : Usage(ParseTime(options.notBefore, &fields->notBefore));
    fields->notAfter =
        std::max(fields->notBefore, keepsBeginning ? place.now : 0) + pki.lifetimes.*NamesOf(fields->role).lifetime;
    if (status.ok && !options.notAfter.empty()) {
        status = Usage(ParseTime(options.notAfter, &fields->notAfter));
    }
    return status;
}

// The public key: of the request, of the certificate that is renewed, of the key given, or of a new one.
Status ChooseKey(const Workplace &place, const Options &options, const X509_REQ *request, const Entry *renewed,
                 const X509 *certificate, IssueOrder *order)
{
    if (request != nullptr) {
        order->fields.publicKey = ShareKey(X509_REQ_get_pubkey(const_cast<X509_REQ *>(request)));
        return {};
    }
    if (renewed != nullptr && options.sameKey) {
        order->fields.publicKey = ShareKey(X509_get_pubkey(const_cast<X509 *>(certificate)));
        order->keyUri = renewed->key;
        return {};
    }
    return GetKey(place, options.key, order->name, &order->fields.publicKey, &order->keyUri, &order->unsaved);
}

// What is renewed, and what comes from a request.
struct Sources {
    const Entry *renewed = nullptr;
    Certificate certificate;
    RequestPtr request;
    const Entry *requested = nullptr; // the entry of the request, when it was made in this folder
    Role role = Role::Signer;
};

Status ReadSources(const Workplace &place, const Pki &pki, const Options &options, Sources *sources)
{
    Status status;
    if (options.role.empty() == options.renew.empty()) {
        return FailUsage("give either --as ROLE or --renew CERT");
    }
    if (!options.renew.empty()) {
        status = FindCertificate(place, pki, options.renew, &sources->renewed);
        if (status.ok) {
            sources->role = sources->renewed->role;
            status = LoadCertificate(place.folder, *sources->renewed, &sources->certificate);
        }
    } else {
        status = Usage(ParseRole(options.role, &sources->role));
    }
    if (status.ok && sources->role == Role::Root) {
        return Fail("a root is not issued; a new one is a new PKI: pkgsign init");
    }
    if (status.ok && !options.request.empty()) {
        status = ReadRequest(options.request, &sources->request);
    }
    if (sources->request != nullptr) {
        sources->requested = FindRequest(place.folder, pki, X509_REQ_get0_pubkey(sources->request.get()));
    }
    return status;
}

// The answers to released packages that would change with the CA in the next CRL file.
Status TryCa(const Workplace &place, const Options &options, const Certificate &root, const Sources &sources,
             const IssueOrder &order, std::string *report)
{
    Setting setting;
    NewCa newCa;
    Status status = MakeTrialCa(root, order.fields, &setting, &newCa.certificate);
    if (!status.ok) {
        return status;
    }
    newCa.entry = DescribeCertificate(newCa.certificate.get(), Role::IssuingCa);
    newCa.entry.name = order.name;
    newCa.entry.authority = options.sameKey ? sources.renewed->authority : order.name;
    newCa.entry.issuer = order.issuer;
    newCa.entry.key = "tried"; // by a throwaway one
    CrlFileOrder files;
    CrlFile before;
    CrlFile after;
    files.added = options.added;
    files.replaced = options.crlFile;
    files.datedAhead = DatedAhead::Released; // a trial signs nothing
    status = ComposeCrlFile(place, files, &before);
    files.newCa = &newCa;
    if (status.ok) {
        status = ComposeCrlFile(place, files, &after);
    }
    if (status.ok) {
        status = TryPackages(options.tryDirectory, &before.setting, after.setting, report);
    }
    *report += status.ok ? "Nothing was issued; without --try and --dry-run it is.\n" : "";
    return status;
}

// A renewed CA must leave old packages and the comparison of CRL files as they are.
Status ProveCa(const Workplace &place, const Pki &pki, const Options &options, const Sources &sources,
               const IssueOrder &order, std::string *report)
{
    if (sources.role != Role::IssuingCa) {
        return options.tryDirectory.empty() ? Status() : FailUsage("--try is about a CA; what others sign is new");
    }
    const Entry *entry = nullptr;
    Certificate root;
    Status status = FindRoot(pki, &entry);
    if (status.ok) {
        status = LoadCertificate(place.folder, *entry, &root);
    }
    if (status.ok && sources.renewed != nullptr) {
        status = RehearseRenewal(root, sources.certificate, order.fields);
    }
    return status.ok && !options.tryDirectory.empty() ? TryCa(place, options, root, sources, order, report) : status;
}

// Whose certificate, for which key, from when to when, by whom.
Status MakeOrder(const Workplace &place, const Pki &pki, const Options &options, const Sources &sources,
                 IssueOrder *order)
{
    Status status;
    order->fields.role = sources.role;
    if (sources.requested != nullptr && (options.name.empty() || options.name == sources.requested->name)) {
        order->name = sources.requested->name;
        order->keyUri = sources.requested->key;
    } else {
        status = ChooseName(place, pki, options.name, sources.role, &order->name);
    }
    if (status.ok) {
        status = ChooseIssuer(place, pki, options, sources.role, &order->issuer);
    }
    if (status.ok) {
        status = ChooseTimes(place, pki, options, sources.certificate, &order->fields);
    }
    if (status.ok && options.notAfter.empty()) { // a lifetime by default ends with the CA's at the latest
        order->fields.notAfter = std::min(order->fields.notAfter, FindEntry(pki, order->issuer)->notAfter);
    }
    if (status.ok) {
        status = ChooseSubject(pki, options, sources.request.get(), sources.certificate.get(), sources.role,
                               &order->fields.subject);
    }
    return status.ok
               ? ChooseKey(place, options, sources.request.get(), sources.renewed, sources.certificate.get(), order)
               : status;
}

Status Issue(const Options &options, Session *session)
{
    const Workplace &place = session->place;
    Sources sources;
    IssueOrder order;
    Pki pki;
    Status status = LoadPki(place.folder, &pki);
    if (status.ok) {
        status = CheckWritable(options.out);
    }
    if (status.ok) {
        status = ReadSources(place, pki, options, &sources);
    }
    if (!status.ok) {
        return status;
    }
    status = MakeOrder(place, pki, options, sources, &order);
    if (status.ok) {
        status = ProveCa(place, pki, options, sources, order, &session->out);
    }
    if (!status.ok || !options.tryDirectory.empty()) {
        return status;
    }
    Certificate certificate;
    if (status.ok) {
        status = IssueCertificate(place, &order, &certificate, &session->out);
    }
    if (status.ok && !place.dryRun && !options.out.empty()) {
        status = WriteWhole(options.out, AddArmour("CERTIFICATE", EncodeCertificate(certificate.get())));
    }
    if (options.out == "-" && !place.dryRun) {
        session->out.clear(); // standard output is the certificate's then
    }
    session->next = sources.role == Role::IssuingCa ? "pkgsign crl --pki " + place.folder + " --out crls.der"
                                                    : "pkgsign list --pki " + place.folder;
    return status;
}

} // namespace

Command IssueCommand()
{
    return MakeCommand<Options>(
        "issue", "Issue a certificate, from a request, for a key, or in the place of one",
        "pkgsign issue --as signer --request signer.csr --out signer.pem", Issue,
        [](Options *options) -> std::vector<Option> {
            return {
                {"--as", "ROLE", "issuing-ca, signer or timestamp", &options->role},
                {"--renew", "CERT", "a certificate to be followed by a new one: name in the folder, or file",
                 &options->renew},
                {"--request", "FILE", "a request (PKCS #10)", &options->request},
                {"--key", "URI", "a path, file: or pkcs11:; without it and --request a key is made", &options->key.uri},
                {"--key-bits", "N", "length of a new key; 3072", &options->key.bits},
                {"--no-encryption", "", "a new key is not encrypted", &options->key.noEncryption},
                {"--same-key", "", "--renew keeps the key; a CA keeps its name and its beginning as well",
                 &options->sameKey},
                {"--name", "NAME", "name in the folder; that of the role", &options->name},
                {"--common-name", "TEXT", "common name of the certificate", &options->commonName},
                {"--issuer", "NAME", "the issuing CA, by its name in the folder", &options->issuer},
                {"--not-before", "TIME", "beginning; now", &options->notBefore},
                {"--not-after", "TIME", "end; by the lifetime of the role", &options->notAfter},
                {"--try", "DIR", "issue nothing, list the packages in DIR whose answer a new CA would change",
                 &options->tryDirectory},
                {"--crl-file", "FILE", "for --try: the CRL file that devices have", &options->crlFile},
                {"--add", "FILE", "for --try: CRLs made elsewhere", &options->added},
                {"-o,--out", "FILE", "the certificate (PEM), beside that in the folder", &options->out}};
        });
}

} // namespace pkgsign
