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

// stamped: the signature value that the token must be for; null where that is not at hand.
Report DescribeToken(InspectContext *context, const Node &token, const NodePath &path, const Bytes *stamped);

Report DescribeTimestampRequest(InspectContext *context, const Node &request, const NodePath &path);
Report DescribeTimestampAnswer(InspectContext *context, const Node &answer, const NodePath &path);

} // namespace pkgsign::inspection

#endif
