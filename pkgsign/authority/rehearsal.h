// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Certificates tried before they are signed: does a device take a package that they stand behind?
#ifndef PKGSIGN_AUTHORITY_REHEARSAL_H
#define PKGSIGN_AUTHORITY_REHEARSAL_H

#include <functional>
#include <vector>

#include "pkgsign/authority/certificates.h"
#include "pkgsign/authority/crls.h"
#include "pkgsign/authority/device.h"

namespace pkgsign
{

// The certificates behind a package, from the root down.
struct Chain {
    Certificate root;
    Certificate issuingCa; // null: one is made up
    Certificate signer;    // null: one is made up under issuingCa
    Certificate timestamp; // likewise
};

// Tries a package that is stamped at `time`, with throwaway keys and made-up CRLs that revoke nothing.
Status RehearseChain(const Chain &chain, int64_t time);

// Makes a token over the signature value of a message.
using StampSignature = std::function<Status(const Bytes &signature, Bytes *tokenOut)>;

// Tries a package with a token that `stamp` makes, of the chain's timestamp authority and with its real key.
Status RehearseStamp(const Chain &chain, int64_t time, const StampSignature &stamp);

// The certificate of a new CA, signed by the stand-in of the root. fields: its issuer need not be filled in.
Status MakeTrialCa(const Certificate &root, const CertificateFields &fields, Setting *setting, Certificate *out);

// Tries what a renewed CA does to packages of the old one, and whether devices can still compare CRL files.
// renewed: its issuer need not be filled in.
Status RehearseRenewal(const Certificate &root, const Certificate &oldCa, const CertificateFields &renewed);

// Makes up a certificate that lives at `time` only, with a throwaway key, under a CA whose stand-in signs it.
Status MakeUpCertificate(Role role, const Certificate &issuer, int64_t time, Setting *setting, Certificate *out);

// CRLs of the CAs, signed by their stand-ins, with the entries given for each; behind them the CA certificates. For a
// machine that has no CRLs.
struct MadeUpCrl {
    Certificate issuer;
    std::vector<Revocation> entries;
};
Status MakeUpCrlFile(const std::vector<MadeUpCrl> &crls, int64_t time, Setting *setting);

} // namespace pkgsign

#endif
