// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// What is asked of a check.
#ifndef PKGSIGN_EXPLAIN_CHECK_ORDER_H
#define PKGSIGN_EXPLAIN_CHECK_ORDER_H

#include <string>

#include "pkgsign/explain/check.h"

namespace pkgsign
{

struct CheckOrder {
    std::string content;
    std::string rootPath;
    Bytes root; // the certificate, DER or PEM
    std::string crls;
    std::string signature;
    std::string candidates; // a directory; empty: none
    int64_t now = 0;
    int64_t horizon = 0; // seconds; 0: what ends soon is not asked for
};

} // namespace pkgsign

#endif
