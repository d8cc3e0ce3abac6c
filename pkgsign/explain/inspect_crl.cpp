// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/explain/inspect_crl.h"

#include "pkgsign/authority/crls.h"
#include "pkgsign/explain/inspect_certificate.h"

namespace pkgsign::inspection
{
namespace
{

constexpr uint8_t REMOVE_FROM_CRL = 8; // RFC 5280, 5.3.1

const Node *FindReason(const Node &entry)
{
    const Node *const extensions = FindNode(&entry, "crlEntryExtensions");
    const Node *found = nullptr;
    for (size_t i = 0; extensions != nullptr && i < extensions->children.size(); ++i) {
        const Node *const reason = FindNode(&extensions->children[i], "reasonCode");
        found = reason == nullptr ? found : reason;
    }
    return found;
}

Report DescribeReason(const Bytes &data, const Node &entry)
{
    const Node *const reason = FindReason(entry);
    if (reason == nullptr) {
        return nullptr;
    }
    const Bytes content = ContentOf(data, reason, 4);
    const char *const name = content.size() == 1 ? ReasonName(content[0]) : nullptr;
    return name != nullptr ? name : "reason " + ShownHex(content);
}

// The entries, one by one and kept as far as they are shown: there may be millions.
Report DescribeEntries(InspectContext *context, const Node *list, const NodePath &path)
{
    Report shown = Report::array();
    if (list == nullptr) {
        return shown;
    }
    const Bytes &data = *context->data;
    size_t at = list->element.content;
    for (size_t i = 0; at < list->element.end && i < list->total; ++i) {
        Findings unseen; // the walk through the whole has reported them
        unseen.most = 0;
        Walk walk = {&data, &unseen, {}};
        Node entry;
        const NodePath here = {&path, nullptr, i};
        at = WalkObject(&walk, TYPE_CRL_ENTRY, at, {list->element.end, list->element.isCut}, here, &entry);
        const NodePath serialPath = {&here, "userCertificate", 0};
        const NodePath extensionsPath = {&here, "crlEntryExtensions", 0};
        Report serial = DescribeSerial(context, FindNode(&entry, "userCertificate"), serialPath);
        Report date = DescribeTime(context, FindNode(&entry, "revocationDate"), {&here, "revocationDate", 0},
                                   Rule::TimeForm, "RFC 5280, 5.1.2.6");
        CheckExtensions(context, FindNode(&entry, "crlEntryExtensions"), extensionsPath, {OID_REASON_CODE},
                        "RFC 5280, 5.3");
        if (ContentOf(data, FindReason(entry), 2) == Bytes{REMOVE_FROM_CRL}) {
            AddFinding(context->findings, Rule::EntryRemoves, here, entry.element.offset, "");
        }
        if (shown.size() < context->entriesMost) {
            shown.push_back(
                {{"serial", std::move(serial)}, {"date", std::move(date)}, {"reason", DescribeReason(data, entry)}});
        }
    }
    return shown;
}

bool IsTrue(const Bytes &data, const Node *flag)
{
    const Bytes content = ContentOf(data, flag, 2);
    return content.size() == 1 && content[0] == 0xFF;
}

// RFC 5280, 5.2.4 and 5.2.5: what the device does not read of them.
void CheckScope(InspectContext *context, const Node &entry, const NodePath &path)
{
    const Bytes &data = *context->data;
    const std::string identifier = DottedIdentifier(ContentOf(data, FindNode(&entry, "extnID"), IDENTIFIER_OCTETS_MAX));
    const Node *const point = FindNode(&entry, "issuingDistributionPoint");
    const bool isPart =
        point != nullptr &&
        (FindNode(point, "distributionPoint") != nullptr || IsTrue(data, FindNode(point, "onlyContainsUserCerts")) ||
         IsTrue(data, FindNode(point, "onlyContainsCACerts")) ||
         IsTrue(data, FindNode(point, "onlyContainsAttributeCerts")) || FindNode(point, "onlySomeReasons") != nullptr);
    if (isPart || identifier == OID_DELTA_CRL) {
        AddFinding(context->findings, Rule::CrlScope, path, entry.element.offset, IdentifierText(identifier));
    }
}

Report DescribeCrlNumber(const Bytes &data, const Node *extensions)
{
    for (size_t i = 0; extensions != nullptr && i < extensions->children.size(); ++i) {
        const Node &entry = extensions->children[i];
        const Node *const value = FindNode(&entry, "extnValue");
        if (value == nullptr ||
            DottedIdentifier(ContentOf(data, FindNode(&entry, "extnID"), IDENTIFIER_OCTETS_MAX)) != OID_CRL_NUMBER) {
            continue;
        }
        Node number;
        number.element = ReadElement(data, value->element.content, value->element.end);
        return DescribeNumber(data, &number);
    }
    return nullptr;
}

} // namespace

Report DescribeCrl(InspectContext *context, const Node &crl, const NodePath &path)
{
    const Bytes &data = *context->data;
    const Node *const tbs = FindNode(&crl, "tbsCertList");
    const NodePath inner = {&path, "tbsCertList", 0};
    const auto at = [&](const char *name) { return NodePath{&inner, name, 0}; };
    const auto part = [&](const char *name) { return tbs == nullptr ? nullptr : FindNode(tbs, name); };
    const Node *const entries = part("revokedCertificates");
    const Node *const extensions = part("crlExtensions");
    const NodePath extensionsPath = at("crlExtensions");
    bool isIndirect = false;
    for (size_t i = 0; extensions != nullptr && i < extensions->children.size(); ++i) {
        const Node *const point = FindNode(&extensions->children[i], "issuingDistributionPoint");
        const Node *const flag = point == nullptr ? nullptr : FindNode(point, "indirectCRL");
        isIndirect = flag == nullptr ? isIndirect : IsTrue(data, flag);
        CheckScope(context, extensions->children[i], {&extensionsPath, nullptr, i});
    }
    Report report;
    report["issuer"] = DescribeName(context, part("issuer"), at("issuer"));
    report["number"] = DescribeCrlNumber(data, extensions);
    report["thisUpdate"] =
        DescribeTime(context, part("thisUpdate"), at("thisUpdate"), Rule::ThisUpdate, "RFC 5280, 5.1.2.4");
    report["nextUpdate"] =
        DescribeTime(context, part("nextUpdate"), at("nextUpdate"), Rule::TimeForm, "RFC 5280, 5.1.2.5");
    report["indirect"] = isIndirect;
    report["entryCount"] = entries == nullptr ? 0 : entries->total;
    report["entries"] = DescribeEntries(context, entries, at("revokedCertificates"));
    report["signatureAlgorithm"] = TextOrNull(IdentifierText(AlgorithmOf(data, FindNode(&crl, "signatureAlgorithm"))));
    report["verified"] = VerifyByIssuer(context, DeviceName(data, part("issuer")), &InspectIssuer::signsCrls,
                                        SignatureOf(data, crl, tbs, "signatureValue"), path, crl.element.offset);
    report["extensions"] = DescribeExtensions(data, extensions);
    CheckExtensions(context, extensions, extensionsPath, {OID_ISSUING_DISTRIBUTION_POINT, OID_DELTA_CRL},
                    "RFC 5280, 5.2");
    CheckAlgorithms(context, crl, part("signature"), path, "RFC 5280, 5.1.1.2");
    return report;
}

} // namespace pkgsign::inspection
