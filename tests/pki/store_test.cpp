// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/pki/pki_fixture.h"
#include "x509/issuer.h"

namespace
{

using Store = PkiTest;

} // namespace

TEST_F(Store, IsMadeAndTornDownWithItsContext)
{
    SigkitVerifyCtx empty = {};
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitPkiInit(nullptr));
    ASSERT_STATUS(SIGKIT_OK, SigkitPkiInit(&empty));
    EXPECT_EQ(0u, empty.pki->certs.count);
    EXPECT_EQ(0u, empty.pki->crls.count);
    SigkitPkiUninit(&empty);
    EXPECT_EQ(nullptr, empty.pki);
    SigkitPkiUninit(&empty);
    SigkitPkiUninit(nullptr);
}

TEST_F(Store, IsNotMadeWithoutMemory)
{
    SigkitVerifyCtx empty = {};
    g_pretendedHost.failAt = g_pretendedHost.allocations + 1;
    EXPECT_STATUS(SIGKIT_ERR_NO_MEMORY, SigkitPkiInit(&empty));
    EXPECT_EQ(nullptr, empty.pki);
}

TEST_F(Store, TakesNothingWithoutRecordOrStore)
{
    Load();
    SigkitVerifyCtx empty = {};
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitPkiStoreAddCert(nullptr, Cert(0)));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitPkiStoreAddCert(ctx, nullptr));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitPkiStoreAddCert(&empty, Cert(0)));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitPkiStoreAddCrl(nullptr, Crl(0)));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitPkiStoreAddCrl(ctx, nullptr));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitPkiStoreAddCrl(&empty, Crl(0)));
    EXPECT_TRUE(LogLines().empty());
}

TEST_F(Store, TakesASignatureOnce)
{
    Load();
    EXPECT_EQ(1, Cert(ROOT)->refCount);
    EXPECT_STATUS(SIGKIT_ERR_CERT_DUPLICATE, SigkitPkiStoreAddCert(ctx, Cert(ROOT)));
    EXPECT_STATUS(SIGKIT_ERR_CRL_DUPLICATE, SigkitPkiStoreAddCrl(ctx, Crl(0)));
    EXPECT_EQ(1, Cert(ROOT)->refCount);
    EXPECT_EQ(1, Crl(0)->refCount);
    SigkitX509Cert other = *Cert(ROOT); // another record, everything else changed
    other.tbsCertificate = {};
    EXPECT_STATUS(SIGKIT_ERR_CERT_DUPLICATE, SigkitPkiStoreAddCert(ctx, &other));
    EXPECT_EQ(3u, ctx->pki->certs.count);
}

TEST_F(Store, TakesNoRecordOfAnotherStore)
{
    Load();
    SigkitVerifyCtx second = {};
    ASSERT_STATUS(SIGKIT_OK, SigkitPkiInit(&second));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitPkiStoreAddCert(&second, Cert(CA)));
    EXPECT_STATUS(SIGKIT_ERR_PARAM, SigkitPkiStoreAddCrl(&second, Crl(1)));
    EXPECT_EQ(0u, second.pki->certs.count);
    EXPECT_EQ(0u, second.pki->crls.count);
    EXPECT_EQ(1, Cert(CA)->refCount);
    EXPECT_EQ(1, Crl(1)->refCount);
    EXPECT_EQ(CA + 1, Cert(CA)->storeIndex) << "its place in its own store";
    EXPECT_TRUE(LogLines().empty());
    SigkitPkiUninit(&second);
    EXPECT_STATUS(SIGKIT_OK, JudgeLoaded(SIGNER)) << "as if nothing had been tried";
}

TEST_F(Store, KeepsOlderAndNewerCrlsOfOneIssuer)
{
    store.crls.push_back(store.crls[0]);
    Load();
    EXPECT_EQ(3u, ctx->pki->crls.count);
}

TEST_F(Store, HoldsSixteenOfEach)
{
    Load();
    std::vector<SigkitX509Cert> certs(14);
    std::vector<SigkitX509Crl> crls(15);
    uint8_t octets[16] = {};
    for (uint32_t i = 0; i < certs.size(); ++i) {
        octets[i] = static_cast<uint8_t>(i);
        certs[i].signatureValue = {1, 0, 0, 3, &octets[i]};
        certs[i].refCount = 1;
        EXPECT_STATUS(i < 13 ? SIGKIT_OK : SIGKIT_ERR_LIST_FULL, SigkitPkiStoreAddCert(ctx, &certs[i]));
        EXPECT_EQ(i < 13 ? 2 : 1, certs[i].refCount);
    }
    for (uint32_t i = 0; i < crls.size(); ++i) {
        octets[i] = static_cast<uint8_t>(i);
        crls[i].signatureValue = {1, 0, 0, 3, &octets[i]};
        crls[i].refCount = 1;
        EXPECT_STATUS(i < 14 ? SIGKIT_OK : SIGKIT_ERR_LIST_FULL, SigkitPkiStoreAddCrl(ctx, &crls[i]));
        EXPECT_EQ(i < 14 ? 2 : 1, crls[i].refCount);
    }
    Unload(); // gives its shares back while the records live
}

TEST_F(Store, FindsTheFirstCertificateOfIssuerAndSerial)
{
    store.certs.push_back({"Decoy", "CA", 4, 2, 3}); // the signer's issuer and serial, another key
    Load();
    const SigkitX509CertInfo &signer = Cert(SIGNER)->tbsCertificate;
    EXPECT_EQ(Cert(SIGNER), SigkitPkiFindCertByIssuerSn(ctx, &signer.issuer, &signer.serialNumber));
    const SigkitX509CertInfo &ca = Cert(CA)->tbsCertificate;
    EXPECT_EQ(nullptr, SigkitPkiFindCertByIssuerSn(ctx, &ca.subject, &ca.serialNumber));
    EXPECT_EQ(Cert(CA), SigkitPkiFindCertByIssuerSn(ctx, &ca.issuer, &ca.serialNumber));
    const SigkitX509CertInfo &root = Cert(ROOT)->tbsCertificate;
    EXPECT_EQ(Cert(ROOT), SigkitPkiFindCertByIssuerSn(ctx, &root.issuer, &root.serialNumber));
    ctx->pki->certs.count = SIGNER; // the list ends before the signer
    EXPECT_EQ(nullptr, SigkitPkiFindCertByIssuerSn(ctx, &signer.issuer, &signer.serialNumber));
    ctx->pki->certs.count = SIGNER + 2;
}

TEST_F(Store, FindsNoCertificateWithoutNameOrSerial)
{
    Load();
    const SigkitX509CertInfo &signer = Cert(SIGNER)->tbsCertificate;
    const SigkitX509Name noName = {};
    const SigkitAsnOcts noSerial = {};
    SigkitVerifyCtx empty = {};
    EXPECT_EQ(nullptr, SigkitPkiFindCertByIssuerSn(nullptr, &signer.issuer, &signer.serialNumber));
    EXPECT_EQ(nullptr, SigkitPkiFindCertByIssuerSn(&empty, &signer.issuer, &signer.serialNumber));
    EXPECT_EQ(nullptr, SigkitPkiFindCertByIssuerSn(ctx, nullptr, &signer.serialNumber));
    EXPECT_EQ(nullptr, SigkitPkiFindCertByIssuerSn(ctx, &signer.issuer, nullptr));
    EXPECT_EQ(nullptr, SigkitPkiFindCertByIssuerSn(ctx, &noName, &signer.serialNumber));
    EXPECT_EQ(nullptr, SigkitPkiFindCertByIssuerSn(ctx, &signer.issuer, &noSerial));
    // Not even a certificate that has none itself.
    const SigkitX509Name issuer = signer.issuer;
    Cert(SIGNER)->tbsCertificate.issuer.count = 0;
    EXPECT_EQ(nullptr, SigkitPkiFindCertByIssuerSn(ctx, &noName, &signer.serialNumber));
    Cert(SIGNER)->tbsCertificate.issuer = issuer;
    Cert(SIGNER)->tbsCertificate.serialNumber = noSerial;
    EXPECT_EQ(nullptr, SigkitPkiFindCertByIssuerSn(ctx, &issuer, &noSerial));
}
