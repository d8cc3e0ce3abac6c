// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Texts as parts of a page.
#include "pkgsign/explain/report.h"

namespace pkgsign
{
namespace
{

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
        const size_t size = TimeSize(escaped, i);
        html += size == 0 ? escaped.substr(i, 1) : "<span class=\"time\">" + escaped.substr(i, size) + "</span>";
        i += size == 0 ? 1 : size;
    }
    return "<bdi>" + html + "</bdi>";
}

} // namespace pkgsign
