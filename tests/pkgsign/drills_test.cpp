// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What an operator does in a good year and in a bad one, each judged by the device's library on released packages.
#include <algorithm>
#include <filesystem>
#include <map>

#include "pkgsign/authority/crl_file.h"
#include "pkgsign/files/files.h"
#include "pkgsign/files/objects.h"
#include "tests/pkgsign/support.h"

namespace
{

using pkgsign::FormatTime;

class Drill : public InFolder
{
protected:
    void SetUp() override
    {
        InFolder::SetUp();
        std::filesystem::create_directories(Path("released"));
    }

    void Release(const std::string &now, const std::string &name, std::vector<std::string> options = {})
    {
        Write("released/" + name, name + "\n");
        options.insert(options.begin(), {"sign", Path("released/" + name), "--out", Path("released/" + name + ".cms")});
        ExpectDone(At(now, options));
    }

    void MakeCrls(const std::string &now)
    {
        ExpectDone(At(now, {"crl", "--out", Path("crls")}));
    }

    void Issue(const std::string &now, std::vector<std::string> options)
    {
        options.insert(options.begin(), "issue");
        options.insert(options.end(), {"--no-encryption", "--key-bits", "2048"});
        ExpectDone(At(now, options));
    }

    bool Takes(const std::string &name) const
    {
        return DeviceTakes("released/" + name + ".cms", "released/" + name, "crls");
    }
};

TEST_F(Drill, ANewSignerSignsAndTheOldOnesPackagesStayGood)
{
    Release("2026-02-01", "old");
    Issue("2026-12-01", {"--renew", "signer"});
    Release("2027-02-01", "new");
    MakeCrls("2027-02-02");
    EXPECT_TRUE(Takes("old"));
    EXPECT_TRUE(Takes("new"));
}

TEST_F(Drill, AStolenSignerKeyTakesAllItsPackagesUnlessADateSavesThem)
{
    Release("2026-02-01", "early");
    Release("2026-05-01", "late");
    Issue("2026-06-01", {"--renew", "signer"});
    std::filesystem::copy(Path("pki"), Path("dated"), std::filesystem::copy_options::recursive);
    ExpectDone(At("2026-06-02", {"revoke", "signer", "--reason", "keyCompromise"}));
    MakeCrls("2026-06-02");
    EXPECT_FALSE(Takes("early"));
    EXPECT_FALSE(Takes("late"));
    Release("2026-06-03", "again");
    EXPECT_TRUE(Takes("again"));
    std::filesystem::remove_all(Path("pki"));
    std::filesystem::remove(Path("crls"));
    std::filesystem::rename(Path("dated"), Path("pki"));
    ExpectDone(At("2026-06-02", {"revoke", "signer", "--reason", "keyCompromise", "--date", "2026-04-01"}));
    MakeCrls("2026-06-02");
    EXPECT_TRUE(Takes("early"));
    EXPECT_FALSE(Takes("late"));
}

TEST_F(Drill, AStolenTimestampKeyTakesEveryPackageItStampedAndANewStampBringsThemBack)
{
    Release("2026-02-01", "package");
    MakeCrls("2026-02-02");
    Issue("2026-06-01", {"--renew", "timestamp"});
    ExpectDone(At("2026-06-02", {"revoke", "timestamp", "--reason", "keyCompromise", "--date", "2026-05-01"}));
    MakeCrls("2026-06-02");
    EXPECT_FALSE(Takes("package")); // stamped before that date, and yet: what a stolen key has stamped has no date
    ExpectDone(At("2026-06-03", {"timestamp", Path("released/package.cms"), "--out", Path("released/package.cms")}));
    EXPECT_TRUE(Takes("package"));
}

TEST_F(Drill, ATimestampAuthorityThatIsSupersededKeepsItsPackages)
{
    Release("2026-02-01", "package");
    Issue("2026-06-01", {"--renew", "timestamp"});
    ExpectDone(At("2026-06-02", {"revoke", "timestamp", "--reason", "superseded"}));
    MakeCrls("2026-06-02");
    EXPECT_TRUE(Takes("package"));
}

TEST_F(Drill, ARotatedIssuingCaIsSupersededAndItsPackagesStayGood)
{
    Release("2026-02-01", "old");
    MakeCrls("2026-02-02");
    Issue("2026-06-01", {"--renew", "issuing-ca"});
    Issue("2026-06-01", {"--as", "signer"});
    Issue("2026-06-01", {"--as", "timestamp"});
    MakeCrls("2026-06-02T00:00:00Z");
    ExpectRefused(
        At("2026-06-02T00:00:00Z", {"revoke", "issuing-ca", "--reason", "superseded", "--date", "2026-06-02"}),
        "give a later --date, or devices could not trust that CRL any more");
    ExpectDone(At("2026-06-03", {"revoke", "issuing-ca", "--reason", "superseded"}));
    MakeCrls("2026-06-04"); // newer than the one before, or it would not have been written
    Release("2026-06-05", "new");
    EXPECT_TRUE(Takes("old"));
    EXPECT_TRUE(Takes("new"));
    // The old CA can still revoke: its CRL says what it said before it was superseded, and one entry more.
    ExpectDone(At("2026-07-01", {"revoke", "signer", "--reason", "keyCompromise"}));
    MakeCrls("2026-07-01");
    EXPECT_FALSE(Takes("old"));
    EXPECT_TRUE(Takes("new"));
}

TEST_F(Drill, ANewCaIsTriedOnReleasedPackagesBeforeItIsIssued)
{
    Release("2026-02-01", "early");
    Release("2026-11-20", "late");
    MakeCrls("2026-11-02");
    const std::string before = Read("pki/pki.json");
    const auto tried = [&](std::vector<std::string> options) {
        options.insert(options.begin(), {"issue", "--no-encryption", "--key-bits", "2048", "--try", Path("released"),
                                         "--crl-file", Path("crls")});
        const Outcome outcome = At("2026-12-01", options);
        EXPECT_EQ(0, outcome.status) << outcome.errors;
        return outcome.out;
    };
    EXPECT_TRUE(Contains(tried({"--renew", "issuing-ca"}), "0 of 2 packages get another answer"));
    EXPECT_TRUE(Contains(tried({"--as", "issuing-ca", "--common-name", "Other"}), "0 of 2 packages"));
    EXPECT_TRUE(Contains(tried({"--renew", "issuing-ca", "--same-key"}), "0 of 2 packages get another answer"));
    // What a made-up package of the CA's first day does not show.
    const std::string shortened = tried({"--renew", "issuing-ca", "--same-key", "--not-after", "2026-11-15"});
    EXPECT_TRUE(Contains(shortened, "late.cms: refused")) << shortened;
    EXPECT_FALSE(Contains(shortened, "early.cms"));
    ExpectRefused(At("2026-12-01", {"issue", "--renew", "issuing-ca", "--same-key", "--not-after", "2026-10-15",
                                    "--try", Path("released")}),
                  "'issuing-ca' ends, or is superseded, before its last CRL");
    EXPECT_EQ(before, Read("pki/pki.json"));
    ExpectUsage(At("2026-12-01", {"issue", "--as", "signer", "--no-encryption", "--try", Path("released")}),
                "--try is about a CA");
}

TEST_F(Drill, ACaWhoseKeyIsStolenLosesEverythingAndTheFileIsStillNewer)
{
    Release("2026-02-01", "old");
    MakeCrls("2026-02-02");
    Issue("2026-06-01", {"--renew", "issuing-ca"});
    Issue("2026-06-01", {"--as", "signer"});
    Issue("2026-06-01", {"--as", "timestamp"});
    ExpectDone(At("2026-06-02", {"revoke", "issuing-ca", "--reason", "cACompromise"}));
    MakeCrls("2026-06-02");
    Release("2026-06-03", "new");
    EXPECT_FALSE(Takes("old"));
    EXPECT_TRUE(Takes("new"));
}

// The certificates of a CA that is revoked sign nothing more, though they may end last.
TEST_F(Drill, ASignerOfARevokedCaIsNotChosen)
{
    Issue("2026-06-01", {"--renew", "issuing-ca"});
    Issue("2026-06-01", {"--as", "signer"});
    Issue("2026-06-01", {"--as", "timestamp"});
    ExpectDone(At("2026-06-02", {"revoke", "issuing-ca-2", "--reason", "cACompromise"}));
    Release("2026-06-03", "package");
    ExpectRefused(At("2026-06-03", {"sign", Path("content"), "--signer", "signer-2", "--out", Path("out")}),
                  "the CA of 'signer-2' is revoked");
    MakeCrls("2026-06-03");
    EXPECT_TRUE(Takes("package"));
}

TEST_F(Drill, ACaWhoseKeyIsLostGoesOnWithItsLastCrlAndIsSuperseded)
{
    Release("2026-02-01", "old");
    MakeCrls("2026-02-02");
    std::filesystem::remove(Path("pki/private/issuing-ca.key"));
    ExpectRefused(At("2026-03-01", {"crl", "--out", Path("crls")}), "cannot load a private key");
    Issue("2026-03-02", {"--as", "issuing-ca", "--common-name", "Issuing CA 2"});
    EXPECT_EQ(0, At("2026-03-02", {"key", "issuing-ca", "--lost"}).status);
    Issue("2026-03-02", {"--as", "signer"});
    Issue("2026-03-02", {"--as", "timestamp"});
    ExpectDone(At("2026-03-03", {"revoke", "issuing-ca", "--reason", "cessationOfOperation"}));
    MakeCrls("2026-03-03");
    Release("2026-03-04", "new");
    EXPECT_TRUE(Takes("old"));
    EXPECT_TRUE(Takes("new"));
}

TEST_F(Drill, ALostFolderIsRebuiltFromKeysCertificatesAndTheNewestCrlFile)
{
    Release("2026-02-01", "old");
    Issue("2026-02-01", {"--renew", "signer"});
    ExpectDone(At("2026-02-02", {"revoke", "signer", "--reason", "keyCompromise"}));
    MakeCrls("2026-02-03");
    const std::string lost = Path("lost/");
    std::filesystem::create_directories(lost);
    std::filesystem::rename(Path("pki"), lost + "pki");
    const std::string certificates = lost + "pki/certificates/";
    const std::vector<std::string> import = {"import",
                                             certificates + "root.der",
                                             certificates + "signer-2.pem",
                                             certificates + "timestamp.pem",
                                             Path("crls"),
                                             "--new"};
    std::vector<std::string> dry = import;
    dry.push_back("-n");
    ExpectDone(At("2026-03-01", dry));
    EXPECT_FALSE(Made("pki"));
    ExpectRefused(At("2026-03-01", {"import", Path("crls"), "--new"}), "import its certificate first");
    EXPECT_FALSE(Made("pki"));
    ExpectDone(At("2026-03-01", import));
    ExpectRefused(At("2026-03-01", import), "cannot make '");
    std::filesystem::copy_file(lost + "pki/private/root.key", Path("pki/private/root.key"));
    ExpectDone(At("2026-03-01", {"key", "root", "--uri", Path("pki/private/root.key")}));
    EXPECT_EQ("private/root.key", Memory().certificates[0].key);
    ExpectRefused(At("2026-03-01", {"key", "signer", "--uri", lost + "pki/private/signer.key"}), "is not the one");
    ExpectDone(At("2026-03-01", {"key", "signer", "--uri", lost + "pki/private/signer-2.key"}));
    ExpectDone(At("2026-03-01", {"key", "timestamp", "--uri", "file:" + lost + "pki/private/timestamp.key"}));
    ExpectDone(At("2026-03-01", {"key", "issuing-ca", "--uri", lost + "pki/private/issuing-ca.key"}));
    Release("2026-03-02", "new");
    MakeCrls("2026-03-03");
    EXPECT_FALSE(Takes("old")); // still
    EXPECT_TRUE(Takes("new"));
    EXPECT_EQ("Sigkit", Memory().organization);
}

TEST_F(Drill, AFullCrlIsFollowedByANewCa)
{
    Release("2026-02-01", "old");
    for (int i = 0; i < 20; ++i) {
        ExpectDone(At("2026-02-02", {"revoke", "--serial", "0B" + std::to_string(10 + i), "--reason", "superseded"}));
    }
    MakeCrls("2026-02-03");
    Issue("2026-03-01", {"--renew", "issuing-ca"});
    Issue("2026-03-01", {"--as", "signer"});
    Issue("2026-03-01", {"--as", "timestamp"});
    ExpectDone(At("2026-03-02", {"revoke", "--serial", "0C", "--issuer", "issuing-ca-2"}));
    MakeCrls("2026-03-02");
    Release("2026-03-03", "new");
    EXPECT_TRUE(Takes("old"));
    EXPECT_TRUE(Takes("new"));
}

TEST_F(Drill, CrlsThatEndedRefuseNewPackagesUntilTheyAreRenewed)
{
    Release("2026-02-01", "old");
    MakeCrls("2026-02-02");
    Release("2026-09-01", "late"); // after nextUpdate
    EXPECT_TRUE(Takes("old"));
    EXPECT_FALSE(Takes("late"));
    MakeCrls("2026-09-02");
    EXPECT_TRUE(Takes("old"));
    EXPECT_TRUE(Takes("late"));
}

TEST_F(Drill, ADeviceWithAStaleFileAcceptsWhatItAcceptedUntilItsCrlsEnd)
{
    Release("2026-02-01", "old");
    MakeCrls("2026-02-02"); // until 2026-06-02
    const auto takesStale = [&](const std::string &name) {
        return DeviceTakes("released/" + name + ".cms", "released/" + name, "stale");
    };
    std::filesystem::copy(Path("crls"), Path("stale"));
    std::filesystem::copy(Path("pki"), Path("thief"), std::filesystem::copy_options::recursive);
    for (const auto &[name, now] : {std::pair{"stolen-early", "2026-03-15"}, {"stolen-late", "2026-07-01"}}) {
        Write(std::string("released/") + name, name);
        ExpectDone(Pkgsign({"sign", Path(std::string("released/") + name), "--out",
                            Path(std::string("released/") + name + ".cms"), "--pki", Path("thief"), "--now", now}));
    }
    Issue("2026-03-01", {"--renew", "signer"});
    Release("2026-03-02", "new");
    ExpectDone(At("2026-03-08", {"revoke", "signer", "--reason", "keyCompromise", "--date", "2026-03-01"}));
    Issue("2026-03-08", {"--renew", "issuing-ca"});
    Issue("2026-03-08", {"--as", "signer", "--issuer", "issuing-ca-2"});
    Issue("2026-03-08", {"--as", "timestamp", "--issuer", "issuing-ca-2"});
    MakeCrls("2026-03-08");
    Release("2026-03-09", "of-new-ca");
    for (const char *const name : {"old", "stolen-early", "new"}) {
        EXPECT_TRUE(takesStale(name)) << name;
    }
    for (const char *const name : {"stolen-late", "of-new-ca"}) {
        EXPECT_FALSE(takesStale(name)) << name;
    }
    for (const char *const name : {"old", "new", "of-new-ca"}) {
        EXPECT_TRUE(Takes(name)) << name;
    }
    for (const char *const name : {"stolen-early", "stolen-late"}) {
        EXPECT_FALSE(Takes(name)) << name;
    }
}

TEST_F(Drill, ACrlFileOfFourCasHasEightKilobytesAndFullThirteen)
{
    for (const char *const ca : {"issuing-ca", "issuing-ca-2", "issuing-ca-3"}) {
        ExpectDone(At("2026-02-01", {"issue", "--renew", ca, "--no-encryption"}));
    }
    MakeCrls("2026-02-02");
    EXPECT_NEAR(8000, static_cast<double>(std::filesystem::file_size(Path("crls"))), 500);
    const pkgsign::Status status = pkgsign::UpdatePki(Path("pki"), [](pkgsign::Pki *pki) {
        for (const char *const ca : {"root", "issuing-ca", "issuing-ca-2", "issuing-ca-3", "issuing-ca-4"}) {
            for (int i = 10; i < 30; ++i) {
                pki->revocations.push_back({ca, "7F0000000000000000000000000000" + std::to_string(i), "keyCompromise",
                                            1769904000, 1769904000});
            }
        }
        return pkgsign::Status();
    });
    ASSERT_TRUE(status.ok) << status.reason;
    MakeCrls("2026-02-03");
    EXPECT_NEAR(13000, static_cast<double>(std::filesystem::file_size(Path("crls"))), 500);
}

TEST_F(Drill, ANewRootIsANewPkiAndDevicesOfTheOldOneTakeNothingOfIt)
{
    Release("2026-02-01", "old");
    MakeCrls("2026-02-02");
    ExpectDone(Pkgsign({"init", Path("next"), "--no-encryption", "--key-bits", "2048", "--root-name", "Root CA 2",
                        "--now", "2026-03-01T00:00:00Z"}));
    ExpectDone(Pkgsign(
        {"sign", Path("content"), "--out", Path("next.cms"), "--pki", Path("next"), "--now", "2026-03-02T00:00:00Z"}));
    ExpectDone(Pkgsign({"crl", "--out", Path("next.crls"), "--pki", Path("next"), "--now", "2026-03-02T00:00:00Z"}));
    EXPECT_FALSE(DeviceTakes("next.cms", "content", "next.crls"));
    EXPECT_TRUE(Takes("old"));
}

// ---- Ten years ------------------------------------------------------------------------------------------------------

constexpr int QUARTERS = 40;
constexpr int64_t QUARTER = 91 * pkgsign::SECONDS_PER_DAY;
constexpr int64_t START = 1767312000; // 2026-01-02

// From when packages of somebody are refused: 0 for all of them.
using RefusedFrom = std::map<std::string, int64_t>;

struct Released {
    std::string name;
    int64_t time;
    std::vector<std::string> by; // signer, timestamp authority and their CAs
};

class TenYears : public Drill
{
protected:
    std::string NewestOf(pkgsign::Role role, int64_t now) const
    {
        const pkgsign::Pki pki = Memory();
        const pkgsign::Entry *entry = nullptr;
        const pkgsign::Status status = pkgsign::ChooseCertificate(pki, role, "", now, &entry);
        EXPECT_TRUE(status.ok) << status.reason;
        return entry == nullptr ? "" : entry->name;
    }

    void IssueDue(int quarter, const std::string &now)
    {
        if (quarter > 0 && quarter % 12 == 0) {
            Issue(now, {"--renew", NewestOf(pkgsign::Role::IssuingCa, START + quarter * QUARTER)});
        }
        if (quarter > 0 && quarter % 8 == 0) {
            Issue(now, {"--as", "timestamp"});
        }
        if (quarter > 0 && quarter % 4 == 0) {
            Issue(now, {"--as", "signer"});
        }
    }

    void ReleaseOne(int quarter, int64_t now)
    {
        const pkgsign::Pki pki = Memory();
        Released released = {"release-" + std::to_string(quarter), now, {}};
        for (const pkgsign::Role role : {pkgsign::Role::Signer, pkgsign::Role::Timestamp}) {
            const std::string name = NewestOf(role, now);
            released.by.push_back(name);
            released.by.push_back(pkgsign::FindEntry(pki, name)->issuer);
        }
        Release(FormatTime(now), released.name);
        releases.push_back(released);
    }

    void Revoke(const std::string &now, std::vector<std::string> options)
    {
        options.insert(options.begin(), "revoke");
        ExpectDone(At(now, options));
        ++revocations;
    }

    // Three revocations a year. What they do to packages is written down here, apart from the code that is tested.
    void RevokeSome(int quarter, int64_t now)
    {
        static const char *const REASONS[] = {"unspecified",          "affiliationChanged", "superseded",
                                              "cessationOfOperation", "certificateHold",    "privilegeWithdrawn",
                                              "aACompromise",         "keyCompromise",      "cACompromise"};
        const std::string text = FormatTime(now);
        if (quarter % 4 == 2) { // two certificates that never signed a package
            for (int i = 0; i < 2; ++i) {
                Revoke(text, {"--serial", "0D" + std::to_string(1000 + quarter * 10 + i), "--reason",
                              REASONS[revocations % 9]});
            }
        }
        if (quarter == 5 || quarter == 21) { // the first signer is stolen, and a later one, with a date
            const std::string name = quarter == 5 ? "signer" : "signer-5";
            const int64_t date = quarter == 5 ? 0 : now - 2 * QUARTER;
            Revoke(text, quarter == 5
                             ? std::vector<std::string>{name, "--reason", "keyCompromise"}
                             : std::vector<std::string>{name, "--reason", "keyCompromise", "--date", FormatTime(date)});
            refused[name] = date;
        }
        if (quarter == 9 || quarter == 25) { // a timestamp authority retires, another is stolen
            const std::string name = quarter == 9 ? "timestamp" : "timestamp-3";
            Revoke(text, {name, "--reason", quarter == 9 ? "superseded" : "keyCompromise"});
            refused[name] = quarter == 9 ? now : 0;
        }
        if (quarter == 17 || quarter == 33) { // a CA is superseded, another is broken
            const std::string name = quarter == 17 ? "issuing-ca" : "issuing-ca-2";
            Revoke(text, {name, "--reason", quarter == 17 ? "superseded" : "cACompromise"});
            refused[name] = quarter == 17 ? now : 0;
        }
        if (quarter % 4 == 3 && quarter != 3) { // signers that were replaced
            const std::string name = "signer-" + std::to_string(quarter / 4);
            if (quarter >= 11 && refused.count(name) == 0) {
                Revoke(text, {name, "--reason", REASONS[1 + quarter / 4 % 3]});
                refused[name] = now;
            }
        }
    }

    void CheckReleases(int quarter) const
    {
        for (const Released &released : releases) {
            const bool isGood = std::all_of(released.by.begin(), released.by.end(), [&](const std::string &name) {
                const auto found = refused.find(name);
                return found == refused.end() || released.time < found->second;
            });
            EXPECT_EQ(isGood, Takes(released.name)) << released.name << " in quarter " << quarter;
        }
    }

    void CheckNewest(int quarter)
    {
        pkgsign::Setting setting;
        ASSERT_TRUE(pkgsign::ReadCertificate(Path("pki/certificates/root.pem"), &setting.root).ok);
        ASSERT_TRUE(pkgsign::ReadWhole(Path("crls"), &setting.crlFile).ok);
        for (size_t i = 0; i < files.size(); ++i) {
            const pkgsign::Status status = pkgsign::CheckNewer(setting, files[i]);
            EXPECT_TRUE(status.ok) << "quarter " << quarter << " against " << i << ": " << status.reason;
        }
        files.push_back(setting.crlFile);
    }

    std::vector<Released> releases;
    std::vector<pkgsign::Bytes> files;
    RefusedFrom refused;
    int revocations = 0;
};

TEST_F(TenYears, EveryPackageIsJudgedAsItShouldAndEveryFileIsNewer)
{
    for (int quarter = 0; quarter < QUARTERS; ++quarter) {
        const int64_t now = START + quarter * QUARTER;
        IssueDue(quarter, FormatTime(now));
        ReleaseOne(quarter, now + 3600);
        RevokeSome(quarter, now + 7200);
        MakeCrls(FormatTime(now + 10800));
        CheckReleases(quarter);
        CheckNewest(quarter);
        if (HasFailure()) {
            return;
        }
    }
    const pkgsign::Pki pki = Memory();
    EXPECT_EQ(static_cast<size_t>(revocations), pki.revocations.size());
    EXPECT_GE(revocations, 30);
    EXPECT_EQ(4, std::count_if(pki.certificates.begin(), pki.certificates.end(),
                               [](const pkgsign::Entry &entry) { return entry.role == pkgsign::Role::IssuingCa; }));
    pkgsign::Objects objects;
    ASSERT_TRUE(pkgsign::ReadObjects(Path("crls"), &objects).ok);
    EXPECT_EQ(4u, objects.crls.size()); // of the root and of three CAs: the broken one has none
}

// ---- A CRL dated ahead ----------------------------------------------------------------------------------------------

TEST_F(Drill, ACrlDatedAheadThatDevicesMayHaveIsFollowedByLaterOnesAndNoRevocationIsLost)
{
    Release("2026-02-02", "package");
    MakeCrls("2029-01-01T00:00:00Z"); // the clock was three years ahead
    const std::string ahead = pkgsign::FindCrl(Memory(), "issuing-ca")->number;
    ExpectDone(At("2026-03-01", {"revoke", "signer", "--reason", "keyCompromise"}));
    EXPECT_TRUE(Takes("package"));
    ExpectRefused(At("2026-03-01", {"crl", "--out", Path("crls")}),
                  "is the clock right? If it was wrong when that CRL was signed, give --dated-ahead, see 'A CRL dated "
                  "ahead' in the operations guide");
    ExpectDone(At("2026-03-01", {"crl", "--out", Path("crls"), "--dated-ahead", "released"})); // newer for a device
    EXPECT_FALSE(Takes("package"));
    const pkgsign::PublishedCrl followed = *pkgsign::FindCrl(Memory(), "issuing-ca");
    EXPECT_EQ("2029-01-01T00:00:01Z", FormatTime(followed.thisUpdate));
    EXPECT_EQ("2029-01-02T00:00:01Z", FormatTime(followed.nextUpdate)); // no longer than it must be
    EXPECT_GT(pkgsign::CompareNumbers(followed.number, ahead), 0);
    Issue("2026-03-02", {"--as", "signer"});
    Release("2026-03-02", "new");
    EXPECT_TRUE(Takes("new"));
    ExpectDone(At("2026-06-01", {"crl", "--out", Path("crls"), "--dated-ahead", "released"})); // until 2029
    MakeCrls("2029-02-01");
    EXPECT_FALSE(Takes("package"));
    EXPECT_TRUE(Takes("new"));
}

TEST_F(Drill, ACrlDatedAheadThatNoDeviceHasCountsForNothingButItsNumber)
{
    Release("2026-02-02", "package");
    MakeCrls("2026-02-03");
    std::filesystem::copy(Path("crls"), Path("devices"));
    MakeCrls("2029-01-01T00:00:00Z");
    const std::string ahead = pkgsign::FindCrl(Memory(), "root")->number;
    ExpectDone(At("2026-03-01", {"revoke", "signer", "--reason", "keyCompromise"}));
    const std::vector<std::string> again = {"crl", "--out", Path("crls"), "--dated-ahead", "unreleased"};
    ExpectRefused(At("2026-03-01", again), "is dated ahead itself; put the file that devices have in its place");
    std::filesystem::copy(Path("devices"), Path("crls"), std::filesystem::copy_options::overwrite_existing);
    ExpectDone(At("2026-03-01T00:00:00Z", again));
    EXPECT_FALSE(Takes("package"));
    EXPECT_EQ("2026-03-01T00:00:00Z", FormatTime(pkgsign::FindCrl(Memory(), "root")->thisUpdate));
    EXPECT_GT(pkgsign::CompareNumbers(pkgsign::FindCrl(Memory(), "root")->number, ahead), 0);
    MakeCrls("2026-03-02"); // as ever
}

TEST_F(Drill, ARevocationIsTriedThoughTheLastCrlIsDatedAhead)
{
    Release("2026-02-02", "package");
    MakeCrls("2029-01-01");
    const Outcome tried = At("2026-03-01", {"revoke", "signer", "--reason", "keyCompromise", "--try", Path("released"),
                                            "--crl-file", Path("crls")});
    ExpectDone(tried);
    EXPECT_TRUE(Contains(tried.out, "1 of 1 packages get another answer")) << tried.out;
}

TEST_F(Drill, NoCrlGoesOnAfterOneDatedAheadWhereThereIsNone)
{
    MakeCrls("2026-02-03");
    const std::string before = Read("pki/pki.json");
    for (const char *const what : {"released", "unreleased"}) {
        ExpectRefused(At("2026-02-04", {"crl", "--out", Path("crls"), "--dated-ahead", what}),
                      "no CRL of this folder's keys is dated ahead");
    }
    ExpectUsage(At("2026-02-04", {"crl", "--out", Path("crls"), "--dated-ahead", "yes"}), "released or unreleased");
    EXPECT_EQ(before, Read("pki/pki.json"));
}

} // namespace
