// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/explain/inspect_walk.h"

#include <algorithm>

#include "pkgsign/explain/inspect_check.h"
#include "pkgsign/explain/inspect_value.h"

namespace pkgsign::inspection
{
namespace
{

constexpr uint8_t CONSTRUCTED = 0x20;
constexpr uint8_t CONTEXT = 0x80;

// Extension and Attribute, which the device reads alike (RFC 5280, 4.1; RFC 5652, 5.3).
constexpr TypeInfo ENTRY_ANY = {"RFC 5280, 4.1", Shape::Any};
constexpr TypeInfo ENTRY_BOOLEAN = {"X.690, 8.2", Shape::Boolean};
constexpr MemberInfo ENTRY_MEMBERS[] = {{"extnID", &ENTRY_ANY, Tagging::Universal, 0, false, 0x06},
                                        {"critical", &ENTRY_BOOLEAN, Tagging::Universal, 0, true},
                                        {"extnValue", &ENTRY_ANY}};
constexpr TypeInfo ENTRY = {"RFC 5280, 4.1", Shape::Sequence, ENTRY_MEMBERS, 3, 0, Rule::MemberUnexpected};

void WalkContent(Walk *walk, const MemberInfo &member, const InspectedElement &element, const Scope &scope,
                 const NodePath &path, Node *node);

// The limit of a walk, while this lives.
struct LimitScope {
    LimitScope(Walk *owner, size_t limit) : walk(owner), before(owner->limit)
    {
        walk->limit = limit;
    }
    LimitScope(const LimitScope &) = delete;
    LimitScope &operator=(const LimitScope &) = delete;
    ~LimitScope()
    {
        walk->limit = before;
    }

private:
    Walk *walk;
    size_t before;
};

// An element under an EXPLICIT tag. The device compares the lengths of the two with nothing. Returns where it ends.
size_t WalkTagged(Walk *walk, const MemberInfo &member, const InspectedElement &wrapper, const Scope &outer,
                  const NodePath &path, Node *node)
{
    const bool isDefinite = wrapper.flaw != ElementFlaw::IndefiniteLength;
    const Scope scope = {isDefinite ? outer.end : wrapper.end, outer.isCut || wrapper.isCut};
    const MemberInfo plain = {member.name, member.type, Tagging::Universal, 0, false, member.standard};
    const InspectedElement inner = ReadElement(*walk->data, wrapper.content, scope.end);
    if (!CheckHeader(walk, inner, scope, path, &plain)) {
        return scope.end;
    }
    if (!Fits(plain, inner)) {
        AddFinding(walk->findings, Rule::MemberType, path, inner.offset,
                   Wanted(&plain) + ", found " + DescribeElement(inner), member.type->citation);
        return wrapper.next;
    }
    const size_t end = isDefinite ? wrapper.content + static_cast<size_t>(wrapper.length) : wrapper.end;
    if (inner.next != end && !inner.isCut) {
        AddFinding(walk->findings, Rule::WrapperLength, path, wrapper.offset, "");
    }
    WalkContent(walk, plain, inner, scope, path, node);
    return isDefinite ? inner.next : wrapper.next;
}

// Where an element goes among the members from `first` on: at most one that must be there is passed over.
size_t FindPlace(const TypeInfo &type, size_t first, const InspectedElement &element)
{
    size_t missing = 0;
    for (size_t i = first; i < type.count; ++i) {
        const MemberInfo &member = type.members[i];
        const bool isPassedOver =
            member.type->shape == Shape::Boolean && ContentSize(element) != 1 && member.isOptional && !element.isCut;
        if (Fits(member, element) && !isPassedOver) {
            return i;
        }
        missing += member.isOptional ? 0 : 1;
        if (missing > 1) {
            break;
        }
    }
    return type.count;
}

// Whether an element that goes beyond its record does not go beyond what the device decodes at once.
bool IsWithin(const InspectedElement &element, size_t limit)
{
    return element.flaw == ElementFlaw::None && element.content <= limit && element.length <= limit - element.content;
}

size_t NextRequired(const TypeInfo &type, size_t first)
{
    while (first < type.count && type.members[first].isOptional) {
        ++first;
    }
    return first;
}

void AddMissing(Walk *walk, const TypeInfo &type, size_t index, size_t offset, const std::string &found,
                const NodePath &path)
{
    const MemberInfo &member = type.members[index];
    const NodePath at = {&path, member.name, 0};
    const std::string narrowed = member.narrowed == nullptr ? "" : std::string("; ") + member.narrowed;
    AddFinding(walk->findings, Rule::MemberMissing, at, offset, Wanted(&member) + ", found " + found + narrowed,
               type.citation);
}

// Reports an element that no member fits. Returns the member that comes next.
size_t AddMisfit(Walk *walk, const TypeInfo &type, size_t first, const InspectedElement &element, const NodePath &path)
{
    const size_t wanted = NextRequired(type, first);
    const std::string found = DescribeElement(element);
    if (wanted == type.count) {
        AddFinding(walk->findings, Rule::MemberUnexpected, path, element.offset, "found " + found, type.citation);
        return type.count;
    }
    const MemberInfo &member = type.members[wanted];
    const NodePath at = {&path, member.name, 0};
    const bool isKeyIdentifier = std::string(member.name) == "sid" && (element.identifier & ~CONSTRUCTED) == CONTEXT;
    AddFinding(walk->findings, isKeyIdentifier ? Rule::SignerKeyIdentifier : Rule::MemberType, at, element.offset,
               Wanted(&member) + ", found " + found, type.citation);
    return wanted + 1;
}

void WalkMembers(Walk *walk, const TypeInfo &type, size_t at, const Scope &scope, const NodePath &path, Node *node)
{
    size_t next = 0;
    while (at < scope.end) {
        InspectedElement element = ReadElement(*walk->data, at, scope.end);
        const size_t place = FindPlace(type, next, element);
        if (place < type.count && type.members[place].tagging == Tagging::Explicit && IsWithin(element, walk->limit)) {
            element.isCut = false;
        }
        const size_t likely = place < type.count ? place : std::min(NextRequired(type, next), type.count);
        const NodePath here = {&path, likely < type.count ? type.members[likely].name : nullptr, 0};
        const bool isNamed = here.name != nullptr;
        if (!CheckHeader(walk, element, scope, isNamed ? here : path, isNamed ? &type.members[likely] : nullptr)) {
            return;
        }
        if (place == type.count) {
            next = AddMisfit(walk, type, next, element, path);
            at = element.next;
            continue;
        }
        for (; next < place; ++next) {
            if (!type.members[next].isOptional) {
                AddMissing(walk, type, next, element.offset, DescribeElement(element), path);
            } else if (type.members[next].type->shape == Shape::Boolean && Fits(type.members[next], element)) {
                AddFinding(walk->findings, Rule::BooleanLength, path, element.offset,
                           "found " + DescribeElement(element));
            }
        }
        const MemberInfo &member = type.members[place];
        node->children.push_back({member.name, element, {}, 0});
        at = element.next;
        if (member.tagging == Tagging::Explicit) {
            at = WalkTagged(walk, member, element, scope, here, &node->children.back());
        } else {
            WalkContent(walk, member, element, scope, here, &node->children.back());
        }
        next = place + 1;
    }
    for (size_t i = NextRequired(type, next); i < type.count; i = NextRequired(type, i + 1)) {
        if (scope.isCut) {
            const NodePath missing = {&path, type.members[i].name, 0};
            NoteCut(walk, missing, scope.end, Wanted(&type.members[i]) + ", found nothing");
            return;
        }
        AddMissing(walk, type, i, scope.end, "nothing", path);
    }
}

// Whether the node of an element is to be kept; else it goes into `scratch`.
Node *KeepElement(Node *list, const InspectedElement &element, Node *scratch)
{
    ++list->total;
    if (list->children.size() >= LIST_KEPT_MAX) {
        *scratch = Node{nullptr, element, {}, 0};
        return scratch;
    }
    list->children.push_back({nullptr, element, {}, 0});
    return &list->children.back();
}

void WalkList(Walk *walk, const TypeInfo &type, size_t at, const Scope &scope, const NodePath &path, Node *node)
{
    Node scratch;
    size_t surplus = 0; // offset of the first element too many
    const MemberInfo &member = type.members[0];
    while (at < scope.end) {
        const NodePath here = {&path, nullptr, node->total};
        const InspectedElement element = ReadElement(*walk->data, at, scope.end);
        if (!CheckHeader(walk, element, scope, here, &member)) {
            break;
        }
        Node *const kept = KeepElement(node, element, &scratch);
        surplus = node->total == type.most + 1 ? element.offset : surplus;
        if (Fits(member, element)) {
            // The certificates of a message are decoded one by one.
            const LimitScope limit(walk, member.type == &TYPE_CERTIFICATE ? element.end : walk->limit);
            WalkContent(walk, member, element, scope, here, kept);
        } else {
            AddFinding(walk->findings, Rule::MemberType, here, element.offset,
                       Wanted(&member) + ", found " + DescribeElement(element), type.citation);
        }
        at = element.next;
    }
    if (node->total > type.most) {
        AddFinding(walk->findings, type.tooMany, path, surplus, "there are " + std::to_string(node->total));
    }
}

// The value of an extension or attribute whose identifier the type knows.
void WalkValue(Walk *walk, const TypeInfo &type, const Scope &scope, const NodePath &path, Node *entry)
{
    const Node *const identifier = FindNode(entry, "extnID");
    const Node *const value = FindNode(entry, "extnValue");
    if (identifier == nullptr || value == nullptr) {
        return;
    }
    if (ContentSize(value->element) == 0) {
        if (!value->element.isCut) {
            AddFinding(walk->findings, Rule::ValueEmpty, path, value->element.offset, "", type.citation);
        }
        return;
    }
    const std::string dotted = DottedIdentifier(ContentOf(*walk->data, identifier, IDENTIFIER_OCTETS_MAX));
    for (size_t i = 0; i < type.count; ++i) {
        const MemberInfo &member = type.members[i];
        if (dotted != member.identifier) {
            continue;
        }
        const Scope inside = {value->element.end, scope.isCut || value->element.isCut};
        const LimitScope limit(walk, inside.end); // a value is decoded by itself
        const NodePath here = {&path, member.name, 0};
        const InspectedElement element = ReadElement(*walk->data, value->element.content, inside.end);
        if (!CheckHeader(walk, element, inside, here, &member)) {
            return;
        }
        if (!Fits(member, element)) {
            AddFinding(walk->findings, Rule::MemberType, here, element.offset,
                       Wanted(&member) + ", found " + DescribeElement(element), member.type->citation);
            return;
        }
        entry->children.push_back({member.name, element, {}, 0});
        WalkContent(walk, member, element, inside, here, &entry->children.back());
        return;
    }
}

// Behind those that are kept anyway, of each known extension or attribute the last one: it decides, but for what it
// leaves out.
void KeepKnown(const Node &entry, Node *list)
{
    if (entry.children.empty() || std::string(entry.children.back().name) == "extnValue") {
        return;
    }
    for (size_t i = LIST_KEPT_MAX; i < list->children.size(); ++i) {
        if (list->children[i].children.back().name == entry.children.back().name) {
            list->children[i] = entry;
            return;
        }
    }
    list->children.push_back(entry);
}

void WalkEntries(Walk *walk, const TypeInfo &type, size_t at, const Scope &scope, const NodePath &path, Node *node)
{
    Node scratch;
    const MemberInfo entry = {nullptr, &ENTRY};
    while (at < scope.end) {
        const NodePath here = {&path, nullptr, node->total};
        const InspectedElement element = ReadElement(*walk->data, at, scope.end);
        if (!CheckHeader(walk, element, scope, here, &entry)) {
            return;
        }
        Node *const kept = KeepElement(node, element, &scratch);
        if (Fits(entry, element)) {
            WalkContent(walk, entry, element, scope, here, kept);
            WalkValue(walk, type, {element.end, scope.isCut || element.isCut}, here, kept);
            if (kept == &scratch) {
                KeepKnown(scratch, node);
            }
        } else {
            AddFinding(walk->findings, Rule::MemberType, here, element.offset,
                       Wanted(&entry) + ", found " + DescribeElement(element), type.citation);
        }
        at = element.next;
    }
}

// subjectPublicKey: what is no RSAPublicKey is a key of another kind.
void WalkKey(Walk *walk, const TypeInfo &type, const InspectedElement &element, const Scope &scope,
             const NodePath &path, Node *node)
{
    const size_t at = element.content + 1; // behind the count of unused bits
    const InspectedElement inner = ReadElement(*walk->data, std::min(at, element.end), element.end);
    Findings unseen;
    Walk inside = {walk->data, &unseen, {}, walk->limit};
    WalkMembers(&inside, type, std::min(at, element.end), scope, path, node);
    const bool isCut = scope.isCut && (inside.cut.isThere || !IsThere(inner));
    if (isCut) {
        NoteCut(walk, path, inside.cut.isThere ? inside.cut.offset : element.end, "expected an RSAPublicKey");
    } else if (unseen.errors > 0) {
        AddFinding(walk->findings, Rule::KeyNotRsa, path, element.offset,
                   "expected RSAPublicKey (SEQUENCE), found " + DescribeElement(inner));
    } else {
        AddFindings(unseen, walk->findings);
    }
}

void WalkContent(Walk *walk, const MemberInfo &member, const InspectedElement &element, const Scope &scope,
                 const NodePath &path, Node *node)
{
    const TypeInfo &type = *member.type;
    const Scope inside = {element.end, scope.isCut || element.isCut};
    const bool isCutHere = element.isCut;
    switch (type.shape) {
    case Shape::Sequence:
        WalkMembers(walk, type, element.content, inside, path, node);
        return;
    case Shape::SequenceOf:
    case Shape::SetOf:
        WalkList(walk, type, element.content, inside, path, node);
        return;
    case Shape::Extensions:
    case Shape::Attributes:
        WalkEntries(walk, type, element.content, inside, path, node);
        return;
    default:
        break;
    }
    if (isCutHere) { // what is there of it says nothing about its form
        NoteCut(walk, path, element.end,
                Wanted(&member) + ", found " + DescribeElement(element) + ", of which " +
                    std::to_string(ContentSize(element)) + " are there");
        return;
    }
    CheckPrimitive(walk, member, element, path);
    CheckStandard(walk, member, element, path);
    if (type.shape == Shape::KeyBits && ContentSize(element) > 0) {
        WalkKey(walk, type, element, inside, path, node);
    }
}

} // namespace

size_t WalkObject(Walk *walk, const TypeInfo &type, size_t at, const Scope &scope, const NodePath &path, Node *node)
{
    const MemberInfo member = {nullptr, &type};
    const InspectedElement element = ReadElement(*walk->data, at, scope.end);
    node->element = element;
    walk->limit = scope.end;
    if (!CheckHeader(walk, element, scope, path, &member)) {
        return scope.end;
    }
    if (!Fits(member, element)) {
        AddFinding(walk->findings, Rule::MemberType, path, element.offset,
                   Wanted(&member) + ", found " + DescribeElement(element), type.citation);
        return element.next;
    }
    WalkContent(walk, member, element, scope, path, node);
    return element.next;
}

} // namespace pkgsign::inspection
