#include "fuzz/support/pki.h"

#include "fuzz/support/host.h"
#include "pkgsign/der.h"
#include "src/trust_anchor.h"

namespace
{

constexpr const char *COMMON_NAMES[FUZZ_ENTITY_COUNT] = {"Fuzz Root", "Fuzz CA A",       "Fuzz CA B", "Fuzz Signer",
                                                         "Fuzz TSA",  "Fuzz CRL Issuer", "Fuzz CA C", "Fuzz Stranger"};
constexpr char PADDING_EXTENSION[] = "1.3.6.1.4.1.99999.2";

void Require(const PkgsignStatus &status)
{
    if (!status.ok) {
        FuzzFail("test PKI: %s", status.reason.c_str());
    }
}

bool IsAuthority(size_t entity)
{
    return entity != FUZZ_SIGNER && entity != FUZZ_TSA && entity != FUZZ_CRL_ISSUER;
}

void SetUsage(size_t subject, PkgsignCertificateRequest *request)
{
    if (IsAuthority(subject)) {
        request->basicConstraints = PkgsignBasicConstraints::Ca;
        request->keyUsage = PKGSIGN_KEY_CERT_SIGN | PKGSIGN_CRL_SIGN;
    } else if (subject == FUZZ_CRL_ISSUER) {
        request->keyUsage = PKGSIGN_CRL_SIGN;
    } else {
        request->keyUsage = PKGSIGN_DIGITAL_SIGNATURE;
        request->extendedKeyUsage = {subject == FUZZ_TSA ? PKGSIGN_PURPOSE_TIME_STAMPING
                                                         : PKGSIGN_PURPOSE_CODE_SIGNING};
    }
}

const PkgsignKey &KeyOf(size_t entity, size_t other)
{
    return FuzzKey(other == FUZZ_NO_KEY ? entity : other);
}

PkgsignCertificateRequest Describe(const FuzzCertificateChoice &choice)
{
    PkgsignCertificateRequest request;
    request.serialNumber = {choice.serial};
    request.subjectDer = FuzzName(choice.subject);
    request.issuerDer = FuzzName(choice.issuer);
    request.notBefore = choice.notBefore;
    request.notAfter = choice.notAfter;
    request.subjectKey = KeyOf(choice.subject, choice.subjectKey);
    request.issuerKey = KeyOf(choice.issuer, choice.issuerKey);
    request.subjectKeyIdentifier = false; // keeps the corpora small
    request.authorityKeyIdentifier = false;
    SetUsage(choice.subject, &request);
    return request;
}

PkgsignBytes MakeRoot(size_t padding)
{
    PkgsignCertificateRequest request = Describe({FUZZ_ROOT, FUZZ_ROOT, 0x10});
    request.extensions = {{PADDING_EXTENSION, false, PkgsignDerOctetString(PkgsignBytes(padding))}};
    PkgsignBytes certificate;
    Require(PkgsignMakeCertificate(request, &certificate));
    return certificate;
}

// A certificate that claims another's issuer and serial number, under a key that did not sign it.
PkgsignBytes Decoy(size_t subject, uint8_t serial)
{
    return FuzzCertificate({subject, FUZZ_CA_A, serial, FUZZ_STRANGER, FUZZ_STRANGER});
}

std::vector<PkgsignBytes> MakeCertificates()
{
    return {
        FuzzCertificate({FUZZ_CA_A, FUZZ_ROOT, FUZZ_SERIAL_CA_A}),
        FuzzCertificate({FUZZ_CA_B, FUZZ_ROOT, FUZZ_SERIAL_CA_B}),
        FuzzCertificate({FUZZ_SIGNER, FUZZ_CA_A, FUZZ_SERIAL_SIGNER}),
        FuzzCertificate({FUZZ_TSA, FUZZ_CA_A, FUZZ_SERIAL_TSA}),
        FuzzCertificate({FUZZ_CRL_ISSUER, FUZZ_CA_A, FUZZ_SERIAL_CRL_ISSUER}),
        FuzzCertificate({FUZZ_CA_A, FUZZ_CA_B, 0x21}), // cross-signed
        FuzzCertificate({FUZZ_CA_B, FUZZ_CA_A, 0x22}),
        FuzzCertificate({FUZZ_CA_C, FUZZ_CA_A, FUZZ_SERIAL_CA_C}), // a cycle
        FuzzCertificate({FUZZ_CA_A, FUZZ_CA_C, 0x23}),
        FuzzCertificate({FUZZ_CA_A, FUZZ_ROOT, 0x24, FUZZ_CA_C}), // rolled over
        FuzzCertificate({FUZZ_CRL_ISSUER, FUZZ_ROOT, 0x25}),
        FuzzCertificate({FUZZ_SIGNER, FUZZ_CA_B, 0x26}),
        FuzzCertificate({FUZZ_TSA, FUZZ_CA_B, 0x27}),
        FuzzCertificate({FUZZ_STRANGER, FUZZ_STRANGER, 0x28}),
        FuzzCertificate({FUZZ_SIGNER, FUZZ_STRANGER, 0x29}),
        FuzzCertificate({FUZZ_SIGNER, FUZZ_CA_A, 0x2A, FUZZ_NO_KEY, FUZZ_NO_KEY, FUZZ_NOT_BEFORE, FUZZ_GEN_TIME - 1}),
        FuzzCertificate({FUZZ_CA_A, FUZZ_CA_A, 0x2B, FUZZ_CA_C}), // self-issued, not self-signed
        Decoy(FUZZ_SIGNER, FUZZ_SERIAL_SIGNER),
        Decoy(FUZZ_TSA, FUZZ_SERIAL_TSA),
        FuzzRootCertificate(),
    };
}

std::vector<PkgsignBytes> MakeCrls()
{
    return {
        FuzzCrl({FUZZ_ROOT, 1}),
        FuzzCrl({FUZZ_CA_A, 1}),
        FuzzCrl({FUZZ_CA_B, 1}),
        FuzzCrl({FUZZ_CRL_ISSUER, 1, true}),
        FuzzCrl({FUZZ_CA_A, 2, true}),
        FuzzCrl({FUZZ_CA_B, 2, true}),
        FuzzCrl({FUZZ_CA_C, 1}),
        FuzzCrl({FUZZ_CA_A, 3, false, {FUZZ_SERIAL_SIGNER}, 1, FUZZ_GEN_TIME - 1}),
        FuzzCrl({FUZZ_CA_A, 4, false, {FUZZ_SERIAL_SIGNER, FUZZ_SERIAL_TSA}, 4, FUZZ_GEN_TIME + 1}),
        FuzzCrl({FUZZ_CA_A, 5, false, {FUZZ_SERIAL_TSA}, 1, FUZZ_GEN_TIME + 1}),
        FuzzCrl({FUZZ_ROOT, 2, false, {FUZZ_SERIAL_CA_A}, 5, FUZZ_GEN_TIME}),
        FuzzCrl({FUZZ_CRL_ISSUER, 2, true, {FUZZ_SERIAL_SIGNER}, -1, FUZZ_GEN_TIME}),
        FuzzCrl({FUZZ_CA_A, 6, false, {}, -1, 0, FUZZ_NOT_BEFORE, FUZZ_GEN_TIME - 1}),         // out of date
        FuzzCrl({FUZZ_CA_A, 7, false, {}, -1, 0, FUZZ_NOT_BEFORE, FUZZ_NOT_AFTER, FUZZ_CA_C}), // under the other key
        FuzzCrl({FUZZ_STRANGER, 1}),
    };
}

} // namespace

const PkgsignBytes &FuzzName(size_t entity)
{
    static const std::vector<PkgsignBytes> *const names = [] {
        std::vector<PkgsignBytes> *const made = new std::vector<PkgsignBytes>(FUZZ_ENTITY_COUNT);
        for (size_t i = 0; i < FUZZ_ENTITY_COUNT; ++i) {
            Require(PkgsignEncodeName({{"C", "XX"}, {"O", "Fuzz"}, {"CN", COMMON_NAMES[i]}}, &(*made)[i]));
        }
        return made;
    }();
    return (*names)[entity];
}

size_t FuzzFindName(const PkgsignBytes &name)
{
    size_t entity = 0;
    while (entity < FUZZ_ENTITY_COUNT && FuzzName(entity) != name) {
        ++entity;
    }
    return entity;
}

PkgsignBytes FuzzCertificate(const FuzzCertificateChoice &choice)
{
    PkgsignBytes certificate;
    Require(PkgsignMakeCertificate(Describe(choice), &certificate));
    return certificate;
}

PkgsignBytes FuzzCrl(const FuzzCrlChoice &choice)
{
    PkgsignCrlRequest request;
    request.issuerCertificate = FuzzCertificate({choice.issuer, choice.issuer, 1});
    request.issuerKey = KeyOf(choice.issuer, choice.issuerKey);
    request.thisUpdate = choice.thisUpdate;
    request.nextUpdate = choice.nextUpdate;
    request.crlNumber = choice.number;
    request.authorityKeyIdentifier = false;
    request.indirectCrl = choice.indirect;
    for (const uint8_t serial : choice.revoked) {
        request.revoked.push_back({{serial}, choice.revocationDate, choice.reason});
    }
    PkgsignBytes crl;
    Require(PkgsignMakeCrl(request, &crl));
    return crl;
}

const PkgsignBytes &FuzzRootCertificate()
{
    static const PkgsignBytes *const root = [] {
        size_t padding = 256; // from here on the lengths around it grow no further octets
        padding += ROOT_CERT_SIZE - MakeRoot(padding).size();
        PkgsignBytes *const made = new PkgsignBytes(MakeRoot(padding));
        if (made->size() != ROOT_CERT_SIZE) {
            FuzzFail("the root has %zu octets", made->size());
        }
        return made;
    }();
    return *root;
}

const std::vector<PkgsignBytes> &FuzzCertificates()
{
    static const std::vector<PkgsignBytes> *const certificates = new std::vector<PkgsignBytes>(MakeCertificates());
    return *certificates;
}

const std::vector<PkgsignBytes> &FuzzCrls()
{
    static const std::vector<PkgsignBytes> *const crls = new std::vector<PkgsignBytes>(MakeCrls());
    return *crls;
}

PkgsignMessageRequest FuzzMessageRequest(const PkgsignBytes &content)
{
    const std::vector<PkgsignBytes> &certificates = FuzzCertificates();
    PkgsignMessageRequest request;
    request.content = content;
    request.signerCertificate = certificates[FUZZ_CERT_SIGNER];
    request.signerKey = FuzzKey(FUZZ_SIGNER);
    request.certificates = {certificates[FUZZ_CERT_SIGNER], certificates[FUZZ_CERT_CA_A]};
    request.timestamp = PkgsignTimestamp::Request;
    request.tokenRequest.genTime = FUZZ_GEN_TIME;
    request.tokenRequest.tsaCertificate = certificates[FUZZ_CERT_TSA];
    request.tokenRequest.tsaKey = FuzzKey(FUZZ_TSA);
    request.tokenRequest.certificates = {certificates[FUZZ_CERT_TSA]};
    return request;
}

PkgsignBytes FuzzMessage(const PkgsignMessageRequest &request)
{
    PkgsignBytes message;
    Require(PkgsignSignDetached(request, &message));
    return message;
}
