// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/commands/command.h"
#include "pkgsign/commands/shared.h"
#include "pkgsign/files/files.h"

namespace pkgsign
{
namespace
{

struct Options {
    std::string certificate;
    std::string uri;
    bool isLost = false;
};

// The key at a URI, when the certificate is for it.
Status FindKey(const Workplace &place, const Entry &entry, const std::string &given, std::string *uriOut)
{
    Key key;
    Certificate certificate;
    KeyOptions options;
    UnsavedKey none;
    options.uri = given;
    Status status = entry.state == State::Issued
                        ? LoadCertificate(place.folder, entry, &certificate)
                        : Fail("'" + entry.name + "' is not issued; its key is where its request was made");
    if (status.ok) {
        status = GetKey(place, options, entry.name, &key, uriOut, &none);
    }
    return status.ok ? CheckKeyFits(key, certificate.get(), "'" + entry.name + "'") : status;
}

// Certificates of one CA share its key.
bool SharesKey(const Entry &a, const Entry &b)
{
    return a.name == b.name || (!a.authority.empty() && a.authority == b.authority);
}

Status SetKey(const Options &options, Session *session)
{
    const Workplace &place = session->place;
    const Entry *entry = nullptr;
    std::string uri;
    Pki pki;
    if (options.uri.empty() != options.isLost) {
        return FailUsage("give either --uri URI or --lost");
    }
    Status status = LoadPki(place.folder, &pki);
    if (status.ok) {
        status = FindCertificate(place, pki, options.certificate, &entry);
    }
    if (status.ok && !options.isLost) {
        status = FindKey(place, *entry, options.uri, &uri);
    }
    if (!status.ok) {
        return status;
    }
    session->out = options.isLost ? "the key of '" + entry->name + "' is lost: nothing is signed with it any more\n"
                                  : "the key of '" + entry->name + "' is " + Printable(uri) + "\n";
    session->next = !options.isLost     ? "pkgsign list --pki " + place.folder
                    : IsCa(entry->role) ? "pkgsign revoke " + entry->name + " --reason cessationOfOperation"
                                        : "pkgsign issue --renew " + entry->name;
    if (place.dryRun) {
        return {};
    }
    return UpdatePki(place.folder, [&](Pki *now) {
        for (Entry &known : now->certificates) {
            known.key = SharesKey(known, *entry) ? uri : known.key;
        }
        return Status();
    });
}

} // namespace

Command KeyCommand()
{
    return MakeCommand<Options>(
        "key", "Remember where the key of a certificate is, or that it is lost",
        "pkgsign key signer --uri 'pkcs11:token=hsm;object=release'", SetKey,
        [](Options *options) -> std::vector<Option> {
            return {{"CERT", "CERT", "the certificate: name in the folder, or file", &options->certificate, true},
                    {"--uri", "URI", "where its key is: a path, file: or pkcs11:", &options->uri},
                    {"--lost", "", "the key is gone; the last CRL of a CA stays in the CRL file", &options->isLost}};
        });
}

} // namespace pkgsign
