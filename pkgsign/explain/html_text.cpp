// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Texts as parts of a page.
#include "pkgsign/explain/report.h"

#include <algorithm>

namespace pkgsign
{
namespace
{

constexpr size_t OPTION_SIZE_MAX = 32; // a longer one does not fit a narrow page

// Octets of a time at `i`, "2026-01-31T12:00:00Z"; 0: none is there.
size_t TimeSize(const std::string &text, size_t i)
{
    static const std::string form = "dddd-dd-ddTdd:dd:ddZ";
    for (size_t k = 0; k < form.size(); ++k) {
        const char octet = i + k < text.size() ? text[i + k] : '\0';
        if (form[k] == 'd' ? octet < '0' || octet > '9' : octet != form[k]) {
            return 0;
        }
    }
    return form.size();
}

// Octets of an option at `i`, "--root", which would read as another one with its hyphens at the end of a line; 0: none
// is there.
size_t OptionSize(const std::string &text, size_t i)
{
    if (text[i] != '-' || (i != 0 && text[i - 1] != ' ' && text[i - 1] != '(')) {
        return 0;
    }
    const size_t size = std::min(text.find_first_of(" ),", i), text.size()) - i;
    return size > 1 && size <= OPTION_SIZE_MAX ? size : 0;
}

} // namespace

std::string EscapeHtml(const std::string &text)
{
    std::string result;
    for (const char octet : text) {
        switch (octet) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        case '"':
            result += "&quot;";
            break;
        case '\'':
            result += "&#39;";
            break;
        default:
            result += octet;
        }
    }
    return result;
}

std::string HtmlText(const std::string &text)
{
    const std::string escaped = EscapeHtml(text);
    std::string html;
    for (size_t i = 0; i < escaped.size();) {
        const size_t time = TimeSize(escaped, i);
        const size_t option = OptionSize(escaped, i);
        const size_t size = std::max({time, option, size_t{1}});
        const std::string part = escaped.substr(i, size);
        html += time != 0     ? "<bdi class=\"time\">" + part + "</bdi>"
                : option != 0 ? "<span class=\"option\">" + part + "</span>"
                              : part;
        i += size;
    }
    return "<bdi>" + html + "</bdi>";
}

} // namespace pkgsign
