// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

#include "tests/forge/der.h"
#include "tests/forge/extensions.h"
#include "tests/forge/signature.h"
#include "tests/forge/status.h"

namespace forge
{
namespace
{
// The IssuingDistributionPoint of an indirect CRL: { indirectCRL [4] TRUE } (RFC 5280, 5.2.5)
Bytes EncodeIndirectCrl()
{
    const Bytes indirect = DerElement(0x84, {0xFF});
    return EncodeExtension("2.5.29.28", true, DerSequence({indirect}));
}

// { userCertificate, revocationDate, crlEntryExtensions OPTIONAL }
Status EncodeRevoked(const RevokedCertificate &revoked, Bytes *entryOut)
{
    Bytes date;
    const Status status = DerTime(revoked.revocationDate, &date);
    if (!status.ok) {
        return status;
    }
    Bytes extensions;
    if (revoked.reasonCode >= 0) {
        const Bytes reason = DerElement(DER_ENUMERATED, {static_cast<uint8_t>(revoked.reasonCode)});
        extensions = DerSequence({EncodeExtension("2.5.29.21", false, reason)});
    }
    *entryOut = DerSequence({DerUnsigned(revoked.serialNumber), date, extensions});
    return Ok();
}

// The revokedCertificates member, or nothing: RFC 5280, 5.1.2.6 forbids an empty one.
Status EncodeRevokedList(const CrlRequest &request, Bytes *listOut)
{
    std::vector<Bytes> entries;
    for (const RevokedCertificate &revoked : request.revoked) {
        Bytes entry;
        const Status status = EncodeRevoked(revoked, &entry);
        if (!status.ok) {
            return status;
        }
        entries.push_back(entry);
    }
    *listOut = entries.empty() ? Bytes() : DerSequence(entries);
    return Ok();
}

// The crlExtensions member with its tag [0], or nothing when there are none.
Status EncodeExtensions(const CrlRequest &request, Bytes *extensionsOut)
{
    std::vector<Bytes> list;
    if (request.authorityKeyIdentifier) {
        Bytes extension;
        const Status status = EncodeAuthorityKeyIdentifier(request.issuerKey, &extension);
        if (!status.ok) {
            return status;
        }
        list.push_back(extension);
    }
    if (request.crlNumber >= 0) {
        list.push_back(EncodeExtension("2.5.29.20", false, DerInteger(request.crlNumber)));
    }
    if (request.indirectCrl) {
        list.push_back(EncodeIndirectCrl());
    }
    const Status status = AppendExtensions(request.extensions, &list);
    if (status.ok && !list.empty()) {
        *extensionsOut = DerConstructed(0, DerSequence(list));
    }
    return status;
}

Status EncodeUpdates(const CrlRequest &request, Bytes *updatesOut)
{
    Bytes thisUpdate;
    Bytes nextUpdate;
    Status status = DerTime(request.thisUpdate, &thisUpdate);
    if (status.ok && !request.omitNextUpdate) {
        status = DerTime(request.nextUpdate, &nextUpdate);
    }
    if (status.ok) {
        *updatesOut = DerJoin({thisUpdate, nextUpdate});
    }
    return status;
}

// TBSCertList (RFC 5280, 5.1)
Status EncodeToBeSigned(const CrlRequest &request, Bytes *toBeSignedOut)
{
    Bytes algorithm;
    Bytes issuer;
    Bytes updates;
    Bytes revoked;
    Bytes extensions;
    Status status = SignatureAlgorithm(request.issuerKey, request.digest, &algorithm);
    if (status.ok) {
        status = GetSubject(request.issuerCertificate, &issuer);
    }
    if (status.ok) {
        status = EncodeUpdates(request, &updates);
    }
    if (status.ok) {
        status = EncodeRevokedList(request, &revoked);
    }
    if (status.ok && request.version != 1) {
        status = EncodeExtensions(request, &extensions);
    }
    if (status.ok) {
        const Bytes version = request.version == 1 ? Bytes() : DerInteger(request.version - 1);
        *toBeSignedOut = DerSequence({version, algorithm, issuer, updates, revoked, extensions});
    }
    return status;
}

} // namespace

Status MakeCrl(const CrlRequest &request, Bytes *crlOut)
{
    Bytes toBeSigned;
    const Status status = EncodeToBeSigned(request, &toBeSigned);
    return status.ok ? SignStructure(request.issuerKey, request.digest, toBeSigned, crlOut) : status;
}
} // namespace forge
