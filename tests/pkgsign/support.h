// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What the tests of the release side share: commands run in this process, a PKI folder, and who has signed.
#ifndef TESTS_PKGSIGN_SUPPORT_H
#define TESTS_PKGSIGN_SUPPORT_H

#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "pkgsign/authority/folder.h"
#include "tests/support/process.h"

// How a command ended, and what it wrote.
struct Outcome {
    int status = -1;
    std::string out;
    std::string errors;
};

// Runs pkgsign's command line in this process.
Outcome Pkgsign(std::vector<std::string> arguments);

// How often a key that is no throwaway one has been given to a signing call of libcrypto, in this process.
int RealSignatures();

// Calls onSignature with what every key that is no throwaway one is about to sign: the serial number of a certificate
// or the number of a CRL. For as long as it lives.
struct SignatureWatch {
    explicit SignatureWatch(std::function<void(const std::string &number)> onSignature);
    ~SignatureWatch();
    SignatureWatch(const SignatureWatch &) = delete;
    SignatureWatch &operator=(const SignatureWatch &) = delete;
};

// While it lives, the n-th new key of a command is that of the first command which made so many: keys take seconds.
struct SameKeys {
    SameKeys();
    ~SameKeys();
    SameKeys(const SameKeys &) = delete;
    SameKeys &operator=(const SameKeys &) = delete;
};

constexpr int CRASHED = 77; // how a process ends after a call under a Fault

// While it lives, the n-th of the calls that make files fails, or is the last one before a crash.
struct Fault {
    Fault(int n, bool crashes);
    ~Fault();
    Fault(const Fault &) = delete;
    Fault &operator=(const Fault &) = delete;

    bool Struck() const; // whether there was an n-th call
};

bool Contains(const std::string &text, const std::string &part);

// Whether this machine gives out pseudo-terminals.
bool HasTerminals();

// Leaves a test that wants one: a bare chroot has none, and no package can mend that. scripts/fresh-machine.sh, whose
// machine has them, accepts no skipped test.
#define SKIP_WITHOUT_TERMINALS()                                                                                       \
    if (!HasTerminals())                                                                                               \
    GTEST_SKIP() << "this machine has no pseudo-terminals"

// An error is one line on standard error, with the exit status of what was not done.
void ExpectRefused(const Outcome &outcome, const std::string &reason);
void ExpectDone(const Outcome &outcome);

// The same for a command line that is not understood.
void ExpectUsage(const Outcome &outcome, const std::string &reason);

// A test in a directory of its own, with a PKI folder "pki" that begins on 2026-01-01: signer for one year, timestamp
// authority for two, issuing CA for five.
class InFolder : public testing::Test
{
protected:
    void SetUp() override;

    std::string Path(const std::string &name) const;
    void Write(const std::string &name, const std::string &text) const;
    std::string Read(const std::string &name) const;
    bool Made(const std::string &name) const;

    // Runs a command with --pki of the folder and --now.
    Outcome At(const std::string &now, std::vector<std::string> arguments) const;
    Outcome Run(std::vector<std::string> arguments) const; // at NOW

    // Whether the device's tool library takes a package of the folder with a CRL file.
    bool DeviceTakes(const std::string &message, const std::string &content, const std::string &crls) const;

    ProcessResult Openssl(const std::vector<std::string> &arguments) const;

    pkgsign::Pki Memory() const;

    static constexpr char NOW[] = "2026-02-01T00:00:00Z";
    TemporaryDirectory directory;
};

#endif
