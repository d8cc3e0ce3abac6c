// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/explain/inspect_node.h"

#include <algorithm>
#include <cstddef>

namespace pkgsign::inspection
{

void FinishWalk(Walk *walk)
{
    if (walk->cut.isThere) {
        const NodePath path = {nullptr, walk->cut.path.c_str(), 0};
        AddFinding(walk->findings, Rule::ReadTo, path, walk->cut.offset, walk->cut.detail);
        walk->cut = {};
    }
}

const Node *FindNode(const Node *node, const std::string &names)
{
    size_t start = 0;
    while (node != nullptr && start <= names.size()) {
        const size_t dot = std::min(names.find('.', start), names.size());
        const std::string name = names.substr(start, dot - start);
        const auto found = std::find_if(node->children.begin(), node->children.end(),
                                        [&](const Node &child) { return child.name != nullptr && name == child.name; });
        node = found == node->children.end() ? nullptr : &*found;
        start = dot + 1;
    }
    return node;
}

Bytes ContentOf(const Bytes &data, const Node *node, size_t most)
{
    if (node == nullptr) {
        return {};
    }
    const auto begin = data.begin() + static_cast<ptrdiff_t>(node->element.content);
    return Bytes(begin, begin + static_cast<ptrdiff_t>(std::min(ContentSize(node->element), most)));
}

} // namespace pkgsign::inspection
