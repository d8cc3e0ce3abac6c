// A root, a CA, signers and what they sign: the material of good packages, to be changed in one thing by a test.
#ifndef SUPPORT_PARTIES_H
#define SUPPORT_PARTIES_H

#include <stdint.h>

#include <string>
#include <vector>

#include "pkgsign/pkgsign.h"

// When packages are timestamped: 2022-01-01.
inline constexpr int64_t PACKAGE_TIME = 1640995200;
inline constexpr int64_t PACKAGE_DAY = 86400;

// A certificate authority or signer with its key.
struct Party {
    PkgsignBytes certificate;
    PkgsignKey key;
};

// The parties of all packages: root, issuing CA below it, code signer and timestamp authority below that, and a root and
// CA of somebody else.
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
PkgsignCertificateRequest CertificateRequest(const std::string &commonName, const Party *issuer);

// Makes the certificate and keeps its key. Ends the process when that fails.
Party Certify(const PkgsignCertificateRequest &request);

// A CRL request of an issuer around PACKAGE_TIME, revoking nothing.
PkgsignCrlRequest CrlRequest(const Party &issuer);
PkgsignBytes MakeCrl(const PkgsignCrlRequest &request);

// The CRLs of root and issuing CA, one behind the other.
PkgsignBytes GoodCrls();

// A request for a message of the signer with a token of the timestamp authority.
PkgsignMessageRequest MessageRequest(const std::string &content);

// The same with a token of another authority, whose certificate comes with the token.
PkgsignMessageRequest MessageTimestampedBy(const std::string &content, const Party &authority);
PkgsignBytes MakeMessage(const PkgsignMessageRequest &request);

PkgsignBytes Join(const std::vector<PkgsignBytes> &parts);
PkgsignBytes Octets(const std::string &text);
PkgsignBytes Pem(const std::string &label, const PkgsignBytes &der);

#endif
