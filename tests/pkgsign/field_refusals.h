// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Twelve packages as devices in the field have refused them: each is good but for one mistake that people make.
#ifndef TESTS_PKGSIGN_FIELD_REFUSALS_H
#define TESTS_PKGSIGN_FIELD_REFUSALS_H

#include <string>
#include <vector>

#include "tests/forge/forge.h"
#include "tests/support/process.h"

// What a device gets, and the root that it has built in. Signed and timestamped at FIELD_SIGNING_TIME.
struct FieldPackage {
    forge::Bytes root;      // DER
    forge::Bytes crls;      // the CRL file
    forge::Bytes checksums; // the content
    forge::Bytes signature;
};

inline constexpr int64_t FIELD_SIGNING_TIME = 1773144000; // 2026-03-10 12:00:00 UTC

// What the packages are made of: a PKI whose root is built into the tool under test, and a good package under it.
struct FieldWorkshop {
    forge::Pki pki;
    FieldPackage good;
    forge::Bytes crlsOfJanuary;  // ended before the package was signed
    forge::Identity endedSigner; // whose certificate ended before the package was signed
};

struct FieldRefusal {
    const char *name; // of the mistake, as a test's name has it
    int exitStatus;   // verify_tool's
    uint32_t status;  // behind it; 0xFFFFFFFF for content that does not match
    forge::Status (*spoil)(const FieldWorkshop &workshop, FieldPackage *package); // package: the good one
};

extern const std::vector<FieldRefusal> FIELD_REFUSALS;

// Lets pkgsign make what there is to make, in a copy of the PKI folder.
//
//   pkgsign    in, path of the program.
//   pkiFolder  in, the folder of the root that is built into the tool under test, with keys that are not encrypted.
forge::Status OpenFieldWorkshop(const std::string &pkgsign, const std::string &pkiFolder, FieldWorkshop *workshopOut);

// The same, opened once in a process: keys and signatures take a while. Where it cannot be, the test that asks first
// fails.
const FieldWorkshop &SharedFieldWorkshop(const std::string &pkgsign, const std::string &pkiFolder);

forge::Status MakeFieldRefusal(const FieldWorkshop &workshop, const FieldRefusal &refusal, FieldPackage *packageOut);

// Writes "root.der", "crls.der", "checksums" and "checksums.cms".
forge::Status WriteFieldPackage(const TemporaryDirectory &directory, const FieldPackage &package);

#endif
