// Status codes by name, for the messages of failing tests.
#ifndef SUPPORT_STATUS_NAMES_H
#define SUPPORT_STATUS_NAMES_H

#include <stdint.h>

#include <string>

// Returns the macro's name of a status code, or its hexadecimal digits when sigkit.h has no name for it.
std::string StatusName(uint32_t status);

// Compares two status codes by name: EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitListAdd(nullptr, nullptr)).
#define EXPECT_STATUS(expected, actual) EXPECT_EQ(StatusName(expected), StatusName(actual))
#define ASSERT_STATUS(expected, actual) ASSERT_EQ(StatusName(expected), StatusName(actual))

#endif
