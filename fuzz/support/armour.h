// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// PEM text around the parts of an input.
#ifndef FUZZ_ARMOUR_H
#define FUZZ_ARMOUR_H

#include "tests/forge/forge.h"

// One block.
forge::Bytes FuzzArmour(const char *label, const forge::Bytes &der, bool carriageReturn);

// One block for each object: CERTIFICATE for what has the shape of a certificate, X509 CRL for anything else.
forge::Bytes FuzzArmourObjects(const forge::Bytes &objects, bool carriageReturn);

#endif
