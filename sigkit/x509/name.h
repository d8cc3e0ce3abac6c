// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// X.501 names: equality and a printable form.
#ifndef X509_NAME_H
#define X509_NAME_H

#include <stdint.h>

#include "asn1/records.h"

// Octets of a printed name, its NUL included.
inline constexpr uint32_t SIGKIT_NAME_TEXT_SIZE = 256;

// Compares two names, octet for octet and position for position. Deliberate: of a multi-valued
// RelativeDistinguishedName only the first attribute counts (wider than RFC 5280, 7.1), and strings are compared as
// they stand (narrower).
//
// Returns 0 when they are equal, -1 when they differ, and the bits of SIGKIT_ERR_PARAM when one is null.
[[nodiscard]] int32_t SigkitCompareX509Name(const SigkitX509Name *a, const SigkitX509Name *b);

// Prints a name as "C=..,O=..,CN=.." in the order of its encoding, without escaping or conversion of characters.
// A value that does not fit 127 characters with its prefix is cut, with a warning; an attribute that no longer fits 255
// characters in all ends its RelativeDistinguishedName.
//
//   text  out, NUL-terminated, owned by the caller until SigkitFree.
//   len   out, its length.
//
// Returns SIGKIT_OK, SIGKIT_ERR_PARAM for a null argument, SIGKIT_ERR_NO_MEMORY, SIGKIT_ERR_NAME_ATTRIBUTE for an
// attribute type outside the table of identifiers, or the code of a bounds-checked function. Nothing is written on
// failure.
//
// Logs: each failure but SIGKIT_ERR_PARAM, and a value that is cut, as a warning.
[[nodiscard]] uint32_t SigkitConvertFromX509Name(const SigkitX509Name *name, char **text, uint32_t *len);

#endif
