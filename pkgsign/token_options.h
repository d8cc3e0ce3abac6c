// The timestamp token that the commands make with a PKI's own timestamping certificate.
#ifndef PKGSIGN_TOKEN_OPTIONS_H
#define PKGSIGN_TOKEN_OPTIONS_H

#include "pkgsign/option_values.h"

// A token request with a fresh serial number. digest: of the imprint and of the token's own signature.
inline PkgsignStatus PkgsignDescribeToken(const PkgsignPki &pki, int64_t genTime, PkgsignDigest digest,
                                          PkgsignTokenRequest *requestOut)
{
    requestOut->genTime = genTime;
    requestOut->imprintDigest = digest;
    requestOut->signerDigest = digest;
    requestOut->tsaCertificate = pki.timestamp.certificate;
    requestOut->tsaKey = pki.timestamp.key;
    requestOut->certificates = {pki.timestamp.certificate, pki.issuingCa.certificate};
    return PkgsignMakeSerialNumber(16, &requestOut->serialNumber);
}

#endif
