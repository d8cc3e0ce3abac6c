// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// One element against the member that it stands for.
#ifndef PKGSIGN_EXPLAIN_INSPECT_CHECK_H
#define PKGSIGN_EXPLAIN_INSPECT_CHECK_H

#include "pkgsign/explain/inspect_node.h"
#include "pkgsign/explain/inspect_schema.h"

namespace pkgsign::inspection
{

// Whether the identifier of an element is that of a member.
bool Fits(const MemberInfo &member, const InspectedElement &element);

// What was to come: a member, or with null nothing more.
std::string Wanted(const MemberInfo *member);

// Keeps the place where what can be read ends: the innermost one.
void NoteCut(Walk *walk, const NodePath &path, size_t offset, const std::string &detail);

// Reports what is wrong with an element's header. wanted: null for nothing. Returns whether there is one.
bool CheckHeader(Walk *walk, const InspectedElement &element, const Scope &scope, const NodePath &path,
                 const MemberInfo *wanted);

// Reports what a primitive element's content lacks.
void CheckPrimitive(Walk *walk, const MemberInfo &member, const InspectedElement &element, const NodePath &path);

// Whether an element is an OCTET STRING that is put together from others (X.690, 8.7.3).
bool IsInPieces(const Bytes &data, const InspectedElement &element);

// Reports another type than the standard has, where the device takes any.
void CheckStandard(Walk *walk, const MemberInfo &member, const InspectedElement &element, const NodePath &path);

} // namespace pkgsign::inspection

#endif
