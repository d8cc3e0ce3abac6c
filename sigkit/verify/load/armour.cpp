// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "verify/load/armour.h"

#include "sigkit/sigkit_host.h"

bool InternalIsPem(const uint8_t *data)
{
    const char *const text = reinterpret_cast<const char *>(data);
    return SigkitStrNCmp(text, SIGKIT_PEM_BEGIN, InternalTextLen(SIGKIT_PEM_BEGIN)) == 0;
}
