// Checks a package as a device does, and explains the answer.
#ifndef PKGSIGN_EXPLAIN_CHECK_RUN_H
#define PKGSIGN_EXPLAIN_CHECK_RUN_H

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

// Asks the device's library about the package. The content is read in pieces, whatever its size. What cannot be read is
// the library's to refuse, so that the answer is the device's in each case.
void RunCheck(const CheckOrder &order, Check *check);

} // namespace pkgsign

#endif
