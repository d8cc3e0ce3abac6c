// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Tokens of timestamp authorities elsewhere, for the commands that stamp.
#ifndef PKGSIGN_COMMANDS_AUTHORITIES_H
#define PKGSIGN_COMMANDS_AUTHORITIES_H

#include <string>
#include <vector>

#include "pkgsign/commands/command.h"
#include "pkgsign/timestamp/request.h"

namespace pkgsign
{

// What --tsa-url and --cacert have given.
struct AuthorityOptions {
    std::vector<std::string> urls;
    std::string caFile;
};

// Those two options.
std::vector<Option> OptionsForAuthorities(AuthorityOptions *options);

// Finds the first token of these authorities that `accept` takes. digest: of the imprint. reportOut: whose token it is,
// and its time.
Status TokenOfAuthorities(const AuthorityOptions &options, const EVP_MD *digest, const Bytes &signature,
                          const AcceptToken &accept, std::string *reportOut);

} // namespace pkgsign

#endif
