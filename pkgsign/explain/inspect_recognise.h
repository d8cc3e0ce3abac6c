// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What an object is, by its first members.
#ifndef PKGSIGN_EXPLAIN_INSPECT_RECOGNISE_H
#define PKGSIGN_EXPLAIN_INSPECT_RECOGNISE_H

#include "pkgsign/explain/inspect_element.h"
#include "pkgsign/explain/inspect_schema.h"

namespace pkgsign::inspection
{

enum class ObjectKind {
    Unknown,
    Message, // a token as well, until its content is looked at
    Certificate,
    Crl,
    TimestampRequest,
    TimestampAnswer,
    CertificationRequest,
};

// hint: what an unknown object looks like; may be empty.
ObjectKind RecogniseObject(const Bytes &data, size_t at, std::string *hint);

// Null for an unknown one.
const TypeInfo *TypeOf(ObjectKind kind);

} // namespace pkgsign::inspection

#endif
