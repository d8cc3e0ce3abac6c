// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Certificates in a CRL file that the root does not stand behind.
#include "tests/crltool/compare_fixture.h"

namespace
{

constexpr int64_t LATER = 60; // seconds

// A certificate's serial number as crl_compare prints it.
std::string Serial(const forge::Bytes &certificate)
{
    forge::Bytes serial;
    EXPECT_TRUE(forge::GetSerialNumber(certificate, &serial).ok);
    char digits[3] = {};
    (void)snprintf(digits, sizeof(digits), "%02X", static_cast<unsigned>(serial.at(0)));
    return digits;
}

forge::RevokedCertificate Revoked(const forge::Bytes &certificate)
{
    forge::RevokedCertificate entry;
    EXPECT_TRUE(forge::GetSerialNumber(certificate, &entry.serialNumber).ok);
    entry.revocationDate = PACKAGE_TIME - 20 * PACKAGE_DAY;
    return entry;
}

// The CRLs of an honest newer file, the root's with such entries.
std::vector<forge::Bytes> NewerCrlList(const std::vector<forge::RevokedCertificate> &revoked = {})
{
    forge::CrlRequest root = CrlRequest(AllParties().root);
    root.thisUpdate += LATER;
    root.revoked = revoked;
    forge::CrlRequest ca = CrlRequest(AllParties().issuingCa);
    ca.thisUpdate += LATER;
    return {MakeCrl(root), MakeCrl(ca)};
}

forge::Bytes NewerCrls(const std::vector<forge::RevokedCertificate> &revoked = {})
{
    return Join(NewerCrlList(revoked));
}

// A certificate with the name and the public key of the issuing CA.
forge::CertificateRequest Decoy(const Party &issuer)
{
    forge::CertificateRequest request = CertificateRequest("CA", &issuer);
    request.subjectKey = AllParties().issuingCa.key;
    return request;
}

Party Stranger()
{
    return Certify(CertificateRequest("Nobody", nullptr));
}

// What the library alone says of two files.
uint32_t CompareByLibrary(const forge::Bytes &first, const forge::Bytes &second)
{
    const forge::Bytes &root = AllParties().root.certificate;
    SigkitVerifyCtx *ctx[2] = {};
    SigkitCrlBundle *bundles[2] = {};
    for (int i = 0; i < 2; ++i) {
        const forge::Bytes &file = i == 0 ? first : second;
        SigkitVerifyCreateParam param = SIGKIT_VERIFY_CREATE_PARAM_INIT;
        EXPECT_EQ(SIGKIT_OK, SigkitVerifyCreateCtx(&ctx[i], &param));
        EXPECT_EQ(SIGKIT_OK, SigkitVerifyAddCert(ctx[i], root.data(), static_cast<uint32_t>(root.size())));
        EXPECT_EQ(SIGKIT_OK, SigkitDecodeCrl(ctx[i], file.data(), static_cast<uint32_t>(file.size()), &bundles[i]));
    }
    uint32_t result = SIGKIT_CRL_CONFLICT;
    (void)SigkitCrlCompare(ctx[0], bundles[0], bundles[1], &result);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(SIGKIT_OK, SigkitCrlFree(ctx[i], bundles[i]));
        EXPECT_EQ(SIGKIT_OK, SigkitVrfCtxFree(ctx[i]));
    }
    return result;
}

struct Decoys : Compare {
    const forge::Bytes device = Join({AllParties().issuingCa.certificate, GoodCrls()});

    // Expects that a newer file, in which the library alone may find nothing amiss, is not recommended because of a
    // certificate.
    void ExpectNamed(const forge::Bytes &file, const forge::Bytes &decoy, const std::string &name,
                     const std::string &reason)
    {
        const std::string newer = Write("newer", file);
        ExpectRefused(Write("device", device), newer,
                      "the certificate of " + name + " with the serial number " + Serial(decoy) + " in " + newer +
                          " is not one that the root stands behind: " + reason);
    }
};

const char CA_NAME[] = "C=XX,O=Test,CN=CA";
const char NO_ROOT[] = "no chain leads from the certificate to a trust anchor";
const char NO_CRL[] = "no usable CRL covers the certificate";
const char REVOKED[] = "a CRL revokes the certificate";

} // namespace

TEST_F(Decoys, OfACaInFrontOfANewerFileAreNamedAndTheFileIsNotRecommended)
{
    const forge::Bytes honest = Join({AllParties().issuingCa.certificate, NewerCrls()});
    ASSERT_EQ(SIGKIT_CRL_SECOND_NEWER, CompareByLibrary(device, honest));
    ASSERT_EQ(SIGKIT_OK, VerifyFullPackage(honest));
    const struct {
        const char *name;
        uint32_t keyUsage;
        forge::BasicConstraints basicConstraints;
    } rows[] = {
        {"a CA's in all", forge::KEY_CERT_SIGN | forge::CRL_SIGN, forge::BasicConstraints::Ca},
        {"for CRLs alone", forge::CRL_SIGN, forge::BasicConstraints::Absent},
        {"for certificates alone", forge::KEY_CERT_SIGN, forge::BasicConstraints::Ca},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        forge::CertificateRequest request = Decoy(Stranger());
        request.keyUsage = row.keyUsage;
        request.basicConstraints = row.basicConstraints;
        const forge::Bytes decoy = Certify(request).certificate;
        const forge::Bytes file = Join({decoy, honest});
        EXPECT_NE(SIGKIT_OK, VerifyFullPackage(file)) << "it is worth the refusal";
        ExpectNamed(file, decoy, CA_NAME, NO_ROOT);
        const forge::Bytes armoured = Pem(forge::LABEL_CERTIFICATE, decoy);
        const forge::Bytes ca = Pem(forge::LABEL_CERTIFICATE, AllParties().issuingCa.certificate);
        const std::vector<forge::Bytes> crls = NewerCrlList();
        ExpectNamed(Join({armoured, ca, Pem(forge::LABEL_CRL, crls[0]), Pem(forge::LABEL_CRL, crls[1])}), decoy,
                    CA_NAME, NO_ROOT);
    }
}

TEST_F(Decoys, AreFoundThoughTheLibraryCallsTheFileNewer)
{
    forge::CertificateRequest request = Decoy(Stranger());
    request.keyUsage = forge::KEY_CERT_SIGN;
    const forge::Bytes decoy = Certify(request).certificate;
    const forge::Bytes file = Join({decoy, AllParties().issuingCa.certificate, NewerCrls()});
    EXPECT_EQ(SIGKIT_CRL_SECOND_NEWER, CompareByLibrary(device, file));
    ExpectNamed(file, decoy, CA_NAME, NO_ROOT);
    ExpectNamed(Join({AllParties().issuingCa.certificate, NewerCrls(), decoy}), decoy, CA_NAME, NO_ROOT);
}

TEST_F(Decoys, ThatNameTheRootAsTheirIssuerOrBearARealSignatureAreFound)
{
    forge::CertificateRequest request = Decoy(AllParties().root);
    request.issuerKey = Stranger().key;
    const forge::Bytes forged = Certify(request).certificate;
    const forge::Bytes &ca = AllParties().issuingCa.certificate;
    ExpectNamed(Join({forged, ca, NewerCrls()}), forged, CA_NAME, NO_ROOT);
    // The store takes the real one for the same as this.
    const size_t signature = 1024 / 8;
    forge::Bytes copied = forged;
    ASSERT_LT(signature, ca.size());
    std::copy(ca.end() - signature, ca.end(), copied.end() - signature);
    ExpectNamed(Join({copied, ca, NewerCrls()}), copied, CA_NAME, NO_ROOT);
}

TEST_F(Decoys, OfARevokedCaAreFound)
{
    const Party bad = Certify(CertificateRequest("Bad CA", &AllParties().root));
    const Party namesake = Certify(CertificateRequest("Root", &bad));
    const forge::Bytes crls = NewerCrls({Revoked(bad.certificate)});
    const forge::Bytes &ca = AllParties().issuingCa.certificate;
    for (const Party *const issuer : {&bad, &namesake}) {
        forge::CertificateRequest request = Decoy(*issuer);
        request.keyUsage = forge::KEY_CERT_SIGN;
        const forge::Bytes decoy = Certify(request).certificate;
        const forge::Bytes file = Join({decoy, ca, crls, namesake.certificate, bad.certificate});
        EXPECT_EQ(SIGKIT_CRL_SECOND_NEWER, CompareByLibrary(device, file));
        EXPECT_NE(SIGKIT_OK, VerifyFullPackage(file));
        ExpectNamed(file, decoy, CA_NAME, NO_CRL);
    }
    // One that bears the serial number of what the root has revoked is not the root's for that.
    forge::CertificateRequest request = Decoy(namesake);
    request.keyUsage = forge::KEY_CERT_SIGN;
    EXPECT_TRUE(forge::GetSerialNumber(bad.certificate, &request.serialNumber).ok);
    const forge::Bytes decoy = Certify(request).certificate;
    ExpectNamed(Join({decoy, ca, crls, namesake.certificate, bad.certificate}), decoy, CA_NAME, REVOKED);
}

TEST_F(Decoys, WithANameThatCannotBePrintedAreNamedByTheirSerialNumber)
{
    forge::CertificateRequest request = Decoy(Stranger());
    request.subject = {{"2.5.4.5", "1"}};
    const forge::Bytes decoy = Certify(request).certificate;
    ExpectNamed(Join({decoy, AllParties().issuingCa.certificate, NewerCrls()}), decoy, "(unprintable)", NO_ROOT);
    request = Decoy(Stranger());
    request.subject = {{"CN", "\x1b[2J"}};
    const forge::Bytes hostile = Certify(request).certificate;
    ExpectNamed(Join({hostile, AllParties().issuingCa.certificate, NewerCrls()}), hostile, "CN=\\x1B[2J", NO_ROOT);
}

TEST_F(Decoys, InTheDevicesFileDoNotKeepOutANewerFile)
{
    forge::CertificateRequest request = Decoy(Stranger());
    request.keyUsage = forge::KEY_CERT_SIGN;
    const std::string bad = Write("bad", Join({Certify(request).certificate, device}));
    const std::string newer = Write("newer", Join({AllParties().issuingCa.certificate, NewerCrls()}));
    EXPECT_EQ(1, Run({"--root", Root(), bad, newer}).exitStatus);
    EXPECT_EQ(0, Run({"--root", Root(), newer, bad}).exitStatus);
    // Not so one that is only as new.
    EXPECT_EQ(2, Run({"--root", Root(), bad, Write("device", device)}).exitStatus);
    EXPECT_EQ(2, Run({"--root", Root(), Write("device", device), bad}).exitStatus);
}

TEST_F(Decoys, AreNotWhatAnHonestFileHolds)
{
    const Parties &all = AllParties();
    forge::CertificateRequest request = CertificateRequest("Sub CA", &all.issuingCa);
    const Party sub = Certify(request);
    request = CertificateRequest("Old CA", &all.root);
    const Party old = Certify(request);
    request = CertificateRequest("Old Sub CA", &all.issuingCa);
    request.notAfter = PACKAGE_TIME - 30 * PACKAGE_DAY;
    const Party oldSub = Certify(request);
    forge::CrlRequest last = CrlRequest(oldSub);
    last.thisUpdate = PACKAGE_TIME - 40 * PACKAGE_DAY;
    last.nextUpdate = PACKAGE_TIME - 25 * PACKAGE_DAY;
    forge::CrlRequest caThen = CrlRequest(all.issuingCa);
    const std::string deviceFile = Write("device", device);
    const struct {
        const char *name;
        forge::Bytes file;
    } rows[] = {
        {"a CA's without a CRL of its own", Join({all.issuingCa.certificate, sub.certificate, NewerCrls()})},
        {"a CA's that the root revokes",
         Join({all.issuingCa.certificate, old.certificate, NewerCrls({Revoked(old.certificate)})})},
        {"a CA's that has ended since its last CRL",
         Join({all.issuingCa.certificate, oldSub.certificate, NewerCrls(), MakeCrl(last)})},
        {"the root's own", Join({all.root.certificate, all.issuingCa.certificate, NewerCrls()})},
    };
    for (const auto &row : rows) {
        const ProcessResult result = Run({"--root", Root(), deviceFile, Write("newer", row.file)});
        EXPECT_EQ(1, result.exitStatus) << row.name << result.output;
    }
}
