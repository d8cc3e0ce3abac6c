// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "fuzz/support/armour.h"

#include "fuzz/support/resign.h"
#include "fuzz/support/tlv.h"

forge::Bytes FuzzArmour(const char *label, const forge::Bytes &der, bool carriageReturn)
{
    const std::string text = forge::Armour(label, der, carriageReturn ? forge::LineEnd::CrLf : forge::LineEnd::Lf);
    return forge::Bytes(text.begin(), text.end());
}

forge::Bytes FuzzArmourObjects(const forge::Bytes &objects, bool carriageReturn)
{
    forge::Bytes text;
    for (const TlvNode &object : TlvParse(objects)) {
        const char *const label = FuzzIsCertificate(object) ? forge::LABEL_CERTIFICATE : forge::LABEL_CRL;
        const forge::Bytes block = FuzzArmour(label, TlvEncode(object), carriageReturn);
        text.insert(text.end(), block.begin(), block.end());
    }
    return text;
}
