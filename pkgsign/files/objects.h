// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Certificates, CRLs, requests and messages in files: PEM or DER.
#ifndef PKGSIGN_FILES_OBJECTS_H
#define PKGSIGN_FILES_OBJECTS_H

#include <string>
#include <vector>

#include "pkgsign/crypto/types.h"
#include "pkgsign/status.h"

namespace pkgsign
{

// What a file holds, in its order.
struct Objects {
    std::vector<Certificate> certificates;
    std::vector<std::shared_ptr<X509_CRL>> crls;
};

// Reads certificates and CRLs: PEM blocks, or DER objects back to back. Anything else is refused.
Status DecodeObjects(const Bytes &data, const std::string &source, Objects *objectsOut);
Status ReadObjects(const std::string &path, Objects *objectsOut);

// Reads a file that must hold one certificate.
Status ReadCertificate(const std::string &path, Certificate *certificateOut);

// Reads a PKCS #10 request, PEM or DER, and checks that its own key has signed it.
Status ReadRequest(const std::string &path, RequestPtr *requestOut);

// The octets of the one PEM block in `data`, or `data` itself when it is DER.
Bytes RemoveArmour(const Bytes &data);

// One PEM block. label: what stands behind BEGIN.
std::string AddArmour(const std::string &label, const Bytes &der);

} // namespace pkgsign

#endif
