// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "vectors/make_vectors_package.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>

#include "tests/forge/der.h"
#include "tests/forge/digest.h"
#include "tests/forge/signature.h"
#include "tests/support/rsa_keys.h"
#include "vectors/make_vectors_element.h"

namespace vectors
{
namespace
{
constexpr char ID_DATA[] = "1.2.840.113549.1.7.1";
constexpr char ID_TST_INFO[] = "1.2.840.113549.1.9.16.1.4";
constexpr char ID_CONTENT_TYPE[] = "1.2.840.113549.1.9.3";
constexpr char ID_MESSAGE_DIGEST[] = "1.2.840.113549.1.9.4";
constexpr char ID_SIGNING_CERTIFICATE_V2[] = "1.2.840.113549.1.9.16.2.47";
constexpr char ID_TIMESTAMP_TOKEN[] = "1.2.840.113549.1.9.16.2.14";
constexpr char POLICY[] = "1.3.6.1.4.1.99999.1";
constexpr int ROOT_KEY_BITS = 4096;

// What is known when a message is put together.
struct Made {
    const Package *package;
    std::vector<Bytes> certificates; // of the parties
};

// What a SignedData is about.
struct Subject {
    const char *contentType;
    Bytes octets; // what is signed
    bool carried; // in the message itself
    std::vector<Bytes> furtherAttributes;
};

void Must(const forge::Status &status)
{
    if (!status.ok) {
        std::fprintf(stderr, "make_vectors: %s\n", status.reason.c_str());
        std::exit(1);
    }
}

Bytes Apply(const Edit &edit, Bytes octets)
{
    return edit ? edit(std::move(octets)) : octets;
}

// SEQUENCE { toBeSigned, algorithm, signature } with another toBeSigned, signed again.
Bytes SignAgain(const Bytes &structure, const Edit &edit, const forge::Key &key, forge::Digest digest)
{
    Bytes signedAgain;
    Must(forge::SignStructure(key, digest, edit(ElementAt(structure, {0})), &signedAgain));
    return signedAgain;
}

// ---- Certificates and CRLs -----------------------------------------------------------------------------------------

// The root of all packages but those with a root of their own: the tool that is built for the vectors trusts it.
const Bytes &CommonRoot()
{
    static const Bytes root = [] {
        forge::PkiRequest request;
        request.rootKey = KeyOf("Root CA of 4096 bits", ROOT_KEY_BITS);
        forge::Identity identity;
        Must(forge::MakeRoot(request, &identity));
        return identity.certificate;
    }();
    return root;
}

Bytes MakeCertificate(const Package &package, const CertificatePlan &plan)
{
    forge::CertificateRequest request = plan.request;
    const forge::CertificateRequest &issuer = package.parties[plan.issuer].request;
    if (request.issuer.empty() && request.issuerDer.empty()) {
        request.issuer = issuer.subject;
        request.issuerDer = issuer.subjectDer;
    }
    if (request.issuerKey == nullptr) {
        request.issuerKey = issuer.subjectKey;
    }
    Bytes certificate;
    Must(forge::MakeCertificate(request, &certificate));
    if (plan.toBeSigned) {
        certificate = SignAgain(certificate, plan.toBeSigned, request.issuerKey, request.digest);
    }
    return Apply(plan.whole, certificate);
}

std::vector<Bytes> MakeCertificates(const Package &package)
{
    std::vector<Bytes> made;
    for (size_t i = 0; i < package.parties.size(); ++i) {
        const bool common = i == ROOT && !package.otherRoot;
        made.push_back(common ? CommonRoot() : MakeCertificate(package, package.parties[i]));
    }
    return made;
}

// A certificate that only carries the name: what the plan does to the issuer's own must not get into its CRLs.
const Bytes &NameBearer(const Package &package, size_t party)
{
    static std::map<Bytes, Bytes> bearers;
    forge::CertificateRequest request = package.parties[party].request;
    Bytes name;
    Must(forge::EncodeName(request.subject, &name));
    Bytes &bearer = bearers[name];
    if (bearer.empty()) {
        request = {};
        request.subjectDer = name;
        request.subjectKey = KeyOf("Bearer of names", 1024);
        Must(forge::MakeCertificate(request, &bearer));
    }
    return bearer;
}

Bytes MakeCrl(const Package &package, const CrlPlan &plan)
{
    forge::CrlRequest request = plan.request;
    if (request.issuerKey == nullptr) {
        request.issuerKey = package.parties[plan.issuer].request.subjectKey;
    }
    if (request.issuerCertificate.empty()) {
        request.issuerCertificate = NameBearer(package, plan.issuer);
    }
    Bytes crl;
    Must(forge::MakeCrl(request, &crl));
    if (plan.toBeSigned) {
        crl = SignAgain(crl, plan.toBeSigned, request.issuerKey, request.digest);
    }
    return Apply(plan.whole, crl);
}

Bytes MakeCrlFile(const Made &made)
{
    Bytes file;
    for (const CrlPlan &plan : made.package->crls) {
        const Bytes crl = MakeCrl(*made.package, plan);
        file.insert(file.end(), crl.begin(), crl.end());
    }
    for (const size_t party : made.package->crlFileCertificates) {
        file.insert(file.end(), made.certificates[party].begin(), made.certificates[party].end());
    }
    return Apply(made.package->crlFile, file);
}

// ---- Messages and tokens -------------------------------------------------------------------------------------------

// Issuer and serial number as they stand in a certificate of version 3.
Bytes IdentifyCertificate(const Bytes &certificate)
{
    return der::IssuerAndSerialNumber(ElementAt(certificate, {0, 3}), ElementAt(certificate, {0, 1}));
}

std::vector<Bytes> MakeAttributes(const SignedPlan &plan, const Subject &subject)
{
    std::vector<Bytes> attributes = subject.furtherAttributes;
    attributes.push_back(der::Attribute(ID_CONTENT_TYPE, {der::Oid(subject.contentType)}));
    const Bytes digest = HashOf(plan.digest, subject.octets);
    attributes.push_back(der::Attribute(ID_MESSAGE_DIGEST, {der::OctetString(digest)}));
    std::sort(attributes.begin(), attributes.end()); // X.690, 11.6
    if (plan.attributes) {
        plan.attributes(&attributes);
    }
    return attributes;
}

der::SignerInfo MakeSignerInfo(const Made &made, const SignedPlan &plan, const Subject &subject, Bytes *signatureOut)
{
    der::SignerInfo info;
    info.sid = IdentifyCertificate(made.certificates[plan.signer]);
    info.digestAlgorithm = forge::DigestAlgorithm(plan.digest);
    info.signedAttrs.reset();
    Bytes toBeSigned = subject.octets;
    if (plan.signedAttributes) {
        const std::vector<Bytes> attributes = MakeAttributes(plan, subject);
        info.signedAttrs = der::SignedAttributes(attributes);
        toBeSigned = der::Set(attributes); // RFC 5652, 5.4
    }
    const forge::Key &key = made.package->parties[plan.signer].request.subjectKey;
    *signatureOut = plan.sign ? plan.sign(toBeSigned) : SignWith(key, plan.digest, toBeSigned);
    info.signature = der::OctetString(*signatureOut);
    return info;
}

Bytes MakeSignedData(const Made &made, const SignedPlan &plan, const Subject &subject, const der::SignerInfo &info)
{
    der::SignedData data;
    data.version = der::Integer(subject.carried ? 3 : 1); // RFC 5652, 5.1
    data.digestAlgorithms = der::Set({forge::DigestAlgorithm(plan.digest)});
    data.encapContentInfo = der::Sequence({der::Oid(subject.contentType)});
    if (subject.carried) {
        data.encapContentInfo =
            der::Sequence({der::Oid(subject.contentType), der::Explicit(0, der::OctetString(subject.octets))});
    }
    std::vector<Bytes> certificates;
    for (const size_t party : plan.certificates) {
        certificates.push_back(made.certificates[party]);
    }
    if (!certificates.empty()) {
        data.certificates = der::CertificateSet(certificates);
    }
    data.signerInfos = der::Set({der::Encode(info)});
    if (plan.signedData) {
        plan.signedData(&data);
    }
    return Apply(plan.whole, der::MessageOf(data));
}

// SigningCertificateV2 with the default SHA-256 (RFC 5816, 2.2.1).
Bytes SigningCertificate(const Bytes &certificate)
{
    const Bytes identifier = der::Sequence({der::OctetString(HashOf(forge::Digest::Sha256, certificate))});
    return der::Attribute(ID_SIGNING_CERTIFICATE_V2, {der::Sequence({der::Sequence({identifier})})});
}

Bytes MakeToken(const Made &made, const Bytes &signature)
{
    const Package &package = *made.package;
    der::TstInfo tstInfo;
    tstInfo.policy = der::Oid(POLICY);
    tstInfo.messageImprint = der::MessageImprint(forge::DigestAlgorithm(forge::Digest::Sha256),
                                                 der::OctetString(HashOf(forge::Digest::Sha256, signature)));
    tstInfo.genTime = package.genTime;
    if (package.tstInfo) {
        package.tstInfo(&tstInfo, signature);
    }
    const Subject subject = {
        ID_TST_INFO, der::Encode(tstInfo), true, {SigningCertificate(made.certificates[package.token.signer])}};
    Bytes value;
    der::SignerInfo info = MakeSignerInfo(made, package.token, subject, &value);
    if (package.token.signerInfo) {
        package.token.signerInfo(&info);
    }
    return MakeSignedData(made, package.token, subject, info);
}

Bytes MakeMessage(const Made &made)
{
    const Package &package = *made.package;
    const Subject subject = {ID_DATA, package.content, false, {}};
    Bytes signature;
    der::SignerInfo info = MakeSignerInfo(made, package.message, subject, &signature);
    std::vector<Bytes> attributes;
    if (package.timestamped) {
        attributes.push_back(der::Attribute(ID_TIMESTAMP_TOKEN, {MakeToken(made, signature)}));
    }
    if (package.unsignedAttributes) {
        package.unsignedAttributes(&attributes);
    }
    if (!attributes.empty()) {
        info.unsignedAttrs = der::UnsignedAttributes(attributes);
    }
    if (package.message.signerInfo) {
        package.message.signerInfo(&info);
    }
    return MakeSignedData(made, package.message, subject, info);
}

// ---- The good package ----------------------------------------------------------------------------------------------

forge::CertificateRequest RequestOf(const std::string &commonName, uint8_t serialNumber)
{
    forge::CertificateRequest request;
    request.serialNumber = {0x5A, serialNumber};
    request.subject = NameOf(commonName);
    request.notBefore = SIGNING_TIME - 300 * DAY;
    request.notAfter = SIGNING_TIME + 300 * DAY;
    request.basicConstraints = forge::BasicConstraints::Ca;
    request.keyUsage = forge::KEY_CERT_SIGN | forge::CRL_SIGN;
    request.subjectKey = KeyOf(commonName);
    return request;
}

size_t AddParty(Package *package, const CertificatePlan &plan)
{
    package->parties.push_back(plan);
    return package->parties.size() - 1;
}

CertificatePlan RootPlan()
{
    CertificatePlan root;
    root.request = RequestOf("Root CA", 1);
    root.request.notBefore = forge::PKI_NOT_BEFORE;
    root.request.notAfter = forge::PKI_ROOT_NOT_AFTER;
    root.request.subjectKey = KeyOf("Root CA of 4096 bits", ROOT_KEY_BITS);
    return root;
}
} // namespace

Package GoodPackage()
{
    Package package;
    package.content = Octets("9f86d081884c7d659a2feaa0c55ad015a3bf4f1b2b0b822cd15d6c15b0f00a08  firmware.bin\n");
    package.parties.push_back(RootPlan());
    AddCa(&package, "Signing CA", ROOT);
    AddSigner(&package, "Signer", SIGNING_CA, forge::PURPOSE_CODE_SIGNING);
    AddCa(&package, "Timestamp CA", ROOT);
    AddSigner(&package, "Timestamp Authority", TIMESTAMP_CA, forge::PURPOSE_TIME_STAMPING);
    for (const size_t issuer : {ROOT, SIGNING_CA, TIMESTAMP_CA}) {
        AddCrl(&package, issuer);
    }
    package.message.signer = SIGNER;
    package.message.certificates = {SIGNER, SIGNING_CA};
    package.token.signer = TIMESTAMP;
    package.token.certificates = {TIMESTAMP, TIMESTAMP_CA};
    Must(forge::DerGeneralizedTime(SIGNING_TIME, &package.genTime));
    return package;
}

Files MakeFiles(const Package &package)
{
    const Made made = {&package, MakeCertificates(package)};
    Files files;
    files.root = made.certificates[ROOT];
    files.crls = MakeCrlFile(made);
    files.signature = MakeMessage(made);
    files.content = Apply(package.contentFile, package.content);
    return files;
}

size_t AddCa(Package *package, const std::string &commonName, size_t issuer)
{
    CertificatePlan plan;
    plan.issuer = issuer;
    plan.request = RequestOf(commonName, static_cast<uint8_t>(package->parties.size() + 1));
    return AddParty(package, plan);
}

size_t AddSigner(Package *package, const std::string &commonName, size_t issuer, const char *purpose)
{
    CertificatePlan plan;
    plan.issuer = issuer;
    plan.request = RequestOf(commonName, static_cast<uint8_t>(package->parties.size() + 1));
    plan.request.basicConstraints = forge::BasicConstraints::NotCa;
    plan.request.keyUsage = forge::DIGITAL_SIGNATURE;
    plan.request.extendedKeyUsage = {purpose};
    plan.request.extendedKeyUsageCritical = std::string(purpose) == forge::PURPOSE_TIME_STAMPING; // RFC 3161, 2.3
    return AddParty(package, plan);
}

size_t AddCrl(Package *package, size_t issuer)
{
    CrlPlan plan;
    plan.issuer = issuer;
    plan.request.thisUpdate = SIGNING_TIME - 10 * DAY;
    plan.request.nextUpdate = SIGNING_TIME + 60 * DAY;
    package->crls.push_back(plan);
    return package->crls.size() - 1;
}

void Revoke(Package *package, size_t crl, size_t party, int64_t date, int reason)
{
    package->crls[crl].request.revoked.push_back({package->parties[party].request.serialNumber, date, reason});
}

forge::Key KeyOf(const std::string &name, int bits)
{
    static std::map<std::string, forge::Key> keys;
    forge::Key &key = keys[name];
    if (key == nullptr) {
        key = GenerateTestKey(bits);
    }
    if (key == nullptr) {
        std::fprintf(stderr, "make_vectors: no key of %d bits can be made\n", bits);
        std::exit(1);
    }
    return key;
}

Bytes HashOf(forge::Digest digest, const Bytes &data)
{
    Bytes hash;
    Must(forge::Hash(digest, data, &hash));
    return hash;
}

Bytes SignWith(const forge::Key &key, forge::Digest digest, const Bytes &data)
{
    Bytes signature;
    Must(forge::SignOctets(key, digest, data, &signature));
    return signature;
}

Bytes Octets(const std::string &text)
{
    return Bytes(text.begin(), text.end());
}

forge::Name NameOf(const std::string &commonName)
{
    return {{"C", "XX"}, {"O", "Sigkit"}, {"CN", commonName}};
}
} // namespace vectors
