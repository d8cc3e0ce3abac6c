// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "sigkit/sigkit.h"

// Two codes of one value would be two equal cases, which do not compile.

const char *SigkitStatusText(uint32_t status)
{
    switch (status) {
#define SIGKIT_STATUS(name, value, met, meaning, remedy)                                                               \
    case name:                                                                                                         \
        return meaning;
#include "core/status_list.def"
#undef SIGKIT_STATUS
    default:
        return "not a status code of Sigkit";
    }
}

const char *SigkitStatusName(uint32_t status)
{
    switch (status) {
#define SIGKIT_STATUS(name, value, met, meaning, remedy)                                                               \
    case name:                                                                                                         \
        return #name;
#include "core/status_list.def"
#undef SIGKIT_STATUS
    default:
        return "";
    }
}
