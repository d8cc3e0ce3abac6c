// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What a CRL file is made from: the CAs, what each has signed last, and what is remembered of them.
#ifndef PKGSIGN_AUTHORITY_CRL_SOURCES_H
#define PKGSIGN_AUTHORITY_CRL_SOURCES_H

#include <string>
#include <vector>

#include "pkgsign/authority/crls.h"
#include "pkgsign/authority/issue.h"

namespace pkgsign
{

// A CA as it would be: its entry, and a certificate with a throwaway signature.
struct NewCa {
    Entry entry;
    Certificate certificate;
};

// What to do about CRLs of this folder's keys that are dated ahead, because they were signed under a wrong clock.
enum class DatedAhead {
    Refused,    // the clock of today may be the wrong one
    Released,   // devices may have them, and take only what is later: new ones are dated a second after them
    Unreleased, // no device has them: they count for nothing but their numbers and entries
};

struct CrlFileOrder {
    std::vector<std::string> added;  // files with CRLs and certificates of other machines
    std::string replaced;            // path of the file that it will replace; empty or missing: none
    bool isPart = false;             // only the CRLs of this folder's keys, to be joined with others elsewhere
    int64_t nextUpdate = 0;          // 0: by the folder's cadence
    std::vector<Revocation> further; // revocations to try, beside those that are remembered
    const NewCa *newCa = nullptr;    // a CA to try, beside those of the folder or in the place of one of them
    DatedAhead datedAhead = DatedAhead::Refused;
};

// A CA that the folder knows, or a file that was given.
struct KnownCa {
    Certificate certificate; // of several, the one that ends last
    std::string id;          // in the folder; empty: from a file
    const Entry *entry = nullptr;
    Crl last; // the newest that is known
};

struct CrlSources {
    const Workplace &place;
    const CrlFileOrder &order;
    Pki pki;                          // with the revocations to try
    std::vector<KnownCa> authorities; // the root first
    Bytes replaced;
    bool isDatedAhead = false; // some CRL of this folder's keys
};

// Whether a CRL is dated later than clocks differ.
bool IsDatedAhead(const X509_CRL *crl, int64_t now);

// Reads the folder, the added files and the replaced one. Refuses when a file shows revocations or numbers of a CA of
// this folder that its memory lacks.
Status ReadCrlSources(CrlSources *sources);

} // namespace pkgsign

#endif
