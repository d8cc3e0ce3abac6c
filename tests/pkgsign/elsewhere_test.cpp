// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Signing with a key that is elsewhere: in two steps, or by a program.
#include <filesystem>

#include "pkgsign/crypto/signing_program.h"
#include "pkgsign/files/files.h"
#include "tests/pkgsign/support.h"

namespace
{

class Elsewhere : public InFolder
{
protected:
    void SetUp() override
    {
        InFolder::SetUp();
        ExpectDone(Run({"crl", "--out", Path("crls")}));
        key = Path("elsewhere.key");
        ExpectDone(Sign({"--out", Path("here")})); // what it has to come to
        std::filesystem::rename(Path("pki/private/signer.key"), key);
        before = RealSignatures();
    }

    Outcome Sign(std::vector<std::string> options) const
    {
        options.insert(options.begin(), {"sign", Path("content"), "--crl", Path("crls")});
        return Run(options);
    }

    Outcome Request(std::vector<std::string> options = {}) const
    {
        options.insert(options.end(), {"--request", Path("request")});
        return Sign(options);
    }

    // The raw signature of a file, as another machine makes it.
    void SignRaw(const std::string &file, const std::string &digest = "sha256") const
    {
        const ProcessResult result = Openssl({"dgst", "-" + digest, "-sign", key, "-out", Path("raw"), Path(file)});
        ASSERT_EQ(0, result.exitStatus) << result.errors;
    }

    Outcome Attach(std::vector<std::string> options = {}) const
    {
        options.insert(options.end(), {"--request", Path("request"), "--attach", Path("raw"), "--out", Path("out")});
        return Sign(options);
    }

    // A command that signs with the program.
    Outcome By(const std::string &command, std::vector<std::string> options = {}) const
    {
        options.insert(options.end(), {"--sign-command", command, "--out", Path("out")});
        return Sign(options);
    }

    // A script that is run as `command`. It leaves "asked" behind.
    std::string Script(const std::string &text) const
    {
        const std::string path = Path("a program");
        Write("a program", "#!/bin/sh\ntouch '" + Path("asked") + "'\n" + text);
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
        return "'" + path + "'";
    }

    std::string Signing() const // the text of a script that signs
    {
        return std::string("exec ") + OPENSSL_PROGRAM + " pkeyutl -sign -inkey '" + key +
               "' -pkeyopt digest:$PKGSIGN_DIGEST\n";
    }

    void ExpectNothingSigned(const Outcome &outcome, const std::string &reason) const
    {
        ExpectRefused(outcome, reason);
        EXPECT_FALSE(Made("out"));
        EXPECT_EQ(before, RealSignatures());
    }

    std::string key;
    int before = 0;
};

// ---- in two steps ---------------------------------------------------------------------------------------------------

TEST_F(Elsewhere, TwoStepsMakeTheOctetsOfOne)
{
    std::filesystem::rename(Path("pki/private/timestamp.key"), Path("later.key")); // no key is needed, no passphrase
    const Outcome outcome = Request();
    ExpectDone(outcome);
    EXPECT_EQ(before, RealSignatures());
    const std::string digest = Openssl({"dgst", "-sha256", "-r", Path("request")}).output.substr(0, 64);
    EXPECT_TRUE(Contains(outcome.out, "To be signed: " + Path("request") + ", or its sha256 digest " + digest));
    std::filesystem::rename(Path("later.key"), Path("pki/private/timestamp.key"));
    SignRaw("request");
    ExpectDone(Attach());
    EXPECT_TRUE(Read("here") == Read("out"));
}

TEST_F(Elsewhere, TheSigningTimeOfTheRequestStays)
{
    ExpectDone(Request());
    SignRaw("request");
    ExpectDone(At("2026-04-01", {"sign", Path("content"), "--crl", Path("crls"), "--request", Path("request"),
                                 "--attach", Path("raw"), "--out", Path("out")}));
    const std::string shown =
        Openssl({"cms", "-cmsout", "-print", "-noout", "-inform", "DER", "-in", Path("out")}).output;
    EXPECT_TRUE(Contains(shown, "UTCTIME:Feb  1 00:00:00 2026 GMT")) << shown;
    EXPECT_TRUE(DeviceTakes("out", "content", "crls"));
}

TEST_F(Elsewhere, TheDigestBesideARequestCanBeSignedInItsPlace)
{
    for (const std::string digest : {"sha256", "sha384", "sha512"}) {
        std::filesystem::remove(Path("request"));
        ExpectDone(Request({"--digest", digest}));
        const ProcessResult result = Openssl({"pkeyutl", "-sign", "-inkey", key, "-pkeyopt", "digest:" + digest, "-in",
                                              Path("request." + digest), "-out", Path("raw")});
        ASSERT_EQ(0, result.exitStatus) << result.errors;
        ExpectDone(Attach());
        EXPECT_TRUE(DeviceTakes("out", "content", "crls")) << digest;
    }
}

TEST_F(Elsewhere, ASignatureThatIsNotOverTheRequestIsRefused)
{
    ExpectDone(Request());
    SignRaw("content");
    const std::string reason =
        "'" + Path("raw") + "' is no PKCS #1 v1.5 signature by the signer's key over what was asked for";
    ExpectNothingSigned(Attach(), reason);
    SignRaw("request", "sha512");
    ExpectNothingSigned(Attach(), reason);
    std::filesystem::rename(Path("pki/private/timestamp.key"), key);
    SignRaw("request");
    std::filesystem::rename(key, Path("pki/private/timestamp.key"));
    ExpectNothingSigned(Attach(), reason);
}

TEST_F(Elsewhere, ASignatureOfAnotherLengthIsRefused)
{
    ExpectDone(Request());
    SignRaw("request");
    const std::string raw = Read("raw");
    ASSERT_EQ(256u, raw.size());
    for (const std::string &wrong : {std::string(), raw.substr(1), raw + "\n", raw + raw}) {
        Write("raw", wrong);
        ExpectNothingSigned(Attach(), "'" + Path("raw") + "' has " + std::to_string(wrong.size()) +
                                          " octets; a raw signature of this key has 256");
    }
}

TEST_F(Elsewhere, ARequestForOtherContentIsRefused)
{
    ExpectDone(Request());
    SignRaw("request");
    Write("content", "other\n");
    ExpectNothingSigned(Attach(), "'" + Path("request") + "' asks for a signature over other content");
}

TEST_F(Elsewhere, ARequestThatWasChangedIsRefused)
{
    ExpectDone(Request());
    SignRaw("request");
    const std::string request = Read("request");
    for (size_t i = 0; i < request.size(); ++i) {
        std::string changed = request;
        changed[i] = static_cast<char>(changed[i] ^ 1);
        Write("request", changed);
        ExpectNothingSigned(Attach(), ""); // no request, or one that was not signed
    }
    for (const std::string &changed : {std::string(), request + '\0', request.substr(0, 50), std::string("text\n")}) {
        Write("request", changed);
        ExpectNothingSigned(Attach(), "is no request of pkgsign sign --request");
    }
    Write("request", request);
    ExpectDone(Attach());
}

TEST_F(Elsewhere, ARequestUnderWayIsNotOverwritten)
{
    ExpectDone(Request());
    const std::string request = Read("request");
    ExpectDone(Request());
    Write("content", "other\n");
    ExpectRefused(Request(), "is there already, and its signature may be under way");
    EXPECT_EQ(request, Read("request"));
}

TEST_F(Elsewhere, ARequestThatADeviceWouldRefuseIsNotWritten)
{
    ExpectRefused(At("2026-12-01", {"sign", Path("content"), "--crl", Path("crls"), "--request", Path("request")}),
                  "a device would refuse the package: code 88200012");
    EXPECT_FALSE(Made("request"));
    EXPECT_FALSE(Made("request.sha256"));
}

TEST_F(Elsewhere, ADryRunWritesNoRequest)
{
    const Outcome outcome = Request({"--dry-run"});
    ExpectDone(outcome);
    EXPECT_FALSE(Made("request"));
    EXPECT_FALSE(Made("request.sha256"));
    EXPECT_EQ(outcome.out, Request().out);
}

TEST_F(Elsewhere, AFolderWithoutTheKeyIsEnough)
{
    std::string text = Read("pki/pki.json");
    const std::string path = "private/signer.key";
    text.replace(text.find(path), path.size(), "");
    Write("pki/pki.json", text);
    ExpectRefused(Sign({"--out", Path("out")}), "the key of 'signer' is not here");
    ExpectDone(By(Script(Signing())));
    EXPECT_TRUE(Read("here") == Read("out"));
}

// ---- by a program ---------------------------------------------------------------------------------------------------

TEST_F(Elsewhere, AProgramMakesTheOctetsOfAKey)
{
    ExpectDone(By(Script(Signing())));
    EXPECT_TRUE(Read("here") == Read("out"));
    ExpectDone(By(std::string(OPENSSL_PROGRAM) + " pkeyutl -sign -inkey \"" + key + "\" -pkeyopt digest:sha256"));
    EXPECT_TRUE(Read("here") == Read("out"));
}

TEST_F(Elsewhere, AProgramServesASignerInFiles)
{
    ExpectDone(By(Script(Signing()), {"--certificate", Path("pki/certificates/signer.pem"), "--root",
                                      Path("pki/certificates/root.pem"), "--timestamp", "timestamp"}));
    EXPECT_TRUE(Read("here") == Read("out"));
}

TEST_F(Elsewhere, AProgramGetsTheDigestItsNameAndItsArguments)
{
    for (const std::string digest : {"sha256", "sha384"}) {
        std::filesystem::remove(Path("request"));
        ExpectDone(Request({"--digest", digest}));
        const std::string script = Script("cat >'" + Path("input") + "'\nprintf '%s|' \"$PKGSIGN_DIGEST\" \"$@\" >'" +
                                          Path("arguments") + "'\nexec <'" + Path("input") + "'\n" + Signing());
        ExpectDone(By(script + R"( one 'two  words' "th\"ree" fo\ ur '' $HOME *)", {"--digest", digest}));
        EXPECT_EQ(Read("request." + digest), Read("input"));
        EXPECT_EQ(digest + R"(|one|two  words|th"ree|fo ur||$HOME|*|)", Read("arguments"));
        EXPECT_TRUE(DeviceTakes("out", "content", "crls"));
    }
}

TEST_F(Elsewhere, AProgramsOwnErrorsPassThrough)
{
    const Outcome outcome = By(Script("echo 'touch the card' >&2\n" + Signing()));
    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ("touch the card\n", outcome.errors);
}

TEST_F(Elsewhere, AProgramThatFailsIsNamedInOneLine)
{
    const struct {
        const char *text;
        const char *reason;
    } cases[] = {
        {"exit 3\n", "' ended with status 3"},
        {"kill -9 $$\n", "' was ended by signal 9"},
        {"exit 0\n", "' wrote no signature to its standard output"},
        {"exec cat /dev/zero\n", "' wrote more than the 512 octets of the longest signature"},
        {"echo 0123456789\n", "the output of --sign-command has 11 octets; a raw signature of this key has 256"},
        {"exec head -c 256 /dev/zero\n",
         "the output of --sign-command is no PKCS #1 v1.5 signature by the signer's key"},
        {"exec head -c 512 /dev/zero\n", "the output of --sign-command has 512 octets"},
        {"exec head -c 513 /dev/zero\n", "' wrote more than the 512 octets"},
    };
    for (const auto &c : cases) {
        ExpectNothingSigned(By(Script(c.text)), c.reason);
        EXPECT_TRUE(Made("asked"));
    }
    ExpectNothingSigned(By(Path("nothing")), "cannot run '" + Path("nothing") + "': No such file or directory");
}

TEST_F(Elsewhere, AProgramThatDoesNotEndIsEnded)
{
    const std::vector<std::string> options = {"--sign-timeout", "1s"};
    ExpectNothingSigned(By(Script("exec sleep 30\n"), options), "' did not end within 1 seconds");
    ExpectNothingSigned(By(Script("exec sleep 30 >&-\n"), options), "' did not end within 1 seconds");
    ExpectNothingSigned(By(Script("trap '' TERM\nsleep 3\n"), options), "' did not end within 1 seconds");
}

TEST_F(Elsewhere, AProgramIsAskedAfterTheRehearsalOnly)
{
    const std::string script = Script(Signing());
    ExpectRefused(At("2026-12-01",
                     {"sign", Path("content"), "--crl", Path("crls"), "--sign-command", script, "--out", Path("out")}),
                  "a device would refuse the package: code 88200012");
    Write("content", "");
    ExpectRefused(By(script), "is empty");
    Write("content", "content\n");
    ExpectDone(By(script, {"--dry-run"}));
    EXPECT_FALSE(Made("asked"));
    ExpectDone(By(script));
    EXPECT_TRUE(Made("asked"));
}

TEST(SigningCommand, IsSplitWithoutAShell)
{
    using Words = std::vector<std::string>;
    const struct {
        const char *text;
        Words words;
    } cases[] = {
        {"one", {"one"}},
        {"  one \t two\n", {"one", "two"}},
        {"a'b c'd", {"ab cd"}},
        {R"(one "" '')", {"one", "", ""}},
        {R"(one '\' "\\")", {"one", "\\", "\\"}},
        {R"(o\ ne \'two\')", {"o ne", "'two'"}},
        {"one;two|three >four $five `six`", {"one;two|three", ">four", "$five", "`six`"}},
    };
    for (const auto &c : cases) {
        Words words;
        const pkgsign::Status status = pkgsign::SplitCommand(c.text, &words);
        EXPECT_TRUE(status.ok) << status.reason;
        EXPECT_EQ(c.words, words) << c.text;
    }
    for (const char *const text : {"", "  ", "''", "one 'two", "one \"two", "one \\"}) {
        Words words;
        EXPECT_FALSE(pkgsign::SplitCommand(text, &words).ok) << text;
    }
}

} // namespace
