// The timestamp token that the commands make with a PKI's own timestamping certificate.
#ifndef PKGSIGN_TOKEN_OPTIONS_H
#define PKGSIGN_TOKEN_OPTIONS_H

#include "pkgsign/option_values.h"

// A token request with a fresh serial number. digest: of the imprint and of the token's own signature.
inline forge::Status PkgsignDescribeToken(const forge::Pki &pki, int64_t genTime, forge::Digest digest,
                                          forge::TokenRequest *requestOut)
{
    requestOut->genTime = genTime;
    requestOut->imprintDigest = digest;
    requestOut->signerDigest = digest;
    requestOut->tsaCertificate = pki.timestamp.certificate;
    requestOut->tsaKey = pki.timestamp.key;
    requestOut->certificates = {pki.timestamp.certificate, pki.issuingCa.certificate};
    return forge::MakeSerialNumber(16, &requestOut->serialNumber);
}

#endif
