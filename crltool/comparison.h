// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The comparison of two CRL files: what the library says of them, and what the library does not look at.
#ifndef CRLTOOL_COMPARISON_H
#define CRLTOOL_COMPARISON_H

#include <stdint.h>

#include "asn1/records.h"
#include "core/list.h"
#include "crltool/crl_file.h"

// Certificates and images that a file may bring. A verifier's context holds 16 of each, and not all is the file's: the
// root, the at most two certificates of a message and of its token each, and the image of a message that is PEM. A
// message in DER and the token take no image.
inline constexpr uint32_t FILE_CERTS_MAX = SIGKIT_LIST_CAPACITY - 1 - 2 - 2;
inline constexpr uint32_t FILE_IMAGES_MAX = SIGKIT_LIST_CAPACITY - 1 - 1;

// Why two files cannot be compared.
enum class Obstacle {
    NONE,
    LIBRARY,        // `detail` is the status of SigkitCrlCompare
    CONFLICT,       // each file is newer for some issuer
    SKIPPED_CRLS,   // `detail` of them
    UNREADABLE_CRL, // the `detail`-th of the file, from 1
    NAMELESS_CRL,   // as before
    TOO_MANY_IMAGES,
    TOO_MANY_CERTS, // `detail` of them
    STRAY_CERT,     // `cert`; `detail` is what its path ends with
};

struct Problem {
    Obstacle obstacle = Obstacle::NONE;
    const LoadedCrlFile *file = nullptr; // of those from SKIPPED_CRLS on
    uint32_t detail = 0;
    const SigkitX509Cert *cert = nullptr;
};

// A CRL whose date should be looked at before the answer is followed.
struct FarAhead {
    const LoadedCrlFile *file = nullptr;
    const SigkitCrlInfo *info = nullptr; // null: there is none
    int64_t due = 0;                     // by when it should have been issued; seconds since 1970-01-01 00:00:00 UTC
};

struct Comparison {
    const LoadedCrlFile &first;
    const LoadedCrlFile &second;
    Problem problem;
    uint32_t result;      // of SigkitCrlCompare; SIGKIT_CRL_CONFLICT when there is a problem
    FarAhead warnings[2]; // of the first and of the second file
};

// Compares two files that were loaded. There are obstacles besides those of SigkitCrlCompare. Of each file: an issuer
// whose name cannot be printed, because all of these look alike; and a CRL that was skipped or, at the end of the file,
// that cannot be summarised, because the file then looks like one without it. Of the one that is newer, of both when
// they are equally new: no space for a package beside it, and a certificate that the root does not stand behind,
// because with such a file nothing might be verified.
Comparison CompareFiles(const LoadedCrlFile &first, const LoadedCrlFile &second);

#endif
