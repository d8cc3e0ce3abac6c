// The answer, for people and for programs.
#ifndef CRLTOOL_REPORT_H
#define CRLTOOL_REPORT_H

#include <stdint.h>

#include <string>

#include "crltool/crl_file.h"

struct Comparison {
    const CrlFile &first;
    const CrlFile &second;
    uint32_t status; // of SigkitCrlCompare
    uint32_t result; // of SigkitCrlCompare
};

// What the tool ends with: 0 the first file is newer or equally new, 1 the second is newer, 2 they cannot be compared.
int ExitStatus(const Comparison &comparison);

// One line that says which file is newer, or why neither is.
std::string Verdict(const Comparison &comparison);

// The text with its control characters escaped, so that a name or path cannot command the terminal that shows it.
std::string Printable(const std::string &text);

// A table for each file and the verdict. Control characters of names and paths are escaped.
std::string TextReport(const Comparison &comparison);

// The same as one JSON document (RFC 8259). Octets that are not UTF-8 are replaced.
std::string JsonReport(const Comparison &comparison);

#endif
