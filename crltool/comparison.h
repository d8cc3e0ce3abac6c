// The comparison of two CRL files: what the library says of them, and what the library cannot know.
#ifndef CRLTOOL_COMPARISON_H
#define CRLTOOL_COMPARISON_H

#include <stdint.h>

#include <string>

#include "crltool/crl_file.h"

struct Comparison {
    const CrlFile &first;
    const CrlFile &second;
    std::string obstacle; // why the files cannot be compared; empty when they can
    uint32_t result;      // of SigkitCrlCompare; SIGKIT_CRL_CONFLICT when there is an obstacle
    std::string warning;  // what to look at before the answer is followed; empty as a rule
};

// Compares two files that were loaded. There are obstacles besides those of SigkitCrlCompare: an issuer whose name
// cannot be printed, because all of these look alike; a CRL that was skipped, because its file then looks like one
// without it; and no space for a package beside the file that is newer, because with it nothing could be verified.
Comparison CompareFiles(const CrlFile &first, const CrlFile &second);

#endif
