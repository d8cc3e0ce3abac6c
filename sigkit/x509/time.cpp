// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "x509/time.h"

#include "sigkit/sigkit.h"

namespace
{

constexpr uint32_t UTC_TIME_LEN = 13;         // YYMMDDhhmmssZ
constexpr uint32_t GENERALIZED_TIME_LEN = 15; // YYYYMMDDhhmmssZ

constexpr int FIRST_UTC_YEAR = 50;         // 1950 (RFC 5280, 4.1.2.5.1)
constexpr uint16_t FIRST_FULL_YEAR = 1901; // smaller numbers are offsets from 1900
constexpr int64_t EPOCH_DAY = 719499;      // day number of 1970-01-01 in the count below

int TwoDigits(const uint8_t *text)
{
    return 10 * (text[0] - '0') + (text[1] - '0');
}

// Fills in everything but the year from MMDDhhmmss.
void SetMonthToSecond(const uint8_t *text, SigkitDateTime *out)
{
    out->month = static_cast<uint8_t>(TwoDigits(text));
    out->day = static_cast<uint8_t>(TwoDigits(text + 2));
    out->hour = static_cast<uint8_t>(TwoDigits(text + 4));
    out->minute = static_cast<uint8_t>(TwoDigits(text + 6));
    out->second = static_cast<uint8_t>(TwoDigits(text + 8));
}

} // namespace

uint32_t SigkitConvertFromTime(const SigkitAsnOcts *time, SigkitDateTime *out)
{
    if (time == nullptr || out == nullptr) {
        return SIGKIT_ERR_PARAM;
    }
    if (time->tag == ASN_TAG_UTC_TIME && time->len == UTC_TIME_LEN) {
        const int year = TwoDigits(time->data);
        out->year = static_cast<uint16_t>(year < FIRST_UTC_YEAR ? 2000 + year : 1900 + year);
        SetMonthToSecond(time->data + 2, out);
        return SIGKIT_OK;
    }
    if (time->tag == ASN_TAG_GENERALIZED_TIME && time->len == GENERALIZED_TIME_LEN) {
        out->year = static_cast<uint16_t>(100 * TwoDigits(time->data) + TwoDigits(time->data + 2));
        SetMonthToSecond(time->data + 4, out);
        return SIGKIT_OK;
    }
    return SIGKIT_ERR_TIME_FORMAT;
}

uint32_t SigkitConvertDatetimeToTime(const SigkitAsnOcts *time, uint64_t *seconds)
{
    if (time == nullptr || seconds == nullptr) {
        return SIGKIT_ERR_PARAM;
    }
    SigkitDateTime broken = {};
    const uint32_t status = SigkitConvertFromTime(time, &broken);
    if (status != SIGKIT_OK) {
        return status;
    }
    *seconds = SigkitMktime(&broken);
    return SIGKIT_OK;
}

uint64_t SigkitMktime(const SigkitDateTime *time)
{
    if (time == nullptr) {
        return 0;
    }
    int64_t year = time->year < FIRST_FULL_YEAR ? static_cast<uint16_t>(time->year + 1900) : time->year;
    // Gauss's day count: January and February are months 11 and 12 of the year before, so that leap days come last.
    int64_t month = static_cast<int64_t>(time->month) - 2;
    if (month < 1) {
        month += 12;
        year -= 1;
    }
    const int64_t days = year / 4 - year / 100 + year / 400 + 367 * month / 12 + time->day + 365 * year - EPOCH_DAY;
    return static_cast<uint64_t>(((days * 24 + time->hour) * 60 + time->minute) * 60 + time->second);
}
