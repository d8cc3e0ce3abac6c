// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Whole commands, with every call that makes a file failing once, and with every call the last before a crash. Behind
// it the folder is the old one or the new one, what is asked for is there whole or not at all, and the command can be
// run again.
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <set>

#include "pkgsign/authority/device.h"
#include "pkgsign/files/files.h"
#include "pkgsign/files/objects.h"
#include "tests/pkgsign/support.h"

namespace
{

namespace fs = std::filesystem;

// The parameter: every so many calls one is tried.
class Faults : public InFolder, public testing::WithParamInterface<int>
{
protected:
    using Arguments = std::vector<std::string>;

    // What stands between two runs: the folder and what is beside it.
    void Keep() const
    {
        fs::remove_all(kept.path + "/all");
        fs::copy(directory.path, kept.path + "/all", fs::copy_options::recursive);
    }

    void Restore() const
    {
        const fs::directory_iterator all(directory.path);
        for (const auto &entry : std::vector<fs::directory_entry>(begin(all), end(all))) {
            fs::remove_all(entry.path());
        }
        fs::copy(kept.path + "/all", directory.path, fs::copy_options::recursive);
    }

    size_t CountTemporary() const
    {
        const fs::recursive_directory_iterator files(directory.path);
        return static_cast<size_t>(std::count_if(begin(files), end(files),
                                                 [](const auto &file) { return file.path().extension() == ".tmp"; }));
    }

    // The exit status of a run under a fault; CRASHED when it ended there. struck: whether there was an n-th call.
    int RunUnder(int n, bool crashes, const Arguments &arguments, bool *struck)
    {
        if (!crashes) {
            const Fault fault(n, false);
            const Outcome outcome = Run(arguments);
            *struck = fault.Struck();
            EXPECT_EQ(outcome.status == 0, outcome.errors.empty()) << n << ": " << outcome.errors;
            return outcome.status;
        }
        const pid_t child = fork();
        if (child == 0) {
            const Fault fault(n, true);
            (void)Run(arguments);
            _exit(0);
        }
        int status = 0;
        EXPECT_EQ(child, waitpid(child, &status, 0));
        *struck = WEXITSTATUS(status) == CRASHED;
        return WEXITSTATUS(status);
    }

    // isWhole: whether all that the command should have done is there. isUntouched: whether nothing is there that was
    // not before, or what is there is as it was. again: what the second run may be refused with, when the first one
    // has done its work.
    void Sweep(const Arguments &arguments, const std::function<bool()> &isWhole,
               const std::function<bool()> &isUntouched, const std::string &again = "", int step = GetParam())
    {
        Keep();
        for (const bool crashes : {false, true}) {
            int n = 1;
            for (bool struck = true; struck && !HasFailure(); n += step) {
                Restore();
                const int status = RunUnder(n, crashes, arguments, &struck);
                EXPECT_TRUE(status == 0 || status == 1 || status == CRASHED) << n;
                EXPECT_TRUE(isWhole() || (status != 0 && isUntouched())) << n << (crashes ? ", a crash" : "");
                EXPECT_TRUE(crashes || CountTemporary() == 0) << n;
                const Outcome second = status == 0 ? Outcome{0, "", ""} : Run(arguments);
                EXPECT_TRUE(second.status == 0 || (!again.empty() && Contains(second.errors, again)))
                    << n << (crashes ? ", a crash: " : ": ") << second.errors;
                EXPECT_TRUE(isWhole()) << n;
            }
            EXPECT_GT(n, 8);
        }
    }

    bool Decodes() const
    {
        return Pkgsign({"list", "--pki", Path("pki")}).status == 0;
    }

    TemporaryDirectory kept;
};

TEST_P(Faults, OfRevokeLeaveItRememberedOrNot)
{
    const std::string before = Read("pki/pki.json");
    Sweep(
        {"revoke", "signer"}, [&] { return Memory().revocations.size() == 1; },
        [&] { return Read("pki/pki.json") == before; }, "is revoked already");
}

TEST_P(Faults, OfCrlLeaveTheOldFileOrTheNewOne)
{
    ExpectDone(At("2026-01-15", {"crl", "--out", Path("crls")}));
    const std::string before = Read("crls");
    pkgsign::Setting old;
    ASSERT_TRUE(pkgsign::ReadCertificate(Path("pki/certificates/root.pem"), &old.root).ok);
    const auto isWhole = [&] {
        pkgsign::Setting now = old;
        EXPECT_TRUE(Decodes());
        return pkgsign::ReadWhole(Path("crls"), &now.crlFile).ok && pkgsign::CheckCrlFile(now).ok &&
               pkgsign::CheckNewer(now, pkgsign::Bytes(before.begin(), before.end())).ok;
    };
    Sweep({"crl", "--out", Path("crls")}, isWhole, [&] { return Read("crls") == before && Decodes(); });
}

TEST_P(Faults, OfIssueLeaveACertificateOrNone)
{
    const SameKeys keys;
    const auto isWhole = [&] {
        pkgsign::Certificate certificate;
        const pkgsign::Entry last = Memory().certificates.back();
        return last.state == pkgsign::State::Issued && last.name != "timestamp" &&
               pkgsign::ReadCertificate(Path("new.pem"), &certificate).ok &&
               Run({"sign", Path("content"), "--signer", last.name, "--out", Path("out")}).status == 0;
    };
    Sweep({"issue", "--as", "signer", "--no-encryption", "--key-bits", "2048", "--out", Path("new.pem")}, isWhole,
          [&] { return !Made("new.pem") && Decodes(); });
}

TEST_P(Faults, OfRequestLeaveARequestOrNone)
{
    const SameKeys keys;
    const auto isWhole = [&] {
        pkgsign::RequestPtr request;
        return Memory().certificates.back().state == pkgsign::State::Requested &&
               pkgsign::ReadRequest(Path("new.csr"), &request).ok;
    };
    Sweep({"request", "--as", "signer", "--no-encryption", "--key-bits", "2048", "--out", Path("new.csr")}, isWhole,
          [&] { return !Made("new.csr") && Decodes(); });
}

TEST_P(Faults, OfImportLeaveItKnownOrNot)
{
    fs::copy(Path("pki"), Path("other"), fs::copy_options::recursive);
    ExpectDone(Pkgsign({"revoke", "signer", "--pki", Path("other"), "--now", NOW}));
    ExpectDone(Pkgsign({"issue", "--as", "signer", "--no-encryption", "--key-bits", "2048", "--out", Path("new.pem"),
                        "--pki", Path("other"), "--now", NOW}));
    ExpectDone(Pkgsign({"crl", "--out", Path("crls"), "--pki", Path("other"), "--now", NOW}));
    const std::string before = Read("pki/pki.json");
    const auto isWhole = [&] { return Memory().revocations.size() == 1 && Memory().certificates.size() == 5; };
    Sweep({"import", Path("new.pem"), Path("crls")}, isWhole, [&] { return Read("pki/pki.json") == before; });
}

TEST_P(Faults, OfSignLeaveAMessageOrNone)
{
    ExpectDone(Run({"crl", "--out", Path("crls")}));
    Sweep(
        {"sign", Path("content"), "--out", Path("out")},
        [&] { return Made("out") && DeviceTakes("out", "content", "crls"); }, [&] { return !Made("out"); });
    const std::string before = Read("out");
    Sweep(
        {"timestamp", Path("out"), "--out", Path("out"), "--gen-time", "2026-02-02"},
        [&] { return DeviceTakes("out", "content", "crls"); }, [&] { return Read("out") == before; });
}

TEST_P(Faults, OfInitLeaveAPkiOrNone)
{
    const SameKeys keys;
    ExpectDone(Pkgsign({"init", Path("new"), "--no-encryption", "--key-bits", "2048", "--dry-run"})); // the keys
    const auto isWhole = [&] {
        return Made("new/pki.json") &&
               Pkgsign({"sign", Path("content"), "--out", Path("out"), "--pki", Path("new")}).status == 0;
    };
    Sweep(
        {"init", Path("new"), "--no-encryption", "--key-bits", "2048"}, isWhole, [&] { return !Made("new"); },
        "holds a PKI; name another folder", 2 + 3 * GetParam()); // a file takes eight calls: each kind comes up
}

TEST_P(Faults, OfInitLeaveTheOldPkiOrTheNewOne)
{
    ASSERT_EQ(0, Openssl({"genrsa", "-out", Path("root.key"), "4096"}).exitStatus);
    const std::string before = Read("pki/pki.json");
    const auto isNew = [&](const std::string &folder) { return Read(folder + "/pki.json") != before; };
    Sweep(
        {"init", Path("pki"), "--only", "root", "--key", Path("root.key"), "--confirm", "Root CA"},
        [&] {
            EXPECT_TRUE(Decodes());
            return isNew("pki") && Made("pki/certificates/root.der");
        },
        [&] { return !isNew("pki"); }, "Directory not empty"); // the first run has set the old one aside
    EXPECT_EQ(before, Read("pki.replaced-2026-02-01T00:00:00Z/pki.json"));
}

INSTANTIATE_TEST_SUITE_P(Some, Faults, testing::Values(5));
INSTANTIATE_TEST_SUITE_P(Every, Faults, testing::Values(1));

class WrittenAhead : public InFolder
{
};

// What a key signs is in pki.json on the disk before: a run that ends there leaves nothing unknown in the world.
TEST_F(WrittenAhead, IsEveryNumberThatAKeySigns)
{
    std::set<std::string> seen;
    const SignatureWatch watch([&](const std::string &number) {
        EXPECT_TRUE(Contains(Read("pki/pki.json"), "\"" + number + "\"")) << number;
        seen.insert(number);
    });
    ExpectDone(Run({"issue", "--as", "signer", "--no-encryption", "--key-bits", "2048"}));
    ExpectDone(Run({"issue", "--renew", "issuing-ca", "--no-encryption", "--key-bits", "2048"}));
    EXPECT_EQ(2u, seen.size());
    ExpectDone(Run({"crl", "--out", Path("crls")}));
    EXPECT_EQ(3u, seen.size()); // one number for all of one time
}

} // namespace
