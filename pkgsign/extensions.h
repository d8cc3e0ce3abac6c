// Extensions of certificates and CRLs (RFC 5280, 4.2 and 5.2).
#ifndef PKGSIGN_EXTENSIONS_H
#define PKGSIGN_EXTENSIONS_H

#include "pkgsign/pkgsign.h"

#include <vector>

// Extension ::= SEQUENCE { extnID, critical DEFAULT FALSE, extnValue OCTET STRING }
// identifier: dotted, from our own source. value: the DER value that the OCTET STRING wraps.
PkgsignBytes PkgsignEncodeExtension(const char *identifier, bool critical, const PkgsignBytes &value);

// The AuthorityKeyIdentifier extension with the key identifier of `issuerKey`.
PkgsignStatus PkgsignEncodeAuthorityKeyIdentifier(const PkgsignKey &issuerKey, PkgsignBytes *extensionOut);

// Encodes each of `extensions` and puts it behind `list`.
PkgsignStatus PkgsignAppendExtensions(const std::vector<PkgsignExtension> &extensions, std::vector<PkgsignBytes> *list);

#endif
