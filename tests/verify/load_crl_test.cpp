// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// CRLs into the store, and what refuses them.
#include "tests/support/process.h"
#include "tests/verify/verify_fixture.h"

namespace
{

class LoadCrl : public VerifyTest
{
protected:
    static forge::Bytes NumberedCrl(int64_t number)
    {
        forge::CrlRequest request = CrlRequest(AllParties().root);
        request.crlNumber = number;
        return MakeCrl(request);
    }
};

} // namespace

TEST_F(LoadCrl, TheSameCrlTwiceDoesNotHideTheNext)
{
    EXPECT_STATUS(SIGKIT_OK, AddCrl(Join({NumberedCrl(1), NumberedCrl(1), NumberedCrl(2)})));
    EXPECT_EQ(2u, StoredCrls());
}

TEST_F(LoadCrl, WhatFitsTheStoreStaysWhenTheRestDoesNot)
{
    forge::Bytes fifteen;
    for (int64_t i = 0; i < 15; ++i) {
        fifteen = Join({fifteen, NumberedCrl(i)});
    }
    ASSERT_STATUS(SIGKIT_OK, AddCrl(fifteen));
    ResetRecordingHost();
    EXPECT_STATUS(SIGKIT_ERR_LIST_FULL,
                  AddCrl(Join({NumberedCrl(15), NumberedCrl(16), AllParties().issuingCa.certificate})));
    EXPECT_EQ((Texts{"E InternalAddCrlToStore 88000501 -", "E SigkitVerifyAddCrl 88000501 -"}), LineTexts());
    EXPECT_EQ(16u, StoredCrls());
    EXPECT_EQ(0u, StoredCerts()) << "certificates come after all CRLs";
    EXPECT_STATUS(SIGKIT_OK, AddCrl(Join({NumberedCrl(3), AllParties().issuingCa.certificate})))
        << "one that is there already needs no space";
    EXPECT_EQ(1u, StoredCerts());
}

TEST_F(LoadCrl, AShortTailIsTolerated)
{
    EXPECT_STATUS(SIGKIT_OK, AddCrl(Join({NumberedCrl(1), forge::Bytes(1, 0x30)})));
    EXPECT_STATUS(SIGKIT_OK, AddCrl(Join({NumberedCrl(2), forge::Bytes(32, 0x00)})));
    EXPECT_EQ(2u, StoredCrls());
    EXPECT_STATUS(SIGKIT_ERR_CRL_LOAD, AddCrl(Join({NumberedCrl(3), forge::Bytes(33, 0x00)})));
    EXPECT_EQ(2u, StoredCrls());
}

TEST_F(LoadCrl, ThirtyEightOctetsAreLookedAt)
{
    EXPECT_STATUS(SIGKIT_ERR_CRL_LOAD, AddCrl(forge::Bytes(37, 0x02)));
    EXPECT_EQ(Texts{"E SigkitVerifyAddCrl 88200102 -"}, LineTexts());
    EXPECT_EQ(0u, ctx->buffers.count);
    ResetRecordingHost();
    EXPECT_STATUS(SIGKIT_ERR_CRL_LOAD, AddCrl(forge::Bytes(38, 0x02)));
    EXPECT_EQ((Texts{"E InternalDecodeStreamCertCrl 88300001 -", "E InternalDecodeCertCrl 88300001 -",
                     "E SigkitVerifyAddCrl 88200102 -"}),
              LineTexts());
    EXPECT_EQ(1u, ctx->buffers.count);
}

TEST_F(LoadCrl, ALockedContextRefusesAFileToo)
{
    const TemporaryDirectory directory;
    ASSERT_TRUE(forge::WriteFile(directory.File("crl"), NumberedCrl(1)).ok);
    for (const uint32_t lock : {1u, 0x80000000u}) {
        ResetRecordingHost();
        ctx->crlLocked = lock;
        EXPECT_STATUS(SIGKIT_ERR_CRL_LOCKED, SigkitVerifyAddCrlFile(ctx, directory.File("crl").c_str()));
        EXPECT_EQ((Texts{"E SigkitVerifyAddCrl 88200101 -", "E SigkitVerifyAddCrlFile 88200101 -"}), LineTexts());
        EXPECT_STATUS(SIGKIT_OK, AddCert(AllParties().root.certificate)) << "certificates are not locked out";
    }
    ctx->crlLocked = 0;
    EXPECT_STATUS(SIGKIT_OK, SigkitVerifyAddCrlFile(ctx, directory.File("crl").c_str()));
    EXPECT_EQ(1u, StoredCrls());
}

TEST_F(LoadCrl, AFailureInsideAFileIsLoggedByEachFunctionThatItEnds)
{
    const TemporaryDirectory directory;
    ASSERT_TRUE(forge::WriteFile(directory.File("junk"), forge::Bytes(50, 0x02)).ok);
    EXPECT_STATUS(SIGKIT_ERR_CRL_LOAD, SigkitVerifyAddCrlFile(ctx, directory.File("junk").c_str()));
    const Texts decoding = {"E InternalDecodeStreamCertCrl 88300001 -", "E InternalDecodeCertCrl 88300001 -"};
    Texts crls = decoding;
    crls.insert(crls.end(), {"E SigkitVerifyAddCrl 88200102 -", "E SigkitVerifyAddCrlFile 88200102 -"});
    EXPECT_EQ(crls, LineTexts());
    ResetRecordingHost();
    EXPECT_STATUS(SIGKIT_ERR_ASN_TAG, SigkitVerifyAddCertFile(ctx, directory.File("junk").c_str()));
    Texts certs = decoding;
    certs.insert(certs.end(), {"E SigkitVerifyAddCert 88300001 -", "E SigkitVerifyAddCertFile 88300001 -"});
    EXPECT_EQ(certs, LineTexts());
}
