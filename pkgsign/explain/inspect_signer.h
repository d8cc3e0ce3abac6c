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
    const std::vector<CertificateFacts> *certificates = nullptr; // those that stand beside it
    const std::vector<CertificateFacts> *others = nullptr;       // of the token in its message, or the other way round
    bool areOthersFirst = false;                                 // the device takes the message's before the token's
    const char *purpose = nullptr;                               // dotted: what its certificate must be for
    std::optional<int64_t> time;                                 // of the token
    const Bytes *content = nullptr;                              // what is signed; null where that is not at hand
};

// The certificate that a signer names, in the device's order; null when it is not there.
const CertificateFacts *FindSignerCertificate(InspectContext *context, const Node &signer, const SignerScene &scene);

Report DescribeSigner(InspectContext *context, const Node &signer, const NodePath &path, const SignerScene &scene);

// The digest of octets by the name that DeviceDigestName gives.
Bytes DigestByName(const std::string &name, const Bytes &octets);

} // namespace pkgsign::inspection

#endif
