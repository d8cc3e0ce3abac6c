// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/explain/text_variant.h"

#include <algorithm>

namespace pkgsign
{
namespace
{

constexpr uint8_t MARK[] = {0xEF, 0xBB, 0xBF}; // U+FEFF in UTF-8

void Release(TextVariant *text, Bytes *out)
{
    out->insert(out->end(), text->held.begin(), text->held.end());
    text->held.clear();
}

// Holds a line end back, as it may be the last one.
void Pass(TextVariant *text, uint8_t octet, Bytes *out)
{
    const bool endsLine = octet == '\n' && text->held.size() == 1 && text->held[0] == '\r';
    if (!endsLine) {
        Release(text, out);
    }
    if (octet == '\r' || octet == '\n') {
        text->held.push_back(octet);
    } else {
        out->push_back(octet);
    }
}

void ConvertLineEnd(TextVariant *text, uint8_t octet, Bytes *out)
{
    if (text->lineEnds == LineEnds::Lf && octet == '\n' && text->held.size() == 1 && text->held[0] == '\r') {
        text->held.clear(); // the carriage return goes
    }
    if (text->lineEnds == LineEnds::CrLf && octet == '\n' && text->before != '\r') {
        Pass(text, '\r', out);
    }
    Pass(text, octet, out);
    text->before = octet;
}

void ConvertAll(TextVariant *text, const uint8_t *data, size_t size, Bytes *out)
{
    for (size_t i = 0; i < size; ++i) {
        ConvertLineEnd(text, data[i], out);
    }
}

void ConvertStart(TextVariant *text, Bytes *out)
{
    const bool hasMark =
        text->start.size() == sizeof(MARK) && std::equal(MARK, MARK + sizeof(MARK), text->start.begin());
    if (text->mark == Presence::With && !hasMark) {
        out->insert(out->end(), MARK, MARK + sizeof(MARK));
    }
    if (text->mark != Presence::Without || !hasMark) {
        ConvertAll(text, text->start.data(), text->start.size(), out);
    }
    text->isStarted = true;
}

size_t Changes(const TextVariant &text)
{
    return (text.lineEnds != LineEnds::AsIs ? 1U : 0U) + (text.mark != Presence::AsIs ? 1U : 0U) +
           (text.lastNewline != Presence::AsIs ? 1U : 0U);
}

} // namespace

Bytes TextVariant::Convert(const uint8_t *data, size_t size)
{
    Bytes out;
    out.reserve(size + size / 8);
    size_t used = 0;
    if (!isStarted) {
        used = std::min(size, sizeof(MARK) - start.size());
        start.insert(start.end(), data, data + used);
        if (start.size() < sizeof(MARK)) {
            return out;
        }
        ConvertStart(this, &out);
    }
    ConvertAll(this, data + used, size - used, &out);
    return out;
}

Bytes TextVariant::Finish()
{
    Bytes out;
    if (!isStarted) {
        ConvertStart(this, &out);
    }
    const bool endsLine = !held.empty() && held.back() == '\n';
    if (endsLine && lastNewline == Presence::Without) {
        held.clear();
    }
    Release(this, &out);
    if (!endsLine && lastNewline == Presence::With) {
        if (lineEnds == LineEnds::CrLf) {
            out.push_back('\r');
        }
        out.push_back('\n');
    }
    return out;
}

std::string TextVariant::Describe() const
{
    std::vector<std::string> changes;
    if (lineEnds != LineEnds::AsIs) {
        changes.emplace_back(lineEnds == LineEnds::Lf ? "with LF line ends" : "with CRLF line ends");
    }
    if (mark != Presence::AsIs) {
        changes.emplace_back(mark == Presence::With ? "with a byte order mark" : "without its byte order mark");
    }
    if (lastNewline != Presence::AsIs) {
        changes.emplace_back(lastNewline == Presence::With ? "with a newline at its end" : "without its last newline");
    }
    std::string text;
    for (size_t i = 0; i < changes.size(); ++i) {
        text += (i == 0 ? "" : i + 1 == changes.size() ? " and " : ", ") + changes[i];
    }
    return text;
}

std::vector<TextVariant> TextVariants()
{
    std::vector<TextVariant> variants;
    for (const LineEnds lineEnds : {LineEnds::AsIs, LineEnds::Lf, LineEnds::CrLf}) {
        for (const Presence mark : {Presence::AsIs, Presence::With, Presence::Without}) {
            for (const Presence lastNewline : {Presence::AsIs, Presence::With, Presence::Without}) {
                TextVariant variant;
                variant.lineEnds = lineEnds;
                variant.mark = mark;
                variant.lastNewline = lastNewline;
                variants.push_back(variant);
            }
        }
    }
    std::stable_sort(variants.begin(), variants.end(),
                     [](const TextVariant &a, const TextVariant &b) { return Changes(a) < Changes(b); });
    variants.erase(variants.begin()); // the text itself
    return variants;
}

} // namespace pkgsign
