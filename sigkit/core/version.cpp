// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "sigkit/sigkit.h"

const char *SigkitGetVersion(void)
{
    return "V2.0.0.650";
}
