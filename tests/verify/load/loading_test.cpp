// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Certificates and CRLs from DER and PEM.
#include "verify/load/loading.h"

#include "tests/verify/verify_fixture.h"

namespace
{

using Load = VerifyTest;

const char CERT_WARNING[] = "W SigkitVerifyAddCrl ffffffff Failed to add certificate into store.";

forge::Bytes Root()
{
    return AllParties().root.certificate;
}

forge::Bytes RootCrl()
{
    return MakeCrl(CrlRequest(AllParties().root));
}

forge::Bytes CertPem(const forge::Bytes &der)
{
    return Pem(forge::LABEL_CERTIFICATE, der);
}

forge::Bytes CrlPem(const forge::Bytes &der)
{
    return Pem(forge::LABEL_CRL, der);
}

// Different certificates without a key of their own each; self-signed, as that takes no issuer.
forge::Bytes NumberedCert(uint8_t number)
{
    static const forge::CertificateRequest base = CertificateRequest("Numbered", nullptr);
    forge::CertificateRequest request = base;
    request.serialNumber = {number};
    return Certify(request).certificate;
}

forge::Bytes NumberedCrl(int64_t number)
{
    forge::CrlRequest request = CrlRequest(AllParties().root);
    request.crlNumber = number;
    return MakeCrl(request);
}

forge::Bytes Replaced(const forge::Bytes &data, const std::string &what, const std::string &with)
{
    std::string text(data.begin(), data.end());
    const size_t place = text.find(what);
    EXPECT_NE(std::string::npos, place);
    return Octets(text.replace(place, what.size(), with));
}

} // namespace

TEST_F(Load, CertificatesInDerAndPemAreAdded)
{
    EXPECT_STATUS(SIGKIT_OK, AddCert(Join({Root(), AllParties().issuingCa.certificate})));
    EXPECT_STATUS(SIGKIT_OK, AddCert(Join({CertPem(NumberedCert(1)), Octets("between\n"), CertPem(NumberedCert(2))})));
    EXPECT_EQ(4u, StoredCerts());
    EXPECT_EQ(3u, ctx->buffers.count) << "one image for DER, one for each block";
    EXPECT_TRUE(Lines().empty());
}

TEST_F(Load, TheSameCertificateOrCrlTwiceIsStoredOnce)
{
    EXPECT_STATUS(SIGKIT_OK, AddCert(Root()));
    EXPECT_STATUS(SIGKIT_OK, AddCert(CertPem(Root())));
    EXPECT_STATUS(SIGKIT_OK, AddCrl(RootCrl()));
    EXPECT_STATUS(SIGKIT_OK, AddCrl(CrlPem(RootCrl())));
    EXPECT_EQ(1u, StoredCerts());
    EXPECT_EQ(1u, StoredCrls());
}

TEST_F(Load, CrlsAmongCertificatesAreDropped)
{
    EXPECT_STATUS(SIGKIT_OK, AddCert(Join({RootCrl(), Root()})));
    EXPECT_STATUS(SIGKIT_OK, AddCert(Join({CrlPem(RootCrl()), CertPem(NumberedCert(1))})));
    EXPECT_EQ(2u, StoredCerts());
    EXPECT_EQ(0u, StoredCrls());
    EXPECT_EQ(2u, ctx->buffers.count) << "a dropped block keeps no image";
}

TEST_F(Load, DataWithoutACertificateAreRefused)
{
    const Texts line = {"E SigkitVerifyAddCert ffffffff -"};
    for (const forge::Bytes &data :
         {RootCrl(), Pem("PUBLIC KEY", Root()), Octets("-----BEGINNING of a text without any other dashes"),
          Octets(std::string("-----BEGIN CERTIFICATES-----\nQUJD\n-----END CERTIFICATES-----\n"))}) {
        ResetRecordingHost();
        const bool hasEnd =
            std::string(data.begin(), data.end()).find("-----END") != std::string::npos || data[0] == 0x30;
        EXPECT_STATUS(hasEnd ? SIGKIT_ERR_UNKNOWN : SIGKIT_ERR_ARMOUR, AddCert(data));
        if (hasEnd) {
            EXPECT_EQ(line, LineTexts());
        }
    }
}

TEST_F(Load, ThirtySevenOctetsAreTooFew)
{
    EXPECT_STATUS(SIGKIT_ERR_ARMOUR, AddCert(forge::Bytes(37, 0x30)));
    EXPECT_STATUS(SIGKIT_ERR_ASN_TAG, AddCert(forge::Bytes(38, 0x02)));
    EXPECT_EQ((Texts{"E SigkitVerifyAddCert 88200305 -", "E InternalDecodeStreamCertCrl 88300001 -",
                     "E InternalDecodeCertCrl 88300001 -", "E SigkitVerifyAddCert 88300001 -"}),
              LineTexts());
    EXPECT_STATUS(SIGKIT_ERR_CRL_LOAD, AddCrl(forge::Bytes(37, 0x30)));
}

TEST_F(Load, AShortTailOfADerStreamIsPadding)
{
    EXPECT_STATUS(SIGKIT_OK, AddCert(Join({Root(), forge::Bytes(32, 0xFF)})));
    EXPECT_STATUS(SIGKIT_ERR_ASN_TAG, AddCert(Join({NumberedCert(1), forge::Bytes(33, 0xFF)})));
    EXPECT_EQ(1u, StoredCerts()) << "nothing of data that end in garbage is kept";
    EXPECT_EQ(2u, ctx->buffers.count) << "DER that fails keeps its slot";
}

TEST_F(Load, ADamagedBlockIsSkippedAndLogged)
{
    const forge::Bytes damaged = Replaced(CertPem(NumberedCert(1)), "MI", "M\x80");
    EXPECT_STATUS(SIGKIT_OK, AddCert(Join({damaged, CertPem(Root())})));
    EXPECT_EQ(1u, StoredCerts());
    EXPECT_EQ(1u, ctx->buffers.count) << "a PEM block that fails keeps no slot";
    EXPECT_EQ((Texts{"E InternalBase64Decode 88000302 -", "E InternalPemDecodeCert 88000302 -"}), LineTexts());
    ResetRecordingHost();
    EXPECT_STATUS(SIGKIT_OK, AddCrl(Join({Replaced(CrlPem(RootCrl()), "MI", "M\x80"), CrlPem(NumberedCrl(7))})));
    EXPECT_EQ((Texts{"E InternalBase64Decode 88000302 -", "E InternalPemDecodeCrl 88000302 -", CERT_WARNING}),
              LineTexts());
    EXPECT_EQ(1u, StoredCrls());
}

TEST_F(Load, ABlockOfAnotherObjectIsSkippedAndLogged)
{
    EXPECT_STATUS(SIGKIT_OK, AddCert(Join({CertPem(RootCrl()), CertPem(Root())})));
    ASSERT_EQ(1u, Lines().size());
    EXPECT_EQ("InternalPemDecodeCert", Lines()[0].function);
}

TEST_F(Load, PemWithoutAnEndIsRefused)
{
    const std::string begin = "-----BEGIN CERTIFICATE-----\n" + std::string(40, 'A');
    for (const forge::Bytes &data :
         {Octets(begin), Octets(begin + "-----END CERTIFICATE"), Join({CertPem(Root()), Octets(begin)})}) {
        ResetRecordingHost();
        EXPECT_STATUS(SIGKIT_ERR_ARMOUR, AddCert(data));
        EXPECT_EQ((Texts{"E InternalDecodePemCertCrl 88200305 -", "E InternalDecodeCertCrl 88200305 -",
                         "E SigkitVerifyAddCert 88200305 -"}),
                  LineTexts());
    }
    EXPECT_EQ(0u, StoredCerts()) << "what stands before the broken block is lost with it";
}

TEST_F(Load, ABlockEndsWithTheEndOfAnother)
{
    // A block reaches to the next end marker, whatever its label; its body must not be longer than that.
    const std::string begin = "-----BEGIN CERTIFICATE-----\nQUJD\n-----END OTHER-----\n";
    const std::string end = "-----END CERTIFICATE-----\n";
    EXPECT_STATUS(SIGKIT_OK, AddCert(Join({Octets(begin + std::string(99, 'A') + end), CertPem(Root())})));
    EXPECT_STATUS(SIGKIT_OK, AddCert(Join({Octets(begin + end), CertPem(Root())})));
    EXPECT_EQ((Texts{"E InternalPemDecodeCert 88200305 -", "E InternalBase64Decode 88000302 -",
                     "E InternalPemDecodeCert 88000302 -"}),
              LineTexts());
    EXPECT_EQ(1u, StoredCerts());
}

TEST_F(Load, WithoutMemoryForTheCopyNothingIsDecodedAndTheCauseIsLogged)
{
    const struct {
        forge::Bytes data;
        const char *line;
    } rows[] = {{Root(), "E InternalDecodeStreamCertCrl 88000001 -"},
                {CertPem(Root()), "E InternalDecodePemCertCrl 88000001 -"}};
    for (const auto &row : rows) {
        ResetRecordingHost();
        FailAllocation(1);
        EXPECT_STATUS(SIGKIT_ERR_NO_MEMORY, AddCert(row.data));
        EXPECT_EQ((Texts{row.line, "E InternalDecodeCertCrl 88000001 -", "E SigkitVerifyAddCert 88000001 -"}),
                  LineTexts());
    }
    EXPECT_EQ(0u, ctx->buffers.count);
}

TEST_F(Load, RootsAmongCrlsAreDroppedWithAWarning)
{
    EXPECT_STATUS(SIGKIT_OK, AddCrl(Join({Root(), AllParties().issuingCa.certificate, RootCrl()})));
    EXPECT_EQ(1u, StoredCerts());
    EXPECT_EQ(1u, StoredCrls());
    EXPECT_EQ(
        Texts{"W InternalAddCertToStore 0 There is a root certificate, which is not allowed when add crl or cms."},
        LineTexts());
}

TEST_F(Load, CrlsWithoutCertificatesAreTakenWithAWarning)
{
    EXPECT_STATUS(SIGKIT_OK, AddCrl(RootCrl()));
    EXPECT_EQ(Texts{CERT_WARNING}, LineTexts());
}

TEST_F(Load, DataWithoutACrlAreRefused)
{
    EXPECT_STATUS(SIGKIT_ERR_CRL_LOAD, AddCrl(AllParties().issuingCa.certificate));
    EXPECT_STATUS(SIGKIT_ERR_CRL_LOAD, AddCrl(forge::Bytes(50, 0x02)));
    EXPECT_EQ((Texts{"E SigkitVerifyAddCrl 88200102 -", "E InternalDecodeStreamCertCrl 88300001 -",
                     "E InternalDecodeCertCrl 88300001 -", "E SigkitVerifyAddCrl 88200102 -"}),
              LineTexts());
    EXPECT_EQ(0u, StoredCerts()) << "certificates beside no CRL are not added";
}

TEST_F(Load, SixteenImagesFitAContext)
{
    for (uint8_t i = 0; i < 16; ++i) {
        ASSERT_STATUS(SIGKIT_OK, AddCert(Root()));
    }
    EXPECT_STATUS(SIGKIT_ERR_LIST_FULL, AddCert(Root()));
    EXPECT_EQ((Texts{"E InternalDecodeStreamCertCrl 88000501 -", "E InternalDecodeCertCrl 88000501 -",
                     "E SigkitVerifyAddCert 88000501 -"}),
              LineTexts());
    ResetRecordingHost();
    EXPECT_STATUS(SIGKIT_ERR_UNKNOWN, AddCert(CertPem(Root()))) << "a block without a slot is skipped";
    EXPECT_EQ("E InternalPemDecodeCert 88000501 -", LineTexts()[0]);
}

TEST_F(Load, SixteenCertificatesFitAStore)
{
    forge::Bytes fifteen;
    for (uint8_t i = 1; i <= 15; ++i) {
        fifteen = Join({fifteen, NumberedCert(i)});
    }
    ASSERT_STATUS(SIGKIT_OK, AddCert(fifteen));
    ASSERT_STATUS(SIGKIT_OK, AddCert(NumberedCert(16)));
    EXPECT_STATUS(SIGKIT_ERR_LIST_FULL, AddCert(NumberedCert(17)));
    EXPECT_EQ((Texts{"E InternalAddCertToStore 88000501 Failed to add certificate into PKI context.",
                     "E SigkitVerifyAddCert 88000501 -"}),
              LineTexts());
    EXPECT_STATUS(SIGKIT_OK, AddCert(NumberedCert(3))) << "one that is there already needs no space";
    ResetRecordingHost();
    EXPECT_STATUS(SIGKIT_OK, AddCrl(Join({RootCrl(), AllParties().issuingCa.certificate})));
    EXPECT_TRUE(HasLine("W SigkitVerifyAddCrl 88000501 Failed to add certificate into store."));
}

TEST_F(Load, SixteenCrlsFitAStore)
{
    forge::Bytes crls;
    for (int64_t i = 0; i < 16; ++i) {
        crls = Join({crls, NumberedCrl(i)});
    }
    ASSERT_STATUS(SIGKIT_OK, AddCrl(crls));
    ResetRecordingHost();
    EXPECT_STATUS(SIGKIT_ERR_LIST_FULL, AddCrl(NumberedCrl(16)));
    EXPECT_EQ((Texts{"E InternalAddCrlToStore 88000501 -", "E SigkitVerifyAddCrl 88000501 -"}), LineTexts());
    ResetRecordingHost();
    EXPECT_STATUS(SIGKIT_ERR_CRL_LOAD, AddCrl(Join({crls, NumberedCrl(16)})));
    EXPECT_EQ((Texts{"E InternalDecodeStreamCertCrl 88000501 -", "E InternalDecodeCertCrl 88000501 -",
                     "E SigkitVerifyAddCrl 88200102 -"}),
              LineTexts());
}

TEST_F(Load, SeventeenCertificatesDoNotFitOneInput)
{
    forge::Bytes certs;
    for (uint8_t i = 1; i <= 17; ++i) {
        certs = Join({certs, NumberedCert(i)});
    }
    EXPECT_STATUS(SIGKIT_ERR_LIST_FULL, AddCert(certs));
    EXPECT_EQ((Texts{"E InternalDecodeStreamCertCrl 88000501 -", "E InternalDecodeCertCrl 88000501 -",
                     "E SigkitVerifyAddCert 88000501 -"}),
              LineTexts());
    EXPECT_EQ(0u, StoredCerts());
}

TEST_F(Load, ASeventeenthPemBlockIsDropped)
{
    forge::Bytes certs;
    forge::Bytes crls;
    for (uint8_t i = 1; i <= 17; ++i) {
        certs = Join({certs, CertPem(NumberedCert(i))});
        crls = Join({crls, CrlPem(NumberedCrl(i))});
    }
    EXPECT_STATUS(SIGKIT_OK, AddCert(certs));
    EXPECT_EQ(16u, StoredCerts());
    EXPECT_EQ(Texts{"E InternalPemDecodeCert 88000501 -"}, LineTexts()) << "there are sixteen images already";
    EXPECT_STATUS(SIGKIT_ERR_CRL_LOAD, AddCrl(crls));
    EXPECT_EQ(0u, StoredCrls());
}

TEST_F(Load, ABlockThatItsListCannotTakeKeepsNoImage)
{
    SigkitList full = {};
    full.count = SIGKIT_LIST_CAPACITY;
    SigkitList none = {};
    const forge::Bytes cert = CertPem(Root());
    const forge::Bytes crl = CrlPem(RootCrl());
    EXPECT_STATUS(SIGKIT_OK, InternalDecodeCertCrl(ctx, cert.data(), Size(cert), &full, &none));
    EXPECT_TRUE(Lines().empty()) << "a certificate goes silently";
    EXPECT_STATUS(SIGKIT_OK, InternalDecodeCertCrl(ctx, crl.data(), Size(crl), &none, &full));
    EXPECT_EQ(Texts{"E InternalPemDecodeCrl 88000501 -"}, LineTexts());
    EXPECT_EQ(0u, ctx->buffers.count);
    EXPECT_EQ(1u, ctx->skippedCrls);
}
