// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "fuzz/support/times.h"

#include <algorithm>
#include <string>

#include <openssl/asn1.h>

namespace
{

constexpr uint8_t UTC_TIME = 0x17;
constexpr uint8_t GENERALIZED_TIME = 0x18;
constexpr uint8_t TAG_NUMBER = 0x1F;

bool IsUtcTime(const Element &element)
{
    return (element.identifier & TAG_NUMBER) == UTC_TIME;
}

// Null for what is no proper time.
ASN1_TIME *MakeTime(const Element &element)
{
    const std::string text(element.content, element.content + element.length);
    const bool isUtc = IsUtcTime(element);
    const bool proper = TimeIsOne(element) && text.size() == (isUtc ? 13u : 15u) && text.back() == 'Z' &&
                        std::all_of(text.begin(), text.end() - 1, [](char c) { return c >= '0' && c <= '9'; });
    if (!proper || (!isUtc && text < "1950")) {
        return nullptr;
    }
    ASN1_TIME *const time = ASN1_TIME_new();
    if (ASN1_TIME_set_string(time, text.c_str()) != 1) {
        ASN1_TIME_free(time);
        return nullptr;
    }
    return time;
}

} // namespace

bool TimeIsOne(const Element &element)
{
    return IsUtcTime(element) || (element.identifier & TAG_NUMBER) == GENERALIZED_TIME;
}

bool TimeIsProper(const Element &element)
{
    ASN1_TIME *const time = MakeTime(element);
    const bool proper = time != nullptr;
    ASN1_TIME_free(time);
    return proper;
}

bool TimeIsClearlyLater(const Element &first, const Element &second)
{
    ASN1_TIME *const a = MakeTime(first);
    ASN1_TIME *const b = MakeTime(second);
    int days = 0;
    int seconds = 0;
    const bool later =
        a != nullptr && b != nullptr && ASN1_TIME_diff(&days, &seconds, a, b) == 1 && (days < 0 || seconds < 0);
    ASN1_TIME_free(a);
    ASN1_TIME_free(b);
    return later;
}
