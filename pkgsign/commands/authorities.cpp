// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/commands/authorities.h"

#include "pkgsign/files/files.h"
#include "pkgsign/files/time.h"
#include "pkgsign/timestamp/client.h"

namespace pkgsign
{

std::vector<Option> OptionsForAuthorities(AuthorityOptions *options)
{
    return {{"--tsa-url", "URL", "a timestamp authority, http or https; several are asked in turn", &options->urls},
            {"--cacert", "FILE", "the CA certificates that alone vouch for the host of --tsa-url; the system's",
             &options->caFile}};
}

Status TokenOfAuthorities(const AuthorityOptions &options, const EVP_MD *digest, const Bytes &signature,
                          const AcceptToken &accept, std::string *reportOut)
{
    ClientSettings settings;
    settings.caFile = options.caFile;
    std::string url;
    std::string time;
    const AcceptToken named = [&](const CheckedToken &token) {
        time = FormatTime(token.genTime);
        const Status status = accept(token);
        return status.ok ? status : Fail("device rule: " + status.reason);
    };
    const Status status = TokenFromAuthorities(options.urls, settings, digest, signature, named, &url);
    if (status.ok) {
        *reportOut = "Timestamp: " + Printable(url) + ", " + time + "\n";
    }
    return status;
}

} // namespace pkgsign
