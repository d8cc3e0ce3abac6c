// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Status codes by name, for the messages of failing tests.
#ifndef SUPPORT_STATUS_NAMES_H
#define SUPPORT_STATUS_NAMES_H

#include <stdint.h>
#include <stdio.h>

#include <string>

#include "sigkit/sigkit.h"

// Returns the macro's name of a status code, or its hexadecimal digits when there is none.
inline std::string StatusName(uint32_t status)
{
    char digits[16] = {};
    (void)snprintf(digits, sizeof(digits), "0x%08X", status);
    const std::string name = SigkitStatusName(status);
    return name.empty() ? digits : name;
}

// Compares two status codes by name: EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitListAdd(nullptr, nullptr)).
#define EXPECT_STATUS(expected, actual) EXPECT_EQ(StatusName(expected), StatusName(actual))
#define ASSERT_STATUS(expected, actual) ASSERT_EQ(StatusName(expected), StatusName(actual))

#endif
