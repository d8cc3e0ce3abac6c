// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The tool's one operation: proves that the checksum file of an upgrade package is authentic.
//
// Trusted is the built-in root certificate alone. The library judges; this file brings it the certificate and the
// files, insists on a positive verdict, and releases everything on every path.
#ifndef SRC_UPGRADE_SIGKIT_HANDLE_H
#define SRC_UPGRADE_SIGKIT_HANDLE_H

#include <stdint.h>

#include "sigkit/sigkit.h"

// The operation CHECK_PKG_INTEGRITY.
//
//   param  in, the VerifyParam with the three paths; borrowed for the call only.
//
// Returns what VerifyCmsFile returns, or -1 when `param` is null.
[[nodiscard]] int UPGRADE_CheckPkgIntegrity(void *param);

// Verifies a detached signature against the built-in root certificate.
//
//   cmsPath       in, path of the signature.
//   checksumPath  in, path of the signed content.
//   crlPath       in, path of the CRLs; mandatory: an empty path fails.
//
// Returns 0 when the content is authentic, 0xFFFFFFFF when it does not match its signature, 0x88100001 when a path is
// null, 0x88000001 when there is no memory, or the library's code.
[[nodiscard]] uint32_t VerifyCmsFile(const char *cmsPath, const char *checksumPath, const char *crlPath);

// Joins the pieces of the root certificate into a new block.
//
//   certOut  out, the certificate; the caller releases it with qzax_freesub.
//   lenOut   out, its octets.
//
// Returns 0, or 0x88000001 when there is no memory; the outputs are not written then.
[[nodiscard]] uint32_t GenerateRootCert(uint8_t **certOut, uint32_t *lenOut);

// Releases what a verification holds: the context first, because it may refer to the certificate.
//
//   ret       in, handed back unchanged.
//   ctx       in, a context or null.
//   rootCert  in, a block of GenerateRootCert or null.
//
// Returns `ret`.
int VerifyProcessPostHandle(int ret, SigkitVerifyCtx *ctx, uint8_t *rootCert);

#endif
