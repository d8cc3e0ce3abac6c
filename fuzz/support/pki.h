// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// A small PKI over the derived keys, good and bad objects of it, and the trust anchor that the targets load.
#ifndef FUZZ_PKI_H
#define FUZZ_PKI_H

#include <cstdint>
#include <string>
#include <vector>

#include "fuzz/support/keys.h"
#include "tests/forge/forge.h"

// Who there is; the numbers are also those of their keys.
enum FuzzEntity : size_t {
    FUZZ_ROOT,       // the trust anchor
    FUZZ_CA_A,       // under the root
    FUZZ_CA_B,       // under the root
    FUZZ_SIGNER,     // code signing
    FUZZ_TSA,        // time stamping
    FUZZ_CRL_ISSUER, // signs CRLs for others
    FUZZ_CA_C,       // certified by CA A and certifying it: a cycle
    FUZZ_STRANGER,   // a root that nobody trusts
    FUZZ_ENTITY_COUNT,
};

inline constexpr int64_t FUZZ_NOT_BEFORE = 1577836800; // 2020-01-01
inline constexpr int64_t FUZZ_NOT_AFTER = 2208988800;  // 2040-01-01
inline constexpr int64_t FUZZ_GEN_TIME = 1735689600;   // 2025-01-01

// The encoded name of an entity.
const forge::Bytes &FuzzName(size_t entity);

// Returns the entity with an encoded name, or FUZZ_ENTITY_COUNT.
size_t FuzzFindName(const forge::Bytes &name);

// What is certified, by whom and how.
struct FuzzCertificateChoice {
    size_t subject;
    size_t issuer;
    uint8_t serial;
    size_t subjectKey = FUZZ_NO_KEY; // another key than the subject's own
    size_t issuerKey = FUZZ_NO_KEY;  // another key than the issuer's own
    int64_t notBefore = FUZZ_NOT_BEFORE;
    int64_t notAfter = FUZZ_NOT_AFTER;
};

// Makes a certificate; what it may be used for follows from the subject.
forge::Bytes FuzzCertificate(const FuzzCertificateChoice &choice);

struct FuzzCrlChoice {
    size_t issuer;
    int64_t number;
    bool indirect = false;
    std::vector<uint8_t> revoked = {}; // serial numbers
    int reason = -1;
    int64_t revocationDate = FUZZ_NOT_BEFORE;
    int64_t thisUpdate = FUZZ_NOT_BEFORE;
    int64_t nextUpdate = FUZZ_NOT_AFTER;
    size_t issuerKey = FUZZ_NO_KEY; // another key than the issuer's own
};

forge::Bytes FuzzCrl(const FuzzCrlChoice &choice);

// The trust anchor: as long as the tool's record takes, though its key is a short one.
const forge::Bytes &FuzzRootCertificate();

// Serial numbers of the usual certificates.
inline constexpr uint8_t FUZZ_SERIAL_CA_A = 0x11;
inline constexpr uint8_t FUZZ_SERIAL_CA_B = 0x12;
inline constexpr uint8_t FUZZ_SERIAL_SIGNER = 0x13;
inline constexpr uint8_t FUZZ_SERIAL_TSA = 0x14;
inline constexpr uint8_t FUZZ_SERIAL_CRL_ISSUER = 0x15;
inline constexpr uint8_t FUZZ_SERIAL_CA_C = 0x16;

// The usual certificates and CRLs first, then odd ones: cross-signed, rolled over, decoys, expired, indirect.
const std::vector<forge::Bytes> &FuzzCertificates();
const std::vector<forge::Bytes> &FuzzCrls();

// Places in FuzzCertificates and FuzzCrls.
enum { FUZZ_CERT_CA_A, FUZZ_CERT_CA_B, FUZZ_CERT_SIGNER, FUZZ_CERT_TSA, FUZZ_CERT_CRL_ISSUER };
enum { FUZZ_CRL_ROOT, FUZZ_CRL_CA_A, FUZZ_CRL_CA_B, FUZZ_CRL_INDIRECT };

// A message of the signer over content: with its timestamp token, and the certificates of both.
forge::MessageRequest FuzzMessageRequest(const forge::Bytes &content);
forge::Bytes FuzzMessage(const forge::MessageRequest &request);

#endif
