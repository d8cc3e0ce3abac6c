// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What a walk through an object leaves behind: a tree of names over the octets, and where those can be read to.
#ifndef PKGSIGN_EXPLAIN_INSPECT_NODE_H
#define PKGSIGN_EXPLAIN_INSPECT_NODE_H

#include "pkgsign/explain/inspect_element.h"
#include "pkgsign/explain/inspect_rules.h"

namespace pkgsign::inspection
{

// A member of a record, or an element of a list.
struct Node {
    const char *name = nullptr; // null in a list
    InspectedElement element;   // behind an EXPLICIT tag what that holds
    std::vector<Node> children; // of a list the first ones
    size_t total = 0;           // elements of a list
};

// The octets that are left: until where, and whether they are cut off there.
struct Scope {
    size_t end = 0;
    bool isCut = false;
};

// What can be read ends here.
struct Cut {
    bool isThere = false;
    size_t offset = 0;
    std::string path;
    std::string detail;
};

struct Walk {
    const Bytes *data = nullptr;
    Findings *findings = nullptr;
    Cut cut = {};
    size_t limit = 0; // end of what the device's decoder is given at once: lengths may not go beyond
};

// Once an object has been walked: reports where it could be read to, if that is not its end.
void FinishWalk(Walk *walk);

// A member by its name, "validity.notBefore" for one within; null where there is none.
const Node *FindNode(const Node *node, const std::string &names);

// The content of a node; empty without one. most: octets that are taken.
Bytes ContentOf(const Bytes &data, const Node *node, size_t most = SIZE_MAX);

} // namespace pkgsign::inspection

#endif
