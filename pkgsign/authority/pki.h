// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What an authority remembers: certificates, revocations and CRLs. It is kept in pki.json; see folder.h.
#ifndef PKGSIGN_AUTHORITY_PKI_H
#define PKGSIGN_AUTHORITY_PKI_H

#include <string>
#include <vector>

#include "pkgsign/files/time.h"
#include "pkgsign/status.h"

namespace pkgsign
{

enum class Role { Root, IssuingCa, Signer, Timestamp };

// "root", "issuing-ca", "signer" or "timestamp": in files, and as the name of the first of its kind.
const char *RoleName(Role role);
Status ParseRole(const std::string &text, Role *roleOut);

inline bool IsCa(Role role)
{
    return role == Role::Root || role == Role::IssuingCa;
}

// Whether a text can be the name of a certificate in a folder, and so part of a path: letters, digits and . _ -, of
// which the first is no . or -.
bool IsName(const std::string &text);

enum class State {
    Requested, // there is a key, and no certificate for it yet
    Begun,     // the serial number is taken; the certificate may or may not have been signed
    Issued,    // certificates/NAME.pem holds it
};

struct Entry {
    std::string name; // in this folder
    Role role = Role::Signer;
    State state = State::Issued;
    std::string key; // URI; a path is relative to the folder; empty: the key is not here
    std::string
        authority; // of a CA: under which its revocations and CRLs are kept; certificates of one name and key share it
    std::string issuer;  // authority of the CA that issued it
    std::string serial;  // hexadecimal
    std::string subject; // for who reads the file
    int64_t notBefore = 0;
    int64_t notAfter = 0;
};

struct Revocation {
    std::string issuer; // authority
    std::string serial;
    std::string reason; // as RFC 5280, 5.3.1 names it
    int64_t date = 0;
    int64_t noted = 0; // when it was remembered
};

// The last CRL of an authority. `number` is decimal: it may be longer than any integer.
struct PublishedCrl {
    std::string issuer; // authority
    std::string number;
    int64_t thisUpdate = 0;
    int64_t nextUpdate = 0;
};

// Lifetimes in seconds.
struct Lifetimes {
    int64_t issuingCa = 5 * SECONDS_PER_YEAR;
    int64_t signer = SECONDS_PER_YEAR;
    int64_t timestamp = 2 * SECONDS_PER_YEAR;
    int64_t crl = 120 * SECONDS_PER_DAY;
};

struct Pki {
    std::string country = "DE";
    std::string organization = "Sigkit";
    Lifetimes lifetimes;
    std::vector<Entry> certificates; // in the order in which they came
    std::vector<Revocation> revocations;
    std::vector<PublishedCrl> crls;
};

// The text of pki.json.
std::string EncodePki(const Pki &pki);

// Reads it. A damaged one is refused with line and column. source: its path, for the reason.
Status DecodePki(const Bytes &data, const std::string &source, Pki *pkiOut);

const Entry *FindEntry(const Pki &pki, const std::string &name);
Entry *FindEntry(Pki *pki, const std::string &name);

// The certificate with this issuer and serial number; null when it is not known.
const Entry *FindSerial(const Pki &pki, const std::string &issuer, const std::string &serial);
const Revocation *FindRevocation(const Pki &pki, const std::string &issuer, const std::string &serial);
std::vector<Revocation> RevocationsOf(const Pki &pki, const std::string &issuer);
const PublishedCrl *FindCrl(const Pki &pki, const std::string &authority);

// The CA certificate of an authority that ends last; null when there is none.
const Entry *FindAuthority(const Pki &pki, const std::string &authority);

// Remembers the last CRL of an authority, in place of an earlier one.
void RememberCrl(const PublishedCrl &crl, Pki *pki);

// A name that is not taken: `name`, or `name` with -2, -3 and so on.
std::string FreeName(const Pki &pki, const std::string &name);

// Compares decimal numbers of any length: less than, equal to or greater than 0.
int CompareNumbers(const std::string &a, const std::string &b);

} // namespace pkgsign

#endif
