// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// An inspection for people: what matters most comes first.
#include <nlohmann/json.hpp>

#include "pkgsign/explain/inspect.h"
#include "pkgsign/explain/wrap.h"

namespace pkgsign
{
namespace
{

using Report = nlohmann::ordered_json;

constexpr size_t LABEL_WIDTH = 19;

std::string Plain(const Report &value)
{
    return value.is_null() ? "-" : value.is_string() ? value.get<std::string>() : value.dump();
}

void AddLine(const std::string &indent, const std::string &label, const std::string &value, std::string *text)
{
    const std::string head =
        indent + label + std::string(label.size() < LABEL_WIDTH ? LABEL_WIDTH - label.size() : 1, ' ');
    *text += head + Wrap(value, head.size()) + "\n";
}

// A line of its own, which goes on further right.
void AddFolded(const std::string &indent, const std::string &line, std::string *text)
{
    *text += indent + Wrap(line, indent.size() + 4) + "\n";
}

std::string Name(const Report &name)
{
    if (name.is_null()) {
        return "-";
    }
    const std::string text = name["text"].get<std::string>();
    const std::string hex = name["hex"].is_null() ? "" : "  (octets " + name["hex"].get<std::string>() + ")";
    return (text.empty() ? "(no name)" : text) + hex;
}

std::string List(const Report &list)
{
    std::string text;
    for (const Report &one : list) {
        text += (text.empty() ? "" : ", ") + one.get<std::string>();
    }
    return text.empty() ? "none" : text;
}

std::string Verified(const Report &verified)
{
    return verified["state"] == "verified" ? "verified, by " + Plain(verified["by"])
           : verified["state"] == "wrong"  ? "DOES NOT HOLD under the issuer that was given"
                                           : "not verified";
}

std::string Yes(const Report &flag)
{
    return flag.is_null() ? "-" : flag.get<bool>() ? "yes" : "no";
}

std::string Extensions(const Report &list)
{
    std::string text;
    for (const Report &one : list) {
        text += (text.empty() ? "" : ", ") + one["name"].get<std::string>() +
                (one["critical"].get<bool>() ? " (critical)" : "");
    }
    return text.empty() ? "none" : text;
}

void AddCertificate(const Report &one, const std::string &indent, std::string *text)
{
    const auto add = [&](const std::string &label, const std::string &value) { AddLine(indent, label, value, text); };
    add("subject", Name(one["subject"]) + (one["selfSigned"] == true ? "  (self-signed)" : ""));
    add("issuer", Name(one["issuer"]) + "  [" + Verified(one["verified"]) + "]");
    add("serial", Plain(one["serial"]));
    add("device takes it as", List(one["deviceTakesItAs"]));
    add("purposes", List(one["purposes"]));
    add("key usage", one["keyUsage"].is_null() ? "none" : List(one["keyUsage"]));
    add("valid", Plain(one["notBefore"]) + " to " + Plain(one["notAfter"]));
    if (!one["key"].is_null()) {
        add("key", Plain(one["key"]["algorithm"]) + ", " + Plain(one["key"]["bits"]) + " bits, exponent " +
                       Plain(one["key"]["exponent"]));
    }
    add("signed with", Plain(one["signatureAlgorithm"]));
    add("SHA-256", Plain(one["sha256"]));
    add("extensions", Extensions(one["extensions"]));
}

void AddCertificates(const Report &list, const std::string &indent, std::string *text)
{
    for (size_t i = 0; i < list.size(); ++i) {
        *text += indent + "certificates[" + std::to_string(i) + "]\n";
        AddCertificate(list[i], indent + "  ", text);
    }
}

// A signer is verified when its certificate is, and its signature holds under that.
std::string Trust(const Report &signer, const Report &certificates)
{
    const bool isKnown = !signer["certificate"].is_null() && signer["signatureHolds"] == true;
    return isKnown ? Verified(certificates[signer["certificate"].get<size_t>()]["verified"]) : "not verified";
}

std::string Whereabouts(const Report &signer)
{
    return signer["issuer"].is_null()         ? "not named by issuer and serial number"
           : !signer["certificate"].is_null() ? "certificates[" + Plain(signer["certificate"]) + "]"
           : signer["name"].is_null()         ? "its certificate is not here"
                                              : "its certificate stands elsewhere in the message";
}

// The time of a token and who vouches for it.
std::string TokenTime(const Report &token)
{
    const Report &signers = token["signers"];
    const std::string trust = signers.empty() ? "not verified" : Trust(signers[0], token["certificates"]);
    return Plain(token["time"]) + "  [" + trust + "]";
}

// What matters most of a signer stands before the digests and lists.
void AddSigner(const Report &signer, const Report &certificates, const std::string &indent, std::string *text)
{
    const auto add = [&](const std::string &label, const std::string &value) { AddLine(indent, label, value, text); };
    add("signer", Plain(signer["name"]) + "  (" + Whereabouts(signer) + ", " + Trust(signer, certificates) + ")");
    add("issuer", Name(signer["issuer"]));
    add("serial", Plain(signer["serial"]));
    if (!signer["certificate"].is_null()) {
        const Report &certificate = certificates[signer["certificate"].get<size_t>()];
        add("purposes", List(certificate["purposes"]));
        add("valid", Plain(certificate["notBefore"]) + " to " + Plain(certificate["notAfter"]));
    }
    if (!signer["token"].is_null()) {
        add("timestamp", TokenTime(signer["token"]) + " by " + Plain(signer["token"]["authority"]));
    }
    add("digest", Plain(signer["digestAlgorithm"]) + " " + Plain(signer["messageDigest"]));
    add("signature", Plain(signer["signatureAlgorithm"]) + (signer["signatureHolds"].is_null() ? ", not checked"
                                                            : signer["signatureHolds"].get<bool>()
                                                                ? ", holds under that certificate"
                                                                : ", DOES NOT HOLD under that certificate"));
    add("signed attributes", List(signer["signedAttributes"]));
    add("unsigned", List(signer["unsignedAttributes"]));
}

void AddToken(const Report &token, const std::string &indent, std::string *text)
{
    const auto add = [&](const std::string &label, const std::string &value) { AddLine(indent, label, value, text); };
    add("time", TokenTime(token));
    add("authority", Plain(token["authority"]));
    add("serial", Plain(token["serial"]));
    add("policy", Plain(token["policy"]));
    add("imprint", Plain(token["imprintAlgorithm"]) + " " + Plain(token["imprint"]));
    add("of this signature", Yes(token["isForTheSignature"]));
    add("nonce", Plain(token["nonce"]));
    for (const Report &signer : token["signers"]) {
        AddSigner(signer, token["certificates"], indent, text);
    }
    AddCertificates(token["certificates"], indent, text);
}

void AddMessage(const Report &message, const std::string &indent, std::string *text)
{
    for (const Report &signer : message["signers"]) {
        AddSigner(signer, message["certificates"], indent, text);
        *text += indent + (signer["token"].is_null() ? "no timestamp token\n" : "timestamp token\n");
        if (!signer["token"].is_null()) {
            AddToken(signer["token"], indent + "  ", text);
        }
    }
    if (message["signers"].empty()) {
        *text += indent + "no signer\n";
    }
    AddCertificates(message["certificates"], indent, text);
    AddLine(indent, "content type", Plain(message["contentType"]), text);
    AddLine(indent, "content inside", Yes(message["contentInside"]), text);
    AddLine(indent, "CRLs inside", Yes(message["crlsInside"]), text);
}

void AddCrl(const Report &crl, const std::string &indent, std::string *text)
{
    const auto add = [&](const std::string &label, const std::string &value) { AddLine(indent, label, value, text); };
    add("issuer", Name(crl["issuer"]) + "  [" + Verified(crl["verified"]) + "]");
    add("number", Plain(crl["number"]));
    add("this update", Plain(crl["thisUpdate"]));
    add("next update", Plain(crl["nextUpdate"]));
    add("indirect", Yes(crl["indirect"]));
    add("signed with", Plain(crl["signatureAlgorithm"]));
    add("extensions", Extensions(crl["extensions"]));
    add("entries", Plain(crl["entryCount"]));
    for (const Report &entry : crl["entries"]) {
        AddFolded(indent + "  ",
                  Plain(entry["serial"]) + "  revoked " + Plain(entry["date"]) + "  " +
                      (entry["reason"].is_null() ? "no reason" : Plain(entry["reason"])),
                  text);
    }
    const size_t count = crl["entryCount"].get<size_t>();
    if (count > crl["entries"].size()) {
        *text += indent + "  and " + std::to_string(count - crl["entries"].size()) + " more; --all shows them\n";
    }
}

void AddOther(const std::string &kind, const Report &content, const std::string &indent, std::string *text)
{
    const auto add = [&](const std::string &label, const std::string &value) { AddLine(indent, label, value, text); };
    if (kind == "timestampRequest") {
        add("imprint", Plain(content["imprintAlgorithm"]) + " " + Plain(content["imprint"]));
        add("policy", Plain(content["policy"]));
        add("nonce", Plain(content["nonce"]));
        add("wants certificate", Yes(content["wantsCertificates"]));
    } else if (kind == "timestampAnswer") {
        add("status", Plain(content["status"]));
        if (!content["token"].is_null()) {
            AddToken(content["token"], indent, text);
        }
    } else {
        add("subject", Name(content["subject"]));
        if (!content["key"].is_null()) {
            add("key", Plain(content["key"]["algorithm"]) + ", " + Plain(content["key"]["bits"]) + " bits");
        }
        add("signed with", Plain(content["signatureAlgorithm"]));
        add("by its own key", Yes(content["signedByItsKey"]));
    }
}

void AddFindings(const Report &findings, const Report &count, const std::string &indent, std::string *text)
{
    for (const Report &finding : findings) {
        const std::string path = finding["path"].get<std::string>();
        const std::string detail = finding["detail"].get<std::string>();
        AddFolded(indent, Plain(finding["severity"]) + " " + Plain(finding["code"]) + ": " + Plain(finding["text"]),
                  text);
        AddFolded(indent + "    ",
                  (path.empty() ? "" : path + ", ") + "octet " + Plain(finding["offset"]) +
                      (detail.empty() ? "" : ": " + detail) + " (" + Plain(finding["citation"]) + ")",
                  text);
    }
    if (count.get<size_t>() > findings.size()) {
        *text += indent + "and " + std::to_string(count.get<size_t>() - findings.size()) + " more findings\n";
    }
}

const char *KindText(const std::string &kind)
{
    static constexpr const char *KINDS[][2] = {{"message", "signature message (CMS)"},
                                               {"timestampToken", "timestamp token"},
                                               {"certificate", "certificate"},
                                               {"crl", "CRL"},
                                               {"timestampRequest", "timestamp request"},
                                               {"timestampAnswer", "answer of a timestamp authority"},
                                               {"certificationRequest", "request for a certificate"}};
    for (const auto &row : KINDS) {
        if (kind == row[0]) {
            return row[1];
        }
    }
    return "object";
}

void AddObjectText(const Report &object, std::string *text)
{
    const std::string kind = object["kind"].get<std::string>();
    const Report &content = object["content"];
    const std::string label = object["label"].is_null() ? "" : ", armour " + Plain(object["label"]);
    AddFolded("  ",
              std::string(KindText(kind)) + ", " + Plain(object["size"]) + " octets at octet " +
                  Plain(object["offset"]) + label,
              text);
    AddFindings(object["findings"], object["findingCount"], "    ", text);
    if (kind == "message") {
        AddMessage(content, "    ", text);
    } else if (kind == "timestampToken") {
        AddToken(content, "    ", text);
    } else if (kind == "certificate") {
        AddCertificate(content, "    ", text);
    } else if (kind == "crl") {
        AddCrl(content, "    ", text);
    } else {
        AddOther(kind, content, "    ", text);
    }
}

} // namespace

std::string InspectionText(const Report &files)
{
    std::string text;
    for (const Report &file : files) {
        const size_t errors = file["errors"].get<size_t>();
        text += text.empty() ? "" : "\n";
        AddFolded("",
                  Plain(file["file"]) + ": " + Plain(file["size"]) + " octets, " + Plain(file["form"]) + "; " +
                      (errors == 0 ? "nothing that a device refuses by itself"
                                   : std::to_string(errors) + (errors == 1 ? " finding" : " findings") +
                                         " for which a device refuses it"),
                  &text);
        AddFindings(file["findings"], file["findingCount"], "  ", &text);
        for (const Report &object : file["objects"]) {
            AddObjectText(object, &text);
        }
        const size_t count = file["objectCount"].get<size_t>();
        if (count > file["objects"].size()) {
            text += "  and " + std::to_string(count - file["objects"].size()) + " more objects; --all shows them\n";
        }
    }
    return text;
}

} // namespace pkgsign
