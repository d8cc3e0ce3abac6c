// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Texts out of files, made fit to be shown.
#include <cstdint>
#include <cstdio>

#include "pkgsign/files/files.h"

namespace pkgsign
{
namespace
{

// The character at `i` of a text; its octets in `size`, 0 where no valid one begins (RFC 3629, 4).
uint32_t CharacterAt(const std::string &text, size_t i, size_t *size)
{
    const auto octet = [&](size_t at) { return at < text.size() ? static_cast<unsigned char>(text[at]) : 0U; };
    const uint32_t first = octet(i);
    const size_t length = first < 0x80   ? 1
                          : first < 0xC2 ? 0
                          : first < 0xE0 ? 2
                          : first < 0xF0 ? 3
                          : first < 0xF5 ? 4
                                         : 0;
    uint32_t value = length == 1 ? first : first & (0x7FU >> length);
    *size = length;
    for (size_t k = 1; k < length; ++k) {
        if ((octet(i + k) & 0xC0U) != 0x80U) {
            *size = 0;
        }
        value = (value << 6) | (octet(i + k) & 0x3FU);
    }
    const bool isTooLong = (length == 3 && value < 0x800) || (length == 4 && value < 0x10000);
    if (isTooLong || value > 0x10FFFF || (value >= 0xD800 && value < 0xE000)) {
        *size = 0;
    }
    return value;
}

// Control characters, and those that turn the direction of writing or end a line.
bool IsHidden(uint32_t character)
{
    return character < 0x20 || (character >= 0x7F && character < 0xA0) || character == 0x061C ||
           (character >= 0x200B && character <= 0x200F) || (character >= 0x2028 && character <= 0x202E) ||
           (character >= 0x2060 && character <= 0x206F) || character == 0xFEFF || character >= 0xE0000;
}

} // namespace

std::string StatusDigits(uint32_t status)
{
    char text[16] = {};
    (void)std::snprintf(text, sizeof(text), "%08x", status);
    return text;
}

std::string Printable(const std::string &text)
{
    std::string result;
    for (size_t i = 0; i < text.size();) {
        size_t size = 0;
        const uint32_t character = CharacterAt(text, i, &size);
        char escape[24] = {};
        if (size == 0 || (size == 1 && IsHidden(character))) {
            (void)std::snprintf(escape, sizeof(escape), "\\x%02X",
                                static_cast<unsigned>(static_cast<unsigned char>(text[i])));
        } else if (IsHidden(character)) {
            (void)std::snprintf(escape, sizeof(escape), "\\u{%X}", static_cast<unsigned>(character));
        }
        const size_t used = size == 0 ? 1 : size;
        result += escape[0] != '\0' ? std::string(escape) : text.substr(i, used);
        i += used;
    }
    return result;
}

} // namespace pkgsign
