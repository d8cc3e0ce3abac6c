#include "pkgsign/extensions.h"
#include "pkgsign/der.h"
#include "pkgsign/keys.h"
#include "pkgsign/status.h"

namespace
{
PkgsignBytes Encode(const PkgsignBytes &identifier, bool critical, const PkgsignBytes &value)
{
    // X.690, 11.5: a default value is left out
    const PkgsignBytes flag = critical ? PkgsignDerBoolean(true) : PkgsignBytes();
    return PkgsignDerSequence({identifier, flag, PkgsignDerOctetString(value)});
}

} // namespace

PkgsignBytes PkgsignEncodeExtension(const char *identifier, bool critical, const PkgsignBytes &value)
{
    return Encode(PkgsignDerKnownIdentifier(identifier), critical, value);
}

PkgsignStatus PkgsignEncodeAuthorityKeyIdentifier(const PkgsignKey &issuerKey, PkgsignBytes *extensionOut)
{
    PkgsignBytes identifier;
    const PkgsignStatus status = PkgsignKeyIdentifier(issuerKey, &identifier);
    if (!status.ok) {
        return status;
    }
    const PkgsignBytes keyIdentifier = PkgsignDerElement(0x80, identifier); // [0] IMPLICIT OCTET STRING
    *extensionOut = PkgsignEncodeExtension("2.5.29.35", false, PkgsignDerSequence({keyIdentifier}));
    return PkgsignOk();
}

PkgsignStatus PkgsignAppendExtensions(const std::vector<PkgsignExtension> &extensions, std::vector<PkgsignBytes> *list)
{
    for (const PkgsignExtension &extension : extensions) {
        PkgsignBytes identifier;
        const PkgsignStatus status = PkgsignDerObjectIdentifier(extension.identifier, &identifier);
        if (!status.ok) {
            return status;
        }
        list->push_back(Encode(identifier, extension.critical, extension.value));
    }
    return PkgsignOk();
}
