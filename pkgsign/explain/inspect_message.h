// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Signature messages and timestamp tokens, which are the same type, and what is asked of an authority and answered.
#ifndef PKGSIGN_EXPLAIN_INSPECT_MESSAGE_H
#define PKGSIGN_EXPLAIN_INSPECT_MESSAGE_H

#include "pkgsign/explain/inspect_certificate.h"

namespace pkgsign::inspection
{

// Whether a message is a timestamp token, by the type of its content.
bool IsToken(const Bytes &data, const Node &message);

Report DescribeMessage(InspectContext *context, const Node &message, const NodePath &path);

// A token, and the message around it where there is one.
struct TokenScene {
    const Bytes *stamped = nullptr;                              // signature value that it must be for
    const std::vector<CertificateFacts> *certificates = nullptr; // of the message
};

// What a token says to its message.
struct TokenFacts {
    std::optional<int64_t> time;                // as the device computes it
    std::vector<CertificateFacts> certificates; // which point into the token's node
};

Report DescribeToken(InspectContext *context, const Node &token, const NodePath &path, const TokenScene &scene,
                     TokenFacts *facts);

Report DescribeTimestampRequest(InspectContext *context, const Node &request, const NodePath &path);
Report DescribeTimestampAnswer(InspectContext *context, const Node &answer, const NodePath &path);

} // namespace pkgsign::inspection

#endif
