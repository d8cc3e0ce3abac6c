// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What the tests of the forge share: cached keys, a PKI, a directory of their own, and other programs.
#ifndef TESTS_FORGE_SUPPORT_H
#define TESTS_FORGE_SUPPORT_H

#include <memory>
#include <string>

#include <gtest/gtest.h>
#include <openssl/x509.h>

#include "tests/forge/forge.h"
#include "tests/support/process.h"

// An RSA key that lives in the build tree, made when it is asked for the first time.
forge::Key TestKey(const std::string &name, int bits = 2048);

// A request for a PKI with cached keys.
forge::PkiRequest TestPkiRequest();

// That PKI. Made once per process.
const forge::Pki &TestPki();

forge::Bytes Octets(const std::string &text);

// Whether `part` stands somewhere in `whole`.
bool Contains(const forge::Bytes &whole, const forge::Bytes &part);

using DecodedCertificate = std::unique_ptr<X509, decltype(&X509_free)>;
DecodedCertificate DecodeCertificate(const forge::Bytes &der);

// Seconds since 1970. Libcrypto's functions with a time_t are no help: on a 32-bit machine theirs may be another one.
int64_t SecondsOf(const ASN1_TIME *time);

// Whether the certificate names itself as issuer and its own key verifies it.
bool IsSelfSigned(X509 *certificate);

// Versions as certificates and CRLs encode them: one less than their name.
inline constexpr long ENCODED_VERSION_1 = 0;
inline constexpr long ENCODED_VERSION_2 = 1;
inline constexpr long ENCODED_VERSION_3 = 2;

// Runs "openssl ARGUMENTS" by the shell. What it writes to standard error is in the output.
ProcessResult RunOpenssl(const std::string &arguments);

// A test with a directory of its own, which holds the test PKI's certificates as root.pem, issuing-ca.pem and
// chain.pem (root and issuing CA).
class InDirectory : public ::testing::Test
{
protected:
    void SetUp() override;

    // The quoted path of a file in the directory, fit for the shell.
    std::string Quoted(const std::string &name) const;
    std::string Path(const std::string &name) const;

    // Writes a file; returns its quoted path.
    std::string Save(const std::string &name, const forge::Bytes &data) const;
    std::string Save(const std::string &name, const std::string &text) const;

    const TemporaryDirectory directory;
};

#endif
