// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "fuzz/support/pki.h"

#include "fuzz/support/host.h"
#include "src/trust_anchor.h"
#include "tests/forge/der.h"

namespace
{

constexpr const char *COMMON_NAMES[FUZZ_ENTITY_COUNT] = {"Fuzz Root", "Fuzz CA A",       "Fuzz CA B", "Fuzz Signer",
                                                         "Fuzz TSA",  "Fuzz CRL Issuer", "Fuzz CA C", "Fuzz Stranger"};
constexpr char PADDING_EXTENSION[] = "1.3.6.1.4.1.99999.2";

void Require(const forge::Status &status)
{
    if (!status.ok) {
        FuzzFail("test PKI: %s", status.reason.c_str());
    }
}

bool IsAuthority(size_t entity)
{
    return entity != FUZZ_SIGNER && entity != FUZZ_TSA && entity != FUZZ_CRL_ISSUER;
}

void SetUsage(size_t subject, forge::CertificateRequest *request)
{
    if (IsAuthority(subject)) {
        request->basicConstraints = forge::BasicConstraints::Ca;
        request->keyUsage = forge::KEY_CERT_SIGN | forge::CRL_SIGN;
    } else if (subject == FUZZ_CRL_ISSUER) {
        request->keyUsage = forge::CRL_SIGN;
    } else {
        request->keyUsage = forge::DIGITAL_SIGNATURE;
        request->extendedKeyUsage = {subject == FUZZ_TSA ? forge::PURPOSE_TIME_STAMPING : forge::PURPOSE_CODE_SIGNING};
    }
}

const forge::Key &KeyOf(size_t entity, size_t other)
{
    return FuzzKey(other == FUZZ_NO_KEY ? entity : other);
}

forge::CertificateRequest Describe(const FuzzCertificateChoice &choice)
{
    forge::CertificateRequest request;
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

forge::Bytes MakeRoot(size_t padding)
{
    forge::CertificateRequest request = Describe({FUZZ_ROOT, FUZZ_ROOT, 0x10});
    request.extensions = {{PADDING_EXTENSION, false, forge::DerOctetString(forge::Bytes(padding))}};
    forge::Bytes certificate;
    Require(forge::MakeCertificate(request, &certificate));
    return certificate;
}

// A certificate that claims another's issuer and serial number, under a key that did not sign it.
forge::Bytes Decoy(size_t subject, uint8_t serial)
{
    return FuzzCertificate({subject, FUZZ_CA_A, serial, FUZZ_STRANGER, FUZZ_STRANGER});
}

std::vector<forge::Bytes> MakeCertificates()
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

std::vector<forge::Bytes> MakeCrls()
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

const forge::Bytes &FuzzName(size_t entity)
{
    static const std::vector<forge::Bytes> *const names = [] {
        std::vector<forge::Bytes> *const made = new std::vector<forge::Bytes>(FUZZ_ENTITY_COUNT);
        for (size_t i = 0; i < FUZZ_ENTITY_COUNT; ++i) {
            Require(forge::EncodeName({{"C", "XX"}, {"O", "Fuzz"}, {"CN", COMMON_NAMES[i]}}, &(*made)[i]));
        }
        return made;
    }();
    return (*names)[entity];
}

size_t FuzzFindName(const forge::Bytes &name)
{
    size_t entity = 0;
    while (entity < FUZZ_ENTITY_COUNT && FuzzName(entity) != name) {
        ++entity;
    }
    return entity;
}

forge::Bytes FuzzCertificate(const FuzzCertificateChoice &choice)
{
    forge::Bytes certificate;
    Require(forge::MakeCertificate(Describe(choice), &certificate));
    return certificate;
}

forge::Bytes FuzzCrl(const FuzzCrlChoice &choice)
{
    forge::CrlRequest request;
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
    forge::Bytes crl;
    Require(forge::MakeCrl(request, &crl));
    return crl;
}

const forge::Bytes &FuzzRootCertificate()
{
    static const forge::Bytes *const root = [] {
        size_t padding = 256; // from here on the lengths around it grow no further octets
        padding += ROOT_CERT_SIZE - MakeRoot(padding).size();
        forge::Bytes *const made = new forge::Bytes(MakeRoot(padding));
        if (made->size() != ROOT_CERT_SIZE) {
            FuzzFail("the root has %zu octets", made->size());
        }
        return made;
    }();
    return *root;
}

const std::vector<forge::Bytes> &FuzzCertificates()
{
    static const std::vector<forge::Bytes> *const certificates = new std::vector<forge::Bytes>(MakeCertificates());
    return *certificates;
}

const std::vector<forge::Bytes> &FuzzCrls()
{
    static const std::vector<forge::Bytes> *const crls = new std::vector<forge::Bytes>(MakeCrls());
    return *crls;
}

forge::MessageRequest FuzzMessageRequest(const forge::Bytes &content)
{
    const std::vector<forge::Bytes> &certificates = FuzzCertificates();
    forge::MessageRequest request;
    request.content = content;
    request.signerCertificate = certificates[FUZZ_CERT_SIGNER];
    request.signerKey = FuzzKey(FUZZ_SIGNER);
    request.certificates = {certificates[FUZZ_CERT_SIGNER], certificates[FUZZ_CERT_CA_A]};
    request.timestamp = forge::Timestamp::Request;
    request.tokenRequest.genTime = FUZZ_GEN_TIME;
    request.tokenRequest.tsaCertificate = certificates[FUZZ_CERT_TSA];
    request.tokenRequest.tsaKey = FuzzKey(FUZZ_TSA);
    request.tokenRequest.certificates = {certificates[FUZZ_CERT_TSA]};
    return request;
}

forge::Bytes FuzzMessage(const forge::MessageRequest &request)
{
    forge::Bytes message;
    Require(forge::SignDetached(request, &message));
    return message;
}
