// The public half of a key, as certificates and key identifiers need it.
#ifndef PKGSIGN_KEYS_H
#define PKGSIGN_KEYS_H

#include "pkgsign/pkgsign.h"

// SubjectPublicKeyInfo.
PkgsignStatus PkgsignEncodePublicKey(const PkgsignKey &key, PkgsignBytes *publicKeyInfoOut);

// SHA-1 of the subjectPublicKey bits: method (1) of RFC 5280, 4.2.1.2.
PkgsignStatus PkgsignKeyIdentifier(const PkgsignKey &key, PkgsignBytes *identifierOut);

#endif
