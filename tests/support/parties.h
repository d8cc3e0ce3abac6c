// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// A root, a CA, signers and what they sign: the material of good packages, to be changed in one thing by a test.
#ifndef SUPPORT_PARTIES_H
#define SUPPORT_PARTIES_H

#include <stdint.h>

#include <string>
#include <vector>

#include "tests/forge/forge.h"

// When packages are timestamped: 2022-01-01.
inline constexpr int64_t PACKAGE_TIME = 1640995200;
inline constexpr int64_t PACKAGE_DAY = 86400;

// A certificate authority or signer with its key.
struct Party {
    forge::Bytes certificate;
    forge::Key key;
};

// The parties of all packages: root, issuing CA below it, code signer and timestamp authority below that, and a root
// and CA of somebody else.
struct Parties {
    Party root;
    Party issuingCa;
    Party signer;
    Party timestamp;
    Party otherRoot;
};

// The parties, made once for the process.
const Parties &AllParties();

// A request for a certificate of `subject`, with a new key, as the parties' own are made; change it before Certify.
forge::CertificateRequest CertificateRequest(const std::string &commonName, const Party *issuer);

// Makes the certificate and keeps its key. Ends the process when that fails.
Party Certify(const forge::CertificateRequest &request);

// A CRL request of an issuer around PACKAGE_TIME, revoking nothing.
forge::CrlRequest CrlRequest(const Party &issuer);
forge::Bytes MakeCrl(const forge::CrlRequest &request);

// The CRLs of root and issuing CA, one behind the other.
forge::Bytes GoodCrls();

// A request for a message of the signer with a token of the timestamp authority.
forge::MessageRequest MessageRequest(const std::string &content);

// The same with a token of another authority, whose certificate comes with the token.
forge::MessageRequest MessageTimestampedBy(const std::string &content, const Party &authority);
forge::Bytes MakeMessage(const forge::MessageRequest &request);

forge::Bytes Join(const std::vector<forge::Bytes> &parts);
forge::Bytes Octets(const std::string &text);
forge::Bytes Pem(const std::string &label, const forge::Bytes &der);

#endif
