// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The store: the certificates and CRLs that one context knows. It only grows; records leave it with the context.
//
// Logs: nothing, in any function of this header; a record that is there already is no failure to most callers.
#ifndef PKI_STORE_H
#define PKI_STORE_H

#include <stdint.h>

#include "asn1/records.h"
#include "core/context.h"
#include "core/list.h"
#include "pki/path_memory.h"

// Certificates and CRLs in the order in which they were added; one share of each is the store's.
struct SigkitPkiCtx {
    SigkitList certs;          // SigkitX509Cert
    SigkitList crls;           // SigkitX509Crl
    InternalPathMemory memory; // of the path validation in progress
};

// Gives a context a new, empty store. Returns SIGKIT_OK, SIGKIT_ERR_PARAM when `ctx` is null, or the code of the
// allocation.
[[nodiscard]] uint32_t SigkitPkiInit(SigkitVerifyCtx *ctx);

// Releases a context's store and everything in it. A null context and a context without a store are ignored.
void SigkitPkiUninit(SigkitVerifyCtx *ctx);

// Begins a public operation that validates certificates: its log lines are written in full again, however often earlier
// operations of the context have repeated them.
void InternalRenewTrail(SigkitVerifyCtx *ctx);

// Adds a certificate and takes a share of it. Two certificates are the same one when their signatures are equal.
//
// Returns SIGKIT_OK, SIGKIT_ERR_CERT_DUPLICATE, SIGKIT_ERR_PARAM when an argument or the store is null or the record is
// another store's, or SIGKIT_ERR_LIST_FULL; after a failure no share was taken.
[[nodiscard]] uint32_t SigkitPkiStoreAddCert(SigkitVerifyCtx *ctx, SigkitX509Cert *cert);

// Adds a CRL and takes a share of it. Older and newer CRLs of one issuer stay side by side.
//
// Returns SIGKIT_OK, SIGKIT_ERR_CRL_DUPLICATE, SIGKIT_ERR_PARAM when an argument or the store is null or the record is
// another store's, or SIGKIT_ERR_LIST_FULL; after a failure no share was taken.
[[nodiscard]] uint32_t SigkitPkiStoreAddCrl(SigkitVerifyCtx *ctx, SigkitX509Crl *crl);

// Returns the first certificate with this issuer and serial number (RFC 5652, 10.2.4), or null when there is none or an
// argument is null or empty. Not checked: anything else about it. The store keeps its share.
[[nodiscard]] SigkitX509Cert *SigkitPkiFindCertByIssuerSn(const SigkitVerifyCtx *ctx, const SigkitX509Name *issuer,
                                                          const SigkitAsnOcts *serialNumber);

#endif
