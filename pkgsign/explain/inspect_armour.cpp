// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/explain/inspect_armour.h"

#include <algorithm>
#include <string_view>

#include "pkgsign/explain/inspect_value.h"
#include "pkgsign/files/files.h"

namespace pkgsign::inspection
{
namespace
{

constexpr std::string_view BEGIN = "-----BEGIN";
constexpr std::string_view END = "-----END";
constexpr std::string_view DASHES = "-----";
constexpr size_t LABEL_SIZE_MAX = 64; // octets that are looked at

constexpr uint8_t FOREIGN_DIGIT = 63; // what the device takes a foreign character for
constexpr uint8_t PADDING = 64;
constexpr uint8_t FOREIGN = 127;

std::string_view View(const Bytes &data)
{
    return {reinterpret_cast<const char *>(data.data()), data.size()};
}

// RFC 4648, 4.
uint8_t Digit(uint8_t character)
{
    if (character >= 'A' && character <= 'Z') {
        return static_cast<uint8_t>(character - 'A');
    }
    if (character >= 'a' && character <= 'z') {
        return static_cast<uint8_t>(character - 'a' + 26);
    }
    if (character >= '0' && character <= '9') {
        return static_cast<uint8_t>(character - '0' + 52);
    }
    return character == '+' ? 62 : character == '/' ? 63 : character == '=' ? PADDING : FOREIGN;
}

// What a check of the text has come to.
struct Reading {
    size_t padding = 0;
    size_t end = 0;     // of what is decoded
    size_t foreign = 0; // offset of the first foreign character; of the end when there is none
};

// The device's check. Returns the offset of what it does not read, or of the end.
size_t CheckText(const Bytes &data, size_t at, size_t end, Reading *reading)
{
    reading->foreign = end;
    while (at < end) {
        const size_t start = at;
        while (at < end && data[at] == ' ') {
            ++at;
        }
        if (at == end) {
            break;
        }
        const bool isBehindBlanks = at > start;
        const bool isLineEnd = data[at] == '\n' || (data[at] == '\r' && at + 1 < end && data[at + 1] == '\n');
        const uint8_t digit = Digit(data[at]);
        if (!isLineEnd) {
            const bool isData = digit < PADDING || data[at] == '\r';
            reading->padding += digit == PADDING ? 1 : 0;
            if (isBehindBlanks || data[at] > 127 || reading->padding > 2 || (digit < PADDING && reading->padding > 0)) {
                return at;
            }
            reading->foreign = !isData && digit == FOREIGN ? std::min(reading->foreign, at) : reading->foreign;
        }
        ++at;
    }
    reading->end = end;
    return end;
}

// Octets of whole groups of four characters.
Bytes Decode(const Bytes &data, size_t at, size_t end, bool takesForeign)
{
    Bytes octets;
    uint32_t group = 0;
    size_t count = 0;
    size_t kept = 3;
    for (; at < end; ++at) {
        const uint8_t digit = Digit(data[at]);
        const bool isBlank = data[at] == ' ' || data[at] == '\r' || data[at] == '\n';
        if (isBlank || (digit == FOREIGN && !takesForeign)) {
            continue;
        }
        kept -= digit == PADDING && kept > 0 ? 1 : 0;
        group = group << 6 | (digit == FOREIGN ? FOREIGN_DIGIT : digit & 0x3F);
        if (++count % 4 == 0) {
            for (size_t i = 0; i < kept; ++i) {
                octets.push_back(static_cast<uint8_t>(group >> (16 - 8 * i)));
            }
            group = 0;
        }
    }
    return octets;
}

size_t Find(const Bytes &data, std::string_view text, size_t from)
{
    const size_t found = View(data).find(text, from);
    return found == std::string_view::npos ? data.size() : found;
}

} // namespace

bool HasArmour(const Bytes &data)
{
    return View(data).find(BEGIN) != std::string_view::npos;
}

bool FindBlock(const Bytes &data, size_t from, ArmourBlock *blockOut)
{
    ArmourBlock block;
    block.offset = Find(data, BEGIN, from);
    if (block.offset == data.size()) {
        return false;
    }
    const bool hasBlank = View(data).substr(block.offset + BEGIN.size(), 1) == " ";
    const size_t start = block.offset + BEGIN.size() + (hasBlank ? 1 : 0);
    const std::string_view near = View(data).substr(start, LABEL_SIZE_MAX);
    const size_t close = std::min(near.find(DASHES), near.size());
    const size_t line = std::min(near.find_first_of("\r\n"), near.size());
    const bool isMarked = hasBlank && close < line;
    block.label = std::string(near.substr(0, std::min(close, line)));
    block.behind = std::min(data.size(), start + (close < line ? close + DASHES.size() : line));
    block.bodyEnd = Find(data, END, block.offset);
    const size_t dashes = Find(data, DASHES, std::min(data.size(), block.bodyEnd + END.size()));
    block.isClosed = dashes < data.size();
    block.next = std::min(data.size(), dashes + DASHES.size());
    const std::string mark = std::string(END) + " " + block.label + std::string(DASHES);
    block.hasEnd = isMarked && View(data).substr(block.bodyEnd, mark.size()) == mark;
    block.behind = std::min(block.behind, block.bodyEnd);
    // Of a certificate the device takes the text from one character behind the marker on.
    const bool isLater = isMarked && block.label == "CERTIFICATE";
    block.body = std::min(block.behind + (isLater ? 1 : 0), block.bodyEnd);
    block.hasInner = Find(data, BEGIN, block.behind) < block.bodyEnd;
    *blockOut = block;
    return true;
}

size_t FindBrokenMarker(const Bytes &data, size_t from)
{
    constexpr std::string_view CORE = "-BEGIN ";
    for (size_t at = Find(data, CORE, from); at < data.size(); at = Find(data, CORE, at + 1)) {
        const size_t before = DASHES.size() - 1;
        if (at < before || View(data).substr(at - before, DASHES.size()) != DASHES) {
            return at;
        }
    }
    return data.size();
}

Bytes DecodeArmour(const Bytes &data, const ArmourBlock &block, Findings *findings)
{
    Reading reading;
    const NodePath file;
    const size_t stop = CheckText(data, block.body, block.bodyEnd, &reading);
    const Bytes octets = Decode(data, block.body, block.bodyEnd, stop == block.bodyEnd);
    const auto add = [&](Rule rule, size_t at, const std::string &what) {
        AddFinding(findings, rule, file, at, "found " + what + " in the block " + Printable(block.label));
    };
    const auto character = [&](size_t at) {
        return "'" + Printable(std::string(1, static_cast<char>(data[at]))) + "'";
    };
    if (block.behind < block.body && Digit(data[block.behind]) != FOREIGN) {
        add(Rule::ArmourBase64, block.behind, character(block.behind) + " right behind the marker, which is left out,");
    }
    if (stop < block.bodyEnd) {
        add(Rule::ArmourBase64, stop, character(stop));
    } else if (octets.empty()) {
        add(Rule::ArmourBase64, block.body, "nothing");
    } else if (reading.foreign < block.bodyEnd && octets != Decode(data, block.body, block.bodyEnd, false)) {
        add(Rule::ArmourForeign, reading.foreign, character(reading.foreign));
    }
    return octets;
}

} // namespace pkgsign::inspection
