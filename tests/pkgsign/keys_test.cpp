// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Keys by URI: files, encrypted files, tokens.
#include "pkgsign/crypto/keys.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "pkgsign/files/files.h"
#include "pkgsign/timestamp/signers.h"
#include "tests/forge/forge.h"
#include "tests/pkgsign/support.h"

namespace
{

class KeyFiles : public InFolder
{
protected:
    // The signer's key, encrypted with "secret".
    void Encrypt()
    {
        pkgsign::Secrets none;
        pkgsign::Key key;
        const pkgsign::Secret passphrase = {'s', 'e', 'c', 'r', 'e', 't'};
        ASSERT_TRUE(pkgsign::LoadKey(Path("pki/private/signer.key"), "signer", &none, &key).ok);
        std::filesystem::remove(Path("pki/private/signer.key"));
        ASSERT_TRUE(pkgsign::WriteKey(Path("pki/private/signer.key"), key, &passphrase).ok);
        Write("passphrase", "secret\n");
        Write("wrong", "wrong\n");
    }

    Outcome Sign(std::vector<std::string> options)
    {
        options.insert(options.begin(), {"sign", Path("content"), "--out", Path("out")});
        return Run(options);
    }
};

TEST_F(KeyFiles, ThatAreEncryptedOpenWithTheirPassphraseAlone)
{
    Encrypt();
    EXPECT_TRUE(Contains(Read("pki/private/signer.key"), "BEGIN ENCRYPTED PRIVATE KEY"));
    ExpectRefused(Sign({}), "key 'signer' needs a passphrase or PIN; use --passphrase-file");
    ExpectRefused(Sign({"--passphrase-file", Path("wrong")}),
                  "signer.key': the passphrase for key 'signer' does not fit it\n");
    ExpectDone(Sign({"--passphrase-file", Path("passphrase")}));
    ExpectDone(Sign({"--passphrase-file", "signer=" + Path("passphrase")}));
    ExpectDone(Sign({"--passphrase-file", Path("wrong"), "--passphrase-file", "signer=" + Path("passphrase")}));
}

TEST_F(KeyFiles, TakeTheirPassphraseFromADescriptor)
{
    Encrypt();
    const int file = open(Path("passphrase").c_str(), O_RDONLY);
    ASSERT_GE(file, 0);
    ExpectDone(Sign({"--passphrase-fd", std::to_string(file)}));
    (void)close(file);
    ExpectUsage(Sign({"--passphrase-fd", "x"}), "--passphrase-fd wants the number of an open descriptor");
}

TEST_F(KeyFiles, AreNotOpenedWithoutAPassphraseThatCanBeRead)
{
    Encrypt();
    ExpectRefused(Sign({"--passphrase-fd", "999"}),
                  "cannot read a passphrase from descriptor 999: Bad file descriptor");
    ExpectRefused(Sign({"--passphrase-file", Path("missing")}), "missing': No such file");
    ExpectRefused(Sign({"--passphrase-file", directory.path}), "Is a directory");
    ExpectRefused(Sign({"--passphrase-file", "/dev/zero"}), "at most 1023 octets");
    Write("empty", "\n");
    ExpectRefused(Sign({"--passphrase-file", Path("empty")}), "the passphrase for key 'signer' is empty");
}

TEST_F(KeyFiles, AreHardToGuess)
{
    Encrypt();
    const ProcessResult text = Openssl({"asn1parse", "-in", Path("pki/private/signer.key")});
    EXPECT_TRUE(Contains(text.output, "INTEGER           :0927C0")) << text.output; // 600,000 rounds of PBKDF2
    EXPECT_EQ(0,
              Openssl({"pkey", "-in", Path("pki/private/signer.key"), "-passin", "pass:secret", "-noout"}).exitStatus);
}

TEST_F(KeyFiles, AreNotMadeWithoutAPassphraseOrAWordThatTheyNeedNone)
{
    for (const std::vector<std::string> &line :
         {std::vector<std::string>{"issue", "--as", "signer"}, {"request", "--as", "signer"}}) {
        const Outcome outcome = Run(line);
        ExpectRefused(outcome, "use --passphrase-file, or --no-encryption");
    }
}

TEST_F(KeyFiles, TakeTheirPassphraseByUri)
{
    Encrypt();
    ExpectDone(Run({"issue", "--as", "signer", "--key", "file:" + Path("pki/private/signer.key"), "--passphrase-file",
                    "file:" + Path("pki/private/signer.key") + "=" + Path("passphrase")}));
}

TEST_F(KeyFiles, HaveNoOptionForAPassphraseItself)
{
    EXPECT_EQ(2, Sign({"--passphrase", "secret"}).status);
}

TEST_F(KeyFiles, AreFoundByUriAndByPath)
{
    pkgsign::Secrets none;
    pkgsign::Key path;
    pkgsign::Key uri;
    ASSERT_TRUE(pkgsign::LoadKey(Path("pki/private/signer.key"), "signer", &none, &path).ok);
    ASSERT_TRUE(pkgsign::LoadKey("file:" + Path("pki/private/signer.key"), "signer", &none, &uri).ok);
    EXPECT_TRUE(pkgsign::SamePublicKey(path.get(), uri.get()));
}

TEST(KeyUris, NameTokensByTheirSchemeInWhateverCase)
{
    EXPECT_TRUE(pkgsign::IsTokenUri("pkcs11:token=hsm"));
    EXPECT_TRUE(pkgsign::IsTokenUri("PKCS11:token=hsm"));
    for (const char *const other : {"", "pkcs11", "file:pkcs11:token=hsm", "/keys/pkcs11:"}) {
        EXPECT_FALSE(pkgsign::IsTokenUri(other)) << other;
    }
}

TEST_F(KeyFiles, HaveCopiesThatSignAlike)
{
    pkgsign::Secrets none;
    pkgsign::Key key;
    ASSERT_TRUE(pkgsign::LoadKey(Path("pki/private/signer.key"), "signer", &none, &key).ok);
    const pkgsign::Key copy = pkgsign::CopyKey(key);
    EXPECT_NE(key.get(), copy.get());
    pkgsign::Bytes signatures[2];
    for (size_t i = 0; i < 2; ++i) {
        pkgsign::SignDigest sign;
        ASSERT_TRUE(pkgsign::SignWithKey(i == 0 ? key : copy, &sign).ok);
        ASSERT_TRUE(sign(pkgsign::Bytes(32, 0x5A), &signatures[i]).ok);
    }
    EXPECT_EQ(signatures[0], signatures[1]);
}

// Two processes may have chosen one name: the key of the first is not lost.
TEST_F(KeyFiles, AreNeverOverwritten)
{
    pkgsign::Secrets none;
    pkgsign::Key key;
    const std::string before = Read("pki/private/signer.key");
    ASSERT_TRUE(pkgsign::LoadKey(Path("pki/private/timestamp.key"), "timestamp", &none, &key).ok);
    const pkgsign::Status status = pkgsign::WriteKey(Path("pki/private/signer.key"), key, nullptr);
    EXPECT_TRUE(Contains(status.reason, "File exists")) << status.reason;
    EXPECT_EQ(before, Read("pki/private/signer.key"));
    const std::filesystem::directory_iterator files(Path("pki/private"));
    EXPECT_EQ(4, std::distance(begin(files), end(files)));
}

TEST_F(KeyFiles, OfManyProcessesAtOnceFitTheirCertificates)
{
    const std::string line = std::string(PKGSIGN_PROGRAM) +
                             " issue --as signer --no-encryption --key-bits 2048 --pki " + Path("pki") + " --now " +
                             NOW;
    const ProcessResult all =
        RunProcess({"/bin/sh", "-c", "for i in 1 2 3 4; do " + line + " >/dev/null & done; wait"});
    const pkgsign::Pki pki = Memory();
    EXPECT_GT(pki.certificates.size(), 4u) << all.errors;
    for (const pkgsign::Entry &entry : pki.certificates) {
        EXPECT_EQ(pkgsign::State::Issued, entry.state) << entry.name;
        if (entry.role == pkgsign::Role::Signer) {
            ExpectDone(Sign({"--signer", entry.name}));
        }
    }
}

TEST_F(KeyFiles, AreForTheirOwnerOnly)
{
    for (const char *const name : {"root", "issuing-ca", "signer", "timestamp"}) {
        struct stat found = {};
        ASSERT_EQ(0, stat(Path(std::string("pki/private/") + name + ".key").c_str(), &found));
        EXPECT_EQ(0600u, found.st_mode & 0777u) << name;
    }
}

TEST(ThrowawayKeys, HaveTheLengthAskedForAndSign)
{
    for (const int bits : {2048, 2304, 3072, 4096}) {
        pkgsign::Key key;
        const pkgsign::Status status = pkgsign::ThrowawayKey(bits, &key);
        ASSERT_TRUE(status.ok) << status.reason;
        EXPECT_EQ(bits, EVP_PKEY_bits(key.get()));
        pkgsign::MdCtxPtr ctx(EVP_MD_CTX_new());
        pkgsign::Bytes signature(512);
        size_t size = signature.size();
        const pkgsign::Bytes data = {1, 2, 3};
        ASSERT_EQ(1, EVP_DigestSignInit(ctx.get(), nullptr, EVP_sha256(), nullptr, key.get()));
        ASSERT_EQ(1, EVP_DigestSign(ctx.get(), signature.data(), &size, data.data(), data.size()));
        pkgsign::MdCtxPtr check(EVP_MD_CTX_new());
        ASSERT_EQ(1, EVP_DigestVerifyInit(check.get(), nullptr, EVP_sha256(), nullptr, key.get()));
        EXPECT_EQ(1, EVP_DigestVerify(check.get(), signature.data(), size, data.data(), data.size()));
    }
}

// A token of SoftHSM2 with one key, "release".
class TokenKeys : public InFolder
{
protected:
    void SetUp() override
    {
        InFolder::SetUp();
        std::filesystem::create_directory(Path("tokens"));
        Write("softhsm.conf", "directories.tokendir = " + Path("tokens") + "\nlog.level = ERROR\n");
        environment = {"SOFTHSM2_CONF=" + Path("softhsm.conf"), std::string("PKCS11_MODULE_PATH=") + SOFTHSM_MODULE};
        RunUtil({"--init-token", "--free", "--label", "hsm", "--so-pin", "0000", "--pin", "1234"});
        Write("pin", "1234\n");
        Write("wrong", "4321\n");
    }

    void RunUtil(std::vector<std::string> arguments) const
    {
        arguments.insert(arguments.begin(), SOFTHSM_UTIL);
        const ProcessResult result = RunProcess(arguments, environment);
        ASSERT_EQ(0, result.exitStatus) << result.output << result.errors;
    }

    // The program in a process of its own: the token's library keeps its state until the end of the process.
    Outcome Program(std::vector<std::string> arguments) const
    {
        arguments.insert(arguments.begin(), PKGSIGN_PROGRAM);
        arguments.insert(arguments.end(), {"--pki", Path("pki"), "--now", NOW, "--no-input"});
        const ProcessResult result = RunProcess(arguments, environment);
        return {result.exitStatus, result.output, result.errors};
    }

    // Brings a key of the folder into the token and lets pki.json name it there.
    void Move(const std::string &name, const std::string &identifier) const
    {
        RunUtil({"--import", Path("pki/private/" + name + ".key"), "--token", "hsm", "--label", name, "--id",
                 identifier, "--pin", "1234"});
        std::filesystem::remove(Path("pki/private/" + name + ".key"));
        const std::string uri = "pkcs11:token=hsm;object=" + name + "?pin-source=file:" + Path("pin");
        ExpectDone(Program({"key", name, "--uri", uri}));
    }

    Outcome Sign(std::vector<std::string> options = {})
    {
        options.insert(options.begin(), {"sign", Path("content"), "--out", Path("out")});
        return Program(options);
    }

    std::vector<std::string> environment;
};

TEST_F(TokenKeys, SignPackagesCrlsAndCertificates)
{
    Move("signer", "01");
    Move("timestamp", "02");
    Move("issuing-ca", "03");
    ExpectDone(Program({"crl", "--out", Path("crls")}));
    ExpectDone(Sign({"--crl", Path("crls")}));
    EXPECT_TRUE(DeviceTakes("out", "content", "crls"));
    ExpectDone(Program({"issue", "--as", "signer", "--no-encryption", "--key-bits", "2048"}));
    EXPECT_EQ(5u, Memory().certificates.size());
}

TEST_F(TokenKeys, SignForACertificateInAFile)
{
    ExpectDone(Program({"crl", "--out", Path("crls")}));
    ExpectDone(Sign());
    const std::string before = Read("out");
    Move("signer", "01");
    ExpectDone(Sign({"--certificate", Path("pki/certificates/signer.pem"), "--key",
                     "pkcs11:token=hsm;object=signer?pin-source=file:" + Path("pin"), "--root",
                     Path("pki/certificates/root.pem"), "--crl", Path("crls"), "--timestamp", "timestamp"}));
    EXPECT_TRUE(before == Read("out"));
    EXPECT_TRUE(DeviceTakes("out", "content", "crls"));
}

// pkcs11-tool pads what it is given: the digest becomes a DigestInfo (RFC 8017, 9.2, note 1) first.
TEST_F(TokenKeys, SignThroughAProgramOfTheUsers)
{
    ExpectDone(Sign());
    const std::string before = Read("out");
    Move("signer", "01");
    Write("sign", "#!/bin/sh\nset -e\n[ \"$PKGSIGN_DIGEST\" = sha256 ]\n{ printf "
                  "'\\060\\061\\060\\015\\006\\011\\140\\206\\110\\001\\145\\003\\004\\002\\001\\005\\000\\004\\040'; "
                  "cat; } >\"$1/input\"\n" +
                      std::string(PKCS11_TOOL) + " --module " + SOFTHSM_MODULE +
                      " --token-label hsm --login --pin \"$(cat \"$1/pin\")\" --label signer --sign --mechanism "
                      "RSA-PKCS --input-file \"$1/input\" --output-file \"$1/raw\" >&2\ncat \"$1/raw\"\n");
    std::filesystem::permissions(Path("sign"), std::filesystem::perms::owner_all);
    const Outcome outcome = Sign({"--sign-command", "'" + Path("sign") + "' '" + directory.path + "'"});
    EXPECT_EQ(0, outcome.status) << outcome.errors;
    EXPECT_TRUE(before == Read("out"));
}

TEST_F(TokenKeys, OfAnotherCertificateAreRefusedBeforeTheySign)
{
    Move("signer", "01");
    Move("timestamp", "02");
    std::string text = Read("pki/pki.json");
    text.replace(text.find("object=signer"), 13, "object=timestamp");
    Write("pki/pki.json", text);
    ExpectRefused(Sign(), "the private key is not the one that the certificate is for");
    EXPECT_FALSE(Made("out"));
}

// A token that counts wrong PINs locks itself: one command uses up one attempt at the most.
TEST_F(TokenKeys, AreNotTriedAgainWithAPinThatWasRefused)
{
    Move("signer", "01");
    std::string text = Read("pki/pki.json");
    text.replace(text.find(Path("pin")), Path("pin").size(), Path("wrong"));
    Write("pki/pki.json", text);
    ExpectRefused(Sign(), "the token refuses the PIN for key 'signer'");
}

TEST_F(TokenKeys, TakeTheirPinFromAPassphraseFile)
{
    Move("signer", "01");
    std::string text = Read("pki/pki.json");
    const std::string source = "?pin-source=file:" + Path("pin");
    text.erase(text.find(source), source.size());
    Write("pki/pki.json", text);
    ExpectRefused(Sign(), "key 'signer' needs a passphrase or PIN");
    ExpectDone(Sign({"--passphrase-file", "signer=" + Path("pin")}));
}

TEST_F(TokenKeys, WithAPinInTheirUriAreRefused)
{
    for (const char *const uri : {"pkcs11:object=x?pin-value=1234", "PKCS11:object=x?pin-value=1234",
                                  "pkcs11:object=x?Pin-Value=1234", "engine:pkcs11:object=x;pin-value=1234"}) {
        const Outcome outcome = Program({"issue", "--as", "signer", "--key", uri});
        ExpectRefused(outcome, "holds a PIN");
        EXPECT_FALSE(Contains(outcome.errors, "1234"));
    }
}

TEST_F(TokenKeys, WithAPinSourceThatIsNoFileAreRefused)
{
    for (const char *const source : {"file://host", "file:", "file:///missing", "/missing"}) {
        ExpectRefused(
            Program({"issue", "--as", "signer", "--key", std::string("pkcs11:object=x?pin-source=") + source}),
            "cannot read '");
    }
}

TEST_F(TokenKeys, AreRefusedWithoutAProviderAndAnEngine)
{
    Move("signer", "01");
    environment.push_back("OPENSSL_ENGINES=" + directory.path);
    ExpectRefused(Sign(), "no pkcs11 provider is loaded and the pkcs11 engine cannot be opened");
    EXPECT_FALSE(Made("out"));
}

#ifdef EMPTY_PROVIDER
TEST_F(TokenKeys, ComeFromAProviderWhereOneIsLoaded)
{
    Move("signer", "01");
    Write("openssl.cnf", "openssl_conf = init\n[init]\nproviders = all\n[all]\ndefault = on\npkcs11 = other\n"
                         "[on]\nactivate = 1\n[other]\nactivate = 1\nmodule = " EMPTY_PROVIDER "\n");
    environment.push_back("OPENSSL_CONF=" + Path("openssl.cnf"));
    ExpectRefused(Sign(), "cannot load a private key from 'pkcs11:token=hsm;object=signer'");
    EXPECT_FALSE(Made("out"));
}
#endif

TEST_F(TokenKeys, ThatNoTokenHasAreMissed)
{
    ExpectRefused(Program({"issue", "--as", "signer", "--key", "pkcs11:object=x?pin-source=" + Path("pin")}),
                  "no token has the key 'pkcs11:object=x'");
}

} // namespace
