#include "pkgsign/der.h"
#include "pkgsign/extensions.h"
#include "pkgsign/signature.h"
#include "pkgsign/status.h"

namespace
{
// The IssuingDistributionPoint of an indirect CRL: { indirectCRL [4] TRUE } (RFC 5280, 5.2.5)
PkgsignBytes EncodeIndirectCrl()
{
    const PkgsignBytes indirect = PkgsignDerElement(0x84, {0xFF});
    return PkgsignEncodeExtension("2.5.29.28", true, PkgsignDerSequence({indirect}));
}

// { userCertificate, revocationDate, crlEntryExtensions OPTIONAL }
PkgsignStatus EncodeRevoked(const PkgsignRevokedCertificate &revoked, PkgsignBytes *entryOut)
{
    PkgsignBytes date;
    const PkgsignStatus status = PkgsignDerTime(revoked.revocationDate, &date);
    if (!status.ok) {
        return status;
    }
    PkgsignBytes extensions;
    if (revoked.reasonCode >= 0) {
        const PkgsignBytes reason = PkgsignDerElement(DER_ENUMERATED, {static_cast<uint8_t>(revoked.reasonCode)});
        extensions = PkgsignDerSequence({PkgsignEncodeExtension("2.5.29.21", false, reason)});
    }
    *entryOut = PkgsignDerSequence({PkgsignDerUnsigned(revoked.serialNumber), date, extensions});
    return PkgsignOk();
}

// The revokedCertificates member, or nothing: RFC 5280, 5.1.2.6 forbids an empty one.
PkgsignStatus EncodeRevokedList(const PkgsignCrlRequest &request, PkgsignBytes *listOut)
{
    std::vector<PkgsignBytes> entries;
    for (const PkgsignRevokedCertificate &revoked : request.revoked) {
        PkgsignBytes entry;
        const PkgsignStatus status = EncodeRevoked(revoked, &entry);
        if (!status.ok) {
            return status;
        }
        entries.push_back(entry);
    }
    *listOut = entries.empty() ? PkgsignBytes() : PkgsignDerSequence(entries);
    return PkgsignOk();
}

// The crlExtensions member with its tag [0], or nothing when there are none.
PkgsignStatus EncodeExtensions(const PkgsignCrlRequest &request, PkgsignBytes *extensionsOut)
{
    std::vector<PkgsignBytes> list;
    if (request.authorityKeyIdentifier) {
        PkgsignBytes extension;
        const PkgsignStatus status = PkgsignEncodeAuthorityKeyIdentifier(request.issuerKey, &extension);
        if (!status.ok) {
            return status;
        }
        list.push_back(extension);
    }
    if (request.crlNumber >= 0) {
        list.push_back(PkgsignEncodeExtension("2.5.29.20", false, PkgsignDerInteger(request.crlNumber)));
    }
    if (request.indirectCrl) {
        list.push_back(EncodeIndirectCrl());
    }
    const PkgsignStatus status = PkgsignAppendExtensions(request.extensions, &list);
    if (status.ok && !list.empty()) {
        *extensionsOut = PkgsignDerConstructed(0, PkgsignDerSequence(list));
    }
    return status;
}

PkgsignStatus EncodeUpdates(const PkgsignCrlRequest &request, PkgsignBytes *updatesOut)
{
    PkgsignBytes thisUpdate;
    PkgsignBytes nextUpdate;
    PkgsignStatus status = PkgsignDerTime(request.thisUpdate, &thisUpdate);
    if (status.ok && !request.omitNextUpdate) {
        status = PkgsignDerTime(request.nextUpdate, &nextUpdate);
    }
    if (status.ok) {
        *updatesOut = PkgsignDerJoin({thisUpdate, nextUpdate});
    }
    return status;
}

// TBSCertList (RFC 5280, 5.1)
PkgsignStatus EncodeToBeSigned(const PkgsignCrlRequest &request, PkgsignBytes *toBeSignedOut)
{
    PkgsignBytes algorithm;
    PkgsignBytes issuer;
    PkgsignBytes updates;
    PkgsignBytes revoked;
    PkgsignBytes extensions;
    PkgsignStatus status = PkgsignSignatureAlgorithm(request.issuerKey, request.digest, &algorithm);
    if (status.ok) {
        status = PkgsignGetSubject(request.issuerCertificate, &issuer);
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
        const PkgsignBytes version = request.version == 1 ? PkgsignBytes() : PkgsignDerInteger(request.version - 1);
        *toBeSignedOut = PkgsignDerSequence({version, algorithm, issuer, updates, revoked, extensions});
    }
    return status;
}

} // namespace

PkgsignStatus PkgsignMakeCrl(const PkgsignCrlRequest &request, PkgsignBytes *crlOut)
{
    PkgsignBytes toBeSigned;
    const PkgsignStatus status = EncodeToBeSigned(request, &toBeSigned);
    return status.ok ? PkgsignSignStructure(request.issuerKey, request.digest, toBeSigned, crlOut) : status;
}
