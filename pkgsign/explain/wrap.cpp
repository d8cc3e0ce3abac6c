// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "pkgsign/explain/wrap.h"

#include <algorithm>

namespace pkgsign
{
namespace
{

// Octets of the character that begins at `i`.
size_t CharacterSize(const std::string &text, size_t i)
{
    const unsigned char first = static_cast<unsigned char>(text[i]);
    return first < 0x80 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
}

size_t Width(const std::string &text)
{
    size_t width = 0;
    for (size_t i = 0; i < text.size(); i += CharacterSize(text, i)) {
        ++width;
    }
    return width;
}

} // namespace

std::string Wrap(const std::string &text, size_t indent)
{
    std::string result;
    size_t column = indent;
    for (size_t i = 0; i < text.size();) {
        const size_t end = std::min(text.find(' ', i), text.size());
        const std::string word = text.substr(i, end - i);
        const size_t width = Width(word);
        if (column > indent && column + 1 + width > TEXT_COLUMNS) {
            result.erase(result.find_last_not_of(' ') + 1);
            result += "\n" + std::string(indent, ' ');
            column = indent;
        } else if (column > indent) {
            result += ' ';
            ++column;
        }
        result += word;
        column += width;
        i = end + 1;
    }
    return result;
}

std::string Cut(const std::string &text, size_t columns)
{
    if (Width(text) <= columns) {
        return text;
    }
    size_t end = 0;
    for (size_t column = 3; column < columns; ++column) {
        end += CharacterSize(text, end);
    }
    return text.substr(0, end) + "...";
}

} // namespace pkgsign
