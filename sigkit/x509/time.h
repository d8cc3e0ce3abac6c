// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// UTCTime and GeneralizedTime (RFC 5280, 4.1.2.5) to seconds, without the C library's time zone.
//
// Logs: nothing, in any function of this header.
#ifndef X509_TIME_H
#define X509_TIME_H

#include <stdint.h>

#include "asn1/types.h"

// A broken-down time, UTC. The fields are as decoded; their ranges are not checked.
struct SigkitDateTime {
    uint16_t year;  // all four digits
    uint8_t month;  // 1 to 12
    uint8_t day;    // 1 to 31
    uint8_t hour;   // 0 to 23
    uint8_t minute; // 0 to 59
    uint8_t second; // 0 to 59
};

// Breaks a time view down. Lenient: only the tag and the length are checked; neither that the characters are digits nor
// that the last one is Z. Fractions of a second and zone offsets are refused by their length.
//
// Returns SIGKIT_OK, SIGKIT_ERR_PARAM for a null argument, or SIGKIT_ERR_TIME_FORMAT.
[[nodiscard]] uint32_t SigkitConvertFromTime(const SigkitAsnOcts *time, SigkitDateTime *out);

// Converts a time view (the name misleads: not a SigkitDateTime) to seconds since 1970-01-01 00:00:00 UTC; an earlier
// instant is the two's complement of its distance, so that it reads as negative in a signed field.
//
// Returns what SigkitConvertFromTime returns.
[[nodiscard]] uint32_t SigkitConvertDatetimeToTime(const SigkitAsnOcts *time, uint64_t *seconds);

// Converts a broken-down time to seconds since 1970-01-01 00:00:00 UTC; 0 for null. A year below 1901 counts from 1900.
[[nodiscard]] uint64_t SigkitMktime(const SigkitDateTime *time);

#endif
