#include "crltool/text.h"

#include <stdio.h>
#include <time.h>

#include <string_view>

namespace
{

// The well-formed UTF-8 characters of more than one octet (RFC 3629, section 4), but for the controls U+0080 to U+009F.
constexpr struct {
    unsigned firstLow, firstHigh;
    unsigned secondLow, secondHigh;
    size_t size; // octets; those behind the second are 80 to BF
} FORMS[] = {{0xC2, 0xC2, 0xA0, 0xBF, 2}, {0xC3, 0xDF, 0x80, 0xBF, 2}, {0xE0, 0xE0, 0xA0, 0xBF, 3},
             {0xE1, 0xEC, 0x80, 0xBF, 3}, {0xED, 0xED, 0x80, 0x9F, 3}, {0xEE, 0xEF, 0x80, 0xBF, 3},
             {0xF0, 0xF0, 0x90, 0xBF, 4}, {0xF1, 0xF3, 0x80, 0xBF, 4}, {0xF4, 0xF4, 0x80, 0x8F, 4}};

bool IsWithin(char octet, unsigned low, unsigned high)
{
    const unsigned value = static_cast<unsigned char>(octet);
    return low <= value && value <= high;
}

// Octets of the printable character that a text begins with; 0 when it begins with none.
size_t PrintableSize(std::string_view text)
{
    if (IsWithin(text[0], 0x20, 0x7E)) {
        return text[0] == '\\' ? 0 : 1;
    }
    for (const auto &form : FORMS) {
        if (text.size() < form.size || !IsWithin(text[0], form.firstLow, form.firstHigh) ||
            !IsWithin(text[1], form.secondLow, form.secondHigh)) {
            continue;
        }
        size_t size = 2;
        while (size < form.size && IsWithin(text[size], 0x80, 0xBF)) {
            ++size;
        }
        return size == form.size ? size : 0;
    }
    return 0;
}

} // namespace

std::string TimeText(int64_t seconds)
{
    const time_t instant = static_cast<time_t>(seconds);
    struct tm parts = {};
    char text[64] = {};
    if (gmtime_r(&instant, &parts) == nullptr || strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%SZ", &parts) == 0) {
        return std::to_string(seconds);
    }
    return text;
}

std::string Printable(const std::string &text)
{
    std::string printable;
    for (std::string_view rest = text; !rest.empty();) {
        const size_t size = PrintableSize(rest);
        if (size != 0) {
            printable += rest.substr(0, size);
        } else if (rest[0] == '\\') {
            printable += "\\\\";
        } else {
            char escaped[8] = {};
            (void)snprintf(escaped, sizeof(escaped), "\\x%02X",
                           static_cast<unsigned>(static_cast<unsigned char>(rest[0])));
            printable += escaped;
        }
        rest.remove_prefix(size != 0 ? size : 1);
    }
    return printable;
}
