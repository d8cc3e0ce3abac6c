#include "verify/base64.h"

#include "core/guard.h"
#include "sigkit/sigkit.h"
#include "sigkit/sigkit_host.h"

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
// without its LF counts as data here and is skipped when decoding, so it only makes the needed room larger.
bool Scan(const uint8_t *input, int32_t inputLen, Layout *layout)
{
    int32_t at = 0;
    while (at < inputLen) {
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
    }
    layout->covered = at;
    return layout->digits != 0;
}

// Decodes the covered characters. Of each group of four, one octet fewer is written for every "=" met so far.
uint32_t Decode(const uint8_t *input, const Layout &layout, uint8_t *output)
{
    uint32_t group = 0;
    uint32_t inGroup = 0;
    uint32_t perGroup = 3;
    uint32_t written = 0;
    for (int32_t i = 0; i < layout.covered; ++i) {
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
    *len = Decode(text, layout, output);
    return SIGKIT_OK;
}

uint32_t InternalBase64Decode(const char *begin, const char *end, uint8_t **data, uint32_t *len)
{
    const int32_t inputLen = static_cast<int32_t>(end - begin);
    uint32_t room = 0;
    uint32_t status = SigkitBase64Decode(begin, inputLen, nullptr, &room);
    if (status != SIGKIT_OK) {
        return status;
    }
    if (room == 0) {
        return SIGKIT_ERR_ARMOUR;
    }
    void *block = nullptr;
    status = SigkitMalloc(&block, room);
    if (status != SIGKIT_OK) {
        return status;
    }
    InternalBytesGuard decoded(static_cast<uint8_t *>(block));
    status = SigkitBase64Decode(begin, inputLen, decoded.held, &room);
    if (status != SIGKIT_OK) {
        return status;
    }
    *len = room;
    *data = decoded.Take();
    return SIGKIT_OK;
}
