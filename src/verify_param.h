// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The parsed command line, which the frame of the tool fills and an operation reads.
#ifndef SRC_VERIFY_PARAM_H
#define SRC_VERIFY_PARAM_H

#include <stddef.h>

// Octets of the fields, their NUL included.
inline constexpr size_t OPCODE_SIZE = 32;
inline constexpr size_t PATH_SIZE = 128;

// An option that is not given leaves its field empty; a longer text is cut to the field.
struct VerifyParam {
    char opcode[OPCODE_SIZE];     // -f, name of the operation
    char cmsPath[PATH_SIZE];      // -h, path of the detached CMS signature
    char checksumPath[PATH_SIZE]; // -e, path of the checksum file, the signed content
    char crlPath[PATH_SIZE];      // -c, path of the CRL file
    char reserved[PATH_SIZE];     // not used
};

#endif
