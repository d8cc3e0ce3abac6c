// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Tokens that come in files: the offline way in two steps, what is checked before a token goes in, and messages that
// keep theirs.
#include <sys/stat.h>

#include <filesystem>

#include "pkgsign/crypto/message.h"
#include "pkgsign/files/files.h"
#include "pkgsign/timestamp/request.h"
#include "tests/forge/der.h"
#include "tests/forge/forge.h"
#include "tests/pkgsign/support.h"

namespace
{

class TokenFile : public InFolder
{
protected:
    void SetUp() override
    {
        InFolder::SetUp();
        ExpectDone(Run({"crl", "--out", Path("crls")}));
        ExpectDone(Run({"sign", Path("content"), "--out", Path("bare"), "--no-timestamp"}));
        ASSERT_TRUE(forge::ReadPki(Path("pki"), &pki).ok);
    }

    Outcome Timestamp(std::vector<std::string> options)
    {
        options.insert(options.begin(), {"timestamp", Path("bare"), "--crl", Path("crls")});
        return Run(options);
    }

    void Ask()
    {
        ExpectDone(Timestamp({"--request", Path("request")}));
    }

    forge::Bytes Signature(const std::string &message = "bare")
    {
        forge::Bytes data;
        forge::Bytes signature;
        EXPECT_TRUE(forge::ReadFile(Path(message), &data).ok);
        EXPECT_TRUE(forge::GetSignatureValue(data, &signature).ok);
        return signature;
    }

    pkgsign::Bytes AskedNonce()
    {
        pkgsign::Bytes data;
        pkgsign::TimestampRequest request;
        EXPECT_TRUE(pkgsign::ReadWhole(Path("request"), &data).ok);
        const pkgsign::Status status = pkgsign::DecodeTimestampRequest(data, "request", Signature(), &request);
        EXPECT_TRUE(status.ok) << status.reason;
        return request.nonce;
    }

    // A good token of the folder's authority, as an answer to nothing.
    forge::TokenRequest Good()
    {
        forge::TokenRequest request;
        request.genTime = 1769904000; // 2026-02-01
        request.tsaCertificate = pki.timestamp.certificate;
        request.tsaKey = pki.timestamp.key;
        request.certificates = {pki.timestamp.certificate, pki.issuingCa.certificate};
        return request;
    }

    // What answers the request of Ask.
    forge::TokenRequest Answering()
    {
        forge::TokenRequest request = Good();
        request.nonce = AskedNonce();
        return request;
    }

    void SaveToken(const forge::TokenRequest &request, bool isResponse)
    {
        forge::Bytes token;
        ASSERT_TRUE(forge::MakeToken(request, Signature(), &token).ok);
        if (isResponse) {
            ASSERT_TRUE(forge::MakeTimestampResponse(token, &token).ok);
        }
        ASSERT_TRUE(forge::WriteFile(Path("answer"), token).ok);
    }

    Outcome Finish(const forge::TokenRequest &request)
    {
        SaveToken(request, true);
        return Timestamp({"--request", Path("request"), "--response", Path("answer"), "--out", Path("out")});
    }

    Outcome PutIn(const forge::TokenRequest &request)
    {
        SaveToken(request, false);
        return Timestamp({"--token", Path("answer"), "--out", Path("out")});
    }

    void ExpectNotPutIn(const Outcome &outcome, const std::string &reason)
    {
        ExpectRefused(outcome, "'" + Path("answer") + "': " + reason);
        EXPECT_FALSE(Made("out"));
    }

    forge::Pki pki;
};

// ---- Two steps -----------------------------------------------------------------------------------------------------

TEST_F(TokenFile, IsAskedForAndPutInInTwoSteps)
{
    Ask();
    const ProcessResult text = Openssl({"ts", "-query", "-in", Path("request"), "-text"});
    EXPECT_TRUE(Contains(text.output, "Version: 1\nHash Algorithm: sha256\n")) << text.output;
    EXPECT_TRUE(Contains(text.output, "Nonce: 0x")) << text.output;
    EXPECT_TRUE(Contains(text.output, "Certificate required: yes")) << text.output;
    ExpectDone(Finish(Answering()));
    EXPECT_TRUE(DeviceTakes("out", "content", "crls"));
}

TEST_F(TokenFile, IsAskedForWithANewNonceEachTime)
{
    Ask();
    const pkgsign::Bytes first = AskedNonce();
    Ask();
    EXPECT_NE(first, AskedNonce());
    EXPECT_EQ(8u, first.size());
}

TEST_F(TokenFile, IsAskedForWithTheDigestThatWasChosenAndWithNoOther)
{
    ExpectDone(Timestamp({"--request", Path("request"), "--digest", "sha512"}));
    forge::TokenRequest request = Answering();
    ExpectNotPutIn(Finish(request), "token: its imprint is made with sha256, not with sha512");
    request.imprintDigest = forge::Digest::Sha512;
    ExpectDone(Finish(request));
}

TEST_F(TokenFile, IsNotAskedForWhenDevicesRefuseTheMessageWhateverItsToken)
{
    ExpectRefused(At("2026-12-01", {"timestamp", Path("bare"), "--crl", Path("crls"), "--request", Path("request")}),
                  "code 88200012");
    ExpectDone(Timestamp({"--request", Path("request"), "--dry-run"}));
    EXPECT_FALSE(Made("request"));
}

TEST_F(TokenFile, OfTheFolderIsShownInADryRunAsTheRealRunSignsIt)
{
    const std::vector<std::string> options = {"--gen-time", "2026-02-02T03:04:05Z", "--out", Path("out")};
    std::vector<std::string> dry = options;
    dry.push_back("--dry-run");
    const int signatures = RealSignatures();
    const Outcome tried = Timestamp(dry);
    EXPECT_EQ(signatures, RealSignatures());
    EXPECT_FALSE(Made("out"));
    EXPECT_TRUE(Contains(tried.out, "Time stamp: Feb  2 03:04:05 2026 GMT\n")) << tried.out;
    EXPECT_TRUE(Contains(tried.out, "SHA-256 of what is signed: ")) << tried.out;
    EXPECT_EQ(tried.out, Timestamp(options).out);
    EXPECT_TRUE(Made("out"));
    const Outcome later = Timestamp({"--gen-time", "2026-02-02T03:04:06Z", "--out", Path("out"), "--dry-run"});
    EXPECT_FALSE(Contains(later.out, tried.out.substr(tried.out.rfind(": ")))) << later.out;
}

TEST_F(TokenFile, WithAnotherNonceOrNoneDoesNotAnswerTheRequest)
{
    Ask();
    forge::TokenRequest request = Answering();
    request.nonce.back() ^= 1;
    ExpectNotPutIn(Finish(request), "token: its nonce is not that of the request");
    request.nonce.clear();
    ExpectNotPutIn(Finish(request), "token: the nonce of the request is missing");
}

TEST_F(TokenFile, WithANonceNeedsTheRequestThatItAnswers)
{
    Ask();
    ExpectNotPutIn(PutIn(Answering()), "token: it has a nonce: give the request that it answers (--request)");
}

TEST_F(TokenFile, IsNotPutInWithTheRequestOfAnotherMessage)
{
    Write("content", "other\n");
    ExpectDone(Run({"sign", Path("content"), "--out", Path("other"), "--no-timestamp"}));
    ExpectDone(Run({"timestamp", Path("other"), "--request", Path("request")}));
    ExpectRefused(Finish(Good()), "' is not for the signature of this message");
    EXPECT_FALSE(Made("out"));
}

TEST_F(TokenFile, IsNotPutInWithSomethingElseThanARequest)
{
    Write("request", "hello");
    ExpectRefused(Finish(Good()), "'" + Path("request") + "' is no timestamp request");
    ASSERT_EQ(0, Openssl({"ts", "-query", "-data", Path("content"), "-no_nonce", "-out", Path("request")}).exitStatus);
    ExpectRefused(Finish(Good()), "has no nonce that an answer could be compared with");
    EXPECT_FALSE(Made("out"));
}

TEST_F(TokenFile, MayBeATokenAloneOrAResponseInDerOrPem)
{
    ExpectDone(PutIn(Good()));
    EXPECT_TRUE(DeviceTakes("out", "content", "crls"));
    SaveToken(Good(), true);
    ExpectDone(Timestamp({"--token", Path("answer"), "--out", Path("out")}));
    forge::Bytes token;
    ASSERT_TRUE(forge::ReadFile(Path("answer"), &token).ok);
    Write("answer", forge::Armour(forge::LABEL_PKCS7, token));
    ExpectDone(Timestamp({"--token", Path("answer"), "--out", Path("out")}));
    EXPECT_TRUE(DeviceTakes("out", "content", "crls"));
}

TEST_F(TokenFile, LaterThanThisMachinesClockIsPutIn) // the authority's clock counts
{
    forge::TokenRequest request = Good();
    request.genTime += 30 * 86400;
    SaveToken(request, false);
    ExpectDone(Run({"timestamp", Path("bare"), "--token", Path("answer"), "--out", Path("out")}));
}

TEST_F(TokenFile, ComesFromOneSource)
{
    const std::string url = "http://127.0.0.1/";
    const std::vector<std::vector<std::string>> mixed = {{"--tsa-url", url, "--token", Path("answer")},
                                                         {"--tsa-url", url, "--timestamp", "timestamp"},
                                                         {"--tsa-url", url, "--gen-time", "2026-02-01"},
                                                         {"--token", Path("answer"), "--timestamp", "timestamp"},
                                                         {"--request", Path("request"), "--gen-time", NOW}};
    for (std::vector<std::string> options : mixed) {
        options.insert(options.end(), {"--out", Path("out")});
        ExpectUsage(Timestamp(options), "the token comes from one source");
    }
    ExpectUsage(Timestamp({"--out", Path("out"), "--cacert", "ca.pem"}), "--cacert is for the hosts of --tsa-url");
    ExpectUsage(Timestamp({}), "--out is missing");
    ExpectUsage(Timestamp({"--request", Path("request"), "--out", Path("out")}), "--out belongs to the second step");
    EXPECT_FALSE(Made("out") || Made("request"));
}

// ---- What is checked -----------------------------------------------------------------------------------------------

TEST_F(TokenFile, OfACertificateForAnotherPurposeIsNotPutIn)
{
    forge::TokenRequest request = Good();
    request.tsaCertificate = pki.signer.certificate;
    request.tsaKey = pki.signer.key;
    request.certificates = {pki.signer.certificate};
    ExpectNotPutIn(PutIn(request), "device rule: the certificate of its signer is not for time stamping");
    request.tsaCertificate = pki.issuingCa.certificate; // without any purpose
    request.tsaKey = pki.issuingCa.key;
    request.certificates = {pki.issuingCa.certificate};
    ExpectNotPutIn(PutIn(request), "device rule: the certificate of its signer is not for time stamping");
}

TEST_F(TokenFile, WithSha1IsNotPutIn)
{
    forge::TokenRequest request = Good();
    request.signerDigest = forge::Digest::Sha1;
    ExpectNotPutIn(PutIn(request), "device rule: it is signed with sha1, not with SHA-2");
    request = Good();
    request.imprintDigest = forge::Digest::Sha1;
    ExpectNotPutIn(PutIn(request), "token: its imprint is made with sha1, not with SHA-2");
}

TEST_F(TokenFile, WithMoreOrFewerSignersThanOneIsNotPutIn)
{
    forge::TokenRequest request = Good();
    request.signerInfoCount = 2;
    ExpectNotPutIn(PutIn(request), "token: it has 2 signers in the place of one");
    request.signerInfoCount = 0;
    ExpectNotPutIn(PutIn(request), "token: it has 0 signers in the place of one");
}

TEST_F(TokenFile, WithTwoCertificatesIsPutInAndWithThreeNot)
{
    forge::TokenRequest request = Good();
    ExpectDone(PutIn(request));
    std::filesystem::remove(Path("out"));
    request.certificates.push_back(pki.signer.certificate);
    ExpectNotPutIn(PutIn(request), "device rule: it carries 3 certificates, and devices take 2");
}

TEST_F(TokenFile, InWholeSecondsIsPutInAndWithAFractionOrAnotherZoneNot)
{
    forge::TokenRequest request = Good();
    for (const char *const time : {"20260201000000.5Z", "20260201000000.000Z", "202602010000Z", "20260201000000",
                                   "20260201000000+0000", "2026020100000aZ", "20260201006000Z"}) {
        request.genTimeText = time;
        ExpectNotPutIn(PutIn(request), std::string("device rule: its time '") + time + "' is not in whole seconds");
    }
    request.genTimeText = "20260201000000Z";
    ExpectDone(PutIn(request));
}

TEST_F(TokenFile, ThatDevicesRefuseIsNotPutIn)
{
    forge::TokenRequest request = Good();
    request.genTime = 1735689600; // 2025-01-01: before the certificates
    SaveToken(request, false);
    ExpectRefused(Timestamp({"--token", Path("answer"), "--out", Path("out")}), "a device would refuse the package");
    EXPECT_FALSE(Made("out"));
}

TEST_F(TokenFile, WithSomethingBehindItIsNotPutIn)
{
    SaveToken(Good(), true);
    Write("answer", Read("answer") + "x");
    ExpectNotPutIn(Timestamp({"--token", Path("answer"), "--out", Path("out")}),
                   "token: the answer is no TimeStampResp");
}

// ---- What an authority says in the place of a token ----------------------------------------------------------------

// TimeStampResp without a token (RFC 3161, 2.4.2).
pkgsign::Bytes Refusal(int status, const std::vector<std::string> &texts, int failure)
{
    std::vector<forge::Bytes> strings;
    for (const std::string &text : texts) {
        strings.push_back(forge::DerElement(forge::DER_UTF8_STRING, forge::Bytes(text.begin(), text.end())));
    }
    std::vector<forge::Bytes> info = {forge::DerInteger(status)};
    if (!texts.empty()) {
        info.push_back(forge::DerSequence(strings));
    }
    if (failure >= 0) {
        info.push_back(forge::DerNamedBits(1u << failure));
    }
    return forge::DerSequence({forge::DerSequence(info)});
}

std::string ReasonOf(const pkgsign::Bytes &answer)
{
    pkgsign::CheckedToken token;
    const pkgsign::Status status = pkgsign::ReadTimestampAnswer(answer, {}, &token);
    EXPECT_FALSE(status.ok);
    return status.reason;
}

TEST(TimestampAnswer, NamesStatusFailInfoAndTheAuthoritysText)
{
    EXPECT_EQ("PKIStatus rejection", ReasonOf(Refusal(2, {}, -1)));
    EXPECT_EQ("PKIStatus waiting: 'come back later'", ReasonOf(Refusal(3, {"come back", "later"}, -1)));
    EXPECT_EQ("PKIStatus revocationWarning", ReasonOf(Refusal(4, {}, -1)));
    EXPECT_EQ("PKIStatus revocationNotification", ReasonOf(Refusal(5, {}, -1)));
    EXPECT_EQ("PKIStatus 77", ReasonOf(Refusal(77, {}, -1)));
    EXPECT_EQ("PKIStatus rejection (timeNotAvailable: the authority's time source is not available): 'clock lost'",
              ReasonOf(Refusal(2, {"clock lost"}, 14)));
}

TEST(TimestampAnswer, NamesEachFailInfo)
{
    const std::vector<std::pair<int, std::string>> failures = {{0, "badAlg"},
                                                               {2, "badRequest"},
                                                               {5, "badDataFormat"},
                                                               {14, "timeNotAvailable"},
                                                               {15, "unacceptedPolicy"},
                                                               {16, "unacceptedExtension"},
                                                               {17, "addInfoNotAvailable"},
                                                               {25, "systemFailure"}};
    for (const auto &[bit, name] : failures) {
        EXPECT_EQ(0u, ReasonOf(Refusal(2, {}, bit)).find("PKIStatus rejection (" + name + ": ")) << bit;
    }
    EXPECT_EQ("PKIStatus rejection", ReasonOf(Refusal(2, {}, 1))); // a bit without a meaning
}

TEST(TimestampAnswer, ShowsNoControlCharactersAndNoLongText)
{
    EXPECT_EQ("PKIStatus rejection: '\\x1B[2J\\x0A'", ReasonOf(Refusal(2, {"\x1B[2J\n"}, -1)));
    EXPECT_EQ("PKIStatus rejection: '" + std::string(200, 'a') + "'",
              ReasonOf(Refusal(2, {std::string(300, 'a')}, -1)));
}

TEST(TimestampAnswer, ThatIsGrantedWithoutATokenIsNone)
{
    EXPECT_EQ(0u, ReasonOf(Refusal(0, {}, -1)).find("token: the answer is no TimeStampResp"));
    EXPECT_EQ(0u, ReasonOf({}).find("token: the answer is no TimeStampResp"));
}

// ---- If missing ----------------------------------------------------------------------------------------------------

class IfMissing : public TokenFile
{
protected:
    // Stamps "message" in its place.
    Outcome Again(std::vector<std::string> options = {})
    {
        options.insert(options.begin(), {"timestamp", Path("message"), "--if-missing", "--crl", Path("crls")});
        return At("2026-02-02", options);
    }

    ino_t FileNumber(const std::string &name)
    {
        struct stat found = {};
        EXPECT_EQ(0, stat(Path(name).c_str(), &found));
        return found.st_ino;
    }
};

TEST_F(IfMissing, AMessageWithAGoodTokenIsNotTouched)
{
    ExpectDone(Timestamp({"--out", Path("message"), "--format", "pem"}));
    const std::string before = Read("message");
    const ino_t file = FileNumber("message");
    const int signatures = RealSignatures();
    const Outcome outcome = Again({"--out", Path("message")});
    ExpectDone(outcome);
    EXPECT_EQ("The message has a good token, of 2026-02-01T00:00:00Z; it stays as it is.\n", outcome.out);
    EXPECT_EQ(file, FileNumber("message"));
    EXPECT_EQ(before, Read("message"));
    EXPECT_EQ(signatures, RealSignatures());
}

TEST_F(IfMissing, AMessageWithATokenThatHasANonceIsNotTouchedEither)
{
    Ask();
    ExpectDone(Finish(Answering()));
    std::filesystem::rename(Path("out"), Path("message"));
    const std::string before = Read("message");
    ExpectDone(Again({"--out", Path("message")}));
    EXPECT_EQ(before, Read("message"));
}

TEST_F(IfMissing, AMessageWithAGoodTokenReachesAnotherFileAsItIs)
{
    ExpectDone(Timestamp({"--out", Path("message"), "--format", "pem"}));
    ExpectDone(Again({"--out", Path("out")}));
    EXPECT_EQ(Read("message"), Read("out"));
    const Outcome outcome = Again({"--out", "-"});
    ExpectDone(outcome);
    EXPECT_EQ(Read("message"), outcome.out);
}

TEST_F(IfMissing, NoAuthorityIsAskedAndNoRequestWrittenForAMessageWithAGoodToken)
{
    ExpectDone(Timestamp({"--out", Path("message")}));
    ExpectDone(Again({"--out", Path("message"), "--tsa-url", "http://127.0.0.1:1/"}));
    ExpectDone(Again({"--request", Path("request")}));
    EXPECT_FALSE(Made("request"));
}

TEST_F(IfMissing, AMessageWithoutATokenGetsOne)
{
    std::filesystem::copy(Path("bare"), Path("message"));
    ExpectDone(Again({"--out", Path("message")}));
    EXPECT_TRUE(DeviceTakes("message", "content", "crls"));
}

TEST_F(IfMissing, ATokenThatDevicesRefuseIsReplaced)
{
    forge::TokenRequest request = Good();
    request.genTime = 1735689600;
    forge::Bytes token;
    forge::Bytes message;
    ASSERT_TRUE(forge::MakeToken(request, Signature(), &token).ok);
    ASSERT_TRUE(forge::ReadFile(Path("bare"), &message).ok);
    ASSERT_TRUE(forge::EmbedToken(message, token, &message).ok);
    ASSERT_TRUE(forge::WriteFile(Path("message"), message).ok);
    const Outcome outcome = Again({"--out", Path("message")});
    ExpectDone(outcome);
    EXPECT_TRUE(Contains(outcome.out, "Timestamp: 'timestamp', 2026-02-02T00:00:00Z")) << outcome.out;
    EXPECT_TRUE(DeviceTakes("message", "content", "crls"));
}

TEST_F(IfMissing, WhatIsNoMessageIsRefused)
{
    Write("message", "hello");
    ExpectRefused(Again({"--out", Path("message")}), "is no CMS signature of one signer\n");
}

} // namespace
