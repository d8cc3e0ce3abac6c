// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/explain/inspect_check.h"

namespace pkgsign::inspection
{
namespace
{

constexpr uint8_t CONSTRUCTED = 0x20;
constexpr uint8_t CONTEXT = 0x80;
constexpr uint8_t OCTET_STRING = 0x04;
constexpr size_t NUMBER_OCTETS_MAX = 4;    // of an INTEGER that the device keeps
constexpr size_t KEY_USAGE_OCTETS_MAX = 3; // with the count of unused bits

uint8_t UniversalIdentifier(Shape shape)
{
    switch (shape) {
    case Shape::Boolean:
    case Shape::DroppedBoolean:
        return 0x01;
    case Shape::Integer:
    case Shape::LongInteger:
        return 0x02;
    case Shape::Enumerated:
        return 0x0A;
    case Shape::Bits:
    case Shape::KeyUsage:
    case Shape::KeyBits:
        return 0x03;
    case Shape::Identifier:
        return 0x06;
    case Shape::OpaqueSet:
    case Shape::SetOf:
    case Shape::Attributes:
        return 0x31;
    case Shape::Any:
        return 0;
    default:
        return 0x30;
    }
}

// The identifier octet that a member begins with; 0 for any.
uint8_t ExpectedIdentifier(const MemberInfo &member)
{
    const uint8_t own = UniversalIdentifier(member.type->shape);
    switch (member.tagging) {
    case Tagging::Explicit:
        return CONTEXT | CONSTRUCTED | member.number;
    case Tagging::Implicit:
        return own == 0 ? 0 : static_cast<uint8_t>(CONTEXT | (own & CONSTRUCTED) | member.number);
    default:
        return own;
    }
}

void AddBeyond(Walk *walk, const NodePath &path, size_t offset, const Scope &scope, const std::string &detail)
{
    if (scope.isCut) {
        NoteCut(walk, path, offset, detail);
    } else {
        AddFinding(walk->findings, Rule::LengthBeyond, path, offset, detail);
    }
}

} // namespace

bool Fits(const MemberInfo &member, const InspectedElement &element)
{
    const uint8_t expected = ExpectedIdentifier(member);
    if (element.flaw == ElementFlaw::HighTagNumber) {
        return false;
    }
    if (member.tagging == Tagging::Implicit && expected == 0) { // of an Any: primitive or not
        return (element.identifier & ~CONSTRUCTED) == (CONTEXT | member.number);
    }
    return expected == 0 || element.identifier == expected;
}

std::string Wanted(const MemberInfo *member)
{
    if (member == nullptr) {
        return "expected nothing more";
    }
    const uint8_t expected = ExpectedIdentifier(*member);
    const uint8_t shown = expected == 0 ? member->standard : expected;
    const std::string name = member->name == nullptr ? "an element" : member->name;
    return "expected " + name + (shown == 0 ? "" : " (" + IdentifierName(shown) + ")");
}

void NoteCut(Walk *walk, const NodePath &path, size_t offset, const std::string &detail)
{
    if (!walk->cut.isThere || offset > walk->cut.offset) {
        walk->cut = {true, offset, PathText(path), detail};
    }
}

bool CheckHeader(Walk *walk, const InspectedElement &element, const Scope &scope, const NodePath &path,
                 const MemberInfo *wanted)
{
    if (!IsThere(element)) {
        AddBeyond(walk, path, element.offset, scope,
                  Wanted(wanted) + ", found " + std::to_string(scope.end - element.offset) + " octets of a header");
        return false;
    }
    const auto add = [&](Rule rule) {
        AddFinding(walk->findings, rule, path, element.offset, Wanted(wanted) + ", found " + DescribeElement(element));
    };
    switch (element.flaw) {
    case ElementFlaw::HighTagNumber:
        add(Rule::HighTag);
        break;
    case ElementFlaw::IndefiniteLength:
        add(Rule::LengthIndefinite);
        break;
    case ElementFlaw::ManyLengthOctets:
        add(Rule::LengthOctets);
        break;
    default:
        break;
    }
    if (element.isLongForm && element.flaw == ElementFlaw::None && !element.isCut) {
        add(Rule::LengthLongForm);
    }
    if (element.isCut) {
        AddBeyond(walk, path, element.offset, scope,
                  DescribeElement(element) + ", of which " + std::to_string(ContentSize(element)) + " are there");
    }
    return true;
}

void CheckPrimitive(Walk *walk, const MemberInfo &member, const InspectedElement &element, const NodePath &path)
{
    const size_t size = ContentSize(element);
    const auto add = [&](Rule rule) {
        AddFinding(walk->findings, rule, path, element.offset, "found " + DescribeElement(element));
    };
    switch (member.type->shape) {
    case Shape::Integer:
    case Shape::Enumerated:
        if (size == 0 || size > NUMBER_OCTETS_MAX) {
            add(Rule::IntegerTooLong);
        }
        break;
    case Shape::Boolean:
        if (size == 1 && (*walk->data)[element.content] != 0 && (*walk->data)[element.content] != 0xFF) {
            add(Rule::BooleanValue);
        }
        break;
    case Shape::Bits:
    case Shape::KeyBits:
        if (size == 0) {
            add(Rule::BitsEmpty);
        }
        break;
    case Shape::KeyUsage:
        if (size < 2 || size > KEY_USAGE_OCTETS_MAX) {
            add(size == 0 ? Rule::BitsEmpty : Rule::KeyUsageSize);
        }
        break;
    default:
        break;
    }
}

bool IsInPieces(const Bytes &data, const InspectedElement &element)
{
    return element.identifier == (OCTET_STRING | CONSTRUCTED) && ContentSize(element) > 0 &&
           data[element.content] == OCTET_STRING;
}

void CheckStandard(Walk *walk, const MemberInfo &member, const InspectedElement &element, const NodePath &path)
{
    if (member.standard == 0 || element.identifier == member.standard) {
        return;
    }
    const bool isInPieces = member.standard == OCTET_STRING && IsInPieces(*walk->data, element);
    AddFinding(walk->findings, isInPieces ? Rule::StringInPieces : Rule::TypeNotRead, path, element.offset,
               Wanted(&member) + ", found " + DescribeElement(element), isInPieces ? nullptr : member.type->citation);
}

} // namespace pkgsign::inspection
