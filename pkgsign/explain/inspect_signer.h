// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// One signer of a message or token, described.
#ifndef PKGSIGN_EXPLAIN_INSPECT_SIGNER_H
#define PKGSIGN_EXPLAIN_INSPECT_SIGNER_H

#include "pkgsign/explain/inspect_certificate.h"

namespace pkgsign::inspection
{

// Whom a signer works for.
struct SignerScene {
    const std::vector<CertificateFacts> *certificates = nullptr; // those that the message carries
    const char *purpose = nullptr;                               // dotted: what its certificate must be for
    std::optional<int64_t> time;                                 // of the token
    const Bytes *content = nullptr;                              // what is signed; null where that is not at hand
};

// The index of the certificate that a signer names among those of its message.
std::optional<size_t> FindSignerCertificate(InspectContext *context, const Node &signer,
                                            const std::vector<CertificateFacts> &certificates);

Report DescribeSigner(InspectContext *context, const Node &signer, const NodePath &path, const SignerScene &scene);

// The digest of octets by the name that DeviceDigestName gives.
Bytes DigestByName(const std::string &name, const Bytes &octets);

} // namespace pkgsign::inspection

#endif
