// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What the descriptions of objects share.
#ifndef PKGSIGN_EXPLAIN_INSPECT_CONTEXT_H
#define PKGSIGN_EXPLAIN_INSPECT_CONTEXT_H

#include <map>
#include <optional>

#include <nlohmann/json.hpp>

#include "pkgsign/explain/inspect_value.h"
#include "pkgsign/explain/inspect_walk.h"

namespace pkgsign::inspection
{

using Report = nlohmann::ordered_json;

// As the device reads it: without a leading zero.
struct RsaNumbers {
    Bytes modulus;
    Bytes exponent;
};

// A certificate that was given to verify others with.
struct InspectIssuer {
    Bytes subject; // as DeviceName has it
    RsaNumbers key;
    std::string text;
    bool signsCertificates = false; // as the device wants it of an issuer
    bool signsCrls = false;
};

// How many signatures of one file are verified at most: each costs an RSA operation.
inline constexpr size_t SIGNATURE_CHECKS_MAX = 256;

struct InspectContext {
    const Bytes *data = nullptr;
    Findings *findings = nullptr;
    const std::vector<InspectIssuer> *issuers = nullptr; // ordered by subject
    size_t entriesMost = 0;                              // entries of a CRL that are shown
    size_t *checksLeft = nullptr;
    std::map<size_t, std::optional<bool>> selfSigned; // certificates that were asked, by their offset
};

// A signature as it stands in an object: over octets, with an algorithm, both as the device reads them.
struct SignedOctets {
    std::vector<Bytes> pieces;
    std::string digest; // "SHA-256"; empty for one that the device does not compute
    Bytes signature;
};

// Whether a signature holds, by the device's own check. Nothing when that cannot be said.
std::optional<bool> CheckSignature(InspectContext *context, const RsaNumbers &key, const SignedOctets &octets);

// Who of the issuers at hand has signed: {"state", "by"}. Adds a finding when those of that name were asked and none
// has. may: what the device wants of the issuer.
Report VerifyByIssuer(InspectContext *context, const Bytes &issuerName, bool InspectIssuer::*may,
                      const SignedOctets &octets, const NodePath &path, size_t offset);

// The whole encoding of a node.
Bytes EncodingOf(const Bytes &data, const Node *node);

// An element as the device reads it: one leading zero of an INTEGER is dropped, whatever the member's type.
Bytes NumberOf(const Bytes &data, const Node *node);

// What a BIT STRING holds behind the count of unused bits.
Bytes BitsOf(const Bytes &data, const Node *node);

// A Name as the device compares it: of each part the first attribute, without the types of strings. Empty for a Name
// without parts.
Bytes DeviceName(const Bytes &data, const Node *name);

// The dotted identifier of an AlgorithmIdentifier; of a node that was not looked into as well.
std::string AlgorithmOf(const Bytes &data, const Node *node);

// Names as the device's log has them and in the order of the encoding: {"text", "hex"}; hex where text is not exact.
Report DescribeName(InspectContext *context, const Node *node, const NodePath &path);
std::string NameText(InspectContext *context, const Node *node);

// A time as text, null where it is none; findings say why. form: the rule for one that the device cannot read.
// citation: where its form is laid down.
Report DescribeTime(InspectContext *context, const Node *node, const NodePath &path, Rule form, const char *citation);

// A certificate's serial number as text, with what is unusual about it.
Report DescribeSerial(InspectContext *context, const Node *node, const NodePath &path);

// Another number as text.
Report DescribeNumber(const Bytes &data, const Node *node);

Report TextOrNull(const std::string &text);

} // namespace pkgsign::inspection

#endif
