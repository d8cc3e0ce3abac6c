// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "crltool/text.h"

#include <string.h>

namespace
{

// The forms of characters in UTF-8 (RFC 3629, section 4). Octets behind the second are 80 to BF.
constexpr struct {
    uint8_t firstLow, firstHigh;
    uint8_t secondLow, secondHigh; // of a character of more than one octet
    uint8_t size;                  // octets
} FORMS[] = {{0x00, 0x7F, 0x00, 0x00, 1}, {0xC2, 0xDF, 0x80, 0xBF, 2}, {0xE0, 0xE0, 0xA0, 0xBF, 3},
             {0xE1, 0xEC, 0x80, 0xBF, 3}, {0xED, 0xED, 0x80, 0x9F, 3}, {0xEE, 0xEF, 0x80, 0xBF, 3},
             {0xF0, 0xF0, 0x90, 0xBF, 4}, {0xF1, 0xF3, 0x80, 0xBF, 4}, {0xF4, 0xF4, 0x80, 0x8F, 4}};

constexpr size_t SHOWN_SIZE = 5; // octets of the longest character or escape, the NUL included

bool IsWithin(uint8_t octet, uint8_t low, uint8_t high)
{
    return low <= octet && octet <= high;
}

bool IsControl(uint32_t codePoint)
{
    return codePoint < 0x20 || (0x7F <= codePoint && codePoint < 0xA0);
}

// What is shown for the character that a text begins with. Returns the octets of the text that it stands for.
size_t Show(const char *text, char (&shown)[SHOWN_SIZE])
{
    uint32_t codePoint = 0;
    const size_t size = ReadCharacter(text, &codePoint);
    if (size == 0 || IsControl(codePoint)) { // of a control of two octets the second is no UTF-8, and is next
        (void)snprintf(shown, sizeof(shown), "\\x%02X", static_cast<unsigned>(static_cast<uint8_t>(text[0])));
        return 1;
    }
    (void)snprintf(shown, sizeof(shown), "%.*s", codePoint == '\\' ? 2 : static_cast<int>(size),
                   codePoint == '\\' ? "\\\\" : text);
    return size;
}

int64_t DaysOfYear(int64_t year)
{
    const bool isLeapYear = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return isLeapYear ? 366 : 365;
}

int64_t DaysOfMonth(int64_t year, int month)
{
    constexpr int DAYS[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 ? DaysOfYear(year) - 337 : DAYS[month - 1];
}

} // namespace

void Say(const Output &output, std::initializer_list<const char *> parts)
{
    for (const char *const part : parts) {
        output.write(output.file, part);
    }
}

void WritePrintable(FILE *file, const char *text)
{
    char shown[SHOWN_SIZE] = {};
    while (*text != '\0') {
        text += Show(text, shown);
        (void)fputs(shown, file);
    }
}

size_t PrintableSize(const char *text)
{
    size_t size = 0;
    char shown[SHOWN_SIZE] = {};
    while (*text != '\0') {
        text += Show(text, shown);
        size += strlen(shown);
    }
    return size;
}

size_t ReadCharacter(const char *text, uint32_t *codePoint)
{
    const uint8_t *const octets = reinterpret_cast<const uint8_t *>(text);
    for (const auto &form : FORMS) {
        if (!IsWithin(octets[0], form.firstLow, form.firstHigh)) {
            continue;
        }
        uint32_t value = form.size == 1 ? octets[0] : octets[0] & (0x7Fu >> form.size);
        for (size_t i = 1; i < form.size; ++i) { // a NUL is within no form, so nothing behind it is read
            if (!IsWithin(octets[i], i == 1 ? form.secondLow : 0x80, i == 1 ? form.secondHigh : 0xBF)) {
                return 0;
            }
            value = value << 6 | (octets[i] & 0x3Fu);
        }
        *codePoint = value;
        return form.size;
    }
    return 0;
}

// The programs of a device do not ask libc for dates: what would ask for the clock is among those functions.
void TimeText(int64_t seconds, char (&text)[TIME_TEXT_SIZE])
{
    constexpr int64_t DAY = 86400;
    int64_t days = seconds / DAY - (seconds % DAY < 0 ? 1 : 0);
    const int ofDay = static_cast<int>(seconds - days * DAY);
    int64_t year = 1970;
    while (days < 0) {
        days += DaysOfYear(--year);
    }
    while (days >= DaysOfYear(year)) {
        days -= DaysOfYear(year++);
    }
    int month = 1;
    while (days >= DaysOfMonth(year, month)) {
        days -= DaysOfMonth(year, month++);
    }
    (void)snprintf(text, sizeof(text), "%04d-%02d-%02dT%02d:%02d:%02dZ", static_cast<int>(year), month,
                   static_cast<int>(days) + 1, ofDay / 3600, ofDay / 60 % 60, ofDay % 60);
}

void NumberText(uint32_t number, char (&text)[NUMBER_TEXT_SIZE])
{
    (void)snprintf(text, sizeof(text), "%u", static_cast<unsigned>(number));
}

void SerialText(const uint8_t *serial, size_t size, char (&text)[SERIAL_TEXT_SIZE])
{
    constexpr size_t OCTETS_MAX = 32;
    text[0] = '\0';
    for (size_t i = 0; i < size && i < OCTETS_MAX; ++i) {
        (void)snprintf(text + 2 * i, sizeof(text) - 2 * i, "%02X", static_cast<unsigned>(serial[i]));
    }
    if (size > OCTETS_MAX) {
        (void)snprintf(text + 2 * OCTETS_MAX, sizeof(text) - 2 * OCTETS_MAX, "...");
    }
}
