#include "fuzz/support/armour.h"

#include "fuzz/support/resign.h"
#include "fuzz/support/tlv.h"

PkgsignBytes FuzzArmour(const char *label, const PkgsignBytes &der, bool carriageReturn)
{
    const std::string text = PkgsignArmour(label, der, carriageReturn ? PkgsignLineEnd::CrLf : PkgsignLineEnd::Lf);
    return PkgsignBytes(text.begin(), text.end());
}

PkgsignBytes FuzzArmourObjects(const PkgsignBytes &objects, bool carriageReturn)
{
    PkgsignBytes text;
    for (const TlvNode &object : TlvParse(objects)) {
        const char *const label = FuzzIsCertificate(object) ? PKGSIGN_LABEL_CERTIFICATE : PKGSIGN_LABEL_CRL;
        const PkgsignBytes block = FuzzArmour(label, TlvEncode(object), carriageReturn);
        text.insert(text.end(), block.begin(), block.end());
    }
    return text;
}
