// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// A package to be verified, as a description that a case changes in one thing, and the files that are made from it.
//
// Whatever is changed is signed again: certificates by their issuers, CRLs, signers, tokens over the signature that
// came out. A case that is about a signature itself changes what was made, by an Edit.
#ifndef VECTORS_PACKAGE_H
#define VECTORS_PACKAGE_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tests/forge/forge.h"
#include "tests/support/der_records.h"

namespace vectors
{
using forge::Bytes;
using Edit = std::function<Bytes(Bytes)>;

inline constexpr int64_t SIGNING_TIME = 1768478400; // 2026-01-15 12:00:00 UTC: genTime of the tokens
inline constexpr int64_t DAY = 86400;

// Parties of every package, as places in its list. Further ones come behind them.
enum : size_t { ROOT, SIGNING_CA, SIGNER, TIMESTAMP_CA, TIMESTAMP };

// The CRLs of every package, in the order of the CRL file.
enum : size_t { ROOT_CRL, SIGNING_CRL, TIMESTAMP_CRL };

struct CertificatePlan {
    size_t issuer = ROOT;
    forge::CertificateRequest request; // the issuer's name and key are filled in where they are missing
    Edit toBeSigned;
    Edit whole;
};

struct CrlPlan {
    size_t issuer = ROOT;
    forge::CrlRequest request; // as above
    Edit toBeSigned;
    Edit whole;
};

// One SignedData with one signer: the message, or the token in it.
struct SignedPlan {
    size_t signer = SIGNER;
    forge::Digest digest = forge::Digest::Sha256;
    std::vector<size_t> certificates; // that are embedded, in this order
    bool signedAttributes = true;
    std::function<void(std::vector<Bytes> *)> attributes; // changes the signed attributes before they are signed
    std::function<Bytes(const Bytes &)> sign;             // makes the signature value over these octets itself
    std::function<void(der::SignerInfo *)> signerInfo;    // changes the finished SignerInfo
    std::function<void(der::SignedData *)> signedData;    // changes the finished SignedData
    Edit whole;                                           // changes the encoded message
};

struct Package {
    Bytes content;
    std::vector<CertificatePlan> parties;
    std::vector<CrlPlan> crls;
    std::vector<size_t> crlFileCertificates; // behind the CRLs
    SignedPlan message;
    SignedPlan token;
    bool timestamped = true;
    Bytes genTime; // encoded
    std::function<void(der::TstInfo *, const Bytes &signature)> tstInfo;
    std::function<void(std::vector<Bytes> *)> unsignedAttributes; // changes those of the message's signer
    bool otherRoot = false; // the root is made from parties[ROOT], and is not the one of all other packages
    Edit crlFile;
    Edit contentFile; // changed behind the signer's back
};

struct Files {
    Bytes root;
    Bytes crls;
    Bytes signature;
    Bytes content;
};

// Makes a package that every verifier must accept.
Package GoodPackage();

// Makes the files. Ends the process when that fails: then this source is wrong.
Files MakeFiles(const Package &package);

// A party of this name below another, as a CA or as a signer of code or timestamps; returns its place.
size_t AddCa(Package *package, const std::string &commonName, size_t issuer);
size_t AddSigner(Package *package, const std::string &commonName, size_t issuer, const char *purpose);

// An empty CRL of a party at the end of the CRL file; returns its place.
size_t AddCrl(Package *package, size_t issuer);

// Lists a party in a CRL. reason: negative for none.
void Revoke(Package *package, size_t crl, size_t party, int64_t date, int reason = -1);

// A key of this name and length, made anew in each run, the same one for the whole run.
forge::Key KeyOf(const std::string &name, int bits = 2048);

Bytes HashOf(forge::Digest digest, const Bytes &data);
Bytes SignWith(const forge::Key &key, forge::Digest digest, const Bytes &data);
Bytes Octets(const std::string &text);
forge::Name NameOf(const std::string &commonName);
} // namespace vectors

#endif
