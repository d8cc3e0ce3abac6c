// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/authority/import.h"

#include "pkgsign/commands/command.h"
#include "pkgsign/commands/shared.h"
#include "pkgsign/files/files.h"

namespace pkgsign
{
namespace
{

struct Options {
    std::vector<std::string> files;
    bool isNew = false;
};

// A folder that is made anew from what was published. Its names are those of the root.
Status ImportIntoNew(const Objects &objects, const std::string &source, Session *session)
{
    Pki pki;
    Staging staging;
    Workplace place = session->place;
    place.dryRun = false; // what is written goes away again
    Status status = MakeDirectoryBeside(place.folder, &staging.path);
    place.folder = staging.path;
    for (const Certificate &certificate : objects.certificates) {
        X509_NAME *const name = X509_get_subject_name(certificate.get());
        if (X509_check_issued(certificate.get(), certificate.get()) == X509_V_OK) {
            pki.country = NameAttribute(name, NID_countryName);
            pki.organization = NameAttribute(name, NID_organizationName);
        }
    }
    if (status.ok) {
        status = CreatePki(place.folder, pki);
    }
    if (status.ok) {
        status = ImportObjects(place, objects, source, &session->out);
    }
    return status.ok && !session->place.dryRun ? PlaceDirectory(staging.path, session->place.folder, "") : status;
}

Status Import(const Options &options, Session *session)
{
    Objects all;
    for (const std::string &path : options.files) {
        Objects objects;
        const Status status = ReadObjects(path, &objects);
        if (!status.ok) {
            return status;
        }
        all.certificates.insert(all.certificates.end(), objects.certificates.begin(), objects.certificates.end());
        all.crls.insert(all.crls.end(), objects.crls.begin(), objects.crls.end());
    }
    const std::string &source = options.files.front();
    session->next = options.isNew ? "pkgsign key CERT --uri URI --pki " + session->place.folder
                                  : "pkgsign list --pki " + session->place.folder;
    return options.isNew ? ImportIntoNew(all, source, session)
                         : ImportObjects(session->place, all, source, &session->out);
}

} // namespace

Command ImportCommand()
{
    return MakeCommand<Options>(
        "import", "Take certificates and published CRLs into memory", "pkgsign import signer.pem crls.der", Import,
        [](Options *options) -> std::vector<Option> {
            return {{"FILE", "FILE", "certificates and CRLs, PEM or DER", &options->files, true},
                    {"--new", "",
                     "make the folder, in the place of one that is lost; among the files is the root's certificate",
                     &options->isNew}};
        });
}

} // namespace pkgsign
