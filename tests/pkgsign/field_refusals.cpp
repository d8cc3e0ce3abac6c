// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/pkgsign/field_refusals.h"

#include <openssl/cms.h>
#include <openssl/err.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>

#include <filesystem>
#include <memory>

#include <gtest/gtest.h>

#include "sigkit/sigkit.h"
#include "tests/support/der_writer.h"

namespace
{

using Words = std::vector<std::string>;

constexpr char CRLS_OF_JANUARY[] = "2026-01-01T00:00:00Z";
constexpr char END_OF_JANUARY[] = "2026-02-01T00:00:00Z";
constexpr char CRLS_OF_MARCH[] = "2026-03-01T00:00:00Z";
constexpr char SIGNING_TIME_TEXT[] = "2026-03-10T12:00:00Z";

// ---- What pkgsign makes --------------------------------------------------------------------------------------------

struct Folder {
    TemporaryDirectory directory;
    std::string program;

    std::string Path(const std::string &name) const
    {
        return directory.File(name);
    }
};

forge::Status Run(const Folder &folder, const char *now, Words arguments)
{
    arguments.insert(arguments.begin(), folder.program);
    arguments.insert(arguments.end(), {"--pki", folder.Path("pki"), "--now", now, "--no-input"});
    const ProcessResult result = RunProcess(arguments);
    return {result.exitStatus == 0, "pkgsign " + arguments[1] + ": " + result.errors};
}

forge::Status MakeCrlFiles(const Folder &folder, FieldWorkshop *workshop)
{
    forge::Status status =
        Run(folder, CRLS_OF_JANUARY, {"crl", "--next-update", END_OF_JANUARY, "--out", folder.Path("january")});
    if (status.ok) {
        status = forge::ReadFile(folder.Path("january"), &workshop->crlsOfJanuary);
    }
    if (status.ok) {
        status = Run(folder, CRLS_OF_MARCH, {"crl", "--out", folder.Path("march")});
    }
    return status.ok ? forge::ReadFile(folder.Path("march"), &workshop->good.crls) : status;
}

forge::Status SignGoodPackage(const Folder &folder, FieldWorkshop *workshop)
{
    const std::string text = "7\n2c26b46b68ffc68ff99b453c1d30413413422d706483bfa0f98a5e886266e7ae  firmware.bin\n";
    workshop->good.checksums.assign(text.begin(), text.end());
    forge::Status status = forge::WriteFile(folder.Path("checksums"), text);
    if (status.ok) {
        status = Run(folder, SIGNING_TIME_TEXT,
                     {"sign", folder.Path("checksums"), "--crl", folder.Path("march"), "--out", folder.Path("cms")});
    }
    if (status.ok) {
        status = forge::ReadFile(folder.Path("cms"), &workshop->good.signature);
    }
    return status.ok ? forge::ReadFile(folder.Path("pki/certificates/root.der"), &workshop->good.root) : status;
}

forge::Status IssueEndedSigner(const Folder &folder, FieldWorkshop *workshop)
{
    forge::Bytes text;
    forge::Status status = Run(folder, CRLS_OF_JANUARY,
                               {"issue", "--as", "signer", "--name", "ended", "--key-bits", "2048", "--not-after",
                                CRLS_OF_MARCH, "--no-encryption"});
    if (status.ok) {
        status = forge::ReadFile(folder.Path("pki/certificates/ended.pem"), &text);
    }
    if (status.ok) {
        status = forge::Unarmour(text, &workshop->endedSigner.certificate);
    }
    return status.ok ? forge::ReadPrivateKey(folder.Path("pki/private/ended.key"), &workshop->endedSigner.key) : status;
}

// ---- What pkgsign refuses to make ----------------------------------------------------------------------------------

// The good message, to be signed otherwise.
forge::MessageRequest Message(const FieldWorkshop &workshop)
{
    const forge::Pki &pki = workshop.pki;
    forge::MessageRequest request;
    request.content = workshop.good.checksums;
    request.signerCertificate = pki.signer.certificate;
    request.signerKey = pki.signer.key;
    request.certificates = {pki.signer.certificate, pki.issuingCa.certificate};
    request.timestamp = forge::Timestamp::Request;
    request.tokenRequest.genTime = FIELD_SIGNING_TIME;
    request.tokenRequest.tsaCertificate = pki.timestamp.certificate;
    request.tokenRequest.tsaKey = pki.timestamp.key;
    request.tokenRequest.certificates = {pki.timestamp.certificate};
    return request;
}

forge::Status UseCrlsOfJanuary(const FieldWorkshop &workshop, FieldPackage *package)
{
    package->crls = workshop.crlsOfJanuary;
    return {true, ""};
}

forge::Status UseTheTokenOfAnotherSignature(const FieldWorkshop &workshop, FieldPackage *package)
{
    forge::MessageRequest request = Message(workshop);
    forge::Status status = forge::GetSignatureValue(package->signature, &request.tokenRequest.imprintOver);
    request.signingTime = FIELD_SIGNING_TIME + 1; // signed once more, with the token of the first time
    return status.ok ? forge::SignDetached(request, &package->signature) : status;
}

// The content of an element, whose length has the shortest form.
forge::Bytes ContentOf(const forge::Bytes &element)
{
    const size_t header = element[1] < 0x80 ? 2 : 2 + (element[1] & 0x7Fu);
    return forge::Bytes(element.begin() + static_cast<ptrdiff_t>(header), element.end());
}

// ContentInfo, [0] and SignedData with indefinite lengths, as a tool writes a message whose length it does not know
// yet.
forge::Status EncodeAsStream(const FieldWorkshop & /*workshop*/, FieldPackage *package)
{
    const forge::Bytes identifier = der::Oid("1.2.840.113549.1.7.2"); // id-signedData: RFC 5652, 5.1
    const forge::Bytes members = ContentOf(package->signature);
    const forge::Bytes wrapper(members.begin() + static_cast<ptrdiff_t>(identifier.size()), members.end());
    const forge::Bytes signedData = der::TlvIndefinite(der::SEQUENCE, ContentOf(ContentOf(wrapper)));
    package->signature =
        der::TlvIndefinite(der::SEQUENCE, der::Concatenate({identifier, der::TlvIndefinite(0xA0, signedData)}));
    return {true, ""};
}

forge::Status SignWithTheTimestampAuthoritysCertificate(const FieldWorkshop &workshop, FieldPackage *package)
{
    forge::MessageRequest request = Message(workshop);
    request.signerCertificate = workshop.pki.timestamp.certificate;
    request.signerKey = workshop.pki.timestamp.key;
    request.certificates[0] = workshop.pki.timestamp.certificate;
    return forge::SignDetached(request, &package->signature);
}

forge::Status LeaveTheCertificatesOut(const FieldWorkshop &workshop, FieldPackage *package)
{
    forge::MessageRequest request = Message(workshop);
    request.certificates.clear();
    return forge::SignDetached(request, &package->signature);
}

forge::Status PutTextBeforeTheArmour(const FieldWorkshop & /*workshop*/, FieldPackage *package)
{
    const std::string text = "Signature of firmware 7\n\n" + forge::Armour(forge::LABEL_CMS, package->signature);
    package->signature.assign(text.begin(), text.end());
    return {true, ""};
}

forge::Status ConvertLineEnds(const FieldWorkshop & /*workshop*/, FieldPackage *package)
{
    forge::Bytes converted;
    for (const uint8_t octet : package->checksums) {
        if (octet == '\n') {
            converted.push_back('\r');
        }
        converted.push_back(octet);
    }
    package->checksums = converted;
    return {true, ""};
}

forge::Status SignWithAnEndedCertificate(const FieldWorkshop &workshop, FieldPackage *package)
{
    forge::MessageRequest request = Message(workshop);
    request.signerCertificate = workshop.endedSigner.certificate;
    request.signerKey = workshop.endedSigner.key;
    request.certificates[0] = workshop.endedSigner.certificate;
    return forge::SignDetached(request, &package->signature);
}

forge::Status BringThreeCertificates(const FieldWorkshop &workshop, FieldPackage *package)
{
    forge::MessageRequest request = Message(workshop);
    request.certificates.push_back(workshop.pki.root.certificate);
    return forge::SignDetached(request, &package->signature);
}

// ---- What takes libcrypto itself -----------------------------------------------------------------------------------

using Certificate = std::unique_ptr<X509, decltype(&X509_free)>;
using Cms = std::unique_ptr<CMS_ContentInfo, decltype(&CMS_ContentInfo_free)>;
using Crl = std::unique_ptr<X509_CRL, decltype(&X509_CRL_free)>;
using Memory = std::unique_ptr<BIO, decltype(&BIO_free)>;

Certificate Decode(const forge::Bytes &der)
{
    const uint8_t *cursor = der.data();
    return Certificate(d2i_X509(nullptr, &cursor, static_cast<long>(der.size())), X509_free);
}

bool UsePss(CMS_SignerInfo *signer)
{
    EVP_PKEY_CTX *const context = CMS_SignerInfo_get0_pkey_ctx(signer);
    return context != nullptr && EVP_PKEY_CTX_set_rsa_padding(context, RSA_PKCS1_PSS_PADDING) == 1;
}

// Signs as the openssl program does with -keyid (CMS_USE_KEYID) or -keyopt rsa_padding_mode:pss (CMS_KEY_PARAM).
bool SignWithFlags(const forge::MessageRequest &request, unsigned flags, forge::Bytes *messageOut)
{
    const Certificate signer = Decode(request.certificates[0]);
    const Certificate ca = Decode(request.certificates[1]);
    const Memory content(BIO_new_mem_buf(request.content.data(), static_cast<int>(request.content.size())), BIO_free);
    const unsigned all = flags | CMS_DETACHED | CMS_BINARY | CMS_PARTIAL | CMS_NOSMIMECAP;
    const Cms message(CMS_sign(nullptr, nullptr, nullptr, nullptr, all), CMS_ContentInfo_free);
    CMS_SignerInfo *const info =
        CMS_add1_signer(message.get(), signer.get(), request.signerKey.get(), EVP_sha256(), all);
    if (info == nullptr || CMS_add1_cert(message.get(), ca.get()) != 1 ||
        ((flags & CMS_KEY_PARAM) != 0 && !UsePss(info)) || CMS_final(message.get(), content.get(), nullptr, all) != 1) {
        return false;
    }
    uint8_t *octets = nullptr;
    const int length = i2d_CMS_ContentInfo(message.get(), &octets);
    messageOut->assign(octets, octets + (length < 0 ? 0 : length));
    OPENSSL_free(octets);
    return length > 0;
}

forge::Status SignAndStamp(const FieldWorkshop &workshop, unsigned flags, FieldPackage *package)
{
    const forge::MessageRequest request = Message(workshop);
    forge::Bytes message;
    forge::Bytes signature;
    forge::Bytes token;
    if (!SignWithFlags(request, flags, &message)) {
        return {false, "libcrypto cannot sign"};
    }
    forge::Status status = forge::GetSignatureValue(message, &signature);
    if (status.ok) {
        status = forge::MakeToken(request.tokenRequest, signature, &token);
    }
    return status.ok ? forge::EmbedToken(message, token, &package->signature) : status;
}

// The file holds DER objects back to back; of the CRLs all stay but those that the root has issued.
forge::Status LeaveTheRootsCrlOut(const FieldWorkshop &workshop, FieldPackage *package)
{
    const Certificate root = Decode(workshop.pki.root.certificate);
    const uint8_t *object = package->crls.data();
    const uint8_t *const end = object + package->crls.size();
    forge::Bytes kept;
    while (object < end) {
        const uint8_t *next = object;
        long length = 0;
        int tag = 0;
        int tagClass = 0;
        if ((ASN1_get_object(&next, &length, &tag, &tagClass, end - object) & 0x80) != 0) {
            return {false, "the CRL file is not DER"};
        }
        next += length;
        const uint8_t *cursor = object;
        const Crl crl(d2i_X509_CRL(nullptr, &cursor, next - object), X509_CRL_free);
        if (crl == nullptr || X509_NAME_cmp(X509_CRL_get_issuer(crl.get()), X509_get_subject_name(root.get())) != 0) {
            kept.insert(kept.end(), object, next);
        }
        object = next;
    }
    ERR_clear_error(); // of what is no CRL
    package->crls = kept;
    return {true, ""};
}

forge::Status NameTheSignerByKeyIdentifier(const FieldWorkshop &workshop, FieldPackage *package)
{
    return SignAndStamp(workshop, CMS_USE_KEYID, package);
}

forge::Status SignWithPss(const FieldWorkshop &workshop, FieldPackage *package)
{
    return SignAndStamp(workshop, CMS_KEY_PARAM, package);
}

} // namespace

const std::vector<FieldRefusal> FIELD_REFUSALS = {
    {"CrlOlderThanTheToken", 18, SIGKIT_ERR_NO_CRL, UseCrlsOfJanuary},
    {"NoCrlOfTheRoot", 18, SIGKIT_ERR_NO_CRL, LeaveTheRootsCrlOut},
    {"TokenOfAnotherSignature", 2, SIGKIT_ERR_TIMESTAMP_IMPRINT, UseTheTokenOfAnotherSignature},
    {"StreamedEncoding", 8, SIGKIT_ERR_CMS_DECODE, EncodeAsStream},
    {"AuthoritysCertificateAsSigner", 7, SIGKIT_ERR_CERT_USAGE, SignWithTheTimestampAuthoritysCertificate},
    {"NoCertificates", 1, SIGKIT_ERR_SIGNER_NOT_FOUND, LeaveTheCertificatesOut},
    {"TextBeforeTheArmour", 8, SIGKIT_ERR_CMS_DECODE, PutTextBeforeTheArmour},
    {"ConvertedLineEnds", 255, SIGKIT_ERR_UNKNOWN, ConvertLineEnds},
    {"ExpiredCertificate", 20, SIGKIT_ERR_CERT_EXPIRED, SignWithAnEndedCertificate},
    {"KeyIdentifierInsteadOfIssuerAndSerial", 8, SIGKIT_ERR_CMS_DECODE, NameTheSignerByKeyIdentifier},
    {"ThreeCertificates", 8, SIGKIT_ERR_CMS_DECODE, BringThreeCertificates},
    {"RsaPss", 9, SIGKIT_ERR_SIGNATURE, SignWithPss},
};

forge::Status OpenFieldWorkshop(const std::string &pkgsign, const std::string &pkiFolder, FieldWorkshop *workshopOut)
{
    Folder folder;
    folder.program = pkgsign;
    std::error_code error;
    std::filesystem::copy(pkiFolder, folder.Path("pki"), std::filesystem::copy_options::recursive, error);
    if (error) {
        return {false, pkiFolder + ": " + error.message()};
    }
    FieldWorkshop workshop;
    forge::Status status = forge::ReadPki(folder.Path("pki"), &workshop.pki);
    if (status.ok) {
        status = IssueEndedSigner(folder, &workshop);
    }
    if (status.ok) {
        status = MakeCrlFiles(folder, &workshop);
    }
    if (status.ok) {
        status = SignGoodPackage(folder, &workshop);
    }
    if (status.ok) {
        *workshopOut = workshop;
    }
    return status;
}

const FieldWorkshop &SharedFieldWorkshop(const std::string &pkgsign, const std::string &pkiFolder)
{
    static const FieldWorkshop workshop = [&] {
        FieldWorkshop opened;
        const forge::Status status = OpenFieldWorkshop(pkgsign, pkiFolder, &opened);
        EXPECT_TRUE(status.ok) << status.reason;
        return opened;
    }();
    return workshop;
}

forge::Status MakeFieldRefusal(const FieldWorkshop &workshop, const FieldRefusal &refusal, FieldPackage *packageOut)
{
    FieldPackage package = workshop.good;
    const forge::Status status = refusal.spoil(workshop, &package);
    if (status.ok) {
        *packageOut = package;
    }
    return status;
}

forge::Status WriteFieldPackage(const TemporaryDirectory &directory, const FieldPackage &package)
{
    const std::pair<const char *, const forge::Bytes *> files[] = {{"root.der", &package.root},
                                                                   {"crls.der", &package.crls},
                                                                   {"checksums", &package.checksums},
                                                                   {"checksums.cms", &package.signature}};
    for (const auto &[name, data] : files) {
        const forge::Status status = forge::WriteFile(directory.File(name), *data);
        if (!status.ok) {
            return status;
        }
    }
    return {true, ""};
}
