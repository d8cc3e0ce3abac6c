// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What the files of the host callbacks have in common.
#ifndef SRC_UPGRADE_SIGKIT_SDK_CALLBACK_CALLBACK_H
#define SRC_UPGRADE_SIGKIT_SDK_CALLBACK_CALLBACK_H

#include <stdint.h>

// The source of every event in the log, whichever of the files it comes from: field support knows the callbacks by it.
#define SOURCE_NAME "upgrade_sigkit_sdk_callback"

inline constexpr int32_t FAILURE = -1;

#endif
