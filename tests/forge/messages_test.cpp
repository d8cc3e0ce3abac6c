// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/forge/support.h"

#include <tuple>

namespace
{
const forge::Bytes CONTENT = Octets("a list of checksums\r\nwith lines\n");

forge::MessageRequest Request()
{
    forge::MessageRequest request;
    request.content = CONTENT;
    request.signerCertificate = TestPki().signer.certificate;
    request.signerKey = TestPki().signer.key;
    request.certificates = {TestPki().signer.certificate, TestPki().issuingCa.certificate};
    return request;
}

forge::MessageRequest TimestampedRequest()
{
    forge::MessageRequest request = Request();
    request.timestamp = forge::Timestamp::Request;
    request.tokenRequest.genTime = 1700000000;
    request.tokenRequest.tsaCertificate = TestPki().timestamp.certificate;
    request.tokenRequest.tsaKey = TestPki().timestamp.key;
    request.tokenRequest.certificates = {TestPki().timestamp.certificate};
    return request;
}

forge::Bytes Make(const forge::MessageRequest &request)
{
    forge::Bytes message;
    const forge::Status status = forge::SignDetached(request, &message);
    EXPECT_TRUE(status.ok) << status.reason;
    return message;
}

class Message : public InDirectory
{
protected:
    // openssl's verdict on a message in a file, over some content.
    ProcessResult Verify(const std::string &message, const std::string &form, const forge::Bytes &content) const
    {
        return RunOpenssl("cms -verify -binary -purpose any -inform " + form + " -in " + message + " -content " +
                          Save("content", content) + " -CAfile " + Quoted("root.pem") + " -out " + Quoted("output"));
    }

    // openssl's textual account of a message.
    std::string Print(const forge::Bytes &message) const
    {
        return RunOpenssl("cms -cmsout -print -noout -inform DER -in " + Save("printed", message)).output;
    }

    // openssl's verdict on a token over the signature value of a message, with the token from the message's attribute.
    ProcessResult VerifyToken(const forge::Bytes &message, const forge::Bytes &token) const
    {
        forge::Bytes signature;
        EXPECT_TRUE(forge::GetSignatureValue(message, &signature).ok);
        return RunOpenssl("ts -verify -token_in -in " + Save("token", token) + " -data " +
                          Save("signature", signature) + " -CAfile " + Quoted("root.pem") + " -untrusted " +
                          Quoted("issuing-ca.pem"));
    }
};

using Form = std::tuple<forge::Digest, bool, const char *>;

class MessageForm : public Message, public ::testing::WithParamInterface<Form>
{
};

TEST_P(MessageForm, IsAcceptedByOpenssl)
{
    const auto [digest, signedAttributes, form] = GetParam();
    forge::MessageRequest request = TimestampedRequest();
    request.digest = digest;
    request.signedAttributes = signedAttributes;
    const forge::Bytes der = Make(request);
    const std::string label = form;
    const std::string message = label == "DER" ? Save("message", der) : Save("message", forge::Armour(label, der));
    const std::string opensslForm = label == "DER" ? "DER" : "PEM";
    const ProcessResult good = Verify(message, opensslForm, CONTENT);
    EXPECT_EQ(0, good.exitStatus) << good.output;
    EXPECT_NE(0, Verify(message, opensslForm, Octets("other content")).exitStatus);
}

std::string FormName(const ::testing::TestParamInfo<Form> &row)
{
    static const char *const DIGESTS[] = {"Sha1", "Sha256", "Sha384", "Sha512"};
    const auto [digest, signedAttributes, form] = row.param;
    return std::string(form) + DIGESTS[static_cast<int>(digest)] +
           (signedAttributes ? "WithAttributes" : "WithoutAttributes");
}

INSTANTIATE_TEST_SUITE_P(Forms, MessageForm,
                         ::testing::Combine(::testing::Values(forge::Digest::Sha256, forge::Digest::Sha384,
                                                              forge::Digest::Sha512),
                                            ::testing::Bool(), ::testing::Values("DER", "CMS", "PKCS7")),
                         FormName);

TEST_F(Message, ArmouredWithCrLfIsAcceptedByOpenssl)
{
    const std::string text = forge::Armour(forge::LABEL_CMS, Make(Request()), forge::LineEnd::CrLf);
    const ProcessResult result = Verify(Save("message", text), "PEM", CONTENT);
    EXPECT_EQ(0, result.exitStatus) << result.output;
}

TEST_F(Message, SignsAFileLikeItsOctets)
{
    forge::MessageRequest request = Request();
    const forge::Bytes large(200000, 'x'); // more than is read at a time
    Save("large", large);
    request.contentFile = Path("large");
    request.content.clear();
    for (const bool signedAttributes : {true, false}) {
        request.signedAttributes = signedAttributes;
        const ProcessResult result = Verify(Save("message", Make(request)), "DER", large);
        EXPECT_EQ(0, result.exitStatus) << result.output;
    }
}

TEST_F(Message, FromAnEllipticCurveSignerIsAcceptedByOpenssl)
{
    forge::CertificateRequest certificate;
    certificate.subject = {{"CN", "Curve"}};
    certificate.notBefore = 1444896530;
    certificate.notAfter = 2500000000;
    ASSERT_TRUE(forge::GenerateEcKey(&certificate.subjectKey).ok);
    forge::MessageRequest request = Request();
    request.signerKey = certificate.subjectKey;
    ASSERT_TRUE(forge::MakeCertificate(certificate, &request.signerCertificate).ok);
    request.certificates = {request.signerCertificate};
    Save("root.pem", forge::Armour(forge::LABEL_CERTIFICATE, request.signerCertificate));
    const ProcessResult result = Verify(Save("message", Make(request)), "DER", CONTENT);
    EXPECT_EQ(0, result.exitStatus) << result.output;
}

TEST_F(Message, NamesItsSignerByIssuerAndSerialNumber)
{
    const std::string text = Print(Make(Request()));
    EXPECT_NE(std::string::npos, text.find("d.issuerAndSerialNumber")) << text;
}

TEST_F(Message, CarriesNoTimestampUnlessAskedFor)
{
    EXPECT_EQ(std::string::npos, Print(Make(Request())).find("timeStampToken"));
    EXPECT_NE(std::string::npos, Print(Make(TimestampedRequest())).find("timeStampToken"));
}

TEST_F(Message, CarriesRawTokenAndSigningTimeAsGiven)
{
    forge::MessageRequest request = Request();
    request.timestamp = forge::Timestamp::Raw;
    request.rawToken = {0x30, 0x03, 0x02, 0x01, 0x2A};
    request.signingTime = 1700000000;
    const forge::Bytes message = Make(request);
    EXPECT_TRUE(Contains(message, {0x31, 0x05, 0x30, 0x03, 0x02, 0x01, 0x2A}));
    EXPECT_TRUE(Contains(message, Octets("231114221320Z")));
    const ProcessResult result = Verify(Save("message", message), "DER", CONTENT);
    EXPECT_EQ(0, result.exitStatus) << result.output;
}

TEST_F(Message, MayHaveNoSignerOrTwo)
{
    forge::MessageRequest request = Request();
    forge::Bytes signature;
    request.signerInfoCount = 0;
    const forge::Bytes unsignedMessage = Make(request);
    EXPECT_FALSE(forge::GetSignatureValue(unsignedMessage, &signature).ok);
    EXPECT_NE(std::string::npos, Print(unsignedMessage).find("<EMPTY>"));
    request.signerInfoCount = 2;
    const std::string text = Print(Make(request));
    const size_t first = text.find("d.issuerAndSerialNumber");
    ASSERT_NE(std::string::npos, first);
    EXPECT_NE(std::string::npos, text.find("d.issuerAndSerialNumber", first + 1));
}

TEST_F(Message, TokenIsMadeOverItsSignatureValue)
{
    forge::MessageRequest request = TimestampedRequest();
    const forge::Bytes message = Make(request);
    forge::Bytes signature;
    forge::Bytes token;
    ASSERT_TRUE(forge::GetSignatureValue(message, &signature).ok);
    ASSERT_TRUE(forge::MakeToken(request.tokenRequest, signature, &token).ok); // RSA signatures are repeatable
    EXPECT_TRUE(Contains(message, token));
    const ProcessResult result = VerifyToken(message, token);
    EXPECT_EQ(0, result.exitStatus) << result.output;
}

TEST_F(Message, SignedByOpensslTakesAToken)
{
    ASSERT_TRUE(forge::WritePrivateKey(Path("signer.key"), TestPki().signer.key).ok);
    Save("signer.pem", forge::Armour(forge::LABEL_CERTIFICATE, TestPki().signer.certificate));
    const ProcessResult made = RunOpenssl("cms -sign -binary -outform DER -in " + Save("in", CONTENT) + " -signer " +
                                          Quoted("signer.pem") + " -inkey " + Quoted("signer.key") + " -certfile " +
                                          Quoted("issuing-ca.pem") + " -out " + Quoted("made"));
    ASSERT_EQ(0, made.exitStatus) << made.output;
    forge::Bytes message;
    forge::Bytes signature;
    forge::Bytes token;
    forge::Bytes stamped;
    ASSERT_TRUE(forge::ReadFile(Path("made"), &message).ok);
    ASSERT_TRUE(forge::GetSignatureValue(message, &signature).ok);
    ASSERT_TRUE(forge::MakeToken(TimestampedRequest().tokenRequest, signature, &token).ok);
    ASSERT_TRUE(forge::EmbedToken(message, token, &stamped).ok);
    EXPECT_TRUE(Contains(stamped, token));
    const ProcessResult result = Verify(Save("stamped", stamped), "DER", CONTENT);
    EXPECT_EQ(0, result.exitStatus) << result.output;
    EXPECT_EQ(0, VerifyToken(stamped, token).exitStatus);
}

TEST_F(Message, NewTokenReplacesTheOldOne)
{
    const forge::Bytes message = Make(TimestampedRequest());
    forge::TokenRequest later = TimestampedRequest().tokenRequest;
    later.genTime += 1;
    forge::Bytes signature;
    forge::Bytes token;
    forge::Bytes stamped;
    ASSERT_TRUE(forge::GetSignatureValue(message, &signature).ok);
    ASSERT_TRUE(forge::MakeToken(later, signature, &token).ok);
    ASSERT_TRUE(forge::EmbedToken(message, token, &stamped).ok);
    EXPECT_TRUE(Contains(stamped, Octets("20231114221321Z")));
    EXPECT_FALSE(Contains(stamped, Octets("20231114221320Z")));
}

TEST_F(Message, TakesATokenFromOpensslTs)
{
    ASSERT_TRUE(forge::WritePrivateKey(Path("tsa.key"), TestPki().timestamp.key).ok);
    Save("tsa.pem", forge::Armour(forge::LABEL_CERTIFICATE, TestPki().timestamp.certificate));
    Save("ts.cnf", "[tsa]\nserial=" + Path("serial") +
                       "\ndefault_policy=1.2.3.4\ndigests=sha256\nsigner_digest=sha256\ness_cert_id_alg=sha256\n");
    const forge::Bytes message = Make(Request());
    forge::Bytes signature;
    ASSERT_TRUE(forge::GetSignatureValue(message, &signature).ok);
    const ProcessResult asked =
        RunOpenssl("ts -query -cert -sha256 -data " + Save("signature", signature) + " -out " + Quoted("query"));
    ASSERT_EQ(0, asked.exitStatus) << asked.output;
    const ProcessResult answered =
        RunOpenssl("ts -reply -config " + Quoted("ts.cnf") + " -section tsa -queryfile " + Quoted("query") +
                   " -signer " + Quoted("tsa.pem") + " -inkey " + Quoted("tsa.key") + " -out " + Quoted("response"));
    ASSERT_EQ(0, answered.exitStatus) << answered.output;
    forge::Bytes response;
    forge::Bytes token;
    forge::Bytes stamped;
    ASSERT_TRUE(forge::ReadFile(Path("response"), &response).ok);
    ASSERT_TRUE(forge::GetToken(response, &token).ok);
    ASSERT_TRUE(forge::EmbedToken(message, token, &stamped).ok);
    EXPECT_EQ(0, VerifyToken(stamped, token).exitStatus);
    EXPECT_EQ(0, Verify(Save("stamped", stamped), "DER", CONTENT).exitStatus);
}

TEST_F(Message, CannotBeMadeFromABadRequest)
{
    forge::Bytes message;
    forge::MessageRequest request = Request();
    request.signerKey = nullptr;
    EXPECT_FALSE(forge::SignDetached(request, &message).ok);
    request = Request();
    request.signerCertificate = Octets("text");
    EXPECT_FALSE(forge::SignDetached(request, &message).ok);
    request = Request();
    request.contentFile = Path("missing");
    EXPECT_FALSE(forge::SignDetached(request, &message).ok);
    request = TimestampedRequest();
    request.tokenRequest.tsaKey = nullptr;
    EXPECT_FALSE(forge::SignDetached(request, &message).ok);
    EXPECT_TRUE(message.empty());
}

TEST_F(Message, SomethingElseTakesNoToken)
{
    forge::Bytes out;
    EXPECT_FALSE(forge::EmbedToken(Octets("text"), {0x30, 0x00}, &out).ok);
    EXPECT_FALSE(forge::GetSignatureValue(TestPki().root.certificate, &out).ok);
    EXPECT_TRUE(out.empty());
}

} // namespace
