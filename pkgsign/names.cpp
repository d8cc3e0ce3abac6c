#include "pkgsign/der.h"
#include "pkgsign/status.h"

namespace
{
// RFC 5280, appendix A.1: countryName is a PrintableString and emailAddress an IA5String; elsewhere UTF8String serves.
int StringTag(const PkgsignAttribute &attribute)
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
PkgsignStatus EncodeAttribute(const PkgsignAttribute &attribute, PkgsignBytes *attributeOut)
{
    PkgsignBytes type;
    const PkgsignStatus status =
        PkgsignDerObjectIdentifier(attribute.type == "E" ? "emailAddress" : attribute.type, &type);
    if (!status.ok) {
        return status;
    }
    const PkgsignBytes text(attribute.value.begin(), attribute.value.end());
    *attributeOut = PkgsignDerSequence({type, PkgsignDerElement(static_cast<uint8_t>(StringTag(attribute)), text)});
    return PkgsignOk();
}

} // namespace

PkgsignStatus PkgsignEncodeName(const PkgsignName &name, PkgsignBytes *nameOut)
{
    std::vector<std::vector<PkgsignBytes>> groups; // the attributes of each RDN
    for (const PkgsignAttribute &attribute : name) {
        PkgsignBytes encoded;
        const PkgsignStatus status = EncodeAttribute(attribute, &encoded);
        if (!status.ok) {
            return status;
        }
        if (groups.empty() || !attribute.joinPrevious) {
            groups.emplace_back();
        }
        groups.back().push_back(encoded);
    }
    std::vector<PkgsignBytes> rdns;
    rdns.reserve(groups.size());
    for (const std::vector<PkgsignBytes> &group : groups) {
        rdns.push_back(PkgsignDerSetOf(group));
    }
    *nameOut = PkgsignDerSequence(rdns);
    return PkgsignOk();
}
