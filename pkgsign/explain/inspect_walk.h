// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Walks octets along a type: names what is there, and finds what the device does not take. Broken octets are read as
// far as they go.
#ifndef PKGSIGN_EXPLAIN_INSPECT_WALK_H
#define PKGSIGN_EXPLAIN_INSPECT_WALK_H

#include "pkgsign/explain/inspect_node.h"
#include "pkgsign/explain/inspect_schema.h"

namespace pkgsign::inspection
{

// Elements of a list that are kept as nodes.
inline constexpr size_t LIST_KEPT_MAX = 64;

// Walks one object of a type that stands at `at`. Returns where it ends.
size_t WalkObject(Walk *walk, const TypeInfo &type, size_t at, const Scope &scope, const NodePath &path, Node *node);

} // namespace pkgsign::inspection

#endif
