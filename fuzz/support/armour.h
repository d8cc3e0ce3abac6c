// PEM text around the parts of an input.
#ifndef FUZZ_ARMOUR_H
#define FUZZ_ARMOUR_H

#include "pkgsign/pkgsign.h"

// One block.
PkgsignBytes FuzzArmour(const char *label, const PkgsignBytes &der, bool carriageReturn);

// One block for each object: CERTIFICATE for what has the shape of a certificate, X509 CRL for anything else.
PkgsignBytes FuzzArmourObjects(const PkgsignBytes &objects, bool carriageReturn);

#endif
