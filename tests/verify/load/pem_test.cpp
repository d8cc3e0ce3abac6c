// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Where a PEM block begins and ends, and what a block that is skipped says.
#include "verify/load/pem.h"

#include "tests/verify/verify_fixture.h"

namespace
{

using PemBlocks = VerifyTest;

const char CERT_BEGIN[] = "-----BEGIN CERTIFICATE-----";
const char CERT_END[] = "-----END CERTIFICATE-----";
const char CRL_BEGIN[] = "-----BEGIN X509 CRL-----";
const char CRL_END[] = "-----END X509 CRL-----";
const char OTHER_END[] = "-----END OTHER-----";

const char CERT_WARNING[] = "W SigkitVerifyAddCrl ffffffff Failed to add certificate into store.";

const forge::Bytes &Root()
{
    return AllParties().root.certificate;
}

const forge::Bytes &RootCrl()
{
    static const forge::Bytes crl = MakeCrl(CrlRequest(AllParties().root));
    return crl;
}

// The Base64 text of an object on one line.
std::string Line(const forge::Bytes &der)
{
    const std::string armour = forge::Armour("X", der);
    std::string line;
    const size_t first = armour.find('\n') + 1;
    for (const char character : armour.substr(first, armour.find("-----END") - first)) {
        line += character == '\n' ? "" : std::string(1, character);
    }
    return line;
}

std::string GoodCert()
{
    return forge::Armour(forge::LABEL_CERTIFICATE, Root());
}

std::string GoodCrl()
{
    return forge::Armour(forge::LABEL_CRL, RootCrl());
}

struct Skipped {
    std::string name;
    std::string block;
    const char *function;
    const char *code;
    bool notBase64; // refused before anything is decoded from it
};

} // namespace

TEST_F(PemBlocks, LinesMayEndInEitherWay)
{
    EXPECT_STATUS(SIGKIT_OK, AddCert(Octets(forge::Armour(forge::LABEL_CERTIFICATE, Root(), forge::LineEnd::CrLf))));
    EXPECT_STATUS(SIGKIT_OK, AddCrl(Octets(forge::Armour(forge::LABEL_CRL, RootCrl(), forge::LineEnd::CrLf))));
    EXPECT_EQ(1u, StoredCerts());
    EXPECT_EQ(1u, StoredCrls());
}

TEST_F(PemBlocks, ACertificateBeginsOneCharacterBehindItsMarkerAndACrlAtOnce)
{
    EXPECT_STATUS(SIGKIT_OK, AddCrl(Octets(CRL_BEGIN + Line(RootCrl()) + CRL_END)));
    EXPECT_EQ(1u, StoredCrls());
    ResetRecordingHost();
    EXPECT_STATUS(SIGKIT_OK, AddCert(Octets(std::string(CERT_BEGIN) + "?" + Line(Root()) + CERT_END)));
    EXPECT_EQ(1u, StoredCerts());
    EXPECT_STATUS(SIGKIT_ERR_UNKNOWN, AddCert(Octets(CERT_BEGIN + Line(Root()) + CERT_END)));
    EXPECT_EQ((Texts{"E InternalPemDecodeCert 88300001 -", "E SigkitVerifyAddCert ffffffff -"}), LineTexts())
        << "the body without its first character";
}

TEST_F(PemBlocks, ASixthDashOfAStartMarkerIsSkippedInACertificateAndADigitInACrl)
{
    const std::string cert = std::string(CERT_BEGIN) + "-\n" + Line(Root()) + "\n" + CERT_END;
    EXPECT_STATUS(SIGKIT_OK, AddCert(Octets(cert)));
    EXPECT_EQ(1u, StoredCerts());
    EXPECT_TRUE(Lines().empty());
    // The body of a CRL begins with the sixth dash, which is the digit 63: what is decoded is no CRL any more.
    const std::string crl = std::string(CRL_BEGIN) + "-\n" + Line(RootCrl()) + "\n" + CRL_END;
    EXPECT_STATUS(SIGKIT_ERR_CRL_LOAD, AddCrl(Octets(crl)));
    EXPECT_EQ(0u, StoredCrls());
    EXPECT_EQ((Texts{"E InternalPemDecodeCrl 88300001 -", "E SigkitVerifyAddCrl 88200102 -"}), LineTexts());
}

TEST_F(PemBlocks, LabelsThatOnlyBeginAlikeAreSkippedSilently)
{
    for (const char *const label : {"CERTIFICATE REQUEST", "CERTIFICATES", "CERTIFICATE---+", "TRUSTED CERTIFICATE",
                                    "certificate", " CERTIFICATE", "X509 CRLS", "X509 CRL2", "PUBLIC KEY", ""}) {
        SCOPED_TRACE(label);
        ResetRecordingHost();
        const std::string begin = "-----BEGIN " + std::string(label) + "-----\n";
        const std::string cert = begin + Line(AllParties().issuingCa.certificate) + "\n" + CERT_END + "\n";
        const std::string crl = begin + Line(MakeCrl(CrlRequest(AllParties().issuingCa))) + "\n" + CRL_END + "\n";
        EXPECT_STATUS(SIGKIT_OK, AddCert(Octets(cert + GoodCert())));
        EXPECT_TRUE(Lines().empty()) << testing::PrintToString(LineTexts());
        EXPECT_STATUS(SIGKIT_OK, AddCrl(Octets(crl + GoodCrl())));
        EXPECT_EQ(Texts{CERT_WARNING}, LineTexts());
        ASSERT_EQ(1u, StoredCerts()) << "only the good certificate";
        ASSERT_EQ(1u, StoredCrls()) << "only the good CRL";
        // The images of duplicates stay with the context, so start again with a fresh one.
        ASSERT_STATUS(SIGKIT_OK, SigkitVrfCtxFree(ctx));
        SigkitVerifyCreateParam param = SIGKIT_VERIFY_CREATE_PARAM_INIT;
        ASSERT_STATUS(SIGKIT_OK, SigkitVerifyCreateCtx(&ctx, &param));
    }
}

TEST_F(PemBlocks, ABlockWithoutTheEndOfItsOwnLabelIsSkippedAndLogged)
{
    const std::string body = "\n" + Line(Root()) + "\n" + OTHER_END + "\n";
    EXPECT_STATUS(SIGKIT_OK, AddCert(Octets(CRL_BEGIN + body + GoodCert())));
    EXPECT_EQ(Texts{"E InternalPemDecodeCrl 88200305 -"}, LineTexts());
    EXPECT_EQ(1u, StoredCerts());
    ResetRecordingHost();
    EXPECT_STATUS(SIGKIT_OK, AddCrl(Octets(CERT_BEGIN + body + GoodCrl())));
    EXPECT_EQ((Texts{"E InternalPemDecodeCert 88200305 -", CERT_WARNING}), LineTexts());
    EXPECT_EQ(1u, StoredCrls());
}

TEST_F(PemBlocks, ABodyIsAtMostAsLongAsItsBlock)
{
    // The block ends with the other label's end; the body is that end and a filler. It has a blank inside a line, so
    // one that is decoded logs that.
    const struct {
        std::string begin;
        const char *end;
        const char *function;
        size_t filler;
    } rows[] = {
        {std::string(CERT_BEGIN) + "\n", CERT_END, "InternalPemDecodeCert", 28},
        {CRL_BEGIN, CRL_END, "InternalPemDecodeCrl", 24},
    };
    for (const auto &row : rows) {
        for (const size_t more : {0u, 1u}) {
            ResetRecordingHost();
            const std::string text = row.begin + OTHER_END + std::string(row.filler + more, 'A') + row.end;
            EXPECT_STATUS(SIGKIT_ERR_UNKNOWN, AddCert(Octets(text)));
            const std::string function = row.function;
            EXPECT_EQ(more == 0 ? (Texts{"E InternalBase64Decode 88000302 -", "E " + function + " 88000302 -",
                                         "E SigkitVerifyAddCert ffffffff -"})
                                : (Texts{"E " + function + " 88200305 -", "E SigkitVerifyAddCert ffffffff -"}),
                      LineTexts());
        }
    }
}

TEST_F(PemBlocks, ABlockThatHoldsNothingIsSkippedAndLogged)
{
    const char CERT[] = "InternalPemDecodeCert";
    const char CRL[] = "InternalPemDecodeCrl";
    const Skipped rows[] = {
        {"nothing between the lines", std::string(CERT_BEGIN) + "\n" + CERT_END, CERT, "88100001", true},
        {"an empty line", std::string(CERT_BEGIN) + "\n\n" + CERT_END, CERT, "88000302", true},
        {"nothing but padding", std::string(CERT_BEGIN) + "\n==\n" + CERT_END, CERT, "88200305", true},
        {"an end before the body begins", std::string(CERT_BEGIN) + CERT_END, CERT, "88200305", false},
        {"no object", std::string(CERT_BEGIN) + "\nQUJD\n" + CERT_END, CERT, "88300001", false},
        {"nothing at all in a CRL", std::string(CRL_BEGIN) + CRL_END, CRL, "88100001", true},
        {"only a line end in a CRL", std::string(CRL_BEGIN) + "\n" + CRL_END, CRL, "88000302", true},
        {"nothing but padding in a CRL", std::string(CRL_BEGIN) + "\n==\n" + CRL_END, CRL, "88200305", true},
        {"no CRL", CRL_BEGIN + Line(Root()) + CRL_END, CRL, "88300001", false},
    };
    for (const Skipped &row : rows) {
        SCOPED_TRACE(row.name);
        ResetRecordingHost();
        EXPECT_STATUS(SIGKIT_OK, AddCert(Octets(row.block + "\n" + GoodCert())));
        Texts lines;
        if (row.notBase64) {
            lines.push_back("E InternalBase64Decode " + std::string(row.code) + " -");
        }
        lines.push_back("E " + std::string(row.function) + " " + row.code + " -");
        EXPECT_EQ(lines, LineTexts());
        EXPECT_EQ(1u, StoredCerts());
    }
    EXPECT_EQ(std::size(rows), ctx->buffers.count) << "an image of each good block and of no other";
}

TEST_F(PemBlocks, BlocksAreFoundOneBehindTheEndOfAnother)
{
    const std::string noise = "-----BEGIN X-----\nQUJD\n-----END-----";
    EXPECT_STATUS(SIGKIT_OK, AddCert(Octets(noise + GoodCert()))) << "an end needs no label";
    EXPECT_STATUS(SIGKIT_OK, AddCert(Octets(noise + "between" + GoodCert() + "behind")));
    EXPECT_TRUE(Lines().empty());
    // The dashes that close one marker do not open the next.
    EXPECT_STATUS(SIGKIT_ERR_UNKNOWN, AddCert(Octets(noise + GoodCert().substr(5))));
    EXPECT_EQ(1u, StoredCerts());
}

TEST_F(PemBlocks, TheWalkStopsAtAMissingEnd)
{
    const struct {
        const char *name;
        std::string text;
    } rows[] = {
        {"no end", CERT_BEGIN + std::string(40, 'A')},
        {"an end that is not closed", CERT_BEGIN + std::string(40, 'A') + "-----END CERTIFICATE----"},
        {"an end of eight characters", CERT_BEGIN + std::string(40, 'A') + "-----END"},
        {"an end that closes too early", CERT_BEGIN + std::string(40, 'A') + "-----END----"},
        {"behind a good block", GoodCert() + CERT_BEGIN},
        {"of an unknown label behind a good block", GoodCert() + "-----BEGIN X-----"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        ResetRecordingHost();
        EXPECT_STATUS(SIGKIT_ERR_ARMOUR, AddCert(Octets(row.text)));
        EXPECT_EQ((Texts{"E InternalDecodePemCertCrl 88200305 -", "E InternalDecodeCertCrl 88200305 -",
                         "E SigkitVerifyAddCert 88200305 -"}),
                  LineTexts());
        EXPECT_STATUS(SIGKIT_ERR_CRL_LOAD, AddCrl(Octets(row.text)));
    }
    EXPECT_EQ(0u, StoredCerts());
}

TEST_F(PemBlocks, TextEndsAtANullCharacter)
{
    const std::string null(1, '\0');
    EXPECT_STATUS(SIGKIT_OK, AddCert(Octets(GoodCert() + null + CERT_BEGIN)));
    EXPECT_STATUS(SIGKIT_ERR_ARMOUR, AddCert(Octets(CERT_BEGIN + null + Line(Root()) + CERT_END)));
}

TEST_F(PemBlocks, DataThatBeginWithAnythingElseAreDer)
{
    for (const char *const before : {"\n", " ", "text\n", "----"}) {
        EXPECT_STATUS(SIGKIT_ERR_ASN_TAG, AddCert(Octets(before + GoodCert()))) << before;
    }
    EXPECT_STATUS(SIGKIT_ERR_ASN_TAG, AddCert(Octets("-----begin CERTIFICATE-----" + std::string(40, 'A'))));
}

TEST_F(PemBlocks, OctetsBehindTheObjectOfABlockAreLeftAlone)
{
    EXPECT_STATUS(SIGKIT_OK, AddCert(Pem(forge::LABEL_CERTIFICATE, Join({Root(), forge::Bytes(99, 0xFF)}))));
    EXPECT_STATUS(SIGKIT_OK, AddCrl(Pem(forge::LABEL_CRL, Join({RootCrl(), forge::Bytes(99, 0xFF)}))));
    EXPECT_EQ(1u, StoredCerts());
    EXPECT_EQ(1u, StoredCrls());
}

TEST_F(PemBlocks, NothingIsDecodedFromTextWithoutABlock)
{
    SigkitList certs = {};
    const std::string text = "-----begin";
    EXPECT_STATUS(SIGKIT_OK,
                  InternalDecodePemCertCrl(ctx, reinterpret_cast<const uint8_t *>(text.data()), 10, &certs, nullptr));
    EXPECT_EQ(0u, certs.count);
    EXPECT_EQ(0u, ctx->buffers.count);
}
