// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Trust anchors and the certificates beside CRLs: which may enter the store, and who owns their octets.
#include "tests/verify/verify_fixture.h"
#include "verify/admission.h"
#include "verify/load/loading.h"

namespace
{

class LoadCert : public VerifyTest
{
protected:
    // A certificate that says it is self-signed; what it is signed with cannot be checked.
    static forge::Bytes UncheckableRoot()
    {
        static const forge::CertificateRequest request = [] {
            forge::CertificateRequest made = CertificateRequest("Uncheckable", nullptr);
            made.digest = forge::Digest::Sha1;
            return made;
        }();
        return Certify(request).certificate;
    }

    // A certificate of its own issuer's name that somebody else has signed.
    static forge::Bytes SelfIssued()
    {
        forge::CertificateRequest request = CertificateRequest("Self-issued", nullptr);
        request.issuerKey = AllParties().root.key;
        return Certify(request).certificate;
    }

    static forge::Bytes RootCrl()
    {
        return MakeCrl(CrlRequest(AllParties().root));
    }
};

} // namespace

TEST_F(LoadCert, ATrustAnchorIsTakenAsItIs)
{
    EXPECT_STATUS(SIGKIT_OK, AddCert(UncheckableRoot()));
    EXPECT_EQ(1u, StoredCerts());
    EXPECT_EQ(0u, g_recordingHost.cryptoCreateCtx.calls) << "its own signature proves nothing";
}

TEST_F(LoadCert, ACertificateThatCannotBeCheckedEndsTheWalkBesideCrls)
{
    const forge::Bytes &last = AllParties().issuingCa.certificate;
    EXPECT_STATUS(SIGKIT_OK, AddCrl(Join({RootCrl(), SelfIssued(), UncheckableRoot(), last})));
    EXPECT_EQ((Texts{"E SigkitX509PubKeyVerify 88200310 -",
                     "E InternalAddCertToStore 88200310 Failed to check self sign for certificate.",
                     "W SigkitVerifyAddCrl 88200310 Failed to add certificate into store."}),
              LineTexts());
    EXPECT_EQ(1u, StoredCerts()) << "the one before it";
    EXPECT_EQ(1u, StoredCrls());
}

TEST_F(LoadCert, AFailedCallbackIsNoReasonToRefuseCrls)
{
    g_recordingHost.cryptoInit.failAt = 1;
    EXPECT_STATUS(SIGKIT_OK, AddCrl(Join({RootCrl(), AllParties().root.certificate})));
    EXPECT_EQ((Texts{"E SigkitX509PubKeyVerify ffffffff -",
                     "E InternalAddCertToStore ffffffff Failed to check self sign for certificate.",
                     "W SigkitVerifyAddCrl ffffffff Failed to add certificate into store."}),
              LineTexts());
    EXPECT_EQ(0u, StoredCerts());
}

TEST_F(LoadCert, RootsBesideCrlsAreDroppedOneByOne)
{
    const std::string warning =
        "W InternalAddCertToStore 0 There is a root certificate, which is not allowed when add crl or cms.";
    const forge::Bytes pem =
        Join({Pem(forge::LABEL_CERTIFICATE, AllParties().root.certificate), Pem(forge::LABEL_CRL, RootCrl()),
              Pem(forge::LABEL_CERTIFICATE, AllParties().otherRoot.certificate),
              Pem(forge::LABEL_CERTIFICATE, AllParties().signer.certificate)});
    EXPECT_STATUS(SIGKIT_OK, AddCrl(pem));
    EXPECT_EQ((Texts{warning, warning}), LineTexts());
    EXPECT_EQ(1u, StoredCerts());
    EXPECT_EQ(1u, StoredCrls());
    EXPECT_EQ(4u, ctx->buffers.count) << "a dropped certificate was decoded all the same";
}

TEST_F(LoadCert, ARootThatIsThereAlreadyIsDroppedWithTheSameWarning)
{
    ASSERT_STATUS(SIGKIT_OK, AddCert(AllParties().root.certificate));
    EXPECT_STATUS(SIGKIT_OK, AddCrl(Join({RootCrl(), AllParties().root.certificate})));
    EXPECT_EQ(1u, Lines().size());
    EXPECT_EQ(1u, StoredCerts());
}

TEST_F(LoadCert, DerObjectsMayStandInAnyOrder)
{
    const forge::Bytes mixed = Join({AllParties().issuingCa.certificate, RootCrl(), AllParties().signer.certificate,
                                     MakeCrl(CrlRequest(AllParties().issuingCa)), AllParties().timestamp.certificate});
    EXPECT_STATUS(SIGKIT_OK, AddCert(mixed));
    EXPECT_EQ(3u, StoredCerts());
    EXPECT_EQ(0u, StoredCrls());
    EXPECT_STATUS(SIGKIT_OK, AddCrl(mixed));
    EXPECT_EQ(3u, StoredCerts());
    EXPECT_EQ(2u, StoredCrls());
    EXPECT_EQ(2u, ctx->buffers.count) << "one image for each input";
    EXPECT_TRUE(Lines().empty());
}

TEST_F(LoadCert, TheCallersOctetsMayGoAfterEachCall)
{
    for (const bool pem : {false, true}) {
        forge::Bytes root = AllParties().root.certificate;
        forge::Bytes crls = GoodCrls();
        if (pem) {
            root = Pem(forge::LABEL_CERTIFICATE, AllParties().otherRoot.certificate);
            crls = Pem(forge::LABEL_CRL, MakeCrl(CrlRequest(AllParties().otherRoot)));
        }
        ASSERT_STATUS(SIGKIT_OK, AddCert(root));
        ASSERT_STATUS(SIGKIT_OK, AddCrl(crls));
        std::fill(root.begin(), root.end(), uint8_t{0xEE});
        std::fill(crls.begin(), crls.end(), uint8_t{0xEE});
    }
    ASSERT_STATUS(SIGKIT_OK, Begin(MessageRequest("content")));
    ASSERT_STATUS(SIGKIT_OK, Update("content"));
    EXPECT_STATUS(SIGKIT_OK, Final());
    EXPECT_EQ(1u, verdict);
}

TEST_F(LoadCert, ASlotIsLostToDerThatFailsAndNoneToPemThatFails)
{
    const forge::Bytes broken(40, 0x02);
    for (uint32_t i = 1; i <= 15; ++i) {
        ASSERT_STATUS(SIGKIT_ERR_ASN_TAG, AddCert(broken));
        ASSERT_EQ(i, ctx->buffers.count);
    }
    EXPECT_STATUS(SIGKIT_ERR_UNKNOWN, AddCert(Pem(forge::LABEL_CERTIFICATE, broken)));
    EXPECT_EQ(15u, ctx->buffers.count);
    EXPECT_STATUS(SIGKIT_OK, AddCert(AllParties().root.certificate)) << "the sixteenth";
    EXPECT_STATUS(SIGKIT_ERR_LIST_FULL, AddCert(AllParties().root.certificate));
    EXPECT_STATUS(SIGKIT_ERR_CRL_LOAD, AddCrl(RootCrl())) << "one code for every cause";
}

TEST_F(LoadCert, TheListThatWasAskedForIsTheOneThatIsFilled)
{
    SigkitList certs = {};
    SigkitList crls = {};
    const forge::Bytes data = Join({AllParties().root.certificate, RootCrl(), AllParties().signer.certificate});
    EXPECT_STATUS(SIGKIT_ERR_ARMOUR, InternalDecodeCertCrl(ctx, data.data(), 37, &certs, &crls));
    EXPECT_EQ(0u, ctx->buffers.count);
    ASSERT_STATUS(SIGKIT_OK, InternalDecodeCertCrl(ctx, data.data(), Size(data), &certs, &crls));
    const InternalCertsGuard certsGuard(&certs);
    const InternalCrlsGuard crlsGuard(&crls);
    ASSERT_EQ(2u, certs.count);
    EXPECT_EQ(1u, crls.count);
    EXPECT_EQ(1, static_cast<const SigkitX509Cert *>(certs.items[0])->refCount);
    ASSERT_STATUS(SIGKIT_OK, InternalAddCertToStore(ctx, certs, 1));
    EXPECT_EQ(2, static_cast<const SigkitX509Cert *>(certs.items[0])->refCount) << "the store has a share of its own";
    EXPECT_STATUS(SIGKIT_OK, InternalAddCertToStore(ctx, certs, 1));
    EXPECT_EQ(2, static_cast<const SigkitX509Cert *>(certs.items[0])->refCount);
    EXPECT_TRUE(Lines().empty()) << "nothing is logged of one that is there already";
}
