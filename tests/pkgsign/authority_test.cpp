// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What an authority remembers, issues and revokes.
#include <algorithm>
#include <filesystem>
#include <fstream>

#include "pkgsign/authority/certificates.h"
#include "pkgsign/authority/crl_file.h"
#include "pkgsign/files/files.h"
#include "pkgsign/files/objects.h"
#include "tests/pkgsign/support.h"

namespace
{

class Authority : public InFolder
{
protected:
    Outcome MakeCrls(const std::string &now, std::vector<std::string> options = {})
    {
        options.insert(options.begin(), {"crl", "--out", Path("crls")});
        return At(now, options);
    }

    // A package "X" with "X.cms".
    void SignPackage(const std::string &now, const std::string &name, std::vector<std::string> options = {})
    {
        std::filesystem::create_directories(Path("released"));
        Write("released/" + name, name + "\n");
        options.insert(options.begin(), {"sign", Path("released/" + name), "--out", Path("released/" + name + ".cms")});
        ExpectDone(At(now, options));
    }

    bool Takes(const std::string &name) const
    {
        return DeviceTakes("released/" + name + ".cms", "released/" + name, "crls");
    }

    // The entries of the CRL of an authority in the CRL file.
    size_t Entries(const std::string &commonName) const
    {
        pkgsign::Objects objects;
        EXPECT_TRUE(pkgsign::ReadObjects(Path("crls"), &objects).ok);
        for (const auto &crl : objects.crls) {
            if (pkgsign::NameAttribute(X509_CRL_get_issuer(crl.get()), NID_commonName) == commonName) {
                return pkgsign::CrlEntries(crl.get(), "").size();
            }
        }
        ADD_FAILURE() << "no CRL of " << commonName;
        return 0;
    }
};

// ---- init -----------------------------------------------------------------------------------------------------------

TEST_F(Authority, AWholePkiIsReadByOpenssl)
{
    ExpectDone(MakeCrls("2026-02-01"));
    const std::string certificates = Path("pki/certificates/");
    const std::string crls = Path("pki/crls/");
    std::string bundle = Read("pki/certificates/root.pem") + Read("pki/certificates/issuing-ca.pem");
    for (const char *const name : {"root", "issuing-ca"}) {
        const ProcessResult crl =
            Openssl({"crl", "-inform", "DER", "-in", crls + name + ".crl", "-CAfile", certificates + name + ".pem"});
        EXPECT_EQ(0, crl.exitStatus) << crl.errors;
        bundle += crl.output;
    }
    Write("bundle", bundle);
    for (const char *const name : {"signer", "timestamp"}) {
        const ProcessResult result = Openssl({"verify", "-attime", "1770000000", "-x509_strict", "-crl_check_all",
                                              "-CAfile", Path("bundle"), certificates + name + ".pem"});
        EXPECT_EQ(0, result.exitStatus) << result.output << result.errors;
    }
    EXPECT_EQ(1363u, Read("pki/certificates/root.der").size());
}

TEST_F(Authority, WithoutATerminalAndWithoutAPassphraseNothingIsMade)
{
    ExpectRefused(Pkgsign({"init", Path("fresh"), "--no-input"}), "use --passphrase-file, or --no-encryption");
    EXPECT_FALSE(Made("fresh"));
}

TEST_F(Authority, NamesThatDoNotFitTheRootAreRefusedWithTheNumbers)
{
    ExpectRefused(Pkgsign({"init", Path("fresh"), "--no-encryption", "--organization", "An organization that is long"}),
                  "35 octets together; they must have 11 to 20");
    ExpectRefused(Pkgsign({"init", Path("fresh"), "--no-encryption", "--organization", "ABC"}), "10 octets together");
    EXPECT_FALSE(Made("fresh"));
}

TEST_F(Authority, APkiThatIsThereIsSetAsideOnlyWhenItsRootIsNamed)
{
    const std::string before = Read("pki/pki.json");
    const std::vector<std::string> init = {"init", Path("pki"), "--no-encryption",     "--only",
                                           "root", "--now",     "2026-02-01T00:00:00Z"};
    ExpectRefused(Pkgsign(init), "set it aside with --confirm='Root CA'");
    EXPECT_EQ(before, Read("pki/pki.json"));
    std::vector<std::string> confirmed = init;
    confirmed.insert(confirmed.end(), {"--confirm", "Root CA"});
    ExpectDone(Pkgsign(confirmed));
    EXPECT_EQ(before, Read("pki.replaced-2026-02-01T00:00:00Z/pki.json"));
    EXPECT_NE(before, Read("pki/pki.json"));
}

TEST_F(Authority, ADryRunOfARootShowsWhatTheRealRunSigns)
{
    ASSERT_EQ(0, Openssl({"genrsa", "-out", Path("root.key"), "4096"}).exitStatus);
    const std::vector<std::string> init = {"init", Path("fresh"), "--only", "root", "--key", Path("root.key")};
    std::vector<std::string> dry = init;
    dry.push_back("-n");
    const int signatures = RealSignatures();
    const Outcome tried = Pkgsign(dry);
    EXPECT_EQ(signatures, RealSignatures());
    EXPECT_FALSE(Made("fresh"));
    EXPECT_TRUE(Contains(tried.out, "SHA-256 of what is signed: ")) << tried.errors;
    EXPECT_EQ(tried.out, Pkgsign(init).out);
}

TEST_F(Authority, ADryRunOfARequestShowsWhatTheRealRunSigns)
{
    ASSERT_EQ(0, Openssl({"genrsa", "-out", Path("key"), "2048"}).exitStatus);
    const std::vector<std::vector<std::string>> commands = {
        {"request", "--as", "signer", "--key", Path("key"), "--out", Path("asked.csr"), "--pki", Path("pki")},
        {"init", Path("fresh"), "--only", "signer", "--key", Path("key"), "--root", Path("pki/certificates/root.pem")}};
    for (std::vector<std::string> command : commands) {
        const std::string before = Read("pki/pki.json");
        const int signatures = RealSignatures();
        command.push_back("--dry-run");
        const Outcome tried = Pkgsign(command);
        ExpectDone(tried);
        EXPECT_EQ(signatures, RealSignatures());
        EXPECT_EQ(before, Read("pki/pki.json"));
        EXPECT_FALSE(Made("asked.csr"));
        EXPECT_FALSE(Made("fresh"));
        EXPECT_TRUE(Contains(tried.out, "Subject: C = DE, O = Sigkit, CN = Code Signing")) << tried.out;
        EXPECT_TRUE(Contains(tried.out, "SHA-256 of what is signed: ")) << tried.out;
        command.pop_back();
        EXPECT_EQ(tried.out, Pkgsign(command).out);
        EXPECT_GT(RealSignatures(), signatures);
        std::filesystem::remove(Path("asked.csr"));
    }
    const Outcome printed = Run({"request", "--as", "timestamp", "--key", Path("key")});
    EXPECT_EQ(0u, printed.out.rfind("-----BEGIN CERTIFICATE REQUEST-----", 0)) << printed.out;
    EXPECT_TRUE(Contains(printed.out, "-----END CERTIFICATE REQUEST-----\n"));
    EXPECT_FALSE(Contains(printed.out, "SHA-256")) << printed.out;
}

// While keys are made, which takes its time, somebody else is done with the same folder.
TEST_F(Authority, APkiThatAppearsMeanwhileIsNotTouched)
{
    ASSERT_EQ(0, Openssl({"genrsa", "-out", Path("root.key"), "4096"}).exitStatus);
    const SignatureWatch watch([&](const std::string &) {
        std::filesystem::create_directories(Path("fresh"));
        Write("fresh/pki.json", "somebody's");
    });
    ExpectRefused(Pkgsign({"init", Path("fresh"), "--only", "root", "--key", Path("root.key")}), "cannot make '");
    EXPECT_EQ("somebody's", Read("fresh/pki.json"));
    const std::filesystem::directory_iterator files(directory.path);
    EXPECT_EQ(4, std::distance(begin(files), end(files))); // nor is anything left beside it
}

TEST_F(Authority, SeparateMachinesShareCertificatesAndCrlsAndNoKeys)
{
    const std::string root = Path("root-machine");
    const std::string ca = Path("ca-machine");
    const std::string signer = Path("signer-machine");
    const std::vector<std::string> options = {"--no-encryption", "--key-bits", "2048", "--now", "2026-02-01T00:00:00Z"};
    const auto run = [&](std::vector<std::string> arguments) { ExpectDone(Pkgsign(arguments)); };
    const auto init = [&](const std::string &folder, std::vector<std::string> part) {
        part.insert(part.begin(), {"init", folder});
        part.insert(part.end(), options.begin(), options.end());
        run(part);
    };
    const std::vector<std::string> now = {"--now", "2026-02-01T00:00:00Z"};
    init(root, {"--only", "root"});
    init(ca, {"--only", "issuing-ca", "--root", root + "/certificates/root.pem"});
    run({"issue", "--as", "issuing-ca", "--request", ca + "/certificates/issuing-ca.csr", "--out", Path("ca.pem"),
         "--pki", root, "--now", now[1]});
    run({"import", Path("ca.pem"), "--pki", ca});
    init(signer, {"--only", "signer", "--root", root + "/certificates/root.der"});
    run({"issue", "--as", "signer", "--request", signer + "/certificates/signer.csr", "--out", Path("signer.pem"),
         "--pki", ca, "--now", now[1]});
    run({"request", "--as", "timestamp", "--no-encryption", "--key-bits", "2048", "--out", Path("tsa.csr"), "--pki",
         signer});
    run({"issue", "--as", "timestamp", "--request", Path("tsa.csr"), "--out", Path("tsa.pem"), "--pki", ca, "--now",
         now[1]});
    run({"import", Path("ca.pem"), Path("signer.pem"), Path("tsa.pem"), "--pki", signer});
    run({"crl", "--part", "--out", Path("root.crl"), "--pki", root, "--now", now[1]});
    ExpectRefused(Pkgsign({"crl", "--out", Path("crls"), "--pki", ca, "--now", now[1]}),
                  "give the file with it (--add FILE)");
    run({"crl", "--add", Path("root.crl"), "--out", Path("crls"), "--pki", ca, "--now", now[1]});
    run({"sign", Path("content"), "--crl", Path("crls"), "--out", Path("out"), "--pki", signer, "--now", now[1]});
    std::filesystem::copy(root + "/certificates/root.pem", Path("pki/certificates/root.pem"),
                          std::filesystem::copy_options::overwrite_existing);
    EXPECT_TRUE(DeviceTakes("out", "content", "crls"));
    EXPECT_FALSE(Made("ca-machine/private/root.key"));
    EXPECT_FALSE(Made("signer-machine/private/issuing-ca.key"));
}

// On a machine apart from the root, the certificate renewed there comes by import.
TEST_F(Authority, ACaThatIsRenewedElsewhereWithItsKeyKeepsItHere)
{
    std::filesystem::copy(Path("pki"), Path("root-machine"), std::filesystem::copy_options::recursive);
    ExpectDone(Pkgsign({"issue", "--renew", "issuing-ca", "--same-key", "--not-after", "2033-01-01", "--out",
                        Path("renewed.pem"), "--pki", Path("root-machine"), "--now", "2026-03-02"}));
    ExpectDone(Pkgsign({"issue", "--renew", "signer", "--same-key", "--out", Path("signer.pem"), "--pki",
                        Path("root-machine"), "--now", "2026-03-02"}));
    ExpectDone(At("2026-03-02", {"import", Path("renewed.pem"), Path("signer.pem")}));
    const pkgsign::Pki memory = Memory();
    EXPECT_EQ("private/issuing-ca.key", memory.certificates[memory.certificates.size() - 2].key);
    EXPECT_EQ("private/signer.key", memory.certificates.back().key);
    ExpectDone(
        At("2026-03-02", {"issue", "--as", "signer", "--name", "other", "--no-encryption", "--key-bits", "2048"}));
    ExpectDone(At("2026-03-03", {"revoke", "other", "--reason", "superseded"}));
}

// A revocation that is remembered here, and a CRL of its CA that does not list it.
TEST_F(Authority, AFileThatLeavesOutARevocationOfACaWhoseKeyIsElsewhereIsNotMade)
{
    ExpectDone(At("2026-03-01", {"crl", "--out", Path("crls")}));
    ExpectDone(At("2026-03-02", {"revoke", "signer", "--reason", "superseded"}));
    std::string memory = Read("pki/pki.json");
    const std::string key = "      \"key\": \"private/issuing-ca.key\",\n";
    const size_t at = memory.find(key);
    ASSERT_NE(std::string::npos, at);
    Write("pki/pki.json", memory.erase(at, key.size()));
    ExpectRefused(At("2026-03-03", {"crl", "--out", Path("crls")}),
                  "pki.json knows the revocation of " + Memory().revocations[0].serial +
                      " of 'issuing-ca', which its CRL does not list");
}

TEST_F(Authority, SigningNeedsNoKeyOfACa)
{
    std::filesystem::remove(Path("pki/private/root.key"));
    std::filesystem::remove(Path("pki/private/issuing-ca.key"));
    ExpectDone(Run({"sign", Path("content"), "--out", Path("out")}));
}

// ---- issue ----------------------------------------------------------------------------------------------------------

TEST_F(Authority, ADryRunShowsWhatTheRealRunSigns)
{
    ASSERT_EQ(0, Openssl({"genrsa", "-out", Path("key"), "2048"}).exitStatus);
    const std::vector<std::string> issue = {"issue", "--as", "signer", "--key", Path("key")};
    std::vector<std::string> dry = issue;
    dry.push_back("--dry-run");
    const std::string before = Read("pki/pki.json");
    const Outcome tried = Run(dry);
    EXPECT_EQ(before, Read("pki/pki.json"));
    const Outcome done = Run(issue);
    const size_t at = tried.out.find("SHA-256 of what is signed: ");
    ASSERT_NE(std::string::npos, at) << tried.errors;
    EXPECT_EQ(tried.out.substr(at), done.out.substr(done.out.find("SHA-256 of what is signed: ")));
    EXPECT_TRUE(Contains(tried.out, "CN = Code Signing"));
    EXPECT_EQ("signer-2", Memory().certificates.back().name);
}

TEST_F(Authority, ACertificateCannotOutliveItsCa)
{
    ExpectRefused(Run({"issue", "--as", "signer", "--no-encryption", "--not-after", "2031-06-01"}),
                  "after that of its CA 'issuing-ca' (2030-12-31T00:00:00Z)");
}

TEST_F(Authority, ANewCaGetsANewNameAndOldPackagesStayGood)
{
    SignPackage("2026-02-01", "old");
    ExpectDone(MakeCrls("2026-02-02"));
    ExpectDone(At("2027-01-01", {"issue", "--renew", "issuing-ca", "--no-encryption", "--key-bits", "2048"}));
    ExpectDone(At("2027-01-01", {"issue", "--as", "signer", "--no-encryption", "--key-bits", "2048"}));
    EXPECT_EQ("issuing-ca-2", Memory().certificates[5].issuer);
    ExpectDone(MakeCrls("2027-01-02"));
    SignPackage("2027-01-03", "new");
    EXPECT_TRUE(Takes("old"));
    EXPECT_TRUE(Takes("new"));
}

TEST_F(Authority, ACaOfAnOldNameWithANewKeyIsRefused)
{
    ExpectRefused(Run({"issue", "--renew", "issuing-ca", "--common-name", "Issuing CA", "--no-encryption"}),
                  "code"); // the CRL files could not be compared
    ExpectRefused(Run({"issue", "--as", "issuing-ca", "--common-name", "Issuing CA", "--no-encryption"}),
                  "a device knows issuers by their names");
}

TEST_F(Authority, ACaRenewedWithItsKeyKeepsItsBeginning)
{
    SignPackage("2026-02-01", "old");
    ExpectDone(MakeCrls("2026-02-02"));
    ExpectRefused(At("2027-01-01", {"issue", "--renew", "issuing-ca", "--same-key", "--not-before", "2027-01-01"}),
                  "88200013");
    ExpectDone(At("2027-01-01", {"issue", "--renew", "issuing-ca", "--same-key"}));
    ExpectDone(MakeCrls("2027-01-02"));
    EXPECT_TRUE(Takes("old"));
    EXPECT_EQ("issuing-ca", Memory().certificates.back().authority);
    EXPECT_EQ(pkgsign::FindEntry(Memory(), "issuing-ca")->notBefore, Memory().certificates.back().notBefore);
}

TEST_F(Authority, ANameThatIsNoNameIsRefused)
{
    const std::string before = Read("pki/pki.json");
    for (const char *const name : {"a/b", "..", ".hidden", "-x", "with space", "\xC3\xA4", "new\nline"}) {
        ExpectUsage(Run({"issue", "--as", "signer", "--no-encryption", "--name=" + std::string(name)}),
                    "is no name of a certificate");
        ExpectUsage(Run({"request", "--as", "signer", "--no-encryption", "--name=" + std::string(name)}),
                    "is no name of a certificate");
    }
    EXPECT_EQ(before, Read("pki/pki.json"));
}

TEST_F(Authority, ANameThatIsTakenIsRefusedBeforeAnythingIsWritten)
{
    ASSERT_EQ(0, Openssl({"genrsa", "-out", Path("key"), "2048"}).exitStatus);
    ExpectDone(Run({"request", "--as", "signer", "--name", "asked", "--no-encryption", "--out", Path("asked.csr")}));
    const std::string request = Read("pki/certificates/asked.csr");
    for (const char *const name : {"asked", "signer"}) {
        ExpectRefused(Run({"request", "--as", "signer", "--name", name, "--key", Path("key"), "--out", Path("out")}),
                      "already; choose another --name");
        ExpectRefused(Run({"issue", "--as", "signer", "--name", name, "--key", Path("key"), "--out", Path("out")}),
                      "already; choose another --name");
    }
    EXPECT_EQ(request, Read("pki/certificates/asked.csr"));
    EXPECT_FALSE(Made("out"));
}

// A key file without an entry is what a crash can leave behind.
TEST_F(Authority, AKeyThatIsThereIsNotOverwrittenAndAnotherNameIsTaken)
{
    Write("pki/private/signer-2.key", "somebody's");
    ExpectDone(Run({"issue", "--as", "signer", "--no-encryption", "--key-bits", "2048"}));
    EXPECT_EQ("somebody's", Read("pki/private/signer-2.key"));
    EXPECT_EQ("signer-3", Memory().certificates.back().name);
}

TEST_F(Authority, ARequestOfThisFolderIsIssuedUnderItsNameWithItsKey)
{
    const std::vector<std::string> key = {"--no-encryption", "--key-bits", "2048"};
    ExpectDone(Run({"request", "--as", "signer", "--name", "asked", "--no-encryption", "--key-bits", "2048", "--out",
                    Path("asked.csr")}));
    ExpectDone(Run({"issue", "--as", "signer", "--request", Path("asked.csr")}));
    const pkgsign::Pki pki = Memory();
    const pkgsign::Entry *const entry = pkgsign::FindEntry(pki, "asked");
    EXPECT_EQ(5u, pki.certificates.size());
    EXPECT_EQ(pkgsign::State::Issued, entry->state);
    EXPECT_EQ("private/asked.key", entry->key);
    ExpectDone(Run({"sign", Path("content"), "--signer", "asked", "--out", Path("out")}));
}

// Whatever a run came to, the same run again makes the same certificate under the same name.
TEST_F(Authority, TheSameRunMakesTheSameCertificate)
{
    ASSERT_EQ(0, Openssl({"genrsa", "-out", Path("key"), "2048"}).exitStatus);
    const std::vector<std::string> issue = {"issue", "--as", "signer", "--key", Path("key")};
    ExpectDone(Run(issue));
    const std::string certificate = Read("pki/certificates/signer-2.pem");
    const std::string after = Read("pki/pki.json");
    ExpectDone(Run(issue));
    EXPECT_EQ(after, Read("pki/pki.json"));
    EXPECT_EQ(certificate, Read("pki/certificates/signer-2.pem"));
    std::string memory = after;
    const size_t at = memory.find("issued", memory.find("signer-2"));
    Write("pki/pki.json", memory.replace(at, 6, "begun"));
    std::filesystem::remove(Path("pki/certificates/signer-2.pem"));
    ExpectDone(Run(issue)); // as after a crash between the entry and the certificate
    EXPECT_EQ(after, Read("pki/pki.json"));
    EXPECT_EQ(certificate, Read("pki/certificates/signer-2.pem"));
}

// ---- Memory ---------------------------------------------------------------------------------------------------------

TEST_F(Authority, AnEntryNeverDropsOut)
{
    ExpectDone(Run({"revoke", "signer", "--reason", "superseded"}));
    ExpectDone(MakeCrls("2026-02-02"));
    EXPECT_EQ(1u, Entries("Issuing CA"));
    ExpectDone(MakeCrls("2028-02-02"));
    EXPECT_EQ(1u, Entries("Issuing CA"));
    ExpectDone(MakeCrls("2031-02-02")); // the CA has ended
    EXPECT_EQ(1u, Entries("Issuing CA"));
}

TEST_F(Authority, AFolderFromABackupMustNotUnrevoke)
{
    std::filesystem::copy(Path("pki"), Path("backup"), std::filesystem::copy_options::recursive);
    ExpectDone(Run({"revoke", "signer", "--reason", "keyCompromise"}));
    ExpectDone(MakeCrls("2026-02-02"));
    const std::string published = Read("crls");
    const std::string serial = pkgsign::FindEntry(Memory(), "signer")->serial;
    std::filesystem::remove_all(Path("pki"));
    std::filesystem::rename(Path("backup"), Path("pki"));
    ExpectRefused(MakeCrls("2026-03-01"), "what pki.json has forgotten: of 'root' the CRL number");
    ExpectRefused(MakeCrls("2026-03-01"), "pkgsign import ");
    EXPECT_EQ(published, Read("crls"));
    const Outcome import = Run({"import", Path("crls")});
    EXPECT_TRUE(Contains(import.out, "revocation of " + serial + " of 'issuing-ca', keyCompromise from")) << import.out;
    ExpectDone(MakeCrls("2026-03-01"));
    EXPECT_EQ(1u, Entries("Issuing CA"));
    EXPECT_TRUE(Contains(Run({"import", Path("crls")}).out, "nothing new"));
}

TEST_F(Authority, AForkThatRevokedLessMustNotUnrevoke)
{
    std::filesystem::copy(Path("pki"), Path("fork"), std::filesystem::copy_options::recursive);
    ExpectDone(Run({"revoke", "signer", "--reason", "keyCompromise"}));
    ExpectDone(Run({"revoke", "timestamp", "--reason", "keyCompromise"}));
    ExpectDone(MakeCrls("2026-02-02"));
    std::filesystem::rename(Path("pki"), Path("right"));
    std::filesystem::rename(Path("fork"), Path("pki"));
    ExpectDone(Run({"revoke", "signer", "--reason", "keyCompromise", "--date", "2026-01-20"})); // a later date
    ExpectDone(Run({"revoke", "timestamp", "--reason", "superseded"}));                         // a milder reason
    const pkgsign::Pki before = Memory();
    ExpectRefused(MakeCrls("2026-03-01"), "of 'issuing-ca' the revocation of " + before.revocations[0].serial + ", " +
                                              before.revocations[1].serial + " and the CRL number");
    const Outcome import = Run({"import", Path("crls")});
    EXPECT_TRUE(Contains(import.out, "keyCompromise from 2026-01-01T00:00:00Z")) << import.out << import.errors;
    const pkgsign::Pki after = Memory();
    ASSERT_EQ(2u, after.revocations.size());
    EXPECT_EQ(pkgsign::FindEntry(after, "signer")->notBefore, after.revocations[0].date);
    EXPECT_EQ("keyCompromise", after.revocations[1].reason);
    EXPECT_TRUE(Contains(Run({"import", Path("crls")}).out, "nothing new"));
    ExpectDone(MakeCrls("2026-03-01"));
}

TEST_F(Authority, ALostFolderIsRebuiltFromWhatWasPublished)
{
    ExpectDone(Run({"revoke", "signer", "--reason", "keyCompromise"}));
    ExpectDone(MakeCrls("2026-02-02"));
    std::filesystem::create_directories(Path("lost"));
    std::filesystem::rename(Path("pki"), Path("lost/pki"));
    ExpectDone(Run({"import", Path("lost/pki/certificates/signer.pem"), Path("lost/pki/certificates/root.pem"),
                    Path("crls"), "--new"}));
    const pkgsign::Pki pki = Memory();
    EXPECT_EQ(3u, pki.certificates.size());
    EXPECT_EQ(1u, pki.revocations.size());
    EXPECT_EQ(2u, pki.crls.size());
    EXPECT_TRUE(Contains(Run({"list"}).out, "revoked"));
}

TEST_F(Authority, OfACertificateThatComesBeforeItsIssuerTheIssuerIsNamed)
{
    ExpectDone(Pkgsign({"init", Path("other"), "--only", "signer", "--root", Path("pki/certificates/root.pem"),
                        "--no-encryption", "--key-bits", "2048", "--now", NOW}));
    ExpectRefused(
        Pkgsign({"import", Path("pki/certificates/signer.pem"), "--pki", Path("other")}),
        "was issued by 'C = DE, O = Sigkit, CN = Issuing CA', which is not known here; import its certificate first");
}

TEST_F(Authority, WhatIsNoCertificateOfThisPkiIsNotImported)
{
    const std::string before = Read("pki/pki.json");
    const std::vector<std::string> make = {"req",         "-x509",   "-newkey",   "rsa:2048", "-nodes",         "-subj",
                                           "/CN=Root CA", "-keyout", Path("key"), "-out",     Path("other.pem")};
    ASSERT_EQ(0, Openssl(make).exitStatus);
    ExpectRefused(Run({"import", Path("other.pem")}), "is another root than that of the folder; a folder has one");
    ExpectRefused(Run({"import", Path("content")}), "does not hold certificates or CRLs");
    std::string root = Read("pki/certificates/root.der");
    root.back() ^= 1; // its own signature does not hold
    Write("broken.der", root);
    ExpectRefused(Pkgsign({"import", Path("broken.der"), "--new", "--pki", Path("fresh")}), "is not known here");
    EXPECT_FALSE(Made("fresh"));
    EXPECT_EQ(before, Read("pki/pki.json"));
}

TEST_F(Authority, TwoCertificatesWithOneSerialNumberAreNotTakenForOne)
{
    const std::string ca = Path("pki/certificates/issuing-ca.pem");
    const std::string serial = pkgsign::FindEntry(Memory(), "signer")->serial;
    Write("extensions", "extendedKeyUsage=critical,codeSigning\n");
    ASSERT_EQ(0, Openssl({"req", "-newkey", "rsa:2048", "-nodes", "-subj", "/CN=Other", "-keyout", Path("key"), "-out",
                          Path("other.csr")})
                     .exitStatus);
    ASSERT_EQ(
        0, Openssl({"x509", "-req", "-in", Path("other.csr"), "-CA", ca, "-CAkey", Path("pki/private/issuing-ca.key"),
                    "-set_serial", "0x" + serial, "-extfile", Path("extensions"), "-out", Path("other.pem")})
               .exitStatus);
    ExpectRefused(Run({"import", Path("other.pem")}), "'signer' is another certificate of the same CA");
}

TEST_F(Authority, CrlNumbersOnlyGoUp)
{
    ExpectDone(MakeCrls("2026-02-02T00:00:00Z"));
    const std::string first = pkgsign::FindCrl(Memory(), "root")->number;
    EXPECT_EQ("1769990400", first); // thisUpdate in seconds
    ExpectDone(MakeCrls("2026-02-02T00:00:00Z"));
    EXPECT_EQ("1769990401", pkgsign::FindCrl(Memory(), "root")->number);
    ExpectRefused(MakeCrls("2026-02-01T00:00:00Z"), "is the clock right?");
}

// Times are UTCTime up to 2049 and GeneralizedTime from then on (RFC 5280, 4.1.2.5).
TEST_F(Authority, TheYear2050IsAYearLikeOthersUntilTheRootEnds)
{
    const auto run = [&](const std::string &now, std::vector<std::string> arguments) {
        arguments.insert(arguments.end(), {"--pki", Path("late"), "--now", now, "--no-input"});
        return Pkgsign(arguments);
    };
    ExpectDone(Pkgsign({"init", Path("late"), "--no-encryption", "--key-bits", "2048", "--now", "2049-06-01"}));
    std::filesystem::remove_all(Path("pki"));
    std::filesystem::copy(Path("late"), Path("pki"), std::filesystem::copy_options::recursive);
    for (const char *const now : {"2049-12-31T23:59:59Z", "2050-01-01T00:00:00Z", "2050-05-31"}) {
        ExpectDone(run(now, {"crl", "--out", Path("crls")}));
        ExpectDone(run(now, {"sign", Path("content"), "--crl", Path("crls"), "--out", Path("out")}));
        EXPECT_TRUE(DeviceTakes("out", "content", "crls")) << now;
    }
    ExpectRefused(run("2051-01-01", {"sign", Path("content"), "--out", Path("out")}), "and it is 2051-01-01");
    ExpectRefused(run("2106-02-08", {"issue", "--renew", "signer", "--no-encryption"}), "no certificate of the role");
    ExpectRefused(run("1969-12-31", {"sign", Path("content"), "--out", Path("out")}), "and it is 1969-12-31");
}

// ---- revoke ---------------------------------------------------------------------------------------------------------

TEST_F(Authority, WhatCannotBeRevokedIsRefused)
{
    ExpectRefused(Run({"revoke", "root"}), "a root cannot be revoked");
    ExpectRefused(Run({"revoke", "nobody"}), "knows no certificate 'nobody'");
    ExpectUsage(Run({"revoke", "signer", "--reason", "removeFromCRL"}), "removeFromCRL cannot be given");
    ExpectUsage(Run({"revoke", "signer", "--reason", "boredom"}), "is no reason; there are unspecified, keyCompromise");
    ExpectRefused(Run({"revoke", "signer", "--date", "2026-02-02"}), "is later than the next CRL");
    ExpectUsage(Run({"revoke", "--serial", "XY"}), "is no serial number");
    ExpectUsage(Run({"revoke"}), "name the certificate, or its --serial");
    EXPECT_TRUE(Memory().revocations.empty());
    ExpectDone(Run({"revoke", "signer"}));
    ExpectRefused(Run({"revoke", Path("pki/certificates/signer.pem")}), "is revoked already");
    EXPECT_EQ(1u, Memory().revocations.size());
}

TEST_F(Authority, ASerialNumberIsTheSameHoweverItIsWritten)
{
    const std::string serial = pkgsign::FindEntry(Memory(), "signer")->serial;
    ExpectDone(Run({"revoke", "--serial", "a10"}));
    EXPECT_EQ("0A10", Memory().revocations[0].serial);
    ExpectRefused(Run({"revoke", "--serial", "0:0A:10"}), "0A10 of 'issuing-ca' is revoked already");
    ExpectDone(Run({"revoke", "signer"}));
    ExpectRefused(Run({"revoke", "--serial", "000" + serial}), "is revoked already");
    for (const char *const text : {"0", "1G", "-1", "1 2", "ABCDEFABCDEFABCDEFABCDEFABCDEFABCDEFABCDEF"}) {
        ExpectUsage(Run({"revoke", "--serial=" + std::string(text)}), "is no serial number");
    }
}

TEST_F(Authority, AStolenSignerKeyIsRevokedFromItsBeginning)
{
    const Outcome outcome = Run({"revoke", Path("pki/certificates/signer.pem"), "--reason", "keyCompromise"});
    EXPECT_TRUE(Contains(outcome.out, "stamped from 2026-01-01T00:00:00Z on")) << outcome.errors;
    EXPECT_TRUE(Contains(outcome.out, "No device knows yet: pkgsign crl")) << outcome.out;
    EXPECT_EQ(pkgsign::FindEntry(Memory(), "signer")->notBefore, Memory().revocations[0].date);
}

TEST_F(Authority, ARevocationIsTriedOnReleasedPackages)
{
    SignPackage("2026-01-10", "before");
    SignPackage("2026-01-20", "after");
    ExpectDone(MakeCrls("2026-01-31"));
    const Outcome outcome =
        Run({"revoke", "signer", "--reason", "keyCompromise", "--date", "2026-01-15", "--try", Path("released")});
    EXPECT_TRUE(Contains(outcome.out, "released/after.cms: refused, code 88200002")) << outcome.out << outcome.errors;
    EXPECT_FALSE(Contains(outcome.out, "before.cms"));
    EXPECT_TRUE(Contains(outcome.out, "1 of 2 packages get another answer"));
    EXPECT_TRUE(Memory().revocations.empty());
    ExpectDone(Run({"revoke", "signer", "--reason", "keyCompromise", "--date", "2026-01-15"}));
    ExpectDone(MakeCrls("2026-02-01"));
    EXPECT_TRUE(Takes("before"));
    EXPECT_FALSE(Takes("after"));
}

// ---- crl ------------------------------------------------------------------------------------------------------------

TEST_F(Authority, TwentyEntriesFitACrlAndTwentyOneDoNot)
{
    for (int i = 0; i < 20; ++i) {
        const std::string serial = "0A" + std::to_string(10 + i);
        ExpectDone(Run({"revoke", "--serial", serial, "--reason", "superseded"}));
    }
    const Outcome full = MakeCrls("2026-02-02");
    EXPECT_TRUE(
        Contains(full.out, "nearly full: entries of the CRL of 'C = DE, O = Sigkit, CN = Issuing CA': 20 of the 20"))
        << full.errors;
    const std::string before = Read("crls");
    ExpectDone(Run({"revoke", "--serial", "0A99"}));
    ExpectRefused(MakeCrls("2026-02-03"), "would have 21 entries, and devices take 20");
    EXPECT_EQ(before, Read("crls"));
}

TEST_F(Authority, AFileThatIsNotNewerIsNotWritten)
{
    ExpectDone(MakeCrls("2026-03-01"));
    std::filesystem::copy(Path("pki"), Path("fork"), std::filesystem::copy_options::recursive);
    // The same folder elsewhere has made a later file, which came here.
    ExpectDone(Pkgsign({"crl", "--out", Path("later"), "--pki", Path("fork"), "--now", "2026-04-01T00:00:00Z"}));
    ExpectRefused(At("2026-03-15", {"crl", "--out", Path("later")}), "what pki.json has forgotten");
}

TEST_F(Authority, ARevocationThatComesWhileCrlsAreSignedIsNotLeftOut)
{
    // A revocation of another process, behind the moment at which the CRLs were put together.
    pkgsign::CrlFile file;
    pkgsign::CrlFileOrder order;
    pkgsign::Secrets secrets;
    const pkgsign::Workplace place = {Path("pki"), &secrets, 1769904000, false};
    ASSERT_TRUE(pkgsign::ComposeCrlFile(place, order, &file).ok);
    ExpectDone(Run({"revoke", "signer"}));
    const int before = RealSignatures();
    const pkgsign::Status status = pkgsign::SignCrlFile(place, order, &file);
    EXPECT_TRUE(Contains(status.reason, "another process has just revoked")) << status.reason;
    EXPECT_EQ(before, RealSignatures());
    EXPECT_TRUE(Memory().crls.empty());
}

TEST_F(Authority, ACrlFileIsDerOfCrlsAndCaCertificates)
{
    ExpectDone(MakeCrls("2026-02-01"));
    pkgsign::Objects objects;
    ASSERT_TRUE(pkgsign::ReadObjects(Path("crls"), &objects).ok);
    EXPECT_EQ(2u, objects.crls.size());
    ASSERT_EQ(1u, objects.certificates.size()); // the root is built into devices
    EXPECT_EQ("Issuing CA",
              pkgsign::NameAttribute(X509_get_subject_name(objects.certificates[0].get()), NID_commonName));
    EXPECT_EQ('\x30', Read("crls")[0]);
}

TEST_F(Authority, ADryRunOfCrlsSignsAndWritesNothing)
{
    const std::string before = Read("pki/pki.json");
    const int signatures = RealSignatures();
    const Outcome tried = At("2026-02-01", {"crl", "--out", Path("crls"), "-n"});
    EXPECT_EQ(before, Read("pki/pki.json"));
    EXPECT_EQ(signatures, RealSignatures());
    EXPECT_FALSE(Made("crls"));
    const Outcome done = At("2026-02-01", {"crl", "--out", Path("crls")});
    EXPECT_EQ(tried.out, done.out); // the same content, with its digests
}

// ---- list and sign --------------------------------------------------------------------------------------------------

TEST_F(Authority, TheHorizonEndsWithThree)
{
    ExpectDone(MakeCrls("2026-02-01"));
    EXPECT_EQ(0, At("2026-02-01", {"list", "--horizon", "119"}).status);
    const Outcome soon = At("2026-02-01", {"list", "--horizon", "121"});
    EXPECT_EQ(3, soon.status);
    EXPECT_TRUE(Contains(soon.out, "ends soon: CRL of 'root' at 2026-06-01T00:00:00Z")) << soon.out;
    EXPECT_EQ(3, At("2026-12-20", {"list", "--json", "--horizon", "30"}).status);
}

// What has ended is worse than what ends soon: who looks every day must not see 3 turn into 0.
TEST_F(Authority, TheHorizonIsNotQuietWhenSomethingHasEnded)
{
    ExpectDone(MakeCrls("2026-12-30"));
    const Outcome ended = At("2027-01-15", {"list", "--horizon", "1"});
    EXPECT_EQ(3, ended.status);
    EXPECT_TRUE(Contains(ended.out, "ended: certificate 'signer' at 2027-01-01T00:00:00Z")) << ended.out;
    const Outcome json = At("2027-01-15", {"list", "--json", "--horizon", "1"});
    EXPECT_EQ(3, json.status);
    EXPECT_TRUE(Contains(json.out, "\"endsSoon\": [\n    {\n      \"what\": \"certificate 'signer'\"")) << json.out;
    ExpectDone(At("2027-01-15", {"issue", "--renew", "signer", "--no-encryption", "--key-bits", "2048"}));
    EXPECT_EQ(0, At("2027-01-15", {"list", "--horizon", "1"}).status);
}

TEST_F(Authority, AListInJsonHasSerialsAndNumbersAsText)
{
    ExpectDone(MakeCrls("2026-02-01"));
    const std::string list = Run({"list", "--json"}).out;
    EXPECT_TRUE(Contains(list, "\"number\": \"1769904000\"")) << list;
    EXPECT_TRUE(Contains(list, "\"serial\": \"" + Memory().certificates[1].serial + "\""));
}

TEST_F(Authority, CertificatesMayBeStandardInputAndOutput)
{
    const std::string program = PKGSIGN_PROGRAM;
    const std::string folder = " --pki " + Path("pki") + " --now " + NOW;
    const std::string certificate = Path("pki/certificates/signer.pem");
    const auto shell = [&](const std::string &line) { return RunProcess({"/bin/sh", "-c", program + " " + line}); };
    const ProcessResult issued =
        shell("issue --as signer --no-encryption --key-bits 2048 --out - " + folder + " >" + Path("new.pem"));
    EXPECT_EQ(0, issued.exitStatus) << issued.errors;
    EXPECT_EQ(Read("pki/certificates/signer-2.pem"), Read("new.pem")); // and nothing else
    const ProcessResult revoked = shell("revoke - " + folder + " <" + certificate);
    EXPECT_EQ(0, revoked.exitStatus) << revoked.errors;
    EXPECT_EQ(pkgsign::FindEntry(Memory(), "signer")->serial, Memory().revocations[0].serial);
}

TEST_F(Authority, ContentAndMessageMayBeStandardInputAndOutput)
{
    const std::string program = PKGSIGN_PROGRAM;
    const std::string folder = " --pki " + Path("pki") + " --now " + NOW;
    const ProcessResult result = RunProcess(
        {"/bin/sh", "-c", program + " sign - --out -" + folder + " <" + Path("content") + " >" + Path("out")});
    EXPECT_EQ(0, result.exitStatus) << result.errors;
    ExpectDone(MakeCrls("2026-02-01"));
    EXPECT_TRUE(DeviceTakes("out", "content", "crls"));
}

TEST_F(Authority, ContentOfAnyLengthIsReadOnceAndSigned)
{
    ExpectDone(MakeCrls("2026-02-01"));
    for (const size_t size : {size_t{1}, size_t{262144}, size_t{262145}, size_t{3000000}}) {
        Write("content", std::string(size, 'x'));
        ExpectDone(Run({"sign", Path("content"), "--out", Path("out")}));
        EXPECT_TRUE(DeviceTakes("out", "content", "crls")) << size;
    }
}

// ---- checksums ------------------------------------------------------------------------------------------------------

TEST_F(Authority, ChecksumsAreSortedInOneFormAndChecked)
{
    std::filesystem::create_directories(Path("package/sub"));
    Write("package/b", "b\n");
    Write("package/a", "a\n");
    Write("package/sub/c", "c\n");
    ExpectDone(Pkgsign({"checksums", Path("package"), "--package-version", "12", "--out", Path("package/checksums")}));
    EXPECT_EQ("version 12\n"
              "87428fc522803d31065e7bce3cf03fe475096631e5e07bbd7a0fde60c4cf25c7  a\n"
              "0263829989b6fd954f72baaf2fc64bc2e2f01d692d4de72986ea808f6e99813f  b\n"
              "a3a5e715f0cc574a73c3f9bebb6bc24f32ffd5b67b387244c2c909da779a1478  sub/c\n",
              Read("package/checksums"));
    const std::vector<std::string> check = {"checksums", Path("package"), "--check", Path("package/checksums")};
    EXPECT_EQ("3 files are as they were\n", Pkgsign(check).out);
    Write("package/b", "B\n");
    ExpectRefused(Pkgsign(check), "line 3: 'b' is missing, or not as it was");
    Write("package/b", "b\n");
    Write("package/d", "d\n");
    ExpectRefused(Pkgsign(check), "holds files that");
}

TEST_F(Authority, ChecksumsLeaveOutNothingButTheirOwnFile)
{
    std::filesystem::create_directories(Path("package/sub"));
    Write("package/a", "a\n");
    const std::vector<std::string> make = {"checksums", Path("package"), "--package-version",
                                           "1",         "--out",         Path("package/checksums")};
    std::filesystem::create_directory_symlink("/etc", Path("package/link"));
    ExpectRefused(Pkgsign(make), "link' is no regular file");
    std::filesystem::remove(Path("package/link"));
    std::filesystem::create_symlink("checksums", Path("package/sums"));
    ExpectRefused(Pkgsign(make), "sums' is no regular file");
    std::filesystem::remove(Path("package/sums"));
    std::filesystem::create_symlink("loop", Path("package/loop"));
    ExpectRefused(Pkgsign(make), "loop' is no regular file");
    std::filesystem::remove(Path("package/loop"));
    for (const char *const name : {"package/sub/.hidden", "package/sub/-x"}) {
        Write(name, "x");
        ExpectRefused(Pkgsign(make), "rename the file");
        std::filesystem::remove(Path(name));
    }
    Write("package/checksums.cms", "signature");
    Write("package/checksums", "an earlier one");
    ExpectDone(Pkgsign(make));
    const std::string made = Read("package/checksums");
    EXPECT_EQ(2, std::count(made.begin(), made.end(), '\n')) << made;
    std::filesystem::create_directory_symlink("package", Path("by-link"));
    EXPECT_EQ("1 files are as they were\n",
              Pkgsign({"checksums", Path("by-link"), "--check", Path("package/checksums")}).out);
}

TEST_F(Authority, ChecksumsRefuseNamesThatCouldBeReadInTwoWays)
{
    std::filesystem::create_directories(Path("package"));
    for (const char *const name : {"with space", "-option", "new\nline", "ümlaut"}) {
        Write(std::string("package/") + name, "x");
        ExpectRefused(Pkgsign({"checksums", Path("package"), "--package-version", "1", "--out", Path("sums")}),
                      "rename the file");
        std::filesystem::remove(Path(std::string("package/") + name));
    }
    Write("package/file", "x");
    std::filesystem::create_symlink("file", Path("package/link"));
    ExpectRefused(Pkgsign({"checksums", Path("package"), "--package-version", "1", "--out", Path("sums")}),
                  "is no regular file");
    std::filesystem::remove(Path("package/link"));
    for (const char *const version : {"", "-1", "01", "1.0", "9999999999999999999"}) {
        ExpectUsage(Pkgsign({"checksums", Path("package"), "--package-version", version, "--out", Path("sums")}),
                    "wants a number");
    }
    EXPECT_FALSE(Made("sums"));
}

} // namespace
