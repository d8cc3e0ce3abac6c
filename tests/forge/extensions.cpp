// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/forge/extensions.h"
#include "tests/forge/der.h"
#include "tests/forge/keys.h"
#include "tests/forge/status.h"

namespace forge
{
namespace
{
Bytes Encode(const Bytes &identifier, bool critical, const Bytes &value)
{
    // X.690, 11.5: a default value is left out
    const Bytes flag = critical ? DerBoolean(true) : Bytes();
    return DerSequence({identifier, flag, DerOctetString(value)});
}

} // namespace

Bytes EncodeExtension(const char *identifier, bool critical, const Bytes &value)
{
    return Encode(DerKnownIdentifier(identifier), critical, value);
}

Status EncodeAuthorityKeyIdentifier(const Key &issuerKey, Bytes *extensionOut)
{
    Bytes identifier;
    const Status status = KeyIdentifier(issuerKey, &identifier);
    if (!status.ok) {
        return status;
    }
    const Bytes keyIdentifier = DerElement(0x80, identifier); // [0] IMPLICIT OCTET STRING
    *extensionOut = EncodeExtension("2.5.29.35", false, DerSequence({keyIdentifier}));
    return Ok();
}

Status AppendExtensions(const std::vector<Extension> &extensions, std::vector<Bytes> *list)
{
    for (const Extension &extension : extensions) {
        Bytes identifier;
        const Status status = DerObjectIdentifier(extension.identifier, &identifier);
        if (!status.ok) {
            return status;
        }
        list->push_back(Encode(identifier, extension.critical, extension.value));
    }
    return Ok();
}
} // namespace forge
