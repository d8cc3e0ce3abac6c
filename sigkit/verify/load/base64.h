// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Base64 (RFC 4648, section 4) as it stands in PEM armour.
#ifndef VERIFY_LOAD_BASE64_H
#define VERIFY_LOAD_BASE64_H

#include <stdint.h>

// What an input character means: 0 to 63 a digit, 64 the padding, 127 none of them.
extern const uint8_t g_skvBase64DecMap[128];

// Decodes Base64 text. Line ends are skipped, blanks only at the end of a line or of the text. Lenient, deliberately: a
// character outside the alphabet below 128 decodes as the digit 63.
//
//   input   in, `inputLen` characters.
//   output  out, or null to ask for the length.
//   len     in/out, the space at `output` in; the octets written out, or, when `output` is null or too small, the space
//           that is needed, with nothing written.
//
// Returns SIGKIT_OK, SIGKIT_ERR_PARAM when `input` or `len` is null or `inputLen` 0, or SIGKIT_ERR_BASE64.
//
// Logs: nothing.
[[nodiscard]] uint32_t SigkitBase64Decode(const char *input, int32_t inputLen, uint8_t *output, uint32_t *len);

// Decodes Base64 text from `begin` up to `end` into a new block.
//
//   data  out, owned by the caller until SigkitFree. Not written on failure.
//   len   out, octets written to it.
//
// Returns SIGKIT_OK, what SigkitBase64Decode returns, SIGKIT_ERR_ARMOUR when nothing comes out, or
// SIGKIT_ERR_NO_MEMORY.
//
// Logs: each failure.
[[nodiscard]] uint32_t InternalBase64Decode(const char *begin, const char *end, uint8_t **data, uint32_t *len);

#endif
