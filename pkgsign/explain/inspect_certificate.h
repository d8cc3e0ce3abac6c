// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Certificates and requests for them, described.
#ifndef PKGSIGN_EXPLAIN_INSPECT_CERTIFICATE_H
#define PKGSIGN_EXPLAIN_INSPECT_CERTIFICATE_H

#include "pkgsign/explain/inspect_context.h"

namespace pkgsign::inspection
{

// What the device goes by when it uses a certificate.
struct CertificateFacts {
    const Node *node = nullptr;
    Bytes issuer; // as DeviceName has it
    Bytes subject;
    Bytes serial; // without a leading zero
    RsaNumbers key;
    unsigned keyUsage = 0; // with the device's weights: 0x80 digitalSignature, 4 keyCertSign, 2 cRLSign
    bool isDigitalSignature = false;
    std::vector<std::string> firstPurposes; // dotted: of each extKeyUsage, and there may be more than one
    bool isCa = false;
    std::optional<bool> isSelfSigned; // its own key holds for it; nothing: that cannot be said
    std::optional<int64_t> notBefore;
    std::optional<int64_t> notAfter;
    std::string subjectText;
};

CertificateFacts ReadFacts(InspectContext *context, const Node &certificate);

// What the device wants of a certificate.
bool HasPurpose(const CertificateFacts &facts, const std::string &dotted);
bool SignsCertificates(const CertificateFacts &facts);
bool SignsCrls(const CertificateFacts &facts);

// The signature of a certificate, CRL or request over its first member; none that can be checked of one that is cut.
SignedOctets SignatureOf(const Bytes &data, const Node &object, const Node *signedPart, const char *valueName);

// Whether the device computes an object's signature, and whether it names its algorithm alike in both places. inner:
// within what is signed; null where there is none. citation: of the two places.
void CheckAlgorithms(InspectContext *context, const Node &object, const Node *inner, const NodePath &path,
                     const char *citation);

Report DescribeCertificate(InspectContext *context, const Node &certificate, const NodePath &path);
Report DescribeCertificationRequest(InspectContext *context, const Node &request, const NodePath &path);

// Extensions by identifier and name.
Report DescribeExtensions(const Bytes &data, const Node *extensions);

// Finds extensions that are there twice, or critical and not in `read`. citation: of what critical ones ask for.
void CheckExtensions(InspectContext *context, const Node *extensions, const NodePath &path,
                     const std::vector<std::string> &read, const char *citation);

} // namespace pkgsign::inspection

#endif
