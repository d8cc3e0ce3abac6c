// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/forge/support.h"

#include <openssl/cms.h>

#include <algorithm>

namespace
{
forge::TokenRequest Request()
{
    forge::TokenRequest request;
    request.genTime = 1700000000; // 2023-11-14 22:13:20 UTC
    request.tsaCertificate = TestPki().timestamp.certificate;
    request.tsaKey = TestPki().timestamp.key;
    request.certificates = {TestPki().timestamp.certificate, TestPki().issuingCa.certificate};
    return request;
}

const forge::Bytes SIGNATURE = Octets("a signature value");

forge::Bytes Make(const forge::TokenRequest &request)
{
    forge::Bytes token;
    const forge::Status status = forge::MakeToken(request, SIGNATURE, &token);
    EXPECT_TRUE(status.ok) << status.reason;
    return token;
}

class Token : public InDirectory
{
protected:
    // openssl's verdict on a token (or, without -token_in, a response) over the signature value.
    ProcessResult Verify(const forge::Bytes &token, const std::string &options = "-token_in ") const
    {
        return RunOpenssl("ts -verify " + options + "-in " + Save("token", token) + " -data " +
                          Save("signature", SIGNATURE) + " -CAfile " + Quoted("root.pem") + " -untrusted " +
                          Quoted("issuing-ca.pem"));
    }
};

TEST_F(Token, IsAcceptedByOpensslForEachDigest)
{
    for (const forge::Digest digest : {forge::Digest::Sha256, forge::Digest::Sha384, forge::Digest::Sha512}) {
        forge::TokenRequest request = Request();
        request.imprintDigest = digest;
        request.signerDigest = digest;
        const ProcessResult result = Verify(Make(request));
        EXPECT_EQ(0, result.exitStatus) << result.output;
        EXPECT_NE(std::string::npos, result.output.find("Verification: OK")) << result.output;
    }
}

TEST_F(Token, MayMixTheDigestsOfImprintAndSigner)
{
    forge::TokenRequest request = Request();
    request.imprintDigest = forge::Digest::Sha512;
    request.signerDigest = forge::Digest::Sha256;
    const ProcessResult result = Verify(Make(request));
    EXPECT_EQ(0, result.exitStatus) << result.output;
}

TEST_F(Token, InAResponseIsAcceptedByOpenssl)
{
    forge::Bytes response;
    ASSERT_TRUE(forge::MakeTimestampResponse(Make(Request()), &response).ok);
    const ProcessResult result = Verify(response, "");
    EXPECT_EQ(0, result.exitStatus) << result.output;
}

TEST_F(Token, OverOtherOctetsIsRefusedByOpenssl)
{
    forge::TokenRequest request = Request();
    request.imprintOver = Octets("something else");
    const ProcessResult result = Verify(Make(request));
    EXPECT_NE(0, result.exitStatus);
    EXPECT_NE(std::string::npos, result.output.find("imprint mismatch")) << result.output;
}

TEST_F(Token, AlteredAfterSigningIsRefusedByOpenssl)
{
    forge::Bytes token = Make(Request());
    const forge::Bytes genTime = Octets("20231114221320Z");
    const auto found = std::search(token.begin(), token.end(), genTime.begin(), genTime.end());
    ASSERT_NE(token.end(), found);
    *found = '1';
    EXPECT_NE(0, Verify(token).exitStatus);
}

TEST(TokenContent, CarriesGenTimeAsGivenInText)
{
    forge::TokenRequest request = Request();
    request.genTimeText = "202311142213Z";
    EXPECT_TRUE(Contains(Make(request), Octets("\x18\x0D"
                                               "202311142213Z")));
}

TEST(TokenContent, CarriesPolicyAndSerialNumber)
{
    forge::TokenRequest request = Request();
    request.policy = "1.2.3.4";
    request.serialNumber = {0x12, 0x34, 0x56};
    const forge::Bytes token = Make(request);
    EXPECT_TRUE(Contains(token, {0x02, 0x01, 0x01, 0x06, 0x03, 0x2A, 0x03, 0x04})); // version, policy
    EXPECT_TRUE(Contains(token, {0x02, 0x03, 0x12, 0x34, 0x56, 0x18, 0x0F}));       // serial number, genTime
}

// What libcrypto finds in a token.
struct TokenParts {
    int certificates = 0;
    int signers = 0;
    int signedAttributes = 0;
};

TokenParts Take(const forge::Bytes &token)
{
    TokenParts parts;
    const unsigned char *cursor = token.data();
    const std::unique_ptr<CMS_ContentInfo, decltype(&CMS_ContentInfo_free)> decoded(
        d2i_CMS_ContentInfo(nullptr, &cursor, static_cast<long>(token.size())), CMS_ContentInfo_free);
    EXPECT_NE(nullptr, decoded);
    STACK_OF(X509) *certificates = CMS_get1_certs(decoded.get());
    parts.certificates = certificates == nullptr ? 0 : sk_X509_num(certificates);
    sk_X509_pop_free(certificates, X509_free);
    STACK_OF(CMS_SignerInfo) *signers = CMS_get0_SignerInfos(decoded.get());
    parts.signers = signers == nullptr ? 0 : sk_CMS_SignerInfo_num(signers);
    if (parts.signers > 0) {
        parts.signedAttributes = CMS_signed_get_attr_count(sk_CMS_SignerInfo_value(signers, 0));
    }
    return parts;
}

TEST(TokenContent, HoldsThreeSignedAttributesAndTheGivenCertificates)
{
    const TokenParts parts = Take(Make(Request()));
    EXPECT_EQ(2, parts.certificates);
    EXPECT_EQ(1, parts.signers);
    EXPECT_EQ(3, parts.signedAttributes); // content type, message digest, signing certificate
}

TEST(TokenContent, MayLackCertificatesSignersAndAttributes)
{
    forge::TokenRequest request = Request();
    request.certificates.clear();
    request.signedAttributes = false;
    TokenParts parts = Take(Make(request));
    EXPECT_EQ(0, parts.certificates);
    EXPECT_LE(parts.signedAttributes, 0);
    request.signerInfoCount = 0;
    EXPECT_EQ(0, Take(Make(request)).signers);
    request.signerInfoCount = 2;
    EXPECT_EQ(2, Take(Make(request)).signers);
}

TEST(TokenContent, IsTakenOutOfAResponseOrReturnedBare)
{
    const forge::Bytes token = Make(Request());
    forge::Bytes response;
    forge::Bytes taken;
    ASSERT_TRUE(forge::MakeTimestampResponse(token, &response).ok);
    ASSERT_TRUE(forge::GetToken(response, &taken).ok);
    EXPECT_EQ(token, taken);
    taken.clear();
    ASSERT_TRUE(forge::GetToken(token, &taken).ok);
    EXPECT_EQ(token, taken);
}

TEST(TokenContent, IsNotTakenFromSomethingElse)
{
    forge::Bytes taken;
    EXPECT_FALSE(forge::GetToken(Octets("text"), &taken).ok);
    EXPECT_FALSE(forge::GetToken({0x30, 0x05, 0x30, 0x03, 0x02, 0x01, 0x02}, &taken).ok); // status: rejection
    forge::Bytes tail = Make(Request());
    tail.push_back(0);
    EXPECT_FALSE(forge::GetToken(tail, &taken).ok);
    EXPECT_TRUE(taken.empty());
}

TEST(TokenContent, CannotBeMadeWithoutAuthority)
{
    forge::Bytes token;
    forge::TokenRequest request = Request();
    request.tsaKey = nullptr;
    EXPECT_FALSE(forge::MakeToken(request, SIGNATURE, &token).ok);
    request = Request();
    request.tsaCertificate.clear();
    EXPECT_FALSE(forge::MakeToken(request, SIGNATURE, &token).ok);
    request = Request();
    request.policy = "no policy";
    EXPECT_FALSE(forge::MakeToken(request, SIGNATURE, &token).ok);
    EXPECT_TRUE(token.empty());
}

} // namespace
