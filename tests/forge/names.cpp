// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/forge/der.h"
#include "tests/forge/status.h"

namespace forge
{
namespace
{
// RFC 5280, appendix A.1: countryName is a PrintableString and emailAddress an IA5String; elsewhere UTF8String serves.
int StringTag(const Attribute &attribute)
{
    if (attribute.stringTag != 0) {
        return attribute.stringTag;
    }
    if (attribute.type == "C" || attribute.type == "2.5.4.6") {
        return DER_PRINTABLE_STRING;
    }
    const bool email =
        attribute.type == "E" || attribute.type == "emailAddress" || attribute.type == "1.2.840.113549.1.9.1";
    return email ? DER_IA5_STRING : DER_UTF8_STRING;
}

// AttributeTypeAndValue ::= SEQUENCE { type OBJECT IDENTIFIER, value ANY }
Status EncodeAttribute(const Attribute &attribute, Bytes *attributeOut)
{
    Bytes type;
    const Status status = DerObjectIdentifier(attribute.type == "E" ? "emailAddress" : attribute.type, &type);
    if (!status.ok) {
        return status;
    }
    const Bytes text(attribute.value.begin(), attribute.value.end());
    *attributeOut = DerSequence({type, DerElement(static_cast<uint8_t>(StringTag(attribute)), text)});
    return Ok();
}

} // namespace

Status EncodeName(const Name &name, Bytes *nameOut)
{
    std::vector<std::vector<Bytes>> groups; // the attributes of each RDN
    for (const Attribute &attribute : name) {
        Bytes encoded;
        const Status status = EncodeAttribute(attribute, &encoded);
        if (!status.ok) {
            return status;
        }
        if (groups.empty() || !attribute.joinPrevious) {
            groups.emplace_back();
        }
        groups.back().push_back(encoded);
    }
    std::vector<Bytes> rdns;
    rdns.reserve(groups.size());
    for (const std::vector<Bytes> &group : groups) {
        rdns.push_back(DerSetOf(group));
    }
    *nameOut = DerSequence(rdns);
    return Ok();
}
} // namespace forge
