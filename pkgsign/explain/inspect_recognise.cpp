// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/explain/inspect_recognise.h"

namespace pkgsign::inspection
{
namespace
{

constexpr uint8_t INTEGER = 0x02;
constexpr uint8_t BIT_STRING = 0x03;
constexpr uint8_t IDENTIFIER = 0x06;
constexpr uint8_t UTF8_STRING = 0x0C;
constexpr uint8_t SEQUENCE = 0x30;
constexpr uint8_t SET = 0x31;
constexpr uint8_t CONTEXT_0 = 0xA0;

InspectedElement First(const Bytes &data, const InspectedElement &element)
{
    return ReadElement(data, element.content, element.end);
}

InspectedElement Behind(const Bytes &data, const InspectedElement &element, const InspectedElement &parent)
{
    return ReadElement(data, element.next, parent.end);
}

// A record that begins with a record that begins with an INTEGER: serial number or version, or a status.
ObjectKind RecogniseNumbered(const Bytes &data, const InspectedElement &inner, const InspectedElement &number)
{
    const InspectedElement second = Behind(data, number, inner);
    if (!IsThere(second)) {
        return inner.isCut ? ObjectKind::Unknown : ObjectKind::TimestampAnswer;
    }
    if (second.identifier == BIT_STRING) {
        return ObjectKind::TimestampAnswer;
    }
    const InspectedElement within = First(data, second);
    if (second.identifier != SEQUENCE || within.identifier == UTF8_STRING) {
        return second.identifier == SEQUENCE ? ObjectKind::TimestampAnswer : ObjectKind::Unknown;
    }
    if (within.identifier != IDENTIFIER) {
        return ObjectKind::CertificationRequest; // a Name
    }
    const InspectedElement third = Behind(data, second, inner);
    const InspectedElement fourth = Behind(data, third, inner);
    return IsThere(fourth) && fourth.identifier == SEQUENCE && IsThere(First(data, fourth)) &&
                   First(data, fourth).identifier != SEQUENCE
               ? ObjectKind::Certificate // of version 1: its validity
               : ObjectKind::Crl;
}

ObjectKind RecogniseVersioned(const Bytes &data, const InspectedElement &second, std::string *hint)
{
    const InspectedElement within = First(data, second);
    if (second.identifier == SEQUENCE && IsThere(within) && within.identifier == SEQUENCE) {
        return ObjectKind::TimestampRequest;
    }
    *hint = second.identifier == SET          ? "it looks like a SignedData without the ContentInfo around it"
            : second.identifier == IDENTIFIER ? "it looks like a TSTInfo without the token around it"
            : second.identifier == SEQUENCE   ? "it looks like a private key, or a container of keys"
                                              : "";
    return ObjectKind::Unknown;
}

} // namespace

ObjectKind RecogniseObject(const Bytes &data, size_t at, std::string *hint)
{
    const InspectedElement outer = ReadElement(data, at, data.size());
    hint->clear();
    if (!IsThere(outer) || outer.identifier != SEQUENCE) {
        return ObjectKind::Unknown;
    }
    const InspectedElement first = First(data, outer);
    if (!IsThere(first)) {
        return ObjectKind::Unknown;
    }
    const InspectedElement second = Behind(data, first, outer);
    if (first.identifier == IDENTIFIER) {
        return IsThere(second) && second.identifier == CONTEXT_0 ? ObjectKind::Message : ObjectKind::Unknown;
    }
    if (first.identifier == INTEGER) {
        return RecogniseVersioned(data, second, hint);
    }
    const InspectedElement within = First(data, first);
    if (first.identifier != SEQUENCE || !IsThere(within)) {
        return ObjectKind::Unknown;
    }
    switch (within.identifier) {
    case CONTEXT_0:
        return ObjectKind::Certificate;
    case INTEGER:
        return RecogniseNumbered(data, first, within);
    case SEQUENCE:
        return ObjectKind::Crl; // of version 1
    default:
        return ObjectKind::Unknown;
    }
}

const TypeInfo *TypeOf(ObjectKind kind)
{
    switch (kind) {
    case ObjectKind::Message:
        return &TYPE_MESSAGE;
    case ObjectKind::Certificate:
        return &TYPE_CERTIFICATE;
    case ObjectKind::Crl:
        return &TYPE_CRL;
    case ObjectKind::TimestampRequest:
        return &TYPE_TIMESTAMP_REQUEST;
    case ObjectKind::TimestampAnswer:
        return &TYPE_TIMESTAMP_ANSWER;
    case ObjectKind::CertificationRequest:
        return &TYPE_CERTIFICATION_REQUEST;
    default:
        return nullptr;
    }
}

} // namespace pkgsign::inspection
