// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Files that depart from what devices take in one thing each.
#ifndef TESTS_PKGSIGN_INSPECT_DEPARTURES_H
#define TESTS_PKGSIGN_INSPECT_DEPARTURES_H

#include <functional>
#include <string>
#include <vector>

#include "pkgsign/status.h"
#include "tests/support/der_records.h"

struct Departure {
    std::string code;
    std::string path; // of the finding
    pkgsign::Bytes octets;
};

std::vector<Departure> AllDepartures();

// Objects like those of der_records.h but for a change.
pkgsign::Bytes CertificateWith(const std::function<void(der::TbsCertificate *)> &change);
pkgsign::Bytes MessageWith(const std::function<void(der::SignedData *, der::SignerInfo *)> &change);
pkgsign::Bytes TokenWith(const std::function<void(der::TstInfo *)> &change);

#endif
