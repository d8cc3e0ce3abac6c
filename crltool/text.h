// What files say, as text for people.
#ifndef CRLTOOL_TEXT_H
#define CRLTOOL_TEXT_H

#include <stdint.h>

#include <string>

// The time in ISO 8601, UTC.
std::string TimeText(int64_t seconds);

// The text with its control characters escaped, so that a name or path cannot command the terminal that shows it: those
// of ASCII, those from U+0080 to U+009F, and octets that are no UTF-8 (RFC 3629), which a terminal of another character
// set may take for one.
std::string Printable(const std::string &text);

#endif
