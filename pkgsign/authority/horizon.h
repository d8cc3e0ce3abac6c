// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Until when devices accept new packages.
#ifndef PKGSIGN_AUTHORITY_HORIZON_H
#define PKGSIGN_AUTHORITY_HORIZON_H

#include <string>
#include <vector>

#include "pkgsign/authority/party.h"

namespace pkgsign
{

struct Horizon {
    std::string what; // ends first
    int64_t time = 0;
};

// Of certificates, those of the CAs above them, and the CRLs of these in the CRL file of devices. crlFile: empty when
// it is not known.
Horizon FindHorizon(const std::vector<Party> &parties, const std::vector<Certificate> &authorities,
                    const Bytes &crlFile);

} // namespace pkgsign

#endif
