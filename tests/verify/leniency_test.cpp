// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What the verifier is lenient about in CRLs and certificates by design, where no other test shows it.
// docs/security.md says what each leniency means for a deployer.
#include "tests/verify/leniency_fixture.h"
#include "tests/x509/decode_helper.h"

namespace
{

const char RSA_ENCRYPTION[] = "1.2.840.113549.1.1.1";
const char RSASSA_PSS[] = "1.2.840.113549.1.1.10"; // as long as the one above
const char ISSUING_DISTRIBUTION_POINT[] = "2.5.29.28";
const char DELTA_CRL_INDICATOR[] = "2.5.29.27";
const char CERTIFICATE_ISSUER[] = "2.5.29.29";

forge::Bytes ReplaceOid(const forge::Bytes &in, const char *what, const char *with)
{
    return Replace(in, der::Oid(what), der::Oid(with));
}

// What is signed of a certificate or CRL: its first member, whole.
forge::Bytes ToBeSigned(const forge::Bytes &object)
{
    constexpr ptrdiff_t HEADER = 4; // of objects from 256 to 65535 octets
    EXPECT_EQ(0x82, object[1]);
    const bool isLong = object[HEADER + 1] == 0x82;
    const ptrdiff_t length = isLong ? HEADER + object[HEADER + 2] * 256 + object[HEADER + 3] : 3 + object[HEADER + 2];
    return forge::Bytes(object.begin() + HEADER, object.begin() + HEADER + length);
}

forge::Bytes SignedObject(const Party &issuer, const forge::Bytes &toBeSigned, const char *algorithm = SHA256_WITH_RSA)
{
    return der::Sequence(
        {toBeSigned, der::AlgorithmIdentifier(algorithm), der::BitString(0, SignOctets(issuer, toBeSigned))});
}

// The entry of the good signer in a CRL, with extensions.
der::Bytes SignersEntry(const std::vector<der::Bytes> &extensions)
{
    forge::Bytes serial;
    EXPECT_TRUE(forge::GetSerialNumber(AllParties().signer.certificate, &serial).ok);
    return der::RevokedEntry(der::IntegerRaw(serial), der::UtcTime("210601000000Z"), der::Sequence(extensions));
}

// A signer below a CA of this request, with everything that it needs.
struct OtherChain {
    Party ca;
    Party signer;

    explicit OtherChain(const forge::CertificateRequest &caRequest) : ca(Certify(caRequest))
    {
        forge::CertificateRequest request = CertificateRequest("Signer below", &ca);
        request.basicConstraints = forge::BasicConstraints::NotCa;
        request.keyUsage = forge::DIGITAL_SIGNATURE;
        request.extendedKeyUsage = {forge::PURPOSE_CODE_SIGNING};
        signer = Certify(request);
    }

    forge::Bytes Crls() const
    {
        return Join({GoodCrls(), MakeCrl(CrlRequest(ca)), AllParties().issuingCa.certificate});
    }

    forge::Bytes Message() const
    {
        forge::MessageRequest request = MessageRequest(CONTENT);
        request.signerCertificate = signer.certificate;
        request.signerKey = signer.key;
        request.certificates = {signer.certificate, ca.certificate};
        return MakeMessage(request);
    }
};

} // namespace

// ---- CRLs ----------------------------------------------------------------------------------------------------------

TEST_F(Leniency, ACrlCountsAsCompleteWhateverItsExtensionsSay)
{
    const auto point = [](const der::Bytes &member) { return der::Sequence({member}); };
    const der::Bytes name = der::Explicit(0, der::Implicit(6, false, der::Text("http://example.org/part")));
    const struct {
        const char *what;
        const char *identifier;
        der::Bytes value;
    } rows[] = {
        {"of one distribution point", ISSUING_DISTRIBUTION_POINT, point(der::Explicit(0, name))},
        {"of CA certificates only", ISSUING_DISTRIBUTION_POINT, point(der::Implicit(2, false, {0xFF}))},
        {"of key compromise only", ISSUING_DISTRIBUTION_POINT, point(der::Implicit(3, false, {0x06, 0x40}))},
        {"of attribute certificates only", ISSUING_DISTRIBUTION_POINT, point(der::Implicit(5, false, {0xFF}))},
        {"of changes only", DELTA_CRL_INDICATOR, der::Integer(1)},
        {"with an unknown critical extension", "1.2.3.4", der::Null()},
    };
    for (const auto &row : rows) {
        forge::CrlRequest request = CrlRequest(AllParties().issuingCa);
        request.extensions = {{row.identifier, true, row.value}};
        Renew(Join({RootCrl(), MakeCrl(request)}));
        ExpectAccepted(GoodMessage(), row.what);
    }
}

TEST_F(Leniency, AnEntryCountsBySerialNumberWhateverItsExtensionsSay)
{
    // certificateIssuer says that the entry is about a certificate of somebody else (RFC 5280, 5.3.3).
    const der::Bytes other = der::Sequence({der::Explicit(4, der::NameOf("Somebody else"))});
    for (const der::Bytes &extension : {der::Extension(CERTIFICATE_ISSUER, other, der::Boolean()),
                                        der::Extension("1.2.3.4", {5, 0}, der::Boolean())}) {
        forge::Bytes issuer;
        ASSERT_TRUE(forge::GetSubject(AllParties().issuingCa.certificate, &issuer).ok);
        der::TbsCertList list;
        list.issuer = issuer;
        list.revokedCertificates = der::Sequence({SignersEntry({extension})});
        list.crlExtensions = der::CrlExtensions(
            {der::Extension(ISSUING_DISTRIBUTION_POINT, der::Sequence({der::Implicit(4, false, {0xFF})}))});
        Renew(Join({GoodCrls(), SignedObject(AllParties().issuingCa, der::Encode(list))}));
        EXPECT_STATUS(SIGKIT_ERR_CERT_REVOKED, Verify(GoodMessage()));
    }
}

TEST_F(Leniency, AForgedCrlWithARealOnesSignatureTakesItsPlace)
{
    const forge::Bytes revoking = RevokingCrl();
    const forge::Bytes forged = Replace(revoking, Octets("Test"), Octets("Tess"));
    LoadTrust(Join({revoking, GoodCrls()}));
    EXPECT_STATUS(SIGKIT_ERR_CERT_REVOKED, Verify(GoodMessage()));
    Renew(Join({forged, revoking, GoodCrls()}));
    ExpectAccepted(GoodMessage(), "the real one is taken for a duplicate, and the older one decides");
}

TEST_F(Leniency, ACutTailIsDroppedWithWhatItRevoked)
{
    forge::Bytes cut = RevokingCrl();
    cut.resize(33);
    EXPECT_STATUS(SIGKIT_OK, AddCert(AllParties().root.certificate));
    EXPECT_STATUS(SIGKIT_ERR_CRL_LOAD, AddCrl(Join({GoodCrls(), cut})));
    cut.resize(32);
    Renew(Join({GoodCrls(), cut}));
    ExpectAccepted(GoodMessage(), "the older CRL decides");
}

TEST_F(Leniency, ARevocationInTheSixteenthPemBlockIsLostWithALogLine)
{
    for (const size_t before : {14u, 15u}) {
        forge::Bytes crls = Join(
            {Pem(forge::LABEL_CRL, RootCrl()), Pem(forge::LABEL_CRL, MakeCrl(CrlRequest(AllParties().issuingCa)))});
        for (size_t i = 2; i < before; ++i) {
            crls = Join({crls, Pem(forge::LABEL_CERTIFICATE, AllParties().issuingCa.certificate)});
        }
        TearDown();
        SetUp();
        ASSERT_STATUS(SIGKIT_OK, AddCert(AllParties().root.certificate)); // takes the first of sixteen images
        ASSERT_STATUS(SIGKIT_OK, AddCrl(Join({crls, Pem(forge::LABEL_CRL, RevokingCrl())})));
        const bool lost = before == 15;
        EXPECT_EQ(lost ? Texts{"E InternalPemDecodeCrl 88000501 -"} : Texts(), LineTexts());
        EXPECT_STATUS(lost ? SIGKIT_OK : SIGKIT_ERR_CERT_REVOKED, Verify(GoodMessage()));
        EXPECT_EQ(lost ? 1u : 0u, verdict);
    }
}

TEST_F(Leniency, ASecondCrlInOnePemBlockAndWhatFollowsANullCharacterAreNotRead)
{
    Renew(Join({Pem(forge::LABEL_CRL, RootCrl()),
                Pem(forge::LABEL_CRL, Join({MakeCrl(CrlRequest(AllParties().issuingCa)), RevokingCrl()}))}));
    ExpectAccepted(GoodMessage(), "a second CRL in one block");
    Renew(Join({Pem(forge::LABEL_CRL, RootCrl()),
                Pem(forge::LABEL_CRL, MakeCrl(CrlRequest(AllParties().issuingCa))),
                {0x00},
                Pem(forge::LABEL_CRL, RevokingCrl())}));
    ExpectAccepted(GoodMessage(), "a null character");
}

TEST_F(Leniency, ANewerCrlFileMayRevokeLessAndBearALowerNumber)
{
    ASSERT_STATUS(SIGKIT_OK, AddCert(AllParties().root.certificate));
    SigkitCrlBundle *bundles[2] = {};
    for (int i = 0; i < 2; ++i) {
        forge::CrlRequest request = CrlRequest(AllParties().root);
        request.crlNumber = i == 0 ? 9 : 1;
        forge::RevokedCertificate revoked;
        revoked.serialNumber = {5};
        request.revoked.assign(i == 0 ? 1 : 0, revoked);
        request.thisUpdate += i == 0 ? 0 : 299 * PACKAGE_DAY; // after the packages that it will judge
        request.nextUpdate = request.thisUpdate + PACKAGE_DAY;
        const forge::Bytes data = Join({AllParties().issuingCa.certificate, MakeCrl(request)});
        ASSERT_STATUS(SIGKIT_OK, SigkitDecodeCrl(ctx, data.data(), Size(data), &bundles[i]));
    }
    uint32_t result = 9;
    EXPECT_STATUS(SIGKIT_OK, SigkitCrlCompare(ctx, bundles[0], bundles[1], &result));
    EXPECT_EQ(SIGKIT_CRL_SECOND_NEWER, result);
    for (SigkitCrlBundle *const bundle : bundles) {
        EXPECT_STATUS(SIGKIT_OK, SigkitCrlFree(ctx, bundle));
    }
}

TEST_F(Leniency, TwoIssuersWhoseNamesPrintAlikeAreOneInAComparison)
{
    ASSERT_STATUS(SIGKIT_OK, AddCert(AllParties().root.certificate));
    SigkitCrlBundle *bundles[2] = {};
    const forge::Name names[] = {{{"CN", "a,CN=b"}}, {{"CN", "a"}, {"CN", "b"}}};
    const forge::Bytes rootCrl = RootCrl();
    for (int i = 0; i < 2; ++i) {
        forge::CertificateRequest request = CertificateRequest("", &AllParties().root);
        request.subject = names[i];
        const Party ca = Certify(request);
        forge::CrlRequest crl = CrlRequest(ca);
        crl.thisUpdate += i;
        const forge::Bytes data = Join({ca.certificate, rootCrl, MakeCrl(crl)});
        ASSERT_STATUS(SIGKIT_OK, SigkitDecodeCrl(ctx, data.data(), Size(data), &bundles[i]));
    }
    uint32_t result = 9;
    EXPECT_STATUS(SIGKIT_OK, SigkitCrlCompare(ctx, bundles[0], bundles[1], &result)) << "not SIGKIT_ERR_CRL_COVERAGE";
    EXPECT_EQ(SIGKIT_CRL_SECOND_NEWER, result);
    for (SigkitCrlBundle *const bundle : bundles) {
        EXPECT_STATUS(SIGKIT_OK, SigkitCrlFree(ctx, bundle));
    }
}

TEST_F(Leniency, ACrlAtTheEndThatCannotBeSummarisedIsNotThereToAComparison)
{
    ASSERT_STATUS(SIGKIT_OK, AddCert(AllParties().root.certificate));
    const forge::Bytes &ca = AllParties().issuingCa.certificate;
    forge::CrlRequest timeless = CrlRequest(AllParties().issuingCa);
    timeless.omitNextUpdate = true;
    timeless.revoked = {forge::RevokedCertificate()}; // stands where nextUpdate should
    forge::CrlRequest newer = CrlRequest(AllParties().root);
    newer.thisUpdate += 60;
    const forge::Bytes files[] = {Join({ca, RootCrl(), MakeCrl(timeless)}), Join({ca, MakeCrl(newer)})};
    SigkitCrlBundle *bundles[2] = {};
    for (int i = 0; i < 2; ++i) {
        ASSERT_STATUS(SIGKIT_OK, SigkitDecodeCrl(ctx, files[i].data(), Size(files[i]), &bundles[i]));
    }
    uint32_t result = 9;
    EXPECT_STATUS(SIGKIT_OK, SigkitCrlCompare(ctx, bundles[0], bundles[1], &result)) << "not SIGKIT_ERR_CRL_COVERAGE";
    EXPECT_EQ(SIGKIT_CRL_SECOND_NEWER, result);
    for (SigkitCrlBundle *const bundle : bundles) {
        EXPECT_STATUS(SIGKIT_OK, SigkitCrlFree(ctx, bundle));
    }
}

TEST_F(Leniency, ACrlThatWasOnlyComparedCountsInItsContext)
{
    LoadTrust(RootCrl());
    EXPECT_STATUS(SIGKIT_ERR_NO_CRL, Verify(GoodMessage()));
    SigkitCrlBundle *bundle = nullptr;
    const forge::Bytes data = Join({AllParties().issuingCa.certificate, MakeCrl(CrlRequest(AllParties().issuingCa))});
    ASSERT_STATUS(SIGKIT_OK, SigkitDecodeCrl(ctx, data.data(), Size(data), &bundle));
    EXPECT_STATUS(SIGKIT_OK, SigkitCrlFree(ctx, bundle));
    ExpectAccepted(GoodMessage(), "the CRL stays");
}

// ---- Certificates --------------------------------------------------------------------------------------------------

TEST_F(Leniency, AnAlgorithmIsReadInOnePlaceAndDecidesByItsDigestAlone)
{
    const Party &ca = AllParties().issuingCa;
    const forge::Bytes signer = ToBeSigned(AllParties().signer.certificate);
    const forge::Bytes crl = ToBeSigned(MakeCrl(CrlRequest(ca)));
    const forge::Bytes disguised =
        ReplaceOid(ReplaceOid(signer, SHA256_WITH_RSA, MD5_WITH_RSA), RSA_ENCRYPTION, RSASSA_PSS);
    forge::MessageRequest request = MessageRequest(CONTENT);
    request.certificates = {SignedObject(ca, disguised), ca.certificate};
    LoadTrust(Join({RootCrl(), SignedObject(ca, ReplaceOid(crl, SHA256_WITH_RSA, MD5_WITH_RSA))}));
    ExpectAccepted(MakeMessage(request), "what is signed names other algorithms");

    request.certificates = {SignedObject(ca, signer, SHA256), ca.certificate};
    Renew(Join({RootCrl(), SignedObject(ca, crl, SHA256)}));
    ExpectAccepted(MakeMessage(request), "signatureAlgorithm is a digest");
}

TEST_F(Leniency, ACaMayHaveAnyPurposesAndUsagesThatNobodyDefined)
{
    forge::CertificateRequest mail = CertificateRequest("Mail CA", &AllParties().root);
    mail.extendedKeyUsage = {"1.3.6.1.5.5.7.3.4"}; // emailProtection
    mail.extendedKeyUsageCritical = true;
    const OtherChain purposes(mail);
    Renew(purposes.Crls());
    ExpectAccepted(purposes.Message(), "purposes of a CA");

    forge::CertificateRequest odd = CertificateRequest("Odd CA", &AllParties().root);
    odd.keyUsage = 0;
    odd.extensions = {{"2.5.29.15", true, der::BitString(1, {0x00, 0x06})}}; // bits 13 and 14
    const OtherChain usages(odd);
    Renew(usages.Crls());
    ExpectAccepted(usages.Message(), "bits 13 and 14 of a key usage");
}

TEST_F(Leniency, VersionsOfCertificatesAndCrlsAndSignsOfSerialNumbersDoNotCount)
{
    der::TbsCertificate tbs;
    tbs.extensions = der::CertExtensions({der::BasicConstraintsExtension(true)});
    tbs.version = der::Explicit(0, der::Integer(0)); // 1, which knows no extensions
    tbs.serialNumber = der::IntegerRaw({0xFF});      // -1
    const DecodedCert negative(tbs);
    tbs.version = der::Explicit(0, der::Integer(77));
    tbs.serialNumber = der::IntegerRaw({0x00, 0xFF}); // 255
    const DecodedCert positive(tbs);
    for (const DecodedCert *const cert : {&negative, &positive}) {
        ASSERT_STATUS(SIGKIT_OK, cert->status);
        EXPECT_EQ(1u, cert->record->tbsCertificate.extensions.basicConstraints.cA);
        EXPECT_EQ((der::Bytes{0xFF}), OctetsOf(cert->record->tbsCertificate.serialNumber));
    }

    const Party &ca = AllParties().issuingCa;
    const forge::Bytes crl = ToBeSigned(MakeCrl(CrlRequest(ca)));
    LoadTrust(Join({RootCrl(), SignedObject(ca, Replace(crl, der::Integer(1), der::Integer(77)))}));
    ExpectAccepted(GoodMessage(), "a CRL of version 78");
}

TEST_F(Leniency, ATrustAnchorThatComesAfterItsDecoyIsTakenForADuplicate)
{
    const forge::Bytes root = AllParties().root.certificate;
    const forge::Bytes decoy = Replace(root, Octets("Root"), Octets("Xoot")); // the issuer, so not self-signed
    EXPECT_STATUS(SIGKIT_OK, AddCrl(Join({decoy, GoodCrls()})));
    EXPECT_STATUS(SIGKIT_OK, AddCert(root));
    EXPECT_EQ(1u, StoredCerts()) << "the decoy alone";
    EXPECT_STATUS(SIGKIT_ERR_NO_ROOT, Verify(GoodMessage()));
    Renew(Join({decoy, GoodCrls()}));
    ExpectAccepted(GoodMessage(), "the trust anchor first");
}
