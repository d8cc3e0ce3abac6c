// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Certificates: decoding, shared lifetime, the self-signed test.
#ifndef X509_CERT_H
#define X509_CERT_H

#include <stdint.h>

#include "asn1/records.h"
#include "core/guard.h"

// Weights of key usage bits (RFC 5280, 4.2.1.3) where the BIT STRING has one content octet. Deliberate: cRLSign and
// keyCertSign are looked for with these weights alone. Of a key usage with two octets, as decipherOnly makes it, they
// read the second one, where the RFC assigns these bits nothing (Widened: bit 13 there stands for keyCertSign, bit 14
// for cRLSign), and not the first (Narrowed: a CA with decipherOnly does not count as one that signs).
enum : uint32_t {
    SIGKIT_KEY_USAGE_CRL_SIGN = 0x02,
    SIGKIT_KEY_USAGE_KEY_CERT_SIGN = 0x04,
    SIGKIT_KEY_USAGE_DIGITAL_SIGNATURE = 0x80,
};

// Returns whether a key usage has digitalSignature. A BIT STRING of two octets, as decipherOnly makes it, weighs each
// bit 256 times as much. Only when its first octet is zero, it cannot be distinguished from one of a single octet.
[[nodiscard]] bool InternalHasDigitalSignature(uint32_t keyUsage);

// Decodes one certificate from the start of `data`; octets behind it are left alone.
//
//   data      in, `len` octets, which the record points into: they must outlive it.
//   cert      out, a record with one holder, to be released with SigkitX509FreeCert.
//   consumed  out, octets that the certificate took.
//
// Returns SIGKIT_OK, or the first of these that applies: SIGKIT_ERR_PARAM for a null or empty argument, the host's code
// when it has no memory (SIGKIT_ERR_NO_MEMORY), the code of memset_s, or of what does not decode SIGKIT_ERR_BUFFER_END,
// SIGKIT_ERR_ASN_TAG, SIGKIT_ERR_ASN_OCTETS_TAG, SIGKIT_ERR_ASN_LENGTH, SIGKIT_ERR_ASN_SEQUENCE, SIGKIT_ERR_ASN_BITS or
// SIGKIT_ERR_ASN_SET. `cert` is not written on failure. Logs: lengths that are refused (InternalDecLen) and key usages
// that are (SigkitBitsToInt), even where the member that they are in may be absent; not what it returns: where a
// certificate or a CRL may stand, one of the two decoders always fails, and only the caller knows whether it matters.
[[nodiscard]] uint32_t SigkitX509DecodeCert(const uint8_t *data, uint32_t len, SigkitX509Cert **cert,
                                            uint32_t *consumed);

// Gives up one holder's share; the last one frees the record. Null is ignored.
void SigkitX509FreeCert(SigkitX509Cert *cert);

// Releases a list entry that is a certificate: a SigkitListDestructor.
void InternalFreeCertEntry(void *cert);

// Finds out whether a certificate is self-signed (RFC 5280, 3.2): its subject is its issuer and its own key verifies
// it. One that is self-issued under another key is not. That it is self-signed is remembered in the certificate. Not
// checked: whether it is a CA.
//
//   isSelfSigned  out, 1 or 0.
//
// Returns SIGKIT_OK, SIGKIT_ERR_PARAM for a null argument, or a code of SigkitX509PubKeyVerify: SIGKIT_ERR_PARAM,
// SIGKIT_ERR_ALGORITHM, that of memcpy_s or of the callback that failed.
//
// Logs: nothing.
[[nodiscard]] uint32_t SigkitX509IsSelfSigned(SigkitX509Cert *cert, uint32_t *isSelfSigned);

using InternalCertGuard = InternalGuard<SigkitX509Cert, SigkitX509FreeCert>;

#endif
