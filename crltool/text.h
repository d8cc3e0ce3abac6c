// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What files say, as text for people.
#ifndef CRLTOOL_TEXT_H
#define CRLTOOL_TEXT_H

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

#include <initializer_list>

// Where an answer goes, and in which notation.
struct Output {
    FILE *file;
    void (*write)(FILE *file, const char *text); // WritePrintable or WriteJsonCharacters
};

// Writes the parts of a sentence, one behind the other.
void Say(const Output &output, std::initializer_list<const char *> parts);

// Writes a text with its control characters escaped, so that a name or path cannot command the terminal that shows it:
// those of ASCII, those from U+0080 to U+009F, and octets that are no UTF-8 (RFC 3629), which a terminal of another
// character set may take for one.
void WritePrintable(FILE *file, const char *text);

// Octets that WritePrintable writes for a text.
size_t PrintableSize(const char *text);

// Reads the character that a text begins with, which must not be empty.
//
//   codePoint  out, only written when there is one.
//
// Returns its octets, 1 to 4, or 0 when the text begins with octets that are no UTF-8 (RFC 3629, section 4).
size_t ReadCharacter(const char *text, uint32_t *codePoint);

inline constexpr size_t TIME_TEXT_SIZE = 48;   // octets, the NUL included
inline constexpr size_t NUMBER_TEXT_SIZE = 16; // octets, the NUL included
inline constexpr size_t SERIAL_TEXT_SIZE = 80; // octets, the NUL included

// The time in ISO 8601, UTC. seconds: since 1970-01-01 00:00:00 UTC.
void TimeText(int64_t seconds, char (&text)[TIME_TEXT_SIZE]);

void NumberText(uint32_t number, char (&text)[NUMBER_TEXT_SIZE]);

// A serial number's octets as hexadecimal digits. "..." stands for those beyond 32.
void SerialText(const uint8_t *serial, size_t size, char (&text)[SERIAL_TEXT_SIZE]);

#endif
