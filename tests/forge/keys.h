// The public half of a key, as certificates and key identifiers need it.
#ifndef TESTS_FORGE_KEYS_H
#define TESTS_FORGE_KEYS_H

#include "tests/forge/forge.h"

namespace forge
{
// SubjectPublicKeyInfo.
Status EncodePublicKey(const Key &key, Bytes *publicKeyInfoOut);

// SHA-1 of the subjectPublicKey bits: method (1) of RFC 5280, 4.2.1.2.
Status KeyIdentifier(const Key &key, Bytes *identifierOut);
} // namespace forge

#endif
