// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// A host without files or libcrypto. A signature holds under a key when its first octet is the modulus's last one, so a
// test writes certificates and CRLs that verify by hand, and thousands of them cost nothing.
#ifndef SUPPORT_PRETENDED_HOST_H
#define SUPPORT_PRETENDED_HOST_H

#include <stdint.h>

#include <string>
#include <vector>

struct PretendedHost {
    std::vector<std::string> lines; // level letter, function, code in hexadecimal, text
    bool keepsLines = true;
    uint64_t printedOctets = 0; // of all lines, as the tool prints them on standard output
    uint32_t signatureChecks = 0;
    uint32_t checkFailAt = 0; // number of the signature check that fails, from 1; 0 for none
    int32_t liveBlocks = 0;
    uint32_t allocations = 0;
    uint32_t failAt = 0; // number of the allocation that fails, from 1; 0 for none
};

extern PretendedHost g_pretendedHost;

#endif
