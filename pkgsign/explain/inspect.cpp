// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/explain/inspect.h"

#include <algorithm>

#include "pkgsign/explain/inspect_armour.h"
#include "pkgsign/explain/inspect_certificate.h"
#include "pkgsign/explain/inspect_file.h"
#include "pkgsign/explain/inspect_recognise.h"
#include "pkgsign/files/files.h"

namespace pkgsign
{
namespace
{

using namespace inspection;

constexpr size_t DEVICE_SIZE_MAX = 2000000;
constexpr size_t DEVICE_SIZE_MIN = 38;
constexpr size_t DEVICE_TAIL_MAX = 32;   // octets behind the last object that are dropped
constexpr size_t DEVICE_BLOCKS_MAX = 15; // beside the root's octets

bool IsStored(ObjectKind kind)
{
    return kind == ObjectKind::Certificate || kind == ObjectKind::Crl;
}

void ReadDer(FileState *state, const Bytes &data)
{
    const NodePath file;
    size_t at = 0;
    while (at < data.size()) {
        std::string hint;
        const ObjectKind kind = RecogniseObject(data, at, &hint);
        const size_t left = data.size() - at;
        if (at > 0 && left <= DEVICE_TAIL_MAX) {
            AddFinding(&state->findings, Rule::TailDropped, file, at, std::to_string(left) + " octets");
            break;
        }
        if (at > 0 && !IsStored(kind)) {
            AddFinding(&state->findings, Rule::TailNotRead, file, at,
                       "found " + DescribeElement(ReadElement(data, at, data.size())));
            break;
        }
        if (kind == ObjectKind::Unknown) {
            AddUnknown(state, data, at, hint);
            break;
        }
        const size_t end = AddObject(state, data, at, kind, nullptr);
        at = std::max(end, at + 1);
        if (!IsStored(kind)) {
            if (at < data.size()) {
                AddFinding(&state->findings, Rule::TrailingOctets, file, at,
                           std::to_string(data.size() - at) + " octets");
            }
            break;
        }
    }
    CheckCounts(state, true);
}

// The labels under which the device looks for an object.
bool IsLabelOf(ObjectKind kind, const std::string &label)
{
    switch (kind) {
    case ObjectKind::Message:
        return label == "CMS" || label == "PKCS7";
    case ObjectKind::Certificate:
        return label == "CERTIFICATE";
    case ObjectKind::Crl:
        return label == "X509 CRL";
    default:
        return true;
    }
}

bool IsDeviceLabel(const std::string &label)
{
    return label == "CMS" || label == "PKCS7" || label == "CERTIFICATE" || label == "X509 CRL";
}

// Whether a label is one of objects that this program shows: nothing else is decoded, a key least of all.
bool IsShownLabel(const std::string &label)
{
    std::string upper = label;
    std::transform(upper.begin(), upper.end(), upper.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
    return upper.find("KEY") == std::string::npos && upper.find("PARAMETERS") == std::string::npos;
}

// What a block holds. isRead: whether the device reads the text here at all.
void ReadBlock(FileState *state, const Bytes &data, const ArmourBlock &block, bool isRead)
{
    const NodePath file;
    Findings unseen;
    const auto add = [&](Rule rule, size_t at, const std::string &detail) {
        AddFinding(&state->findings, rule, file, at, detail);
    };
    const std::string label = Printable(block.label);
    if (!IsShownLabel(block.label)) {
        add(Rule::ArmourOther, block.offset, label);
        return;
    }
    const bool isOurs = IsDeviceLabel(block.label);
    const Bytes octets = DecodeArmour(data, block, isOurs ? &state->findings : &unseen);
    std::string hint;
    const ObjectKind kind = RecogniseObject(octets, 0, &hint);
    const bool isObject = kind != ObjectKind::Unknown;
    if (!isObject && !isOurs) {
        add(Rule::ArmourOther, block.offset, label);
    }
    if (block.hasInner || (!block.hasEnd && (isObject || isOurs))) {
        add(Rule::ArmourEnd, block.bodyEnd, label);
    }
    if (isObject && !isRead) {
        add(Rule::ArmourNull, block.offset, label);
    }
    if (isObject && !IsLabelOf(kind, block.label)) {
        add(Rule::ArmourLabel, block.offset, std::string("found a ") + KindName(kind) + " under " + label);
    }
    if (!isObject) {
        if (isOurs && !octets.empty()) {
            AddUnknown(state, octets, 0, hint);
        }
        return;
    }
    const bool isFirst = state->blocks == 1;
    const bool isMessage = kind == ObjectKind::Message && IsLabelOf(kind, block.label);
    state->beginsWithMessage = isFirst ? isMessage : state->beginsWithMessage;
    if (isMessage && !isFirst && !state->beginsWithMessage) {
        add(Rule::ArmourNotFirst, block.offset, label);
    }
    const size_t end = AddObject(state, octets, 0, kind, &block);
    if (IsStored(kind) && end < octets.size() && RecogniseObject(octets, end, &hint) != ObjectKind::Unknown) {
        add(Rule::ArmourSecond, block.offset, label);
    } else if (isOurs && end < octets.size()) {
        add(Rule::TrailingOctets, block.offset, std::to_string(octets.size() - end) + " octets in the block " + label);
    }
    state->takenBlocks += IsStored(kind) && IsLabelOf(kind, block.label) ? 1 : 0;
    if (IsStored(kind) && state->takenBlocks > DEVICE_BLOCKS_MAX) {
        add(Rule::ArmourImages, block.offset, "");
    }
}

void ReadArmour(FileState *state, const Bytes &data)
{
    const NodePath file;
    const size_t null = static_cast<size_t>(std::find(data.begin(), data.end(), 0) - data.begin());
    ArmourBlock block;
    size_t from = 0;
    while (FindBlock(data, from, &block)) {
        if (++state->blocks == 1 && block.offset > 0) {
            AddFinding(&state->findings, Rule::ArmourTextBefore, file, 0, std::to_string(block.offset) + " octets");
        }
        if (state->blocks == 2 && state->beginsWithMessage) {
            AddFinding(&state->findings, Rule::TrailingOctets, file, block.offset,
                       "found a block " + Printable(block.label) + " behind the message");
        }
        ReadBlock(state, data, block, block.offset < null);
        if (!block.isClosed) {
            if (block.hasEnd || !IsDeviceLabel(block.label)) {
                AddFinding(&state->findings, Rule::ArmourEnd, file, block.offset, Printable(block.label));
            }
            break;
        }
        from = block.next;
    }
    for (size_t at = FindBrokenMarker(data, 0); at < data.size(); at = FindBrokenMarker(data, at + 1)) {
        AddFinding(&state->findings, Rule::ArmourMarker, file, at, "");
    }
    if (state->objectCount == 0 && state->findings.errors == 0) {
        AddFinding(&state->findings, Rule::NotRecognised, file, 0, "no block holds an object");
    }
    CheckCounts(state, false);
}

} // namespace

InspectOptions::InspectOptions() = default;
InspectOptions::~InspectOptions() = default;

Status AddIssuers(const std::string &name, const Bytes &data, InspectOptions *options)
{
    const bool isArmour = HasArmour(data) && data[0] != 0x30;
    const size_t before = options->issuers.size();
    size_t from = 0;
    ArmourBlock block;
    while (isArmour ? FindBlock(data, from, &block) : from < data.size()) {
        Findings unseen;
        const bool isSkipped = isArmour && !IsShownLabel(block.label);
        const Bytes decoded = isArmour && !isSkipped ? DecodeArmour(data, block, &unseen) : Bytes();
        const Bytes &octets = isArmour ? decoded : data;
        const size_t at = isArmour ? 0 : from;
        std::string hint;
        if (!isArmour && !IsStored(RecogniseObject(octets, at, &hint))) {
            break;
        }
        Walk walk = {&octets, &unseen};
        Node node;
        const size_t end = WalkObject(&walk, TYPE_CERTIFICATE, at, {octets.size(), false}, {}, &node);
        if (unseen.errors == 0) {
            const std::vector<InspectIssuer> none;
            size_t noChecks = 0;
            InspectContext context = {&octets, &unseen, &none, 0, &noChecks, {}};
            const CertificateFacts facts = ReadFacts(&context, node);
            options->issuers.push_back(
                {facts.subject, facts.key, facts.subjectText, SignsCertificates(facts), SignsCrls(facts)});
        }
        from = isArmour ? block.next : std::max(end, from + 1);
    }
    std::stable_sort(options->issuers.begin(), options->issuers.end(),
                     [](const InspectIssuer &a, const InspectIssuer &b) { return a.subject < b.subject; });
    return options->issuers.size() > before
               ? Status()
               : Fail("'" + Printable(name) + "' holds no certificate, as PEM or DER, that a device could read");
}

Report InspectFile(const std::string &name, const Bytes &data, const InspectOptions &options)
{
    FileState state;
    state.issuers = &options.issuers;
    state.shownMost = options.all ? INSPECT_SHOWN_WITH_ALL : INSPECT_SHOWN;
    state.findings.most = state.shownMost;
    const NodePath file;
    const bool isArmour = HasArmour(data) && data[0] != 0x30;
    if (data.empty()) {
        AddFinding(&state.findings, Rule::FileEmpty, file, 0, "");
    } else if (data.size() < DEVICE_SIZE_MIN) {
        AddFinding(&state.findings, Rule::FileTooShort, file, 0, std::to_string(data.size()) + " octets");
    } else if (data.size() > DEVICE_SIZE_MAX) {
        AddFinding(&state.findings, Rule::FileTooLarge, file, 0, std::to_string(data.size()) + " octets");
    }
    if (isArmour) {
        ReadArmour(&state, data);
    } else {
        ReadDer(&state, data);
    }
    return {{"file", Printable(name)},
            {"size", data.size()},
            {"form", isArmour ? "PEM" : "DER"},
            {"errors", state.findings.errors + state.errors},
            {"objects", state.objects},
            {"objectCount", state.objectCount},
            {"findings", FindingsJson(state.findings)},
            {"findingCount", state.findings.count}};
}

std::string InspectionJson(const Report &files)
{
    const Report document = {{"version", INSPECT_VERSION}, {"files", files}};
    return document.dump(2, ' ', false, Report::error_handler_t::replace) + "\n";
}

} // namespace pkgsign
