// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "verify/load/base64.h"

#include "core/guard.h"
#include "core/log.h"
#include "core/memory.h"
#include "sigkit/sigkit.h"

// clang-format off
constexpr uint8_t g_skvBase64DecMap[128] = {
    127, 127, 127, 127, 127, 127, 127, 127, 127, 127, 127, 127, 127, 127, 127, 127,
    127, 127, 127, 127, 127, 127, 127, 127, 127, 127, 127, 127, 127, 127, 127, 127,
    127, 127, 127, 127, 127, 127, 127, 127, 127, 127, 127, 62, 127, 127, 127, 63,
    52, 53, 54, 55, 56, 57, 58, 59, 60, 61, 127, 127, 127, 64, 127, 127,
    127, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14,
    15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 127, 127, 127, 127, 127,
    127, 26, 27, 28, 29, 30, 31, 32, 33, 34, 35, 36, 37, 38, 39, 40,
    41, 42, 43, 44, 45, 46, 47, 48, 49, 50, 51, 127, 127, 127, 127, 127,
}; // clang-format on

namespace
{

constexpr uint8_t PADDING = 64;     // what "=" maps to; digits lie below
constexpr uint32_t MAX_PADDING = 2; // RFC 4648, section 4

constexpr int32_t RUN_SIZE = 64; // characters that are looked at together: a line of PEM (RFC 7468, section 2)
constexpr uint8_t SPECIAL = 0x80;

// Sets SPECIAL for a character that may not carry data everywhere: controls, the blank, "=" and those above 127. Bare
// arithmetic, so that the compiler asks it of many characters at once.
constexpr uint8_t AskSpecial(uint8_t character)
{
    const uint8_t upToBlank = static_cast<uint8_t>(character - (' ' + 1));
    const uint8_t padding = static_cast<uint8_t>((character ^ '=') - 1);
    return character | upToBlank | padding;
}

constexpr bool FindsSpecials()
{
    for (uint32_t character = 0; character < 256; ++character) {
        const bool special = character <= ' ' || character == '=' || character > 127;
        if (((AskSpecial(static_cast<uint8_t>(character)) & SPECIAL) != 0) != special) {
            return false;
        }
    }
    return true;
}

static_assert(FindsSpecials());

// Returns how many characters at the start of the text are plain, rounded down to whole runs.
int32_t CountPlain(const uint8_t *text, int32_t len)
{
    int32_t plain = 0;
    while (len - plain >= RUN_SIZE) {
        uint8_t answers = 0;
        for (int32_t i = 0; i < RUN_SIZE; ++i) {
            answers |= AskSpecial(text[plain + i]);
        }
        if ((answers & SPECIAL) != 0) {
            break;
        }
        plain += RUN_SIZE;
    }
    return plain;
}

// Decodes groups of four digits from the start of checked text, as long as there is space for one octet more than a
// group has. Returns the groups.
uint32_t DecodePlain(const uint8_t *text, int32_t len, uint8_t *output, uint64_t room)
{
    const uint32_t inText = static_cast<uint32_t>(len) / 4;
    const uint64_t inRoom = room == 0 ? 0 : (room - 1) / 3;
    const uint32_t most = inRoom < inText ? static_cast<uint32_t>(inRoom) : inText;
    uint32_t groups = 0;
    for (; groups < most; ++groups) {
        const uint32_t first = g_skvBase64DecMap[text[0]];
        const uint32_t second = g_skvBase64DecMap[text[1]];
        const uint32_t third = g_skvBase64DecMap[text[2]];
        const uint32_t fourth = g_skvBase64DecMap[text[3]];
        if ((first | second | third | fourth) >= PADDING) {
            break;
        }
        // Four octets make one store. The last one belongs to the next group, and its value does not matter.
        const uint32_t octets = first << 26 | second << 20 | third << 14 | fourth << 8 | fourth;
        output[0] = static_cast<uint8_t>(octets >> 24);
        output[1] = static_cast<uint8_t>(octets >> 16);
        output[2] = static_cast<uint8_t>(octets >> 8);
        output[3] = static_cast<uint8_t>(octets);
        text += 4;
        output += 3;
    }
    return groups;
}

// What the first pass finds out.
struct Layout {
    int32_t covered;  // characters up to the end or the trailing blanks
    uint32_t digits;  // characters that carry data, padding included
    uint32_t padding; // "=" among them
};

int32_t SkipBlanks(const uint8_t *input, int32_t from, int32_t inputLen)
{
    while (from < inputLen && input[from] == ' ') {
        ++from;
    }
    return from;
}

// Counts one character that carries data; false when it may not stand here.
bool CountCharacter(uint8_t character, Layout *layout)
{
    if (character >= sizeof(g_skvBase64DecMap)) {
        return false;
    }
    const uint8_t value = g_skvBase64DecMap[character];
    if (value == PADDING) {
        layout->padding += 1;
        if (layout->padding > MAX_PADDING) {
            return false;
        }
    } else if (value < PADDING && layout->padding != 0) {
        return false;
    }
    layout->digits += 1;
    return true;
}

// Checks the text and counts what it holds. Blanks may only stand before a line end or at the end of the text. A CR
// without its LF counts as data here and is skipped when decoding, so it only makes the needed space larger.
bool Scan(const uint8_t *input, int32_t inputLen, Layout *layout)
{
    int32_t at = 0;
    bool atLineStart = true;
    while (at < inputLen) {
        if (atLineStart && layout->padding == 0) {
            const int32_t plain = CountPlain(input + at, inputLen - at);
            layout->digits += static_cast<uint32_t>(plain);
            at += plain;
        }
        const int32_t next = SkipBlanks(input, at, inputLen);
        if (next == inputLen) {
            break;
        }
        const bool afterBlanks = next != at;
        at = next;
        const bool lineEnd = input[at] == '\n' || (input[at] == '\r' && at + 1 < inputLen && input[at + 1] == '\n');
        if (!lineEnd && (afterBlanks || !CountCharacter(input[at], layout))) {
            return false;
        }
        ++at;
        atLineStart = lineEnd;
    }
    layout->covered = at;
    return layout->digits != 0;
}

// Decodes the covered characters into at most `room` octets. Of each group of four, one octet fewer is written for
// every "=" met so far.
uint32_t Decode(const uint8_t *input, const Layout &layout, uint8_t *output, uint64_t room)
{
    uint32_t group = 0;
    uint32_t inGroup = 0;
    uint32_t perGroup = 3;
    uint32_t written = 0;
    for (int32_t i = 0; i < layout.covered; ++i) {
        if (inGroup == 0 && perGroup == 3) {
            const uint32_t groups = DecodePlain(input + i, layout.covered - i, output + written, room - written);
            if (groups != 0) {
                written += 3 * groups;
                i += static_cast<int32_t>(4 * groups) - 1; // the loop steps over the last one
                continue;
            }
        }
        if (input[i] == '\r' || input[i] == '\n' || input[i] == ' ') {
            continue;
        }
        const uint8_t value = g_skvBase64DecMap[input[i]];
        perGroup -= value == PADDING ? 1 : 0;
        group = (group << 6) | (value & 0x3FU);
        if (++inGroup == 4) {
            for (uint32_t octet = 0; octet < perGroup; ++octet) {
                output[written++] = static_cast<uint8_t>(group >> (16 - 8 * octet));
            }
            inGroup = 0;
        }
    }
    return written;
}

} // namespace

uint32_t SigkitBase64Decode(const char *input, int32_t inputLen, uint8_t *output, uint32_t *len)
{
    if (input == nullptr || inputLen == 0 || len == nullptr) {
        return SIGKIT_ERR_PARAM;
    }
    const uint8_t *const text = reinterpret_cast<const uint8_t *>(input);
    Layout layout = {};
    if (inputLen < 0 || !Scan(text, inputLen, &layout)) {
        return SIGKIT_ERR_BASE64;
    }
    const uint64_t needed = (static_cast<uint64_t>(layout.digits) * 6 + 7) / 8 - layout.padding;
    if (output == nullptr || *len < needed) {
        *len = static_cast<uint32_t>(needed);
        return SIGKIT_OK;
    }
    *len = Decode(text, layout, output, needed);
    return SIGKIT_OK;
}

uint32_t InternalBase64Decode(const char *begin, const char *end, uint8_t **data, uint32_t *len)
{
    const int32_t inputLen = static_cast<int32_t>(end - begin);
    uint32_t room = 0;
    uint32_t status = SigkitBase64Decode(begin, inputLen, nullptr, &room);
    if (status == SIGKIT_OK && room == 0) {
        status = SIGKIT_ERR_ARMOUR;
    }
    InternalBytesGuard decoded;
    if (status == SIGKIT_OK) {
        status = InternalNewBytes(&decoded.held, room);
    }
    if (status == SIGKIT_OK) {
        status = SigkitBase64Decode(begin, inputLen, decoded.held, &room);
    }
    if (status != SIGKIT_OK) {
        return SIGKIT_TRAIL(status);
    }
    *len = room;
    *data = decoded.Take();
    return SIGKIT_OK;
}
