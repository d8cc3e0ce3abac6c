// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/forge/forge.h"

namespace forge
{
namespace
{
struct IdentityFile {
    const char *name;
    Identity Pki::*identity;
};
constexpr IdentityFile IDENTITY_FILES[] = {
    {"root", &Pki::root}, {"issuing-ca", &Pki::issuingCa}, {"signer", &Pki::signer}, {"timestamp", &Pki::timestamp}};

Status ReadIdentity(const std::string &directory, const std::string &name, Identity *identityOut)
{
    Bytes text;
    Status status = ReadPrivateKey(directory + "/private/" + name + ".key", &identityOut->key);
    if (status.ok) {
        status = ReadFile(directory + "/certificates/" + name + ".pem", &text);
    }
    return status.ok ? Unarmour(text, &identityOut->certificate) : status;
}

} // namespace

Status ReadPki(const std::string &directory, Pki *pkiOut)
{
    Pki pki;
    Status status = {true, {}};
    for (const IdentityFile &file : IDENTITY_FILES) {
        if (status.ok) {
            status = ReadIdentity(directory, file.name, &(pki.*file.identity));
        }
    }
    if (status.ok) {
        *pkiOut = pki;
    }
    return status;
}
} // namespace forge
