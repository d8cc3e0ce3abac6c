// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Mistakes that verifiers have made, one test for each that no other test shows.
#include <algorithm>
#include <functional>

#include "sigkit/sigkit_host.h"
#include "tests/verify/crafted_message.h"
#include "tests/verify/whole_message.h"

namespace
{

class KnownMistakes : public WholeMessageTest
{
};

// A message whose token has no signer, with a TSTInfo of the test's own.
forge::Bytes MessageWithTstInfo(const std::function<void(der::TstInfo *, const forge::Bytes &signature)> &change)
{
    return MessageWithToken(CONTENT, [&](const forge::Bytes &signature) {
        der::TstInfo info = CraftTstInfo(signature);
        change(&info, signature);
        return CraftToken(info);
    });
}

forge::Bytes MessageWithImprint(const std::function<der::Bytes(const forge::Bytes &digest)> &hashedMessage)
{
    return MessageWithTstInfo([&](der::TstInfo *info, const forge::Bytes &signature) {
        info->messageImprint =
            der::MessageImprint(der::AlgorithmIdentifier("2.16.840.1.101.3.4.2.1"), hashedMessage(Sha256(signature)));
    });
}

forge::Bytes MessageWithTime(const der::Bytes &genTime)
{
    return MessageWithTstInfo([&](der::TstInfo *info, const forge::Bytes &) { info->genTime = genTime; });
}

// A message of the good signer whose messageDigest has this value.
forge::Bytes MessageWithDigest(const der::Bytes &value)
{
    return CraftMessage(AllParties().signer,
                        {der::Attribute("1.2.840.113549.1.9.3", {der::Oid("1.2.840.113549.1.7.1")}),
                         der::Attribute("1.2.840.113549.1.9.4", {value})});
}

} // namespace

TEST_F(KnownMistakes, ADecoyWithTheSignersIssuerAndSerialDoesNotSpeakForIt)
{
    // Another key below the same CA name and serial number, made by somebody else, is in the store first.
    forge::CertificateRequest request = CertificateRequest("Signer", &AllParties().issuingCa);
    ASSERT_TRUE(forge::GetSerialNumber(AllParties().signer.certificate, &request.serialNumber).ok);
    request.basicConstraints = forge::BasicConstraints::NotCa;
    request.keyUsage = forge::DIGITAL_SIGNATURE;
    request.extendedKeyUsage = {forge::PURPOSE_CODE_SIGNING};
    request.issuerKey = request.subjectKey;
    const Party decoy = Certify(request);
    LoadTrust(Join({decoy.certificate, GoodCrls()}));
    EXPECT_STATUS(SIGKIT_ERR_NO_ROOT, Verify(GoodMessage())) << "the first in the store is the one that is judged";
    forge::MessageRequest byDecoy = MessageRequest(CONTENT);
    byDecoy.signerKey = decoy.key;
    EXPECT_STATUS(SIGKIT_ERR_NO_ROOT, Verify(MakeMessage(byDecoy)));
}

TEST_F(KnownMistakes, AForgedCertificateWithARealOnesSignatureIsNotTrusted)
{
    forge::Bytes forged = AllParties().signer.certificate;
    const forge::Bytes name = Octets("Signer");
    const auto place = std::search(forged.begin(), forged.end(), name.begin(), name.end());
    ASSERT_NE(forged.end(), place);
    *place = 'X';
    LoadTrust(Join({forged, GoodCrls()}));
    EXPECT_STATUS(SIGKIT_ERR_NO_ROOT, Verify(GoodMessage())) << "the real one is taken for a duplicate";
}

TEST_F(KnownMistakes, CertificatesThatComeFromEverywhereAreSharedSafely)
{
    const Parties &all = AllParties();
    LoadTrust(Join({all.issuingCa.certificate, all.signer.certificate, all.timestamp.certificate, GoodCrls()}));
    forge::MessageRequest request = MessageRequest(CONTENT);
    request.tokenRequest.certificates = {all.timestamp.certificate, all.issuingCa.certificate};
    EXPECT_STATUS(SIGKIT_OK, Verify(MakeMessage(request)));
    EXPECT_EQ(1u, verdict);
    EXPECT_EQ(4u, StoredCerts());
}

TEST_F(KnownMistakes, AnImprintMustBeAsLongAsItsDigest)
{
    LoadTrust();
    const struct {
        const char *name;
        std::function<der::Bytes(const forge::Bytes &)> hashedMessage;
    } rows[] = {
        {"empty", [](const forge::Bytes &) { return der::OctetString({}); }},
        {"one octet", [](const forge::Bytes &d) { return der::OctetString({d[0]}); }},
        {"31 octets", [](const forge::Bytes &d) { return der::OctetString(forge::Bytes(d.begin(), d.end() - 1)); }},
        {"33 octets",
         [](const forge::Bytes &d) {
             return der::OctetString(Join({d, {0}}));
         }},
        {"constructed", [](const forge::Bytes &d) { return der::Tlv(0x24, der::OctetString(d)); }},
    };
    for (const auto &row : rows) {
        EXPECT_STATUS(SIGKIT_ERR_TIMESTAMP_IMPRINT, Verify(MessageWithImprint(row.hashedMessage))) << row.name;
    }
    // The octets count, whatever their type is called.
    for (const uint8_t tag : der::Bytes{0x01, 0x03, 0x04, 0x05, 0x06, 0x0C, 0x30, 0x31, 0x80, 0xA0}) {
        EXPECT_STATUS(SIGKIT_OK, Verify(MessageWithImprint([&](const forge::Bytes &d) { return der::Tlv(tag, d); })))
            << static_cast<int>(tag);
        EXPECT_EQ(1u, verdict);
    }
}

TEST_F(KnownMistakes, AMessageDigestMustBeTheDigest)
{
    LoadTrust();
    const der::Bytes digest = Sha256(Octets(CONTENT));
    for (uint32_t identifier = 0; identifier < 256; ++identifier) {
        if ((identifier & 0x1F) == 0x1F) {
            continue; // a tag in several octets
        }
        // The octets count, whatever their type is called.
        const der::Bytes value = der::Tlv(static_cast<uint8_t>(identifier), digest);
        EXPECT_STATUS(SIGKIT_OK, Verify(MessageWithDigest(value))) << identifier;
        EXPECT_EQ(1u, verdict) << identifier;
        EXPECT_STATUS(SIGKIT_OK, Verify(MessageWithDigest(value), "other content")) << identifier;
        EXPECT_EQ(0u, verdict) << identifier;
    }
    const der::Bytes wrong[] = {der::OctetString({}), der::Tlv(0x24, der::OctetString(digest)),
                                der::OctetString(der::Bytes(digest.begin(), digest.end() - 1)),
                                der::OctetString(Join({digest, {0}}))};
    for (const der::Bytes &value : wrong) {
        EXPECT_STATUS(SIGKIT_OK, Verify(MessageWithDigest(value)));
        EXPECT_EQ(0u, verdict) << testing::PrintToString(value);
    }
    EXPECT_STATUS(SIGKIT_ERR_CMS_DECODE, Verify(MessageWithDigest({}))) << "an attribute without a value";
}

TEST_F(KnownMistakes, ATimeMustBeATime)
{
    LoadTrust();
    const der::Bytes text = der::Text("20220101000000Z");
    for (uint32_t identifier = 0; identifier < 256; ++identifier) {
        const uint8_t octet = static_cast<uint8_t>(identifier);
        if ((octet & 0x1F) == 0x1F || (octet & 0x1F) == 24) {
            continue; // a tag in several octets, and the one that is a GeneralizedTime
        }
        EXPECT_STATUS(SIGKIT_ERR_TIME_FORMAT, Verify(MessageWithTime(der::Tlv(octet, text)))) << identifier;
    }
    EXPECT_STATUS(SIGKIT_OK, Verify(MessageWithTime(der::Tlv(0x18, text))));
    EXPECT_STATUS(SIGKIT_ERR_TIME_FORMAT, Verify(MessageWithTime(der::Tlv(0x18, {}))));
    EXPECT_STATUS(SIGKIT_ERR_TIME_FORMAT, Verify(MessageWithTime(der::Tlv(0x38, der::Tlv(0x18, text)))));
    EXPECT_STATUS(SIGKIT_OK, Verify(MessageWithTime(der::UtcTime("220101000000Z")))) << "by design";
}

TEST_F(KnownMistakes, ACrlDatedAfterTheTimestampCountsByDesign)
{
    forge::CrlRequest later = CrlRequest(AllParties().issuingCa);
    later.thisUpdate = PACKAGE_TIME + PACKAGE_DAY;
    LoadTrust(Join({MakeCrl(CrlRequest(AllParties().root)), MakeCrl(later)}));
    EXPECT_STATUS(SIGKIT_OK, Verify(GoodMessage()));
    EXPECT_EQ(1u, verdict);
}

TEST_F(KnownMistakes, ALengthOfPathThatACertificateAllowsIsNotLookedAtByDesign)
{
    forge::CertificateRequest request = CertificateRequest("Last CA", &AllParties().root);
    request.pathLength = 0; // no CA below it
    const Party last = Certify(request);
    const Party below = Certify(CertificateRequest("CA below", &last));
    forge::CertificateRequest leaf = CertificateRequest("Signer below", &below);
    leaf.basicConstraints = forge::BasicConstraints::NotCa;
    leaf.keyUsage = forge::DIGITAL_SIGNATURE;
    leaf.extendedKeyUsage = {forge::PURPOSE_CODE_SIGNING};
    const Party signer = Certify(leaf);
    LoadTrust(Join({last.certificate, below.certificate, AllParties().issuingCa.certificate, GoodCrls(),
                    MakeCrl(CrlRequest(last)), MakeCrl(CrlRequest(below))}));
    forge::MessageRequest message = MessageRequest(CONTENT);
    message.signerCertificate = signer.certificate;
    message.signerKey = signer.key;
    message.certificates = {signer.certificate};
    EXPECT_STATUS(SIGKIT_OK, Verify(MakeMessage(message)));
    EXPECT_EQ(1u, verdict);
}

TEST_F(KnownMistakes, WithoutItsSignedAttributesAMessageSpeaksForTheirEncodingByDesign)
{
    // What was signed is the encoding of the attributes (RFC 5652, 5.4). A message that loses them says that its
    // signature is over the content itself, and so it is when the content is that encoding.
    LoadTrust();
    const forge::Bytes message = GoodMessage();
    const size_t attributes = [&] {
        const forge::Bytes digestAttribute = {0x06, 0x09, 0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x09, 0x03};
        const auto place = std::search(message.begin(), message.end(), digestAttribute.begin(), digestAttribute.end());
        return static_cast<size_t>(place - message.begin()) - 4; // the [0] and the first SEQUENCE begin before it
    }();
    ASSERT_EQ(0xA0, message[attributes]);
    const size_t length = message[attributes + 1];
    ASSERT_LT(length, 0x80u);
    const auto begin = message.begin() + static_cast<ptrdiff_t>(attributes);
    forge::Bytes encoding(begin, begin + 2 + static_cast<ptrdiff_t>(length));
    encoding[0] = 0x31;

    forge::MessageRequest request = MessageRequest(CONTENT);
    request.content = encoding;
    request.signedAttributes = false; // the same signature, as PKCS #1 v1.5 has no randomness
    EXPECT_STATUS(SIGKIT_OK, Verify(MakeMessage(request), std::string(encoding.begin(), encoding.end())));
    EXPECT_EQ(1u, verdict);
    EXPECT_STATUS(SIGKIT_OK, Verify(MakeMessage(request)));
    EXPECT_EQ(0u, verdict) << "never for the content that the attributes speak of";
}
