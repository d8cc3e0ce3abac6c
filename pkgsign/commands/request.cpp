// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/authority/requests.h"
#include "pkgsign/commands/command.h"
#include "pkgsign/commands/shared.h"
#include "pkgsign/files/files.h"

namespace pkgsign
{
namespace
{

struct Options {
    std::string role;
    std::string name;
    std::string commonName;
    std::string out = "-";
    KeyOptions key;
};

Status Request(const Options &options, Session *session)
{
    const Workplace &place = session->place;
    RequestOrder order;
    Pki pki;
    Status status = Usage(ParseRole(options.role, &order.role));
    if (status.ok && order.role == Role::Root) {
        return FailUsage("a root signs itself; use pkgsign init --only root");
    }
    if (status.ok) {
        status = LoadPki(place.folder, &pki);
    }
    if (status.ok) {
        status = CheckWritable(options.out);
    }
    if (!status.ok) {
        return status;
    }
    status = ChooseName(place, pki, options.name, order.role, &order.name);
    if (status.ok) {
        status =
            MakeName(pki.country, pki.organization,
                     options.commonName.empty() ? NamesOf(order.role).commonName : options.commonName, &order.subject);
    }
    if (status.ok) {
        status = GetKey(place, options.key, order.name, &order.key, &order.keyUri, &order.unsaved);
    }
    if (status.ok) {
        status = CheckKeyKind(order.key.get(), "the key of '" + order.name + "'");
    }
    Bytes request;
    if (status.ok) {
        status = MakeRequest(place, order, &request, &session->out);
    }
    if (status.ok && !place.dryRun) {
        status = WriteWhole(options.out, request);
    }
    if (options.out == "-" && !place.dryRun) {
        session->out.clear(); // standard output is the request's then
    }
    session->next =
        "on the machine of the CA: pkgsign issue --as " + options.role + " --request FILE --out CERTIFICATE";
    return status;
}

} // namespace

Command RequestCommand()
{
    return MakeCommand<Options>(
        "request", "Make a certificate request for a key of this machine",
        "pkgsign request --as signer --key 'pkcs11:object=release' --out signer.csr", Request,
        [](Options *options) -> std::vector<Option> {
            return {{"--as", "ROLE", "issuing-ca, signer or timestamp", &options->role, true},
                    {"--name", "NAME", "name in the folder; that of the role", &options->name},
                    {"--common-name", "TEXT", "common name of the certificate", &options->commonName},
                    {"--key", "URI", "a path, file: or pkcs11:; else a key is made", &options->key.uri},
                    {"--key-bits", "N", "length of a new key; 3072", &options->key.bits},
                    {"--no-encryption", "", "a new key is not encrypted", &options->key.noEncryption},
                    {"-o,--out", "FILE", "the request; standard output", &options->out}};
        });
}

} // namespace pkgsign
