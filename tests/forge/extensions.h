// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Extensions of certificates and CRLs (RFC 5280, 4.2 and 5.2).
#ifndef TESTS_FORGE_EXTENSIONS_H
#define TESTS_FORGE_EXTENSIONS_H

#include "tests/forge/forge.h"

#include <vector>

namespace forge
{
// Extension ::= SEQUENCE { extnID, critical DEFAULT FALSE, extnValue OCTET STRING }
// identifier: dotted, from our own source. value: the DER value that the OCTET STRING wraps.
Bytes EncodeExtension(const char *identifier, bool critical, const Bytes &value);

// The AuthorityKeyIdentifier extension with the key identifier of `issuerKey`.
Status EncodeAuthorityKeyIdentifier(const Key &issuerKey, Bytes *extensionOut);

// Encodes each of `extensions` and puts it behind `list`.
Status AppendExtensions(const std::vector<Extension> &extensions, std::vector<Bytes> *list);
} // namespace forge

#endif
